#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <zlib.h>

#include <ctime>
#include <filesystem>

#include "file_test_support.h"
#include "support/isolation.h"
#include "zip_test_support.h"

namespace {

using kel::test::Bytes;
using kel::test::bytesOf;
using kel::test::entryNames;
using kel::test::pathIn;
using kel::test::widePathIn;
using kel::test::writeAll;
using Names = std::vector<std::wstring>;
namespace fs = std::filesystem;

// A tree under the test folder:
//   data/a.txt, data/sub/b.txt, data/.hidden, data/sub/empty/
void makeTree() {
    fs::create_directories(pathIn("data/sub/empty"));
    writeAll(pathIn("data/a.txt"), bytesOf("alpha"));
    writeAll(pathIn("data/sub/b.txt"), bytesOf("bravo!"));
    writeAll(pathIn("data/.hidden"), bytesOf("secret"));
}

Z_FileInfo countsOf(KelZipper& zip) {
    Z_FileInfo info = {-1, -1, 1};
    zip.GetFileInfo(info);
    return info;
}

TEST(KelZipper, OpenZip_RefusesNullAndEmptyPaths) {
    KelZipper zip;
    EXPECT_FALSE(zip.OpenZip(nullptr, nullptr, false));
    EXPECT_FALSE(zip.OpenZip(L"", nullptr, false));
    EXPECT_FALSE(zip.AddFileToZip(L"x", false));
    EXPECT_FALSE(zip.AddFolderToZip(L"x", false));
    EXPECT_TRUE(zip.CloseZip());
    const Z_FileInfo info = countsOf(zip);
    EXPECT_EQ(info.nFileCount, 0);
    EXPECT_EQ(info.nFolderCount, 0);
    EXPECT_EQ(info.dwUncompressedSize, 0u);
}

TEST(KelZipper, NullRootFolder_IsTheArchivesFolder) {
    makeTree();
    {
        KelZipper zip((widePathIn("data") + L"\\out.zip").c_str(), nullptr, false);
        EXPECT_TRUE(zip.AddFileToZip(L"sub\\b.txt", false));
        EXPECT_TRUE(zip.AddFileToZip(L".\\a.txt", false));
        EXPECT_TRUE(zip.AddFileToZip(L"sub/b.txt", true));
        const Z_FileInfo info = countsOf(zip);
        EXPECT_EQ(info.nFileCount, 3);
        EXPECT_EQ(info.dwUncompressedSize, 17u);
    }
    // "sub//b.txt" in the archive: every "\" written as "//".
    EXPECT_EQ(entryNames(widePathIn("data/out.zip")), (Names{L"sub\\\\b.txt", L"a.txt", L"b.txt"}));
}

TEST(KelZipper, GivenRootFolder_MakesNamesRelativeToIt) {
    makeTree();
    const std::wstring root = widePathIn("data");
    KelZipper zip(widePathIn("out.zip").c_str(), root.c_str(), false);
    EXPECT_TRUE(zip.AddFileToZip((root + L"\\sub\\b.txt").c_str(), false));
    EXPECT_TRUE(zip.AddFileToZip((root + L"/a.txt").c_str(), false));
    zip.CloseZip();
    EXPECT_EQ(entryNames(widePathIn("out.zip")), (Names{L"sub\\\\b.txt", L"a.txt"}));
}

TEST(KelZipper, EmptyRootFolder_TakesRelativePathsFromTheCurrentFolder) {
    makeTree();
    fs::current_path(pathIn("data"));
    KelZipper zip(widePathIn("out.zip").c_str(), L"", false);
    EXPECT_TRUE(zip.AddFileToZip(L"sub\\b.txt", false));
    zip.CloseZip();
    EXPECT_EQ(entryNames(widePathIn("out.zip")), (Names{L"sub\\\\b.txt"}));
}

TEST(KelZipper, PathsOutsideTheRootFolder_AreRefused) {
    makeTree();
    fs::create_directories(pathIn("other"));
    writeAll(pathIn("other/c.txt"), bytesOf("c"));
    KelZipper zip(widePathIn("data/out.zip").c_str(), nullptr, false);
    EXPECT_FALSE(zip.AddFileToZip(L"..\\other\\c.txt", false));
    EXPECT_FALSE(zip.AddFileToZip(L"../other/c.txt", false));
    EXPECT_FALSE(zip.AddFileToZip(L"sub\\..\\..\\other\\c.txt", false));
    EXPECT_FALSE(zip.AddFileToZip(widePathIn("other/c.txt").c_str(), false));
    EXPECT_FALSE(zip.AddFileToZip(L"missing.txt", false));
    // With ignorePath only the file name counts.
    EXPECT_TRUE(zip.AddFileToZip(L"..\\other\\c.txt", true));
    zip.CloseZip();
    EXPECT_EQ(entryNames(widePathIn("data/out.zip")), (Names{L"c.txt"}));
}

TEST(KelZipper, AddFileToFolderInZip_KeepsBackslashes) {
    makeTree();
    const std::wstring a = widePathIn("data/a.txt");
    KelZipper zip(widePathIn("out.zip").c_str(), nullptr, false);
    EXPECT_TRUE(zip.AddFileToZip(a.c_str(), L"docs\\sub"));
    EXPECT_TRUE(zip.AddFileToZip(a.c_str(), L"\\top"));
    EXPECT_TRUE(zip.AddFileToZip(a.c_str(), L"forward/slash"));
    EXPECT_TRUE(zip.AddFileToZip(a.c_str(), static_cast<const wchar_t*>(nullptr)));
    EXPECT_TRUE(zip.AddFileToZip(a.c_str(), L""));
    EXPECT_FALSE(zip.AddFileToZip(a.c_str(), L"C:\\x"));
    EXPECT_FALSE(zip.AddFileToZip(a.c_str(), L"..\\up"));
    EXPECT_FALSE(zip.AddFileToZip(widePathIn("data/none.txt").c_str(), L"docs"));
    EXPECT_EQ(countsOf(zip).nFileCount, 5);
    zip.CloseZip();
    EXPECT_EQ(
        entryNames(widePathIn("out.zip")),
        (Names{L"docs\\sub\\a.txt", L"top\\a.txt", L"forward\\slash\\a.txt", L"a.txt", L"a.txt"}));
}

TEST(KelZipper, AddFolderToZip_WritesTheFolderThenItsChildrenSkippingDotNames) {
    makeTree();
    KelZipper zip(widePathIn("out.zip").c_str(), nullptr, false);
    EXPECT_TRUE(zip.AddFolderToZip(widePathIn("data").c_str(), false));
    const Z_FileInfo info = countsOf(zip);
    EXPECT_EQ(info.nFolderCount, 3);  // data, sub, empty
    EXPECT_EQ(info.nFileCount, 2);
    EXPECT_EQ(info.dwUncompressedSize, 11u);
    zip.CloseZip();
    EXPECT_EQ(entryNames(widePathIn("out.zip")),
              (Names{L"data\\", L"data\\\\a.txt", L"data\\sub\\", L"data\\\\sub\\\\b.txt",
                     L"data\\sub\\empty\\"}));
}

TEST(KelZipper, AddFolderToZip_WithIgnorePath_UsesOnlyTheLastNames) {
    makeTree();
    KelZipper zip(widePathIn("out.zip").c_str(), nullptr, false);
    EXPECT_TRUE(zip.AddFolderToZip(widePathIn("data").c_str(), true));
    zip.CloseZip();
    EXPECT_EQ(entryNames(widePathIn("out.zip")),
              (Names{L"data\\", L"a.txt", L"sub\\", L"b.txt", L"empty\\"}));
}

TEST(KelZipper, AddFolderToZip_CountsTheFolderEvenWhenItFails) {
    makeTree();
    KelZipper zip(widePathIn("data/out.zip").c_str(), nullptr, false);
    EXPECT_FALSE(zip.AddFolderToZip(widePathIn("missing").c_str(), false));
    EXPECT_FALSE(zip.AddFolderToZip(widePathIn("data/a.txt").c_str(), false));
    EXPECT_FALSE(zip.AddFolderToZip(nullptr, false));
    EXPECT_EQ(countsOf(zip).nFolderCount, 3);
    EXPECT_TRUE(zip.OpenZip(widePathIn("data/out.zip").c_str(), nullptr, false));
    EXPECT_EQ(countsOf(zip).nFolderCount, 0);
}

TEST(KelZipper, AddFolderToZip_OfTheRootFolderItself_FailsAndIsCounted) {
    makeTree();
    const std::wstring root = widePathIn("data");
    KelZipper zip(widePathIn("out.zip").c_str(), root.c_str(), false);
    EXPECT_FALSE(zip.AddFolderToZip(root.c_str(), false));
    EXPECT_FALSE(zip.AddFolderToZip((root + L"\\").c_str(), false));
    const Z_FileInfo info = countsOf(zip);
    EXPECT_EQ(info.nFolderCount, 2);
    EXPECT_EQ(info.nFileCount, 0);
    // With ignorePath the folder's own name is its entry.
    EXPECT_TRUE(zip.AddFolderToZip(root.c_str(), true));
    zip.CloseZip();
    EXPECT_EQ(entryNames(widePathIn("out.zip")),
              (Names{L"data\\", L"a.txt", L"sub\\", L"b.txt", L"empty\\"}));
}

TEST(KelZipper, ZipFolder_WritesAnArchiveBesideTheFolder) {
    makeTree();
    EXPECT_TRUE(KelZipper::ZipFolder(widePathIn("data").c_str(), false));
    EXPECT_EQ(entryNames(widePathIn("data.zip")).size(), 5u);
    EXPECT_TRUE(KelZipper::ZipFolder((widePathIn("data") + L"\\sub\\").c_str(), false));
    EXPECT_EQ(entryNames(widePathIn("data/sub.zip")),
              (Names{L"sub\\", L"sub\\\\b.txt", L"sub\\empty\\"}));
    EXPECT_FALSE(KelZipper::ZipFolder(widePathIn("missing").c_str(), false));
    EXPECT_FALSE(fs::exists(pathIn("missing.zip")));
    EXPECT_FALSE(KelZipper::ZipFolder(nullptr, false));
}

TEST(KelZipper, ZipFile_ReplacesTheExtensionWithZip) {
    makeTree();
    EXPECT_TRUE(KelZipper::ZipFile(widePathIn("data/sub/b.txt").c_str()));
    EXPECT_EQ(entryNames(widePathIn("data/sub/b.zip")), (Names{L"b.txt"}));
    fs::current_path(pathIn("data"));
    EXPECT_TRUE(KelZipper::ZipFile(L"a.txt"));
    EXPECT_EQ(entryNames(widePathIn("data/a.zip")), (Names{L"a.txt"}));
    EXPECT_FALSE(KelZipper::ZipFile(L"..\\data\\a.txt"));
    EXPECT_FALSE(KelZipper::ZipFile(L"none.txt"));
    EXPECT_FALSE(fs::exists(pathIn("data/none.zip")));
    EXPECT_FALSE(KelZipper::ZipFile(L"a.zip"));  // would replace itself
    EXPECT_FALSE(KelZipper::ZipFile(nullptr));
}

TEST(KelZipper, Entries_CarryTimeAttributesAndTheUtf8FlagForOtherNames) {
    makeTree();
    writeAll(pathIn("data/Tr\xC3\xA4ger.txt"), bytesOf("x"));
    const std::time_t when = std::time(nullptr) - 86400 * 3;
    fs::last_write_time(pathIn("data/a.txt"),
                        fs::file_time_type::clock::now() - std::chrono::hours(72));
    {
        KelZipper zip(widePathIn("out.zip").c_str(), widePathIn("data").c_str(), false);
        zip.AddFileToZip(L"a.txt", false);
        zip.AddFileToZip(L"Tr\u00E4ger.txt", false);
        zip.AddFolderToZip(L"sub", false);
    }
    KelUnzipper unzip(widePathIn("out.zip").c_str());
    UZ_FileInfo info;
    ASSERT_TRUE(unzip.GetFileInfo(0, info));
    EXPECT_STREQ(info.szFileName, L"a.txt");
    EXPECT_EQ(info.dwUncompressedSize, 5u);
    EXPECT_EQ(info.dwCompressionMethod, 8u);
    EXPECT_EQ(info.dwCRC, crc32(0, reinterpret_cast<const Bytef*>("alpha"), 5));
    EXPECT_EQ(info.dwExternalAttrib, 0x20u);
    // Written as 0; minizip marks an entry it found to be text with bit 0.
    EXPECT_EQ(info.dwInternalAttrib & ~1u, 0u);
    EXPECT_EQ(info.dwFlags & 0x800, 0u);
    EXPECT_FALSE(info.bFolder);
    const std::tm local = kel::test::localTime(when);
    const uint32_t date = info.dwDosDate >> 16;
    EXPECT_EQ(static_cast<int>(date >> 9) + 1980, local.tm_year + 1900);
    EXPECT_EQ(static_cast<int>((date >> 5) & 0xF), local.tm_mon + 1);
    EXPECT_EQ(static_cast<int>(date & 0x1F), local.tm_mday);
    ASSERT_TRUE(unzip.GetFileInfo(1, info));
    EXPECT_STREQ(info.szFileName, L"Tr\u00E4ger.txt");
    EXPECT_EQ(info.dwFlags & 0x800, 0x800u);
    ASSERT_TRUE(unzip.GetFileInfo(2, info));
    EXPECT_STREQ(info.szFileName, L"sub\\");
    EXPECT_EQ(info.dwExternalAttrib, 0x10u);
    EXPECT_TRUE(info.bFolder);
}

TEST(KelZipper, Append_WritesANewArchiveBehindTheExistingFile) {
    makeTree();
    {
        KelZipper zip(widePathIn("out.zip").c_str(), widePathIn("data").c_str(), false);
        zip.AddFileToZip(L"a.txt", false);
    }
    const Bytes first = kel::test::readAll(pathIn("out.zip"));
    {
        KelZipper zip(widePathIn("out.zip").c_str(), widePathIn("data").c_str(), true);
        zip.AddFileToZip(L"sub\\b.txt", false);
    }
    const Bytes both = kel::test::readAll(pathIn("out.zip"));
    ASSERT_GT(both.size(), first.size());
    EXPECT_TRUE(std::equal(first.begin(), first.end(), both.begin()));
    EXPECT_EQ(entryNames(widePathIn("out.zip")), (Names{L"sub\\\\b.txt"}));
    // Appending to a file that does not exist simply creates it.
    {
        KelZipper zip(widePathIn("new.zip").c_str(), widePathIn("data").c_str(), true);
        EXPECT_TRUE(zip.AddFileToZip(L"a.txt", false));
    }
    EXPECT_EQ(entryNames(widePathIn("new.zip")), (Names{L"a.txt"}));
}

class ZipperProbe : public KelZipper {
public:
    using KelZipper::KelZipper;
    using KelZipper::PrepareSourcePath;
};

TEST(KelZipper, PrepareSourcePath_JoinsRelativePathsToTheRootFolder) {
    ZipperProbe zip(widePathIn("out.zip").c_str(), L"C:\\root", false);
    wchar_t path[MAX_PATH + 1] = L"sub\\x.txt";
    zip.PrepareSourcePath(path);
    EXPECT_STREQ(path, L"C:\\root\\sub\\x.txt");
    wchar_t full[MAX_PATH + 1] = L"D:\\x.txt";
    zip.PrepareSourcePath(full);
    EXPECT_STREQ(full, L"D:\\x.txt");
    zip.PrepareSourcePath(nullptr);
}

}  // namespace
