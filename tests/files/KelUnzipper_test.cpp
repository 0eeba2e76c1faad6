#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <zlib.h>

#include <algorithm>
#include <ctime>
#include <filesystem>

#include "file_test_support.h"
#include "support/isolation.h"
#include "support/system.h"
#include "zip_test_support.h"

namespace {

using kel::test::Bytes;
using kel::test::bytesOf;
using kel::test::pathIn;
using kel::test::readAll;
using kel::test::widePathIn;
using kel::test::writeAll;
namespace fs = std::filesystem;

// An archive "pack.zip" made by the library from:
//   pack/readme.TXT, pack/doc/b.txt, pack/doc/c.dat, pack/empty/
std::wstring makeArchive() {
    fs::create_directories(pathIn("pack/doc"));
    fs::create_directories(pathIn("pack/empty"));
    writeAll(pathIn("pack/readme.TXT"), bytesOf("read me"));
    writeAll(pathIn("pack/doc/b.txt"), bytesOf("bbbb"));
    writeAll(pathIn("pack/doc/c.dat"), kel::test::randomBytes(100000, 3));
    EXPECT_TRUE(KelZipper::ZipFolder(widePathIn("pack").c_str(), false));
    return widePathIn("pack.zip");
}

std::wstring currentName(KelUnzipper& zip) {
    UZ_FileInfo info;
    return zip.GetFileInfo(info) ? info.szFileName : L"<none>";
}

TEST(KelUnzipper, OpenZip_FailsForNullMissingAndNonArchives) {
    KelUnzipper zip;
    EXPECT_FALSE(zip.OpenZip(nullptr));
    EXPECT_FALSE(zip.OpenZip(L""));
    EXPECT_FALSE(zip.OpenZip(widePathIn("missing.zip").c_str()));
    writeAll(pathIn("text.zip"), bytesOf("not an archive"));
    EXPECT_FALSE(zip.OpenZip(widePathIn("text.zip").c_str()));
    fs::create_directory(pathIn("folder.zip"));
    EXPECT_FALSE(zip.OpenZip(widePathIn("folder.zip").c_str()));
    EXPECT_EQ(zip.GetFileCount(), 0);
    EXPECT_FALSE(zip.GotoFirstFile());
    EXPECT_FALSE(zip.UnzipFile());
    EXPECT_FALSE(zip.Unzip());
    EXPECT_TRUE(zip.CloseZip());
}

TEST(KelUnzipper, GetFileCount_CountsEveryEntry) {
    KelUnzipper zip(makeArchive().c_str());
    EXPECT_EQ(zip.GetFileCount(), 6);
}

TEST(KelUnzipper, GotoWithExtension_SkipsOtherEntriesIgnoringCase) {
    KelUnzipper zip(makeArchive().c_str());
    ASSERT_TRUE(zip.GotoFirstFile(L"txt"));
    EXPECT_EQ(currentName(zip), L"pack\\\\doc\\\\b.txt");
    ASSERT_TRUE(zip.GotoNextFile(L"txt"));
    EXPECT_EQ(currentName(zip), L"pack\\\\readme.TXT");
    EXPECT_FALSE(zip.GotoNextFile(L"txt"));
    EXPECT_TRUE(zip.GotoFirstFile(L"DAT"));
    EXPECT_EQ(currentName(zip), L"pack\\\\doc\\\\c.dat");
    EXPECT_FALSE(zip.GotoFirstFile(L"xml"));
    ASSERT_TRUE(zip.GotoFirstFile(L""));
    EXPECT_EQ(currentName(zip), L"pack\\");
}

TEST(KelUnzipper, GotoFileByIndexAndByName) {
    KelUnzipper zip(makeArchive().c_str());
    ASSERT_TRUE(zip.GotoFile(2));
    EXPECT_EQ(currentName(zip), L"pack\\\\doc\\\\b.txt");
    EXPECT_FALSE(zip.GotoFile(6));
    EXPECT_FALSE(zip.GotoFile(-1));
    ASSERT_TRUE(zip.GotoFile(L"PACK/doc/C.DAT", false));
    EXPECT_EQ(currentName(zip), L"pack\\\\doc\\\\c.dat");
    ASSERT_TRUE(zip.GotoFile(L"pack\\\\readme.txt", false));
    EXPECT_EQ(currentName(zip), L"pack\\\\readme.TXT");
    EXPECT_FALSE(zip.GotoFile(L"b.txt", false));
    ASSERT_TRUE(zip.GotoFile(L"elsewhere\\b.txt", true));
    EXPECT_EQ(currentName(zip), L"pack\\\\doc\\\\b.txt");
    EXPECT_FALSE(zip.GotoFile(L"nothing.txt", true));
    EXPECT_FALSE(zip.GotoFile(nullptr, true));
}

TEST(KelUnzipper, GetFileInfo_IsZeroFilledThenFilled) {
    KelUnzipper zip(makeArchive().c_str());
    UZ_FileInfo info;
    std::memset(&info, 0x55, sizeof info);
    EXPECT_FALSE(zip.GetFileInfo(99, info));
    EXPECT_EQ(info.szFileName[0], L'\0');
    EXPECT_EQ(info.dwCRC, 0u);
    ASSERT_TRUE(zip.GetFileInfo(2, info));
    EXPECT_STREQ(info.szFileName, L"pack\\\\doc\\\\b.txt");
    EXPECT_STREQ(info.szComment, L"");
    EXPECT_EQ(info.dwUncompressedSize, 4u);
    EXPECT_EQ(info.dwCRC, crc32(0, reinterpret_cast<const Bytef*>("bbbb"), 4));
    EXPECT_EQ(info.dwCompressionMethod, 8u);
    EXPECT_FALSE(info.bFolder);
    ASSERT_TRUE(zip.GetFileInfo(0, info));
    EXPECT_TRUE(info.bFolder);
    EXPECT_EQ(info.dwExternalAttrib & 0x10, 0x10u);
}

void expectExtracted(const std::string& folder) {
    EXPECT_EQ(readAll(folder + "/pack/readme.TXT"), bytesOf("read me"));
    EXPECT_EQ(readAll(folder + "/pack/doc/b.txt"), bytesOf("bbbb"));
    EXPECT_EQ(readAll(folder + "/pack/doc/c.dat"), kel::test::randomBytes(100000, 3));
    EXPECT_TRUE(fs::is_directory(folder + "/pack/empty"));
}

TEST(KelUnzipper, UnzipTo_ExtractsEverythingWithFolders) {
    KelUnzipper zip(makeArchive().c_str());
    EXPECT_TRUE(zip.UnzipTo((widePathIn("out") + L"\\deep\\er").c_str()));
    expectExtracted(pathIn("out/deep/er"));
}

TEST(KelUnzipper, Unzip_UsesTheArchivesFolderOrTheOutputFolder) {
    const std::wstring archive = makeArchive();
    fs::rename(pathIn("pack"), pathIn("original"));
    KelUnzipper zip(archive.c_str());
    EXPECT_TRUE(zip.Unzip());
    expectExtracted(kel::test::tempDir());
    EXPECT_TRUE(zip.SetOutputFolder(widePathIn("a/b/c").c_str()));
    EXPECT_TRUE(fs::is_directory(pathIn("a/b/c")));
    EXPECT_TRUE(zip.Unzip());
    expectExtracted(pathIn("a/b/c"));
}

TEST(KelUnzipper, StaticUnzip_OpensAndExtracts) {
    const std::wstring archive = makeArchive();
    EXPECT_TRUE(KelUnzipper::Unzip(archive.c_str(), widePathIn("s").c_str()));
    expectExtracted(pathIn("s"));
    EXPECT_FALSE(KelUnzipper::Unzip(widePathIn("none.zip").c_str(), widePathIn("t").c_str()));
    EXPECT_FALSE(fs::exists(pathIn("t")));
}

TEST(KelUnzipper, IgnorePath_FlattensFilesButKeepsFolderEntries) {
    KelUnzipper zip(makeArchive().c_str());
    EXPECT_TRUE(zip.UnzipTo(widePathIn("flat").c_str(), true));
    EXPECT_EQ(readAll(pathIn("flat/b.txt")), bytesOf("bbbb"));
    EXPECT_EQ(readAll(pathIn("flat/readme.TXT")), bytesOf("read me"));
    EXPECT_TRUE(fs::exists(pathIn("flat/c.dat")));
    EXPECT_TRUE(fs::is_directory(pathIn("flat/pack/empty")));
    EXPECT_FALSE(fs::exists(pathIn("flat/pack/doc/b.txt")));
}

TEST(KelUnzipper, UnzipFile_OverwritesAndRestoresTheTime) {
    fs::create_directories(pathIn("pack"));
    writeAll(pathIn("pack/t.txt"), bytesOf("timed"));
    const auto when = fs::file_time_type::clock::now() - std::chrono::hours(24 * 40);
    fs::last_write_time(pathIn("pack/t.txt"), when);
    ASSERT_TRUE(KelZipper::ZipFolder(widePathIn("pack").c_str(), false));
    fs::create_directories(pathIn("out/pack"));
    writeAll(pathIn("out/pack/t.txt"), bytesOf("older and longer"));
    KelUnzipper zip(widePathIn("pack.zip").c_str());
    ASSERT_TRUE(zip.UnzipFile(1, widePathIn("out").c_str()));
    EXPECT_EQ(readAll(pathIn("out/pack/t.txt")), bytesOf("timed"));
    const auto delta = fs::last_write_time(pathIn("out/pack/t.txt")) - when;
    EXPECT_LE(std::chrono::abs(std::chrono::duration_cast<std::chrono::seconds>(delta)).count(), 2);
}

TEST(KelUnzipper, SetOutputFolder_RefusesAFile) {
    writeAll(pathIn("file"), bytesOf("x"));
    KelUnzipper zip;
    EXPECT_FALSE(zip.SetOutputFolder(widePathIn("file").c_str()));
    EXPECT_FALSE(zip.SetOutputFolder(nullptr));
    EXPECT_FALSE(zip.SetOutputFolder(widePathIn("file/below").c_str()));
}

TEST(KelUnzipper, EmptyArchive_CannotBeUnzipped) {
    { KelZipper empty(widePathIn("empty.zip").c_str(), nullptr, false); }
    KelUnzipper zip(widePathIn("empty.zip").c_str());
    EXPECT_EQ(zip.GetFileCount(), 0);
    EXPECT_FALSE(zip.UnzipTo(widePathIn("out").c_str()));
}

TEST(KelUnzipper, EmptyArchiveOfTwentyTwoBytes_Opens) {
    const Bytes end = {'P', 'K', 5, 6, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    writeAll(pathIn("bare.zip"), end);
    KelUnzipper zip;
    EXPECT_TRUE(zip.OpenZip(widePathIn("bare.zip").c_str()));
    EXPECT_EQ(zip.GetFileCount(), 0);
    EXPECT_FALSE(zip.GotoFirstFile());
    UZ_FileInfo info;
    EXPECT_FALSE(zip.GetFileInfo(0, info));
    EXPECT_FALSE(zip.UnzipTo(widePathIn("out").c_str()));
    EXPECT_FALSE(zip.Unzip());
}

// A folder beside the target that the tests' links point to.
void expectOutsideUntouched() {
    EXPECT_TRUE(fs::is_empty(pathIn("outside")));
}

TEST(KelUnzipper, LinkInsideTheTarget_IsNotFollowed) {
    KEL_SKIP_ON_WINDOWS("creating links needs privileges there");
    const std::wstring archive = makeArchive();
    fs::create_directories(pathIn("outside"));
    fs::create_directories(pathIn("out"));
    // "pack" in the target is a link out of it: every entry runs through it.
    fs::create_directory_symlink(pathIn("outside"), pathIn("out/pack"));
    KelUnzipper zip(archive.c_str());
    EXPECT_FALSE(zip.UnzipTo(widePathIn("out").c_str()));
    EXPECT_FALSE(zip.UnzipFile(1, widePathIn("out").c_str()));
    EXPECT_FALSE(zip.UnzipFile(0, widePathIn("out").c_str()));  // the folder entry too
    expectOutsideUntouched();
    // A link deeper down, and one in place of the file itself.
    fs::remove(pathIn("out/pack"));
    fs::create_directories(pathIn("out/pack"));
    fs::create_directory_symlink(pathIn("outside"), pathIn("out/pack/doc"));
    fs::create_symlink(pathIn("outside/victim"), pathIn("out/pack/readme.TXT"));
    EXPECT_FALSE(zip.UnzipFile(2, widePathIn("out").c_str()));  // pack/doc/b.txt
    EXPECT_FALSE(zip.UnzipFile(5, widePathIn("out").c_str()));  // pack/readme.TXT
    expectOutsideUntouched();
    EXPECT_TRUE(fs::is_symlink(pathIn("out/pack/readme.TXT")));
    // Links outside the target are the user's business: the target itself
    // may be one.
    fs::create_directory_symlink(pathIn("outside"), pathIn("via"));
    EXPECT_TRUE(zip.UnzipTo(widePathIn("via").c_str()));
    EXPECT_EQ(readAll(pathIn("outside/pack/doc/b.txt")), bytesOf("bbbb"));
}

TEST(KelUnzipper, ExistingFile_IsReplacedNotWrittenThrough) {
    KEL_SKIP_ON_WINDOWS("hard links are made with POSIX calls here");
    const std::wstring archive = makeArchive();
    fs::create_directories(pathIn("out/pack"));
    writeAll(pathIn("elsewhere.txt"), bytesOf("keep me"));
    fs::create_hard_link(pathIn("elsewhere.txt"), pathIn("out/pack/readme.TXT"));
    KelUnzipper zip(archive.c_str());
    EXPECT_TRUE(zip.UnzipTo(widePathIn("out").c_str()));
    EXPECT_EQ(readAll(pathIn("out/pack/readme.TXT")), bytesOf("read me"));
    EXPECT_EQ(readAll(pathIn("elsewhere.txt")), bytesOf("keep me"));
}

TEST(KelUnzipper, DamagedEntryInTheMiddle_StopsTheRunAndLeavesNoFileForIt) {
    const std::wstring archive = makeArchive();
    // Entry 3 (pack/doc/c.dat, 100,000 random bytes): one byte of its data
    // changed in place.
    KelUnzipper probe(archive.c_str());
    UZ_FileInfo info;
    ASSERT_TRUE(probe.GetFileInfo(3, info));
    ASSERT_STREQ(info.szFileName, L"pack\\\\doc\\\\c.dat");
    probe.CloseZip();
    Bytes bytes = readAll(pathIn("pack.zip"));
    const std::string name = "pack//doc//c.dat";
    const auto header = std::search(bytes.begin(), bytes.end(), name.begin(), name.end());
    ASSERT_NE(header, bytes.end());
    *(header + static_cast<long>(name.size()) + 5000) ^= 0x20;
    writeAll(pathIn("pack.zip"), bytes);
    KelUnzipper zip(archive.c_str());
    EXPECT_FALSE(zip.UnzipTo(widePathIn("out").c_str()));
    EXPECT_EQ(readAll(pathIn("out/pack/doc/b.txt")), bytesOf("bbbb"));
    EXPECT_FALSE(fs::exists(pathIn("out/pack/doc/c.dat")));
    EXPECT_FALSE(fs::exists(pathIn("out/pack/readme.TXT")));  // after it, not reached
}

class UnzipperProbe : public KelUnzipper {
public:
    using KelUnzipper::CreateFilePath;
    using KelUnzipper::CreateFolder;
    using KelUnzipper::SetFileModTime;
};

TEST(KelUnzipper, CreateFolder_MakesParentsAndRefusesFiles) {
    EXPECT_TRUE(UnzipperProbe::CreateFolder((widePathIn("x") + L"\\y/z\\").c_str()));
    EXPECT_TRUE(fs::is_directory(pathIn("x/y/z")));
    EXPECT_TRUE(UnzipperProbe::CreateFolder(widePathIn("x/y").c_str()));
    writeAll(pathIn("x/f"), bytesOf("f"));
    EXPECT_FALSE(UnzipperProbe::CreateFolder(widePathIn("x/f").c_str()));
    EXPECT_FALSE(UnzipperProbe::CreateFolder(widePathIn("x/f/g").c_str()));
    EXPECT_FALSE(UnzipperProbe::CreateFolder(L""));
    EXPECT_FALSE(UnzipperProbe::CreateFolder(nullptr));
    // Without any separator the path is taken as it stands.
    fs::current_path(pathIn("x"));
    EXPECT_TRUE(UnzipperProbe::CreateFolder(L"plain"));
    EXPECT_FALSE(fs::exists(pathIn("x/plain")));
}

TEST(KelUnzipper, CreateFilePath_MakesTheFoldersOfAFile) {
    EXPECT_TRUE(UnzipperProbe::CreateFilePath((widePathIn("p") + L"\\q\\file.txt").c_str()));
    EXPECT_TRUE(fs::is_directory(pathIn("p/q")));
    EXPECT_FALSE(fs::exists(pathIn("p/q/file.txt")));
    EXPECT_FALSE(UnzipperProbe::CreateFilePath(L"file.txt"));
}

TEST(KelUnzipper, SetFileModTime_TakesTheDosDateAsLocalTime) {
    writeAll(pathIn("m.txt"), bytesOf("m"));
    // 2009-06-15 13:45:30: date (29 << 9 | 6 << 5 | 15), time (13 << 11 | 45 << 5 | 15).
    const unsigned long dos =
        ((29ul << 9 | 6ul << 5 | 15ul) << 16) | (13ul << 11 | 45ul << 5 | 15ul);
    ASSERT_TRUE(UnzipperProbe::SetFileModTime(widePathIn("m.txt").c_str(), dos));
    const std::tm local = kel::test::localTime(kel::test::modificationTime(pathIn("m.txt")));
    EXPECT_EQ(local.tm_year, 109);
    EXPECT_EQ(local.tm_mon, 5);
    EXPECT_EQ(local.tm_mday, 15);
    EXPECT_EQ(local.tm_hour, 13);
    EXPECT_EQ(local.tm_min, 45);
    EXPECT_EQ(local.tm_sec, 30);
    EXPECT_FALSE(UnzipperProbe::SetFileModTime(widePathIn("none.txt").c_str(), dos));
    EXPECT_FALSE(UnzipperProbe::SetFileModTime(widePathIn("m.txt").c_str(), 0));  // month 0
}

}  // namespace
