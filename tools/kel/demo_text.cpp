// Demonstration: strings, sharing, conversions and arrays.

#include <kel/Kel.h>

#include <cstdio>
#include <cwchar>
#include <string>

#include "command.h"

namespace kel::tool {

namespace {

std::string hexBytes(const char* text) {
    std::string result;
    char byte[4];
    for (const unsigned char* p = reinterpret_cast<const unsigned char*>(text); *p != 0; ++p) {
        std::snprintf(byte, sizeof byte, "%s%02X", result.empty() ? "" : " ", *p);
        result += byte;
    }
    return result;
}

std::string yesNo(bool value) {
    return value ? "yes" : "no";
}

void showStrings() {
    KelString name(L"HEA 200");
    line(L"KelString name(L\"HEA 200\")      -> \"" + std::wstring(name.getStringW()) + L"\", " +
         std::to_wstring(name.length()) + L" characters");

    KelString copy = name;
    line("KelString copy = name           -> shares the characters: " +
         yesNo(copy.getStringW() == name.getStringW()));

    copy = L"IPE 300";
    line(L"copy = L\"IPE 300\"               -> name is still \"" +
         std::wstring(name.getStringW()) + L"\", copy is \"" + copy.getStringW() + L"\"");
    line("                                   and has characters of its own: " +
         yesNo(copy.getStringW() != name.getStringW()));

    KelString beam(L"Tr\u00E4ger \u20AC");
    line(std::string("narrow form of L\"Tr\\u00E4ger \\u20AC\" -> bytes ") +
         hexBytes(beam.getStringA()) + " (code page " + std::to_string(kelGetNarrowCodePage()) +
         ")");
    line("getStringA() twice              -> same buffer: " +
         yesNo(beam.getStringA() == beam.getStringA()));

    KelString fromNarrow("S235JR");
    line(L"KelString(\"S235JR\")             -> L\"" + std::wstring(fromNarrow.getStringW()) +
         L"\"");

    KelString formatted;
    formatted.format(L"%s-%d (%S)", L"HEB", 300, "narrow argument");
    line(L"format(L\"%s-%d (%S)\", ...)      -> \"" + std::wstring(formatted.getStringW()) + L"\"");
    formatted.format(L"%I64d bytes at %p", 1ll << 40, static_cast<void*>(nullptr));
    line(L"format(L\"%I64d bytes at %p\")    -> \"" + std::wstring(formatted.getStringW()) + L"\"");

    line("ordinal order: \"B\" < \"a\"        -> " + yesNo(KelString(L"B") < KelString(L"a")));
    line("\"ab\" < \"abc\"                    -> " + yesNo(KelString(L"ab") < KelString(L"abc")));
}

int byText(const void* a, const void* b) {
    return std::wcscmp(static_cast<const KelString*>(a)->getStringW(),
                       static_cast<const KelString*>(b)->getStringW());
}

std::wstring join(const KelStringClassArray& array) {
    std::wstring text;
    for (long i = 0; i < array.length(); ++i) {
        if (i > 0)
            text += L", ";
        text += array[i].isEmpty() ? L"\"\"" : array[i].getStringW();
    }
    return text;
}

void showArrays() {
    KelStringClassArray profiles;
    const wchar_t* names[] = {L"IPE 200",    L"HEA 100",  L"UPN 80",  L"HEB 300", L"L 50x5",
                              L"RHS 100x50", L"CHS 48.3", L"IPE 100", L"HEM 200"};
    for (const wchar_t* n : names)
        profiles.append(n);
    line("append 9 profiles               -> length " + std::to_string(profiles.length()) +
         ", physical length " + std::to_string(profiles.physicalLength()) +
         " (grows in steps of 8, never by doubling)");

    profiles.sort(byText);
    line(L"sort                            -> " + join(profiles));

    long index = -1;
    profiles.bsearch(KelString(L"UPN 80"), index, byText);
    line("bsearch(\"UPN 80\")               -> index " + std::to_string(index));

    profiles.insertAt(0, profiles[8]);
    line(L"insertAt(0, profiles[8])        -> " + join(profiles));

    KelStringClassArray sparse;
    sparse.setAt(3, L"fourth");
    line(L"setAt(3, L\"fourth\") on empty    -> " + join(sparse));

    KelStringClassArray copy(profiles);
    line("copy of the array               -> shares every element: " +
         yesNo(copy[4].getStringW() == profiles[4].getStringW()));

    profiles.setPhysicalLength(9);
    line("setPhysicalLength(9) from 16    -> physical length " +
         std::to_string(profiles.physicalLength()) + ", length " +
         std::to_string(profiles.length()));
    profiles.setPhysicalLength(14);
    line("setPhysicalLength(14) from 9    -> physical length " +
         std::to_string(profiles.physicalLength()));
    profiles.setPhysicalLength(11);
    line("setPhysicalLength(11) from 14   -> physical length " +
         std::to_string(profiles.physicalLength()) + " (a shrink by at most a quarter is ignored)");
}

const DemoSection strings(10, "Strings: sharing and conversion", showStrings);
const DemoSection arrays(20, "Arrays", showArrays);

}  // namespace

}  // namespace kel::tool
