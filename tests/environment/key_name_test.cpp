#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include <cstdio>
#include <fstream>
#include <sstream>

#include "environment/hive_store.h"
#include "environment/key_name.h"
#include "platform/case_fold.h"

using namespace kel::detail;

TEST(KeyName, FoldsAsciiLatinGreekCyrillic) {
    EXPECT_EQ(foldName(L"Software\\Norvane-1.0_x"), L"SOFTWARE\\NORVANE-1.0_X");
    EXPECT_EQ(foldName(L"\u00E4\u00F6\u00FC\u00E9\u00FF\u00F7\u00DF"),
              L"\u00C4\u00D6\u00DC\u00C9\u0178\u00F7\u00DF");
    EXPECT_EQ(foldName(L"\u0101\u0107\u013A\u0142\u0144\u0151\u017C\u017E"),
              L"\u0100\u0106\u0139\u0141\u0143\u0150\u017B\u017D");
    EXPECT_EQ(foldName(L"\u03B1\u03C9\u03C2\u03AC\u03CE"), L"\u0391\u03A9\u03A3\u0386\u038F");
    EXPECT_EQ(foldName(L"\u0436\u0451\u0461\u04C2\u04D1"), L"\u0416\u0401\u0460\u04C1\u04D0");
    EXPECT_EQ(foldName(L"\u0561\uFF41\u1EA1"), L"\u0531\uFF21\u1EA0");
}

TEST(KeyName, UpperCaseAndOtherCharactersStay) {
    const std::wstring same = L"ABC\u00C4\u0100\u0391\u0416 123 \u4E2D\u6587 \\/[]";
    EXPECT_EQ(foldName(same), same);
    EXPECT_EQ(foldCharacter(L'\u0131'), L'\u0131');  // dotless i is not I
    EXPECT_EQ(foldCharacter(L'\u0130'), L'\u0130');  // nor is I with a dot
    EXPECT_EQ(foldCharacter(L'\u00B5'), L'\u039C');  // micro sign
    EXPECT_EQ(foldCharacter(L'\u00DF'), L'\u00DF');  // sharp s is not "SS"
}

// Every script with case, as the Windows registry compares names.
TEST(KeyName, FoldsEveryScriptWithCase) {
    const std::pair<const wchar_t*, const wchar_t*> pairs[] = {
        {L"\u0219", L"\u0218"},  // s with comma below (Romanian)
        {L"\u021B", L"\u021A"},  // t with comma below
        {L"\u01CE", L"\u01CD"},  // a with caron (Latin Extended-B)
        {L"\u0180", L"\u0243"},  // b with stroke
        {L"\u0253", L"\u0181"},  // b with hook (IPA block)
        {L"\u1F00", L"\u1F08"},  // Greek alpha with psili (Greek Extended)
        {L"\u1F80", L"\u1F88"},  // with ypogegrammeni: simple folding keeps one character
        {L"\u03F2", L"\u03F9"},  // lunate sigma
        {L"\u2D00", L"\u10A0"},  // Georgian
        {L"\u10D0", L"\u1C90"},  // Georgian Mkhedruli and Mtavruli
        {L"\uAB70", L"\u13A0"},  // Cherokee: its capitals are the older letters
        {L"\u24D0", L"\u24B6"},  // circled letters
        {L"\u2170", L"\u2160"},  // Roman numerals
        {L"\u2C30", L"\u2C00"},  // Glagolitic
        {L"\u2C65", L"\u023A"},  // a with stroke
        {L"\uA641", L"\uA640"},  // Cyrillic Extended-B
        {L"\uA7C1", L"\uA7C0"},  // Latin Extended-D, Unicode 14
        {L"\u0561", L"\u0531"},  // Armenian
        {L"\u1E9E", L"\u00DF"},  // capital sharp s folds to sharp s
        {L"\u212A", L"K"},       // Kelvin sign
        {L"\u212B", L"\u00C5"},  // Angstrom sign
        {L"\u017F", L"S"},       // long s
        {L"\u1E9B", L"\u1E60"},  // long s with dot above
        {L"\u01C5", L"\u01C4"},  // title case DZ with caron
        {L"\u01C6", L"\u01C4"}, {L"\u03C2", L"\u03A3"},  // final sigma
        {L"\u03D0", L"\u0392"},                          // beta symbol
        {L"\u1C80", L"\u0412"},                          // Cyrillic rounded ve
    };
    for (const auto& [character, key] : pairs)
        EXPECT_EQ(foldName(character), key) << std::hex << static_cast<unsigned>(character[0]);
    EXPECT_EQ(foldName(L"\u0218tefan \u01CEbc \u1F08\u03C1\u03C7\u03AE"),
              foldName(L"\u0219TEFAN \u01CDBC \u1F00\u03A1\u03A7\u0389"));
}

TEST(KeyName, FoldsCharactersBeyondTheBasicPlane) {
    const std::wstring lower = L"\U00010428\U000104D8\U00010CC0\U000118C0\U00016E60\U0001E922";
    const std::wstring upper = L"\U00010400\U000104B0\U00010C80\U000118A0\U00016E40\U0001E900";
    EXPECT_EQ(foldName(lower), upper);
    EXPECT_EQ(foldName(upper), upper);
    std::wstring folded;
    EXPECT_EQ(foldKeyPath(L"Software\\" + lower, false, folded), 0u);
    EXPECT_EQ(folded, L"SOFTWARE\\" + upper);
}

TEST(KeyName, CaseFoldingDataIsUnicode15) {
    EXPECT_STREQ(kCaseFoldingUnicodeVersion, "15.0.0");
}

// Against Unicode's own file where the machine has it (Debian's
// unicode-data package): every simple folding pair compares equal.
TEST(KeyName, EveryPairOfUnicodeSimpleCaseFoldingComparesEqual) {
    std::ifstream data("/usr/share/unicode/CaseFolding.txt");
#if defined(_WIN32)
    if (!data)
        data.open("Z:/usr/share/unicode/CaseFolding.txt");  // the build machine's, under Wine
#endif
    if (!data)
        GTEST_SKIP() << "no /usr/share/unicode/CaseFolding.txt (package unicode-data)";
    std::string line;
    int pairs = 0;
    while (std::getline(data, line)) {
        unsigned code = 0;
        unsigned mapping = 0;
        char status = 0;
        if (line.empty() || line[0] == '#' ||
            std::sscanf(line.c_str(), "%x; %c; %x;", &code, &status, &mapping) != 3 ||
            (status != 'C' && status != 'S'))
            continue;
        ASSERT_EQ(caseKey(code), caseKey(mapping)) << std::hex << code << " " << mapping;
        ++pairs;
    }
    EXPECT_GT(pairs, 1400);
}

TEST(KeyName, FoldingIsIdempotent) {
    for (char32_t c = 0; c < 0x110000; ++c) {
        const char32_t once = caseKey(c);
        ASSERT_EQ(caseKey(once), once) << static_cast<unsigned>(c);
    }
    EXPECT_EQ(caseKey(0x110000), static_cast<char32_t>(0x110000));
}

TEST(KeyName, UnpairedSurrogatesStayAsTheyAre) {
    EXPECT_EQ(foldCharacter(static_cast<wchar_t>(0xD801)), static_cast<wchar_t>(0xD801));
    EXPECT_EQ(foldCharacter(static_cast<wchar_t>(0xDC28)), static_cast<wchar_t>(0xDC28));
}

TEST(KeyName, SplitsKeyPaths) {
    std::vector<std::wstring> names;
    EXPECT_EQ(splitKeyPath(L"Software\\Norvane\\Gantrix", names), 0u);
    EXPECT_EQ(names, (std::vector<std::wstring>{L"Software", L"Norvane", L"Gantrix"}));
    EXPECT_EQ(splitKeyPath(L"A\\\\B\\", names), 0u);
    EXPECT_EQ(names, (std::vector<std::wstring>{L"A", L"B"}));
    EXPECT_EQ(splitKeyPath(L"", names), 0u);
    EXPECT_TRUE(names.empty());
    EXPECT_EQ(splitKeyPath(L"a/b", names), 0u);
    EXPECT_EQ(names, std::vector<std::wstring>{L"a/b"});
}

TEST(KeyName, RefusesBadPaths) {
    std::vector<std::wstring> names;
    EXPECT_EQ(splitKeyPath(L"\\Software", names), kErrorBadPathname);
    EXPECT_EQ(splitKeyPath(L"Software\\" + std::wstring(256, L'x'), names), kErrorInvalidParameter);
    EXPECT_EQ(splitKeyPath(L"Software\\" + std::wstring(255, L'x'), names), 0u);
}

TEST(KeyName, The32BitView) {
    std::vector<std::wstring> names{L"Software", L"Norvane"};
    mapToWow32View(names);
    EXPECT_EQ(names, (std::vector<std::wstring>{L"Software", L"WOW6432Node", L"Norvane"}));
    mapToWow32View(names);
    EXPECT_EQ(names.size(), 3u);
    names = {L"SOFTWARE"};
    mapToWow32View(names);
    EXPECT_EQ(names, (std::vector<std::wstring>{L"SOFTWARE", L"WOW6432Node"}));
    names = {L"System", L"Software"};
    mapToWow32View(names);
    EXPECT_EQ(names, (std::vector<std::wstring>{L"System", L"Software"}));
    names = {L"software", L"wow6432node", L"X"};
    mapToWow32View(names);
    EXPECT_EQ(names.size(), 3u);
    names.clear();
    mapToWow32View(names);
    EXPECT_TRUE(names.empty());
}

TEST(KeyName, FoldsWholePaths) {
    std::wstring folded;
    EXPECT_EQ(foldKeyPath(L"Software\\\\Norvane\\", false, folded), 0u);
    EXPECT_EQ(folded, L"SOFTWARE\\NORVANE");
    EXPECT_EQ(foldKeyPath(L"", false, folded), 0u);
    EXPECT_EQ(folded, L"");
    EXPECT_EQ(foldKeyPath(L"\\x", false, folded), kErrorBadPathname);
    EXPECT_EQ(foldKeyPath(std::wstring(256, L'x'), false, folded), kErrorInvalidParameter);
}

TEST(KeyName, FoldsWholePathsInThe32BitView) {
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"Software\\Norvane", L"SOFTWARE\\WOW6432NODE\\NORVANE"},
        {L"software", L"SOFTWARE\\WOW6432NODE"},
        {L"Software\\Wow6432Node\\X", L"SOFTWARE\\WOW6432NODE\\X"},
        {L"Software\\Wow6432Node", L"SOFTWARE\\WOW6432NODE"},
        {L"Software\\Wow6432NodeX", L"SOFTWARE\\WOW6432NODE\\WOW6432NODEX"},
        {L"SoftwareX\\Y", L"SOFTWAREX\\Y"},
        {L"System\\Software", L"SYSTEM\\SOFTWARE"},
        {L"", L""},
    };
    for (const auto& [path, expected] : cases) {
        std::wstring folded;
        EXPECT_EQ(foldKeyPath(path, true, folded), 0u);
        EXPECT_EQ(folded, expected);
    }
}
