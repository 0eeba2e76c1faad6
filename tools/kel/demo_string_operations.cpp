// Demonstration: natural ordering, tokenising, formatting and the bounded
// runtime routines.

#include <kel/Kel.h>

#include <algorithm>
#include <string>
#include <vector>

#include "command.h"

namespace kel::tool {

namespace {

using Tokens = KelArray<KelString, KelArrayObjectCopyReallocator<KelString>,
                        KelArrayMemoryController<KelString>>;

std::wstring joined(const std::vector<KelString>& values) {
    std::wstring text;
    for (const KelString& v : values)
        text += (text.empty() ? L"" : L", ") + std::wstring(v.getStringW());
    return text;
}

std::wstring joined(const Tokens& tokens) {
    std::wstring text;
    for (long i = 0; i < tokens.length(); ++i)
        text += (i == 0 ? L"[" : L"] [") + std::wstring(tokens[i].getStringW());
    return tokens.length() == 0 ? L"(none)" : text + L"]";
}

void showOrdering() {
    std::vector<KelString> marks;
    for (const wchar_t* m : {L"B10", L"B2", L"A1", L"B1", L"B02", L"-3", L"-5"})
        marks.emplace_back(m);
    std::vector<KelString> ordinal = marks;
    std::sort(ordinal.begin(), ordinal.end(),
              [](const KelString& a, const KelString& b) { return a < b; });
    line(L"ordinal order                   -> " + joined(ordinal));
    std::stable_sort(marks.begin(), marks.end(), [](const KelString& a, const KelString& b) {
        return KelString::compareWithNumbers(a, b) < 0;
    });
    line(L"compareWithNumbers order        -> " + joined(marks));
    line("compareWithNumbers(\"file2\", \"file10\") -> " +
         std::to_string(KelString::compareWithNumbers(KelString(L"file2"), KelString(L"file10"))));
    line("compareWithNumbers(\"a01\", \"a1\")       -> " +
         std::to_string(KelString::compareWithNumbers(KelString(L"a01"), KelString(L"a1"))) +
         " (the same number)");
}

void showTokens() {
    Tokens tokens;
    KelString csv(L",HEA 200,,IPE 300;S235;");
    KelString::getTokens(csv, tokens, KelString(L",;"));
    line(L"getTokens(\",HEA 200,,IPE 300;S235;\", \",;\")   -> " + joined(tokens));
    KelString command(L"copy 'beam 1.dxf' 'it''s here' now");
    KelString::getTokens(command, tokens, KelString(L" "), KelString(L"'"));
    line(L"getTokens(\"copy 'beam 1.dxf' 'it''s here' now\", \" \", \"'\") -> " + joined(tokens));
}

void showFormatting() {
    KelString s;
    s.format(L"%-8s|%5d|%08.3f|%S", L"HEA", 200, 3.14159, "narrow");
    line(L"format(L\"%-8s|%5d|%08.3f|%S\")   -> \"" + std::wstring(s.getStringW()) + L"\"");
    s.format("%s has %I64d parts", "Frame", 1ll << 33);
    line(L"format(\"%s has %I64d parts\")    -> \"" + std::wstring(s.getStringW()) + L"\"");
    line(L"doubleToString(-123456789012.0, 12) -> \"" +
         std::wstring(KelString::doubleToString(-123456789012.0, 12).getStringW()) + L"\"");
    line(L"integerToString(-255, 16)       -> \"" +
         std::wstring(KelString::integerToString(-255, 16).getStringW()) + L"\"");

    KelString path(L"c:\\models/steel\\beam.part.dxf");
    KelString drive, dir, fname, ext;
    path.SplitPath(drive, dir, fname, ext);
    line(L"SplitPath(\"" + std::wstring(path.getStringW()) + L"\") -> \"" + drive.getStringW() +
         L"\" \"" + dir.getStringW() + L"\" \"" + fname.getStringW() + L"\" \"" + ext.getStringW() +
         L"\"");

    char name[8];
    const int result = kelstrncpy(name, sizeof name, "HEA 200 S235", _TRUNCATE);
    line("kelstrncpy(name, 8, \"HEA 200 S235\", _TRUNCATE) -> " + std::to_string(result) +
         " (STRUNCATE), \"" + name + "\"");
}

const DemoSection ordering(30, "Strings: natural ordering", showOrdering);
const DemoSection tokens(31, "Strings: tokens", showTokens);
const DemoSection formatting(32, "Strings: formatting and conversions", showFormatting);

}  // namespace

}  // namespace kel::tool
