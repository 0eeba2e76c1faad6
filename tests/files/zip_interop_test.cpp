// Archives against tools nobody here wrote: the library's archives are
// tested and extracted by Info-ZIP's unzip and listed by Python's zipfile;
// archives made by Info-ZIP's zip are extracted by the library.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <filesystem>
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
    "Info-ZIP and Python run on the build machine, not beside the Windows program";

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

}  // namespace
