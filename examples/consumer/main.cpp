// Uses the installed library through its one umbrella header.

#include <kel/Kel.h>

#include <cstdio>

int main() {
    KelString name(L"HEA 200");
    KelString copy = name;
    KelStringClassArray profiles;
    profiles.append(name);
    profiles.append(L"IPE 300");
    KelString summary;
    summary.format(L"%s and %d more", profiles[0].getStringW(),
                   static_cast<int>(profiles.length() - 1));
    std::printf("consumer: %s (shared: %s)\n", summary.getStringA(),
                copy.getStringW() == name.getStringW() ? "yes" : "no");
    return summary == KelString(L"HEA 200 and 1 more") ? 0 : 1;
}
