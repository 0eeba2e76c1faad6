// SplitPath and MakePath on arbitrary paths: never crash, the parts join
// back into the path they came from, and the bounded routines never write
// past the sizes they are given.

#include <kel/Kel.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

void ignoreReports(const wchar_t*, const wchar_t*, const wchar_t*, unsigned int, uintptr_t) {}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    kelSetInvalidParameterHandler(ignoreReports);
    std::wstring path;
    for (size_t i = 0; i < size; ++i) {
        // Separators, dots and colons are frequent in paths.
        static const wchar_t kAlphabet[] = L"\\/.:ab";
        path.push_back(data[i] < 192 ? kAlphabet[data[i] % 6] : static_cast<wchar_t>(data[i]));
    }
    const KelString value(path.c_str());
    KelString drive, dir, fname, ext;
    value.SplitPath(drive, dir, fname, ext);
    const std::wstring joined =
        std::wstring(drive.getStringW()) + dir.getStringW() + fname.getStringW() + ext.getStringW();
    if (!joined.empty() && joined != path)
        std::abort();
    KelString rebuilt;
    rebuilt.MakePath(drive, dir, fname, ext);
    if (rebuilt.length() >= 260)
        std::abort();

    // The bounded routine with small sizes: guard units after each part.
    wchar_t parts[4][6];
    for (auto& part : parts) {
        for (wchar_t& c : part)
            c = L'#';
    }
    kelwsplitpath8(path.c_str(), parts[0], 3, parts[1], 4, parts[2], 4, parts[3], 4);
    for (int p = 0; p < 4; ++p) {
        if (parts[p][5] != L'#' || (p > 0 && parts[p][4] != L'#'))
            std::abort();
    }
    kelSetInvalidParameterHandler(nullptr);
    return 0;
}
