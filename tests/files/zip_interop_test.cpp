// Archives against tools nobody here wrote: the library's archives are
// tested and extracted by Info-ZIP's unzip, 7-Zip, bsdtar and Python's
// zipfile; archives made by each of them are extracted by the library, and
// what it cannot extract exactly (other compression methods) it refuses.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "file_test_support.h"
#include "support/isolation.h"
#include "support/system.h"

namespace {

using kel::test::Bytes;
using kel::test::bytesOf;
using kel::test::pathIn;
using kel::test::quoted;
using kel::test::readAll;
using kel::test::widePathIn;
using kel::test::writeAll;
namespace fs = std::filesystem;

// The tree every test archives: nested and empty folders, an empty file,
// a 5 MiB random file and names beyond ASCII.
constexpr char kToolsOnTheBuildMachine[] =
    "Info-ZIP, 7-Zip, bsdtar and Python run on the build machine, not beside the Windows program";

const std::vector<std::string> kFiles = {"a.txt",
                                         "empty.dat",
                                         "random.bin",
                                         "Tr\xC3\xA4ger \xE2\x82\xAC.txt",
                                         "nested/na\xC3\xAFve.txt",
                                         "nested/deeper/z.nc1"};
const std::vector<std::string> kEmptyFolders = {"emptydir", "nested/deeper/void"};

Bytes contentOf(const std::string& name) {
    if (name == "random.bin")
        return kel::test::randomBytes(5 << 20, 42);
    if (name == "empty.dat")
        return Bytes();
    return bytesOf("content of " + name + "\n");
}

void makeTree(const std::string& root) {
    for (const std::string& folder : kEmptyFolders)
        fs::create_directories(fs::u8path(root + "/" + folder));
    for (const std::string& file : kFiles) {
        fs::create_directories(fs::u8path(root + "/" + file).parent_path());
        writeAll(root + "/" + file, contentOf(file));
    }
}

void expectSameTree(const std::string& root) {
    for (const std::string& file : kFiles) {
        SCOPED_TRACE(file);
        EXPECT_EQ(readAll(root + "/" + file), contentOf(file));
    }
    for (const std::string& folder : kEmptyFolders)
        EXPECT_TRUE(fs::is_directory(fs::u8path(root + "/" + folder))) << folder;
}

time_t modified(const std::string& path) {
    const time_t when = kel::test::modificationTime(path);
    EXPECT_NE(when, 0) << path;
    return when;
}

TEST(ZipInterop, LibraryArchive_PassesInfoZipsTest) {
    KEL_SKIP_ON_WINDOWS(kToolsOnTheBuildMachine);
    makeTree(pathIn("tree"));
    ASSERT_TRUE(KelZipper::ZipFolder(widePathIn("tree").c_str(), false));
    std::string output;
    EXPECT_EQ(kel::test::run("unzip -t " + quoted(pathIn("tree.zip")) + " 2>&1", &output), 0)
        << output;
    EXPECT_NE(output.find("No errors detected"), std::string::npos) << output;
}

TEST(ZipInterop, LibraryArchive_IsListedByPythonsZipfile) {
    KEL_SKIP_ON_WINDOWS(kToolsOnTheBuildMachine);
    makeTree(pathIn("tree"));
    ASSERT_TRUE(KelZipper::ZipFolder(widePathIn("tree").c_str(), false));
    writeAll(pathIn("list.py"),
             bytesOf("import sys, zipfile\n"
                     "z = zipfile.ZipFile(sys.argv[1])\n"
                     "assert z.testzip() is None\n"
                     "for i in z.infolist():\n"
                     "    sys.stdout.buffer.write(('%s|%d|%d\\n' % (i.filename, i.file_size,"
                     " i.is_dir() or bool(i.external_attr & 0x10))).encode('utf-8'))\n"));
    std::string output;
    ASSERT_EQ(
        kel::test::run("python3 " + quoted(pathIn("list.py")) + " " + quoted(pathIn("tree.zip")),
                       &output),
        0);
    const auto file = [](const std::string& name, const std::string& path) {
        return "tree//" + path + "|" + std::to_string(contentOf(name).size()) + "|0\n";
    };
    // Children in name order; files written with "//", folder entries with "\".
    EXPECT_EQ(output, "tree\\|0|1\n" +
                          file("Tr\xC3\xA4ger \xE2\x82\xAC.txt", "Tr\xC3\xA4ger \xE2\x82\xAC.txt") +
                          file("a.txt", "a.txt") + file("empty.dat", "empty.dat") +
                          "tree\\emptydir\\|0|1\n"
                          "tree\\nested\\|0|1\n"
                          "tree\\nested\\deeper\\|0|1\n"
                          "tree\\nested\\deeper\\void\\|0|1\n" +
                          file("nested/deeper/z.nc1", "nested//deeper//z.nc1") +
                          file("nested/na\xC3\xAFve.txt", "nested//na\xC3\xAFve.txt") +
                          file("random.bin", "random.bin"));
}

TEST(ZipInterop, LibraryArchive_ExtractsWithInfoZipToIdenticalBytes) {
    KEL_SKIP_ON_WINDOWS(kToolsOnTheBuildMachine);
    makeTree(pathIn("tree"));
    ASSERT_TRUE(KelZipper::ZipFolder(widePathIn("tree").c_str(), false));
    std::string output;
    // Exit code 1 is Info-ZIP's warning that folder names use backslashes
    // (which it then takes as separators); anything worse fails.
    const int status = kel::test::run("LC_ALL=C.UTF-8 unzip -q " + quoted(pathIn("tree.zip")) +
                                          " -d " + quoted(pathIn("out")) + " 2>&1",
                                      &output);
    EXPECT_LE(status, 1) << output;
    expectSameTree(pathIn("out/tree"));
}

TEST(ZipInterop, InfoZipArchive_ExtractsWithTheLibraryToIdenticalBytesAndTimes) {
    KEL_SKIP_ON_WINDOWS(kToolsOnTheBuildMachine);
    makeTree(pathIn("tree"));
    const auto old = fs::file_time_type::clock::now() - std::chrono::hours(24 * 400);
    fs::last_write_time(pathIn("tree/a.txt"), old);
    ASSERT_EQ(
        kel::test::run("cd " + quoted(kel::test::tempDir()) + " && zip -q -r info.zip tree 2>&1"),
        0);
    ASSERT_TRUE(KelUnzipper::Unzip(widePathIn("info.zip").c_str(), widePathIn("out").c_str()));
    expectSameTree(pathIn("out/tree"));
    for (const std::string& file : kFiles) {
        SCOPED_TRACE(file);
        const time_t original = modified(pathIn("tree/" + file));
        const time_t extracted = modified(pathIn("out/tree/" + file));
        EXPECT_LE(std::abs(static_cast<long>(extracted - original)), 2);
    }
}

TEST(ZipInterop, PythonArchiveWithUtf8Names_ExtractsWithTheLibrary) {
    KEL_SKIP_ON_WINDOWS(kToolsOnTheBuildMachine);
    writeAll(pathIn("make.py"),
             bytesOf("import zipfile, sys\n"
                     "with zipfile.ZipFile(sys.argv[1], 'w', zipfile.ZIP_DEFLATED) as z:\n"
                     "    z.writestr('dir/\\u00e4\\u20ac.txt', b'utf8 name')\n"
                     "    z.writestr('plain.txt', b'x' * 100000)\n"));
    ASSERT_EQ(
        kel::test::run("python3 " + quoted(pathIn("make.py")) + " " + quoted(pathIn("py.zip"))), 0);
    KelUnzipper zip(widePathIn("py.zip").c_str());
    UZ_FileInfo info;
    ASSERT_TRUE(zip.GetFileInfo(0, info));
    EXPECT_STREQ(info.szFileName, L"dir\\\u00E4\u20AC.txt");
    EXPECT_EQ(info.dwFlags & 0x800, 0x800u);
    ASSERT_TRUE(zip.UnzipTo(widePathIn("out").c_str()));
    EXPECT_EQ(readAll(pathIn("out/dir/\xC3\xA4\xE2\x82\xAC.txt")), bytesOf("utf8 name"));
    EXPECT_EQ(readAll(pathIn("out/plain.txt")), Bytes(100000, 'x'));
}

// Runs a Python script given as text; true when it exits with 0.
bool python(const std::string& script, const std::string& arguments = "",
            std::string* output = nullptr) {
    writeAll(pathIn("script.py"), bytesOf(script));
    return kel::test::run("python3 " + quoted(pathIn("script.py")) + " " + arguments, output) == 0;
}

// The regular files below `folder`, relative to it.
std::vector<std::string> filesBelow(const std::string& folder) {
    std::vector<std::string> files;
    if (!fs::exists(folder))
        return files;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file())
            files.push_back(fs::relative(entry.path(), folder).generic_string());
    }
    std::sort(files.begin(), files.end());
    return files;
}

// Every test of the other tools passes the archive.
void expectEveryToolAccepts(const std::string& archive) {
    std::string output;
    EXPECT_EQ(kel::test::run("unzip -tqq " + quoted(archive) + " 2>&1", &output), 0) << output;
    EXPECT_EQ(kel::test::run("7z t " + quoted(archive) + " 2>&1", &output), 0) << output;
    EXPECT_NE(output.find("Everything is Ok"), std::string::npos) << output;
    // bsdtar converts names to the locale's character set; in the "C"
    // locale of a bare machine it cannot, and skips the UTF-8 names.
    EXPECT_EQ(kel::test::run("LC_ALL=C.UTF-8 bsdtar -tf " + quoted(archive) + " >/dev/null 2>&1",
                             &output),
              0);
    EXPECT_TRUE(
        python("import sys, zipfile\n"
               "assert zipfile.ZipFile(sys.argv[1]).testzip() is None\n",
               quoted(archive), &output))
        << output;
}

TEST(ZipInterop, LibraryArchive_PassesSevenZipBsdtarAndPythonAndExtractsWithThemExactly) {
    KEL_SKIP_ON_WINDOWS(kToolsOnTheBuildMachine);
    makeTree(pathIn("tree"));
    ASSERT_TRUE(KelZipper::ZipFolder(widePathIn("tree").c_str(), false));
    expectEveryToolAccepts(pathIn("tree.zip"));
    std::string output;
    ASSERT_EQ(kel::test::run("7z x -y -o" + quoted(pathIn("by7z")) + " " +
                                 quoted(pathIn("tree.zip")) + " 2>&1",
                             &output),
              0)
        << output;
    ASSERT_EQ(
        kel::test::run("mkdir -p " + quoted(pathIn("bybsdtar")) + " && LC_ALL=C.UTF-8 bsdtar -xf " +
                       quoted(pathIn("tree.zip")) + " -C " + quoted(pathIn("bybsdtar"))),
        0);
    ASSERT_TRUE(
        python("import sys, zipfile\nzipfile.ZipFile(sys.argv[1]).extractall(sys.argv[2])\n",
               quoted(pathIn("tree.zip")) + " " + quoted(pathIn("bypython"))));
    // Each tool reads the file entries' "//" as one separator.
    for (const std::string& file : kFiles) {
        SCOPED_TRACE(file);
        EXPECT_EQ(readAll(pathIn("by7z/tree/" + file)), contentOf(file));
        EXPECT_EQ(readAll(pathIn("bybsdtar/tree/" + file)), contentOf(file));
        EXPECT_EQ(readAll(pathIn("bypython/tree/" + file)), contentOf(file));
    }
}

TEST(ZipInterop, SevenZipBsdtarAndPythonArchives_ExtractWithTheLibraryToIdenticalBytes) {
    KEL_SKIP_ON_WINDOWS(kToolsOnTheBuildMachine);
    makeTree(pathIn("tree"));
    const std::string in = "cd " + quoted(kel::test::tempDir()) + " && ";
    // 7-Zip's deflate; bsdtar's entries with data descriptors; Python's
    // stored and deflated entries, and entries with ZIP64 fields although
    // they are small.
    ASSERT_EQ(kel::test::run(in + "7z a -tzip 7z.zip tree >/dev/null 2>&1"), 0);
    ASSERT_EQ(kel::test::run(in + "LC_ALL=C.UTF-8 bsdtar --format zip -cf bsd.zip tree 2>&1"), 0);
    ASSERT_TRUE(python(
        "import os, sys, zipfile\n"
        "for name, method, z64 in (('stored.zip', zipfile.ZIP_STORED, False),\n"
        "        ('deflated.zip', zipfile.ZIP_DEFLATED, False),\n"
        "        ('zip64.zip', zipfile.ZIP_DEFLATED, True)):\n"
        "    with zipfile.ZipFile(os.path.join(sys.argv[1], name), 'w', method) as z:\n"
        "        for root, dirs, files in os.walk(os.path.join(sys.argv[1], 'tree')):\n"
        "            for f in files:\n"
        "                p = os.path.join(root, f)\n"
        "                arc = os.path.relpath(p, sys.argv[1])\n"
        "                with open(p, 'rb') as src, z.open(arc, 'w', force_zip64=z64) as dst:\n"
        "                    dst.write(src.read())\n",
        quoted(kel::test::tempDir())));
    for (const char* archive : {"7z.zip", "bsd.zip", "stored.zip", "deflated.zip", "zip64.zip"}) {
        SCOPED_TRACE(archive);
        const std::string out = std::string("out-") + archive;
        EXPECT_TRUE(KelUnzipper::Unzip(widePathIn(archive).c_str(), widePathIn(out).c_str()));
        for (const std::string& file : kFiles) {
            SCOPED_TRACE(file);
            EXPECT_EQ(readAll(pathIn(out + "/tree/" + file)), contentOf(file));
        }
    }
}

TEST(ZipInterop, OtherCompressionMethods_AreRefusedAndNothingIsWritten) {
    KEL_SKIP_ON_WINDOWS(kToolsOnTheBuildMachine);
    std::string text;
    for (int i = 0; i < 20000; ++i)
        text += std::to_string(i) + "\n";
    fs::create_directories(pathIn("src"));
    writeAll(pathIn("src/t.txt"), bytesOf(text));
    const std::string in = "cd " + quoted(pathIn("src")) + " && ";
    ASSERT_EQ(kel::test::run(in + "7z a -tzip -mm=BZip2 ../bzip2.zip t.txt >/dev/null"), 0);
    ASSERT_EQ(kel::test::run(in + "7z a -tzip -mm=Deflate64 ../deflate64.zip t.txt >/dev/null"), 0);
    ASSERT_EQ(kel::test::run(in + "7z a -tzip -mm=LZMA ../lzma.zip t.txt >/dev/null"), 0);
    ASSERT_TRUE(
        python("import sys, zipfile\n"
               "with zipfile.ZipFile(sys.argv[1], 'w', zipfile.ZIP_BZIP2) as z:\n"
               "    z.write(sys.argv[2], 't.txt')\n",
               quoted(pathIn("pybzip2.zip")) + " " + quoted(pathIn("src/t.txt"))));
    const std::vector<std::pair<std::string, uint32_t>> archives = {
        {"bzip2.zip", 12}, {"deflate64.zip", 9}, {"lzma.zip", 14}, {"pybzip2.zip", 12}};
    for (const auto& [archive, method] : archives) {
        SCOPED_TRACE(archive);
        KelUnzipper zip(widePathIn(archive).c_str());
        UZ_FileInfo info;
        ASSERT_TRUE(zip.GetFileInfo(0, info));
        EXPECT_EQ(info.dwCompressionMethod, method);
        EXPECT_FALSE(zip.UnzipTo(widePathIn("out").c_str()));
        EXPECT_FALSE(zip.UnzipFile(0, widePathIn("out").c_str()));
        EXPECT_EQ(filesBelow(pathIn("out")), std::vector<std::string>());
    }
}

TEST(ZipInterop, PythonsEmptyArchive_OpensWithNoEntriesAndCannotBeUnzipped) {
    KEL_SKIP_ON_WINDOWS(kToolsOnTheBuildMachine);
    ASSERT_TRUE(python("import sys, zipfile\nzipfile.ZipFile(sys.argv[1], 'w').close()\n",
                       quoted(pathIn("empty.zip"))));
    ASSERT_EQ(readAll(pathIn("empty.zip")).size(), 22u);
    KelUnzipper zip;
    EXPECT_TRUE(zip.OpenZip(widePathIn("empty.zip").c_str()));
    EXPECT_EQ(zip.GetFileCount(), 0);
    EXPECT_FALSE(zip.GotoFirstFile());
    EXPECT_FALSE(zip.UnzipTo(widePathIn("out").c_str()));
    // The library's own empty archive is the same 22 bytes.
    { KelZipper empty(widePathIn("mine.zip").c_str(), nullptr, false); }
    EXPECT_EQ(readAll(pathIn("mine.zip")), readAll(pathIn("empty.zip")));
}

TEST(ZipInterop, NamesWithAColon_AreExtractedAndArchived) {
    KEL_SKIP_ON_WINDOWS(kToolsOnTheBuildMachine);
    fs::create_directories(pathIn("tree/09:00"));
    writeAll(pathIn("tree/12:30 log.txt"), bytesOf("half past twelve"));
    writeAll(pathIn("tree/09:00/a:b.txt"), bytesOf("nine"));
    ASSERT_EQ(kel::test::run("cd " + quoted(kel::test::tempDir()) + " && zip -q -r info.zip tree"),
              0);
    ASSERT_TRUE(KelUnzipper::Unzip(widePathIn("info.zip").c_str(), widePathIn("out").c_str()));
    EXPECT_EQ(readAll(pathIn("out/tree/12:30 log.txt")), bytesOf("half past twelve"));
    EXPECT_EQ(readAll(pathIn("out/tree/09:00/a:b.txt")), bytesOf("nine"));
    // And the library's own archive holds them.
    ASSERT_TRUE(KelZipper::ZipFolder(widePathIn("tree").c_str(), false));
    std::string output;
    ASSERT_TRUE(
        python("import sys, zipfile\n"
               "print(sorted(i.filename for i in zipfile.ZipFile(sys.argv[1]).infolist()))\n",
               quoted(pathIn("tree.zip")), &output));
    EXPECT_EQ(output,
              "['tree//09:00//a:b.txt', 'tree//12:30 log.txt', 'tree\\\\', "
              "'tree\\\\09:00\\\\']\n");
}

TEST(ZipInterop, SeventyThousandEntries_AreWrittenWithZip64EndAndCountedTruly) {
    KEL_SKIP_ON_WINDOWS(kToolsOnTheBuildMachine);
    constexpr int kEntries = 70000;
    writeAll(pathIn("one.txt"), bytesOf("x"));
    {
        KelZipper zip(widePathIn("many.zip").c_str(), nullptr, false);
        for (int i = 0; i < kEntries; ++i)
            ASSERT_TRUE(
                zip.AddFileToZip(widePathIn("one.txt").c_str(), std::to_wstring(i).c_str()));
        Z_FileInfo info = {};
        zip.GetFileInfo(info);
        EXPECT_EQ(info.nFileCount, kEntries);
        EXPECT_EQ(info.dwUncompressedSize, static_cast<uint32_t>(kEntries));
        EXPECT_TRUE(zip.CloseZip());
    }
    // Each tool once: the test and the count together.
    std::string output;
    EXPECT_EQ(kel::test::run("unzip -tqq " + quoted(pathIn("many.zip")) + " 2>&1", &output), 0)
        << output;
    EXPECT_EQ(kel::test::run("7z t " + quoted(pathIn("many.zip")) + " 2>&1", &output), 0) << output;
    EXPECT_NE(output.find("Files: " + std::to_string(kEntries)), std::string::npos) << output;
    ASSERT_EQ(kel::test::run("LC_ALL=C.UTF-8 bsdtar -tf " + quoted(pathIn("many.zip")) + " | wc -l",
                             &output),
              0);
    EXPECT_EQ(std::stoi(output), kEntries);
    ASSERT_TRUE(
        python("import sys, zipfile\n"
               "z = zipfile.ZipFile(sys.argv[1])\n"
               "assert z.testzip() is None\n"
               "print(len(z.infolist()))\n",
               quoted(pathIn("many.zip")), &output));
    EXPECT_EQ(output, std::to_string(kEntries) + "\n");
    KelUnzipper zip(widePathIn("many.zip").c_str());
    EXPECT_EQ(zip.GetFileCount(), kEntries);
    UZ_FileInfo info;
    ASSERT_TRUE(zip.GetFileInfo(kEntries - 1, info));
    EXPECT_STREQ(info.szFileName, L"69999\\one.txt");
    EXPECT_TRUE(zip.UnzipFile(kEntries - 1, widePathIn("out").c_str()));
    EXPECT_EQ(readAll(pathIn("out/69999/one.txt")), bytesOf("x"));
}

// The cases that take minutes run in scripts/long-tests.sh, which sets
// KEL_LONG_TESTS=1.
constexpr char kLongTest[] = "a long test: scripts/long-tests.sh runs it (KEL_LONG_TESTS=1)";

bool longTestsWanted() {
    const char* value = std::getenv("KEL_LONG_TESTS");
    return value != nullptr && std::string(value) == "1";
}

void makeManyEntries(const std::string& archive) {
    ASSERT_TRUE(
        python("import sys, zipfile\n"
               "with zipfile.ZipFile(sys.argv[1], 'w') as z:\n"
               "    for i in range(70000):\n"
               "        z.writestr('f%05d' % i, b'%d' % i)\n",
               quoted(archive)));
}

TEST(ZipInterop, PythonArchiveOfSeventyThousandEntries_IsCountedTruly) {
    KEL_SKIP_ON_WINDOWS(kToolsOnTheBuildMachine);
    if (!longTestsWanted())
        GTEST_SKIP() << kLongTest;
    makeManyEntries(pathIn("many.zip"));
    KelUnzipper zip(widePathIn("many.zip").c_str());
    EXPECT_EQ(zip.GetFileCount(), 70000);
    ASSERT_TRUE(zip.GotoFile(L"f69999", false));
    EXPECT_TRUE(zip.UnzipFile(widePathIn("out").c_str()));
    EXPECT_EQ(readAll(pathIn("out/f69999")), bytesOf("69999"));
}

TEST(ZipInterop, PythonArchiveOfSeventyThousandEntries_ExtractsWhole) {
    KEL_SKIP_ON_WINDOWS(kToolsOnTheBuildMachine);
    if (!longTestsWanted())
        GTEST_SKIP() << kLongTest;
    makeManyEntries(pathIn("many.zip"));
    KelUnzipper zip(widePathIn("many.zip").c_str());
    EXPECT_TRUE(zip.UnzipTo(widePathIn("out").c_str()));
    EXPECT_EQ(readAll(pathIn("out/f00000")), bytesOf("0"));
    EXPECT_EQ(readAll(pathIn("out/f69999")), bytesOf("69999"));
    EXPECT_EQ(std::distance(fs::directory_iterator(pathIn("out")), fs::directory_iterator()),
              70000);
}

// A sparse file of 4 GiB and 4 KiB, zero but for a text at its end.
constexpr uint64_t kLargeSize = (4ull << 30) + 4096;
const std::string kLargeTail = "the last bytes of a file beyond 4 GiB";

void makeLargeFile(const std::string& path) {
    fs::create_directories(fs::path(path).parent_path());
    { std::ofstream(path, std::ios::binary); }
    fs::resize_file(path, kLargeSize - kLargeTail.size());
    std::ofstream(path, std::ios::binary | std::ios::app) << kLargeTail;
}

// The extracted copy is as large as the original and ends the same.
void expectLargeCopy(const std::string& path) {
    ASSERT_TRUE(fs::exists(path));
    EXPECT_EQ(fs::file_size(path), kLargeSize);
    std::ifstream in(path, std::ios::binary);
    in.seekg(static_cast<std::streamoff>(kLargeSize - kLargeTail.size()));
    std::string tail(kLargeTail.size(), '\0');
    in.read(&tail[0], static_cast<std::streamsize>(tail.size()));
    EXPECT_EQ(tail, kLargeTail);
    fs::remove(path);
}

TEST(ZipInterop, FileOverFourGiB_IsWrittenWithZip64AndPassesEveryTool) {
    KEL_SKIP_ON_WINDOWS(kToolsOnTheBuildMachine);
    if (!longTestsWanted())
        GTEST_SKIP() << kLongTest;
    makeLargeFile(pathIn("big/large.bin"));
    writeAll(pathIn("big/small.txt"), bytesOf("behind the large one"));
    {
        KelZipper zip(widePathIn("big.zip").c_str(), widePathIn("big").c_str(), false);
        ASSERT_TRUE(zip.AddFileToZip(L"large.bin", false));
        // The entry behind it starts beyond 4 GiB... of the uncompressed
        // data; its own fields stay plain.
        ASSERT_TRUE(zip.AddFileToZip(L"small.txt", false));
        Z_FileInfo info = {};
        zip.GetFileInfo(info);
        EXPECT_EQ(info.nFileCount, 2);
        EXPECT_EQ(info.dwUncompressedSize, 0xFFFFFFFFu);  // stops at its largest value
        ASSERT_TRUE(zip.CloseZip());
    }
    fs::remove(pathIn("big/large.bin"));
    expectEveryToolAccepts(pathIn("big.zip"));
    std::string output;
    ASSERT_TRUE(
        python("import sys, zipfile\n"
               "for i in zipfile.ZipFile(sys.argv[1]).infolist():\n"
               "    print(i.filename, i.file_size)\n",
               quoted(pathIn("big.zip")), &output));
    EXPECT_EQ(output, "large.bin " + std::to_string(kLargeSize) + "\nsmall.txt 20\n");
    ASSERT_TRUE(KelUnzipper::Unzip(widePathIn("big.zip").c_str(), widePathIn("out").c_str()));
    EXPECT_EQ(readAll(pathIn("out/small.txt")), bytesOf("behind the large one"));
    expectLargeCopy(pathIn("out/large.bin"));
}

TEST(ZipInterop, EntriesOverFourGiBFromPythonAndSevenZip_ExtractCompletely) {
    KEL_SKIP_ON_WINDOWS(kToolsOnTheBuildMachine);
    if (!longTestsWanted())
        GTEST_SKIP() << kLongTest;
    makeLargeFile(pathIn("big/large.bin"));
    ASSERT_TRUE(
        python("import sys, zipfile\n"
               "with zipfile.ZipFile(sys.argv[1], 'w', zipfile.ZIP_DEFLATED,"
               " compresslevel=1) as z:\n"
               "    with open(sys.argv[2], 'rb') as src, z.open('large.bin', 'w',"
               " force_zip64=True) as dst:\n"
               "        while True:\n"
               "            block = src.read(1 << 24)\n"
               "            if not block:\n"
               "                break\n"
               "            dst.write(block)\n",
               quoted(pathIn("python.zip")) + " " + quoted(pathIn("big/large.bin"))));
    ASSERT_EQ(kel::test::run("cd " + quoted(pathIn("big")) +
                             " && 7z a -tzip -mx=1 ../7z.zip large.bin >/dev/null 2>&1"),
              0);
    fs::remove(pathIn("big/large.bin"));
    for (const char* archive : {"python.zip", "7z.zip"}) {
        SCOPED_TRACE(archive);
        KelUnzipper zip(widePathIn(archive).c_str());
        UZ_FileInfo info;
        ASSERT_TRUE(zip.GetFileInfo(0, info));
        EXPECT_EQ(info.dwUncompressedSize, 0xFFFFFFFFu);  // the 32-bit field of the directory
        ASSERT_TRUE(zip.UnzipTo(widePathIn("out").c_str()));
        expectLargeCopy(pathIn("out/large.bin"));
    }
}

}  // namespace
