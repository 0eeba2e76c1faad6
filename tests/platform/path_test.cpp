#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/path.h"

using namespace kel::detail;

TEST(Path, BothSeparatorsBecomeTheNativeOne) {
    const std::wstring native = toNativeSeparators(L"C:\\data/Configuration\\x.xml");
    const wchar_t s = kNativeSeparator;
    EXPECT_EQ(native, std::wstring(L"C:") + s + L"data" + s + L"Configuration" + s + L"x.xml");
}

TEST(Path, SeparatorTest) {
    EXPECT_TRUE(isPathSeparator(L'\\'));
    EXPECT_TRUE(isPathSeparator(L'/'));
    EXPECT_FALSE(isPathSeparator(L':'));
}

#if defined(_WIN32)
TEST(Path, WindowsPathsStayWideWithBackslashes) {
    EXPECT_EQ(toNativePath(L"C:/tmp\\d\u00E9j\u00E0/a.txt"), L"C:\\tmp\\d\u00E9j\u00E0\\a.txt");
    EXPECT_EQ(toNativePath(L"//server/share/x"), L"\\\\server\\share\\x");
    EXPECT_EQ(fromNativePath(L"C:\\tmp\\\u00E9"), L"C:\\tmp\\\u00E9");
}
#else
TEST(Path, PosixPathsAreUtf8WithSlashes) {
    EXPECT_EQ(toNativePath(L"\\tmp\\d\u00E9j\u00E0\\a.txt"), "/tmp/d\xC3\xA9j\xC3\xA0/a.txt");
    EXPECT_EQ(fromNativePath("/tmp/\xC3\xA9"), L"/tmp/\u00E9");
}
#endif

TEST(Path, ResolvedPartsDropEmptyAndDotParts) {
    using Parts = std::vector<std::wstring>;
    EXPECT_EQ(kel::detail::resolvedParts(L"/a//b/./c/", L'/'), (Parts{L"a", L"b", L"c"}));
    EXPECT_EQ(kel::detail::resolvedParts(L"", L'/'), Parts{});
    EXPECT_EQ(kel::detail::resolvedParts(L"\\", L'\\'), Parts{});
}

TEST(Path, ResolvedPartsLetDotDotTakeAwayThePartBefore) {
    using Parts = std::vector<std::wstring>;
    EXPECT_EQ(kel::detail::resolvedParts(L"a\\b\\..\\c", L'\\'), (Parts{L"a", L"c"}));
    EXPECT_EQ(kel::detail::resolvedParts(L"../../x/..", L'/'), Parts{});
    EXPECT_EQ(kel::detail::resolvedParts(L"..\\y", L'\\'), Parts{L"y"});
    // Only the given separator divides.
    EXPECT_EQ(kel::detail::resolvedParts(L"a\\b/c", L'/'), (Parts{L"a\\b", L"c"}));
}
