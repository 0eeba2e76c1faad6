#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "environment/hive_store.h"
#include "environment/key_name.h"

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
    EXPECT_EQ(foldCharacter(L'\u00B5'), L'\u039C');  // micro sign
}

TEST(KeyName, FoldingIsIdempotent) {
    for (unsigned c = 0; c < 0x10000; ++c) {
        const wchar_t once = foldCharacter(static_cast<wchar_t>(c));
        ASSERT_EQ(foldCharacter(once), once) << c;
    }
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
