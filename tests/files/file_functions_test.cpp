#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <cstring>
#include <filesystem>

#include "file_test_support.h"
#include "support/system.h"

namespace {

using kel::test::Bytes;
using kel::test::bytesOf;
using kel::test::pathIn;
using kel::test::readAll;
using kel::test::writeAll;
namespace fs = std::filesystem;

KelString fileIn(const std::string& name) {
    return KelString(kel::test::widePathIn(name).c_str());
}

TEST(kelfopen, OpensWithTheRuntimesModesAndReturnsErrorNumbers) {
    FILE* stream = reinterpret_cast<FILE*>(1);
    EXPECT_EQ(kelfopen(&stream, fileIn("missing.txt"), L"r"), ENOENT);
    EXPECT_EQ(stream, nullptr);
    ASSERT_EQ(kelfopen(&stream, fileIn("a.txt"), L"w"), 0);
    ASSERT_NE(stream, nullptr);
    EXPECT_EQ(kelfclose(stream), 0);
    fs::create_directory(pathIn("dir"));
    EXPECT_EQ(kelfopen(&stream, fileIn("dir"), L"r"), EACCES);
    EXPECT_EQ(kelfopen(&stream, fileIn("a.txt"), L"wx"), EEXIST);
}

TEST(kelfopen, BackslashesWorkAsSeparators) {
    fs::create_directory(pathIn("sub"));
    FILE* stream = nullptr;
    const std::wstring path = kel::test::widePathIn("sub") + L"\\f.txt";
    ASSERT_EQ(kelfopen(&stream, path.c_str(), L"w"), 0);
    kelfputs("x", stream);
    kelfclose(stream);
    EXPECT_EQ(readAll(pathIn("sub/f.txt")), bytesOf("x"));
}

TEST(kelfprintf, NarrowAndWideFormatsFollowTheWindowsRules) {
    // The narrow print counts the bytes of its text in the narrow code page.
    std::string aUmlaut;
    if (!kel::test::narrowText(L"\u00E4", aUmlaut))
        GTEST_SKIP() << kel::test::kNoNarrowSample << kelGetNarrowCodePage();
    FILE* stream = nullptr;
    ASSERT_EQ(kelfopen(&stream, fileIn("p.txt"), L"w, ccs=UTF-8"), 0);
    EXPECT_EQ(kelfprintf(stream, "%s-%S-%I64d;", "n", L"\u00E4", 12ll),
              static_cast<int>(6 + aUmlaut.size()));
    EXPECT_EQ(kelfprintf(stream, L"%s-%S;", L"\u20AC", "n"), 4);
    const unsigned short format[] = {'%', 's', 0};
    const unsigned short text[] = {'u', 0};
    EXPECT_EQ(kelfprintf(stream, format, text), 1);
    EXPECT_EQ(kelfprintf(stream, L"%n", nullptr), -1);
    EXPECT_EQ(kelfclose(stream), 0);
    EXPECT_EQ(readAll(pathIn("p.txt")), bytesOf("\xEF\xBB\xBFn-\xC3\xA4-12;\xE2\x82\xAC-n;u"));
    EXPECT_EQ(kelfprintf(static_cast<FILE*>(nullptr), "x"), -1);
    EXPECT_EQ(kelfprintf(static_cast<FILE*>(nullptr), L"x"), -1);
}

TEST(kelfgets, ReadsLinesAndConvertsEncodedStreams) {
    std::string aUmlaut;
    if (!kel::test::narrowText(L"\u00E4", aUmlaut))
        GTEST_SKIP() << kel::test::kNoNarrowSample << kelGetNarrowCodePage();
    writeAll(pathIn("g.txt"), Bytes{0xFF, 0xFE, 'a', 0, 0xE4, 0, '\n', 0, 'b', 0});
    FILE* stream = nullptr;
    ASSERT_EQ(kelfopen(&stream, fileIn("g.txt"), L"r, ccs=UNICODE"), 0);
    char line[16];
    ASSERT_NE(kelfgets(line, sizeof line, stream), nullptr);
    EXPECT_EQ(std::string(line), "a" + aUmlaut + "\n");
    ASSERT_NE(kelfgets(line, 2, stream), nullptr);
    EXPECT_STREQ(line, "b");
    EXPECT_EQ(kelfgets(line, sizeof line, stream), nullptr);
    EXPECT_NE(kelfeof(stream), 0);
    kelfclose(stream);
}

TEST(kelfread, DeliversUtf16UnitsFromEncodedStreamsAndBytesOtherwise) {
    writeAll(pathIn("r.txt"), bytesOf("a\xC3\xA4"));
    FILE* stream = nullptr;
    ASSERT_EQ(kelfopen(&stream, fileIn("r.txt"), L"r"), 0);
    unsigned char buffer[8] = {};
    EXPECT_EQ(kelfread(buffer, 1, 8, stream), 3u);
    EXPECT_EQ(Bytes(buffer, buffer + 3), bytesOf("a\xC3\xA4"));
    kelfclose(stream);
    ASSERT_EQ(kelfopen(&stream, fileIn("r.txt"), L"r, ccs=UTF-8"), 0);
    EXPECT_EQ(kelfread(buffer, 1, 3, stream), 3u);
    EXPECT_EQ(kelfread(buffer + 3, 1, 5, stream), 1u);
    EXPECT_EQ(Bytes(buffer, buffer + 4), (Bytes{'a', 0, 0xE4, 0}));
    kelfclose(stream);
}

TEST(kelfFunctions, NullStreamsFailQuietly) {
    char buffer[4];
    EXPECT_EQ(kelfclose(nullptr), EOF);
    EXPECT_EQ(kelfread(buffer, 1, 4, nullptr), 0u);
    EXPECT_EQ(kelfeof(nullptr), 0);
    EXPECT_EQ(kelfgets(buffer, 4, nullptr), nullptr);
    EXPECT_EQ(kelfputs("x", nullptr), EOF);
    FILE* stream = nullptr;
    ASSERT_EQ(kelfopen(&stream, fileIn("n.txt"), L"w"), 0);
    EXPECT_EQ(kelfputs(nullptr, stream), EOF);
    EXPECT_EQ(kelfgets(nullptr, 4, stream), nullptr);
    kelfclose(stream);
}

TEST(kelFileExists, FindsFilesFoldersAndPatternMatches) {
    writeAll(pathIn("report.TXT"), bytesOf("x"));
    writeAll(pathIn("noext"), bytesOf("x"));
    fs::create_directory(pathIn("folder"));
    fs::create_directory(pathIn("empty"));
    EXPECT_EQ(kelFileExists(fileIn("report.TXT")), 1);
    EXPECT_EQ(kelFileExists(fileIn("folder")), 1);
    EXPECT_EQ(kelFileExists(fileIn("missing")), 0);
    EXPECT_EQ(kelFileExists(L""), 0);
    EXPECT_EQ(kelFileExists(fileIn("*.txt")), 1);
    EXPECT_EQ(kelFileExists(fileIn("rep?rt.*")), 1);
    EXPECT_EQ(kelFileExists(fileIn("*.xyz")), 0);
    EXPECT_EQ(kelFileExists(fileIn("noe*.*")), 1);
    EXPECT_EQ(kelFileExists(fileIn("missing/*")), 0);
    const std::wstring backslashed = kel::test::widePathIn("folder") + L"\\..\\*.txt";
    EXPECT_EQ(kelFileExists(backslashed.c_str()), 1);
}

TEST(kelDeleteFile, DeletesFilesOnly) {
    writeAll(pathIn("d.txt"), bytesOf("x"));
    fs::create_directory(pathIn("dir"));
    EXPECT_NE(kelDeleteFile(fileIn("d.txt")), 0);
    EXPECT_FALSE(fs::exists(pathIn("d.txt")));
    EXPECT_EQ(kelDeleteFile(fileIn("d.txt")), 0);
    EXPECT_EQ(kelGetLastError(), 2u);
    EXPECT_EQ(kelDeleteFile(fileIn("dir")), 0);
    EXPECT_TRUE(fs::exists(pathIn("dir")));
}

TEST(kelCopyFile, ExistingTargetWithoutOverwrite_FailsWithLastError80) {
    writeAll(pathIn("a.txt"), bytesOf("new"));
    for (bool skipCheck : {false, true}) {
        writeAll(pathIn("b.txt"), bytesOf("old"));
        bool copied = true;
        kelSetLastError(0);
        EXPECT_EQ(kelCopyFile(fileIn("a.txt"), fileIn("b.txt"), false, skipCheck, copied), 0);
        EXPECT_EQ(kelGetLastError(), 80u);
        EXPECT_FALSE(copied);
        EXPECT_EQ(readAll(pathIn("b.txt")), bytesOf("old"));
    }
}

TEST(kelCopyFile, WithOverwrite_ReplacesTheTargetAndKeepsTheTime) {
    writeAll(pathIn("a.txt"), bytesOf("new content"));
    // Whole seconds: the time is set with the precision every system keeps.
    const auto when = std::chrono::floor<std::chrono::seconds>(fs::file_time_type::clock::now() -
                                                               std::chrono::hours(30));
    fs::last_write_time(pathIn("a.txt"), when);
    for (bool skipCheck : {false, true}) {
        writeAll(pathIn("b.txt"), bytesOf("old"));
        bool copied = true;
        EXPECT_NE(kelCopyFile(fileIn("a.txt"), fileIn("b.txt"), true, skipCheck, copied), 0);
        EXPECT_FALSE(copied);
        EXPECT_EQ(readAll(pathIn("b.txt")), bytesOf("new content"));
        EXPECT_EQ(fs::last_write_time(pathIn("b.txt")), when);
    }
}

TEST(kelCopyFile, NewTargetIsCreated_MissingSourceAndSelfCopyFail) {
    writeAll(pathIn("a.txt"), bytesOf("abc"));
    bool copied = true;
    EXPECT_NE(kelCopyFile(fileIn("a.txt"), fileIn("c.txt"), false, false, copied), 0);
    EXPECT_EQ(readAll(pathIn("c.txt")), bytesOf("abc"));
    EXPECT_EQ(kelCopyFile(fileIn("none.txt"), fileIn("d.txt"), true, false, copied), 0);
    EXPECT_EQ(kelGetLastError(), 2u);
    EXPECT_FALSE(fs::exists(pathIn("d.txt")));
    EXPECT_EQ(kelCopyFile(fileIn("a.txt"), fileIn("a.txt"), true, false, copied), 0);
    EXPECT_EQ(readAll(pathIn("a.txt")), bytesOf("abc"));
}

}  // namespace
