// "kel zip" and "kel unzip", run as a user runs them: the built tool in a
// process of its own, on a small tree in the test's folder.

#include <gtest/gtest.h>

#include <zlib.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>
#include <vector>

#include "run_program.h"
#include "support/isolation.h"
#include "support/system.h"

#if !defined(_WIN32)
#include <unistd.h>
#endif

namespace {

namespace fs = std::filesystem;
using kel::test::kelTool;
using kel::test::runProgram;

// The tool writes its standard streams in text mode: "\r\n" on Windows.
std::string lines(const std::vector<std::string>& texts) {
    std::string result;
    for (const std::string& text : texts)
        result += text + (kel::test::kWindows ? "\r\n" : "\n");
    return result;
}

// A path in the test's folder as the tool shows it: native separators.
std::string shown(const std::string& name) {
    std::string path = kel::test::tempDir() + "/" + name;
    for (char& c : path) {
        if (c == '/' || c == '\\')
            c = kel::test::kWindows ? '\\' : '/';
    }
    return path;
}

// The same path as an argument of the tool.
std::wstring argument(const std::string& name) {
    return kel::test::tempDirW() + L"/" + fs::path(name).wstring();
}

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void writeFile(const fs::path& path, const std::string& bytes) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}

fs::path inTest(const std::string& name) {
    return fs::path(kel::test::tempDirW()) / name;
}

// More than one block of the archive code, with every byte value.
std::string binaryContent() {
    std::string bytes;
    for (int i = 0; i < 70000; ++i)
        bytes += static_cast<char>((i * 7 + i / 256) & 0xFF);
    return bytes;
}

const std::string kAlpha = "alpha\nline two\n";

// tree/a.txt, tree/empty/, tree/sub/b.bin and one.txt beside the tree.
class KelZipTool : public ::testing::Test {
protected:
    void SetUp() override {
        writeFile(inTest("tree/a.txt"), kAlpha);
        writeFile(inTest("tree/sub/b.bin"), binaryContent());
        fs::create_directories(inTest("tree/empty"));
        writeFile(inTest("one.txt"), "single");
    }

    static std::string treeSize() { return std::to_string(kAlpha.size() + binaryContent().size()); }
};

TEST_F(KelZipTool, ZipFolder_WritesTheArchiveBesideItAndReportsTheCounts) {
    const auto r = runProgram(kelTool(), {L"zip", argument("tree")});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, lines({shown("tree.zip") + ": 2 files, 3 folders, " + treeSize() + " bytes"}));
    EXPECT_EQ(r.err, "");
    EXPECT_TRUE(fs::is_regular_file(inTest("tree.zip")));
}

TEST_F(KelZipTool, Unzip_ExtractsTheTreeAndListsEveryPathWritten) {
    ASSERT_EQ(runProgram(kelTool(), {L"zip", argument("tree")}).exitCode, 0);
    const auto r = runProgram(kelTool(), {L"unzip", argument("tree.zip"), argument("out")});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, lines({shown("out/tree/"), shown("out/tree/a.txt"), shown("out/tree/empty/"),
                            shown("out/tree/sub/"), shown("out/tree/sub/b.bin"),
                            "5 entries extracted into " + shown("out")}));
    EXPECT_EQ(r.err, "");
    EXPECT_EQ(readFile(inTest("out/tree/a.txt")), kAlpha);
    EXPECT_EQ(readFile(inTest("out/tree/sub/b.bin")), binaryContent());
    EXPECT_TRUE(fs::is_directory(inTest("out/tree/empty")));
    EXPECT_TRUE(fs::is_empty(inTest("out/tree/empty")));
}

TEST_F(KelZipTool, ZipAndUnzipOfASingleFile) {
    auto r = runProgram(kelTool(), {L"zip", argument("one.txt")});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, lines({shown("one.zip") + ": 1 files, 0 folders, 6 bytes"}));
    r = runProgram(kelTool(), {L"unzip", argument("one.zip"), argument("single")});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out,
              lines({shown("single/one.txt"), "1 entries extracted into " + shown("single")}));
    EXPECT_EQ(readFile(inTest("single/one.txt")), "single");
}

TEST_F(KelZipTool, Zip_IntoANamedArchive) {
    const auto r = runProgram(kelTool(), {L"zip", argument("tree/sub"), argument("named.zip")});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, lines({shown("named.zip") + ": 1 files, 1 folders, 70000 bytes"}));
    EXPECT_TRUE(fs::exists(inTest("named.zip")));
    EXPECT_FALSE(fs::exists(inTest("tree/sub.zip")));
}

TEST_F(KelZipTool, Unzip_WithoutAFolder_ExtractsBesideTheArchive) {
    ASSERT_EQ(runProgram(kelTool(), {L"zip", argument("tree/sub"), argument("s.zip")}).exitCode, 0);
    fs::create_directories(inTest("elsewhere"));
    fs::rename(inTest("s.zip"), inTest("elsewhere/s.zip"));
    const auto r = runProgram(kelTool(), {L"unzip", argument("elsewhere/s.zip")});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.out, lines({shown("elsewhere/sub/"), shown("elsewhere/sub/b.bin"),
                            "2 entries extracted into " + shown("elsewhere")}));
    EXPECT_EQ(readFile(inTest("elsewhere/sub/b.bin")), binaryContent());
}

TEST_F(KelZipTool, Unzip_Flat_WritesTheFilesWithoutTheirFolders) {
    ASSERT_EQ(runProgram(kelTool(), {L"zip", argument("tree")}).exitCode, 0);
    const auto r =
        runProgram(kelTool(), {L"unzip", argument("tree.zip"), argument("flat"), L"--flat"});
    EXPECT_EQ(r.exitCode, 0);
    // Folder entries still make their folders.
    EXPECT_EQ(r.out, lines({shown("flat/tree/"), shown("flat/a.txt"), shown("flat/tree/empty/"),
                            shown("flat/tree/sub/"), shown("flat/b.bin"),
                            "5 entries extracted into " + shown("flat")}));
    EXPECT_EQ(readFile(inTest("flat/a.txt")), kAlpha);
    EXPECT_EQ(readFile(inTest("flat/b.bin")), binaryContent());
    EXPECT_FALSE(fs::exists(inTest("flat/tree/a.txt")));
}

// ----- errors: one line naming the file and the system's reason -------------------------

// The system's words for an error number, as the tool prints them.
std::string reason(int error) {
    return std::strerror(error);
}

// The system's words for why `name` in the test's folder cannot be looked
// at: where Windows and POSIX word a missing folder differently, the test
// expects what this system says.
std::string lookupReason(const std::string& name) {
    std::error_code error;
    static_cast<void>(fs::status(inTest(name), error));
    return error.message();
}

TEST_F(KelZipTool, Unzip_MissingArchive_FailsWithOneLineOnStderr) {
    const auto r = runProgram(kelTool(), {L"unzip", argument("missing.zip"), argument("out")});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err,
              lines({"kel unzip: cannot open " + shown("missing.zip") + ": " + reason(ENOENT)}));
    EXPECT_FALSE(fs::exists(inTest("out")));
}

TEST_F(KelZipTool, Unzip_NotAnArchive_FailsWithOneLineOnStderr) {
    const auto r = runProgram(kelTool(), {L"unzip", argument("one.txt"), argument("out")});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, lines({"kel unzip: cannot open " + shown("one.txt") + ": not a zip archive"}));
    EXPECT_FALSE(fs::exists(inTest("out")));
}

TEST_F(KelZipTool, Unzip_AFolderAsTheArchive_IsNamed) {
    const auto r = runProgram(kelTool(), {L"unzip", argument("tree"), argument("out")});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, lines({"kel unzip: cannot open " + shown("tree") + ": " + reason(EISDIR)}));
}

TEST_F(KelZipTool, Unzip_IntoAFile_FailsBeforeWritingAnything) {
    ASSERT_EQ(runProgram(kelTool(), {L"zip", argument("tree")}).exitCode, 0);
    auto r = runProgram(kelTool(), {L"unzip", argument("tree.zip"), argument("one.txt")});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, lines({"kel unzip: cannot extract into " + shown("one.txt") + ": " +
                            reason(ENOTDIR)}));
    EXPECT_EQ(readFile(inTest("one.txt")), "single");
    // A folder below a file: the system's own answer.
    r = runProgram(kelTool(), {L"unzip", argument("tree.zip"), argument("one.txt/out")});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    if (!kel::test::kWindows) {
        EXPECT_EQ(r.err, lines({"kel unzip: cannot extract into " + shown("one.txt/out") + ": " +
                                reason(ENOTDIR)}));
    } else {
        EXPECT_EQ(r.err.rfind("kel unzip: ", 0), 0u) << r.err;
        EXPECT_NE(r.err.find(shown("one.txt/out")), std::string::npos) << r.err;
    }
}

TEST_F(KelZipTool, Zip_MissingSource_FailsAndLeavesNoArchive) {
    const auto r = runProgram(kelTool(), {L"zip", argument("nothing")});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err,
              lines({"kel zip: cannot archive " + shown("nothing") + ": " + reason(ENOENT)}));
    EXPECT_FALSE(fs::exists(inTest("nothing.zip")));
}

TEST_F(KelZipTool, Zip_SourceBelowAFile_IsNotAFolder) {
    const auto r = runProgram(kelTool(), {L"zip", argument("one.txt/inner")});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    const std::string why = kel::test::kWindows ? lookupReason("one.txt/inner") : reason(ENOTDIR);
    EXPECT_EQ(r.err, lines({"kel zip: cannot archive " + shown("one.txt/inner") + ": " + why}));
}

TEST_F(KelZipTool, Zip_IntoAMissingFolder_NamesTheArchiveAndCreatesNothing) {
    const auto r = runProgram(kelTool(), {L"zip", argument("tree"), argument("missing/x/t.zip")});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err,
              lines({"kel zip: cannot write " + shown("missing/x/t.zip") + ": " + reason(ENOENT)}));
    EXPECT_FALSE(fs::exists(inTest("missing")));
}

TEST_F(KelZipTool, Zip_IntoAnArchiveBelowAFile_IsNotAFolder) {
    const auto r = runProgram(kelTool(), {L"zip", argument("tree"), argument("one.txt/t.zip")});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    const std::string why = kel::test::kWindows ? reason(ENOENT) : reason(ENOTDIR);
    EXPECT_EQ(r.err, lines({"kel zip: cannot write " + shown("one.txt/t.zip") + ": " + why}));
    EXPECT_EQ(readFile(inTest("one.txt")), "single");
}

TEST_F(KelZipTool, Zip_OntoAFolder_NamesItAndLeavesIt) {
    fs::create_directories(inTest("elsewhere/kept"));
    const auto r = runProgram(kelTool(), {L"zip", argument("tree"), argument("elsewhere")});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    const std::string why = kel::test::kWindows ? reason(EACCES) : reason(EISDIR);
    EXPECT_EQ(r.err, lines({"kel zip: cannot write " + shown("elsewhere") + ": " + why}));
    EXPECT_TRUE(fs::is_directory(inTest("elsewhere/kept")));
}

TEST_F(KelZipTool, BadArguments_PrintTheUsageAndExitWith2) {
    const std::string zipUsage = kel::test::kelUsage(L"zip");
    const std::string unzipUsage = kel::test::kelUsage(L"unzip");
    EXPECT_EQ(zipUsage.rfind(lines({"usage: kel zip PATH [ARCHIVE] [--flat]"}), 0), 0u);
    EXPECT_EQ(unzipUsage.rfind(lines({"usage: kel unzip ARCHIVE [FOLDER] [--flat]"}), 0), 0u);
    const std::vector<std::pair<std::vector<std::wstring>, std::string>> cases = {
        {{L"zip"}, zipUsage},
        {{L"zip", L"a", L"b", L"c"}, zipUsage},
        {{L"zip", argument("tree"), L"--fast"}, zipUsage},
        {{L"unzip"}, unzipUsage},
        {{L"unzip", L"--bogus", argument("tree.zip")}, unzipUsage},
    };
    for (const auto& [arguments, usage] : cases) {
        SCOPED_TRACE(fs::path(arguments.back()).string());
        const auto r = runProgram(kelTool(), arguments);
        EXPECT_EQ(r.exitCode, 2);
        EXPECT_EQ(r.out, "");
        EXPECT_EQ(r.err, usage);
    }
    EXPECT_FALSE(fs::exists(inTest("tree.zip")));
}

// An archive of stored entries written byte by byte, so that a test can
// say what each field holds: `method` in both headers of every entry, and
// `announced` entries in the end record.
std::string handMadeArchive(const std::vector<std::pair<std::string, std::string>>& entries,
                            unsigned method, unsigned announced) {
    const auto put16 = [](std::string& out, unsigned value) {
        out += static_cast<char>(value & 0xFF);
        out += static_cast<char>((value >> 8) & 0xFF);
    };
    const auto put32 = [&](std::string& out, unsigned long value) {
        put16(out, static_cast<unsigned>(value & 0xFFFF));
        put16(out, static_cast<unsigned>(value >> 16));
    };
    std::string out;
    std::string directory;
    for (const auto& [name, data] : entries) {
        const unsigned long crc =
            crc32(0, reinterpret_cast<const Bytef*>(data.data()), static_cast<uInt>(data.size()));
        const unsigned long offset = static_cast<unsigned long>(out.size());
        for (std::string* record : {&out, &directory}) {
            const bool central = record == &directory;
            put32(*record, central ? 0x02014B50 : 0x04034B50);
            if (central)
                put16(*record, 20);
            put16(*record, 20);
            put16(*record, 0);
            put16(*record, method);
            put32(*record, 0x21000000);
            put32(*record, crc);
            put32(*record, static_cast<unsigned long>(data.size()));
            put32(*record, static_cast<unsigned long>(data.size()));
            put16(*record, static_cast<unsigned>(name.size()));
            put16(*record, 0);
            if (central) {
                put16(*record, 0);
                put16(*record, 0);
                put16(*record, 0);
                put32(*record, 0x20);
                put32(*record, offset);
            }
            *record += name;
            if (!central)
                *record += data;
        }
    }
    const unsigned long start = static_cast<unsigned long>(out.size());
    out += directory;
    put32(out, 0x06054B50);
    put16(out, 0);
    put16(out, 0);
    put16(out, announced);
    put16(out, announced);
    put32(out, static_cast<unsigned long>(directory.size()));
    put32(out, start);
    put16(out, 0);
    return out;
}

TEST_F(KelZipTool, Unzip_UnsupportedMethod_FailsNamingTheMethodAndWritesNothing) {
    writeFile(inTest("bz.zip"), handMadeArchive({{"data.txt", "BZh9 not really"}}, 12, 1));
    const auto r = runProgram(kelTool(), {L"unzip", argument("bz.zip"), argument("out")});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, lines({"kel unzip: cannot extract data.txt to " + shown("out/data.txt") +
                            ": unsupported compression method 12 (bzip2)"}));
    EXPECT_FALSE(fs::exists(inTest("out/data.txt")));
}

TEST_F(KelZipTool, Unzip_DamagedDirectory_FailsBeforeWritingAnything) {
    writeFile(inTest("short.zip"), handMadeArchive({{"a.txt", "alpha"}, {"b.txt", "bravo"}}, 0, 3));
    auto r = runProgram(kelTool(), {L"unzip", argument("short.zip"), argument("out")});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, lines({"kel unzip: cannot extract " + shown("short.zip") +
                            ": damaged archive: the directory holds 2 of the 3 entries its end "
                            "record announces"}));
    EXPECT_FALSE(fs::exists(inTest("out")));
    // Noise where the end record says the directory is.
    std::string noise(600, 'n');
    const std::string end = handMadeArchive({}, 0, 0);
    noise += end.substr(0, 8) +
             std::string("\x02\x00\x02\x00\x78\x00\x00\x00\x90\x01\x00\x00", 12) + end.substr(20);
    writeFile(inTest("noise.zip"), noise);
    r = runProgram(kelTool(), {L"unzip", argument("noise.zip"), argument("out")});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, lines({"kel unzip: cannot extract " + shown("noise.zip") +
                            ": damaged archive: a damaged record in the directory"}));
    EXPECT_FALSE(fs::exists(inTest("out")));
}

TEST_F(KelZipTool, Unzip_WrongChecksum_FailsAndLeavesNoFile) {
    std::string archive = handMadeArchive({{"data.txt", "payload"}}, 0, 1);
    archive[archive.find("payload")] = 'P';
    writeFile(inTest("crc.zip"), archive);
    const auto r = runProgram(kelTool(), {L"unzip", argument("crc.zip"), argument("out")});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, lines({"kel unzip: cannot extract data.txt to " + shown("out/data.txt") +
                            ": the CRC-32 does not match"}));
    EXPECT_FALSE(fs::exists(inTest("out/data.txt")));
}

TEST_F(KelZipTool, Unzip_EmptyArchive_FailsAsThereIsNothingToExtract) {
    writeFile(inTest("empty.zip"), handMadeArchive({}, 0, 0));
    const auto r = runProgram(kelTool(), {L"unzip", argument("empty.zip"), argument("out")});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, lines({"kel unzip: cannot extract " + shown("empty.zip") +
                            ": the archive holds no entries"}));
}

TEST_F(KelZipTool, Zip_NameWithAColon_IsAddedAndExtracted) {
    KEL_SKIP_ON_WINDOWS("\":\" cannot stand in a Windows file name");
    writeFile(inTest("tree/12:30 log.txt"), "half past twelve");
    auto r = runProgram(kelTool(), {L"zip", argument("tree")});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(r.err, "");
    EXPECT_EQ(r.out,
              lines({shown("tree.zip") + ": 3 files, 3 folders, " +
                     std::to_string(kAlpha.size() + binaryContent().size() + 16) + " bytes"}));
    r = runProgram(kelTool(), {L"unzip", argument("tree.zip"), argument("out")});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_EQ(readFile(inTest("out/tree/12:30 log.txt")), "half past twelve");
}

TEST_F(KelZipTool, Zip_FileItCannotAdd_IsNamedAndTheRunFails) {
    KEL_SKIP_ON_WINDOWS("paths beyond 260 characters need the long-path prefix there");
    const std::string deep = "tree/" + std::string(120, 'd') + "/" + std::string(120, 'e');
    writeFile(inTest(deep + "/deep.txt"), "too deep");
    const auto r = runProgram(kelTool(), {L"zip", argument("tree")});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, lines({shown("tree.zip") + ": 2 files, 5 folders, " + treeSize() + " bytes"}));
    // The folder whose path is too long is named; its file was not reached.
    EXPECT_EQ(r.err, lines({"kel zip: left out " + shown(deep) +
                            ": the path is longer than 260 characters"}));
    EXPECT_TRUE(fs::exists(inTest("tree.zip")));
}

#if !defined(_WIN32)

// ----- permissions and full disks (POSIX) ----------------------------------------------------
//
// Permissions stop an ordinary user only: a test that runs as root (as the
// build machine's do) runs the tool as user 65534 through setpriv. A full
// disk is /dev/full taken as the archive, or a tmpfs of 64 KiB mounted in a
// mount namespace of the tool's own, where the system lets the test make
// one (unshare). A test that needs what the system does not allow skips
// with the reason.

constexpr char kSetpriv[] = "/usr/bin/setpriv";
constexpr char kUnshare[] = "/usr/bin/unshare";

// Runs the tool with `arguments` as a user whom permissions stop; false,
// with `why`, when that is not possible here.
bool runAsOrdinaryUser(const std::vector<std::wstring>& arguments, kel::test::ProgramResult& result,
                       std::string& why) {
    // The test's folder must be open to that user.
    fs::permissions(kel::test::tempDir(), fs::perms::owner_all | fs::perms::group_read |
                                              fs::perms::group_exec | fs::perms::others_read |
                                              fs::perms::others_exec);
    if (::geteuid() != 0) {
        result = runProgram(kelTool(), arguments);
        return true;
    }
    if (!fs::exists(kSetpriv)) {
        why = "the test runs as root, and there is no setpriv to run the tool as another user";
        return false;
    }
    std::vector<std::wstring> words = {L"--reuid=65534", L"--regid=65534", L"--clear-groups", L"--",
                                       kelTool().wstring()};
    std::vector<std::wstring> probe = words;
    probe.push_back(L"--version");
    if (runProgram(kSetpriv, probe).exitCode != 0) {
        why = "the tool cannot run as user 65534 here (its build folder is closed to others)";
        return false;
    }
    words.insert(words.end(), arguments.begin(), arguments.end());
    result = runProgram(kSetpriv, words);
    return true;
}

// Runs the tool with `arguments` while a tmpfs of 64 KiB is mounted on
// `folder`, in a mount namespace that ends with the tool; false, with
// `why`, when the system does not let the test make one.
bool runOnATinyDisk(const fs::path& folder, const std::vector<std::wstring>& arguments,
                    kel::test::ProgramResult& result, std::string& why) {
    if (!fs::exists(kUnshare)) {
        why = "there is no unshare to mount a small file system for the tool";
        return false;
    }
    fs::create_directories(folder);
    std::vector<std::wstring> words = {
        L"--mount",
        L"sh",
        L"-c",
        L"mount -t tmpfs -o size=64k kel-test \"$1\" || exit 77; shift; exec \"$@\"",
        L"sh",
        folder.wstring(),
        kelTool().wstring()};
    words.insert(words.end(), arguments.begin(), arguments.end());
    result = runProgram(kUnshare, words);
    if (result.exitCode == 77 || result.err.rfind("unshare: ", 0) == 0) {
        why = "this system does not let the test mount a small file system (" + result.err + ")";
        return false;
    }
    return true;
}

// Bytes that deflate cannot shrink, more than the tiny disk holds.
std::string incompressible(size_t size) {
    std::string bytes(size, '\0');
    uint32_t state = 12345;
    for (char& c : bytes) {
        state = state * 1103515245u + 12345u;
        c = static_cast<char>(state >> 24);
    }
    return bytes;
}

TEST_F(KelZipTool, Zip_ToAFullDisk_SaysSoAndLeavesTheDeviceAlone) {
    ASSERT_TRUE(fs::is_character_file("/dev/full"));
    const auto r = runProgram(kelTool(), {L"zip", argument("tree"), L"/dev/full"});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, lines({"kel zip: cannot write /dev/full: " + reason(ENOSPC)}));
    EXPECT_TRUE(fs::is_character_file("/dev/full"));
}

TEST_F(KelZipTool, Zip_OntoASmallDisk_SaysItIsFullAndLeavesNoArchive) {
    writeFile(inTest("tree/big.bin"), incompressible(200000));
    kel::test::ProgramResult r;
    std::string why;
    if (!runOnATinyDisk(inTest("small"), {L"zip", argument("tree"), argument("small/t.zip")}, r,
                        why))
        GTEST_SKIP() << why;
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err,
              lines({"kel zip: cannot write " + shown("small/t.zip") + ": " + reason(ENOSPC)}));
}

TEST_F(KelZipTool, Unzip_OntoASmallDisk_NamesTheFileAndTheFullDisk) {
    writeFile(inTest("tree/big.bin"), incompressible(200000));
    ASSERT_EQ(
        runProgram(kelTool(), {L"zip", argument("tree/big.bin"), argument("big.zip")}).exitCode, 0);
    kel::test::ProgramResult r;
    std::string why;
    if (!runOnATinyDisk(inTest("small"), {L"unzip", argument("big.zip"), argument("small")}, r,
                        why))
        GTEST_SKIP() << why;
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, lines({"kel unzip: cannot extract big.bin to " + shown("small/big.bin") +
                            ": cannot write the file: " + reason(ENOSPC)}));
}

TEST_F(KelZipTool, Zip_IntoAFolderWithoutPermission_IsRefused) {
    fs::create_directories(inTest("locked"));
    fs::permissions(inTest("locked"), fs::perms::owner_read | fs::perms::owner_exec |
                                          fs::perms::group_read | fs::perms::group_exec |
                                          fs::perms::others_read | fs::perms::others_exec);
    kel::test::ProgramResult r;
    std::string why;
    if (!runAsOrdinaryUser({L"zip", argument("tree"), argument("locked/t.zip")}, r, why))
        GTEST_SKIP() << why;
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err,
              lines({"kel zip: cannot write " + shown("locked/t.zip") + ": " + reason(EACCES)}));
    EXPECT_TRUE(fs::is_empty(inTest("locked")));
}

TEST_F(KelZipTool, Zip_AFileWithoutPermission_IsNamedAndTheRestArchived) {
    writeFile(inTest("tree/secret.txt"), "secret");
    fs::permissions(inTest("tree/secret.txt"), fs::perms::none);
    fs::create_directories(inTest("out"));
    fs::permissions(inTest("out"), fs::perms::all);
    kel::test::ProgramResult r;
    std::string why;
    if (!runAsOrdinaryUser({L"zip", argument("tree"), argument("out/t.zip")}, r, why))
        GTEST_SKIP() << why;
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out,
              lines({shown("out/t.zip") + ": 2 files, 3 folders, " + treeSize() + " bytes"}));
    EXPECT_EQ(r.err, lines({"kel zip: left out " + shown("tree/secret.txt") +
                            ": cannot read it: " + reason(EACCES)}));
}

TEST_F(KelZipTool, Zip_ASingleFileWithoutPermission_IsNamed) {
    fs::permissions(inTest("one.txt"), fs::perms::none);
    fs::create_directories(inTest("out"));
    fs::permissions(inTest("out"), fs::perms::all);
    kel::test::ProgramResult r;
    std::string why;
    if (!runAsOrdinaryUser({L"zip", argument("one.txt"), argument("out/one.zip")}, r, why))
        GTEST_SKIP() << why;
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, lines({"kel zip: cannot read " + shown("one.txt") + ": " + reason(EACCES)}));
    EXPECT_FALSE(fs::exists(inTest("out/one.zip")));
}

TEST_F(KelZipTool, Unzip_AnArchiveWithoutPermission_IsNamed) {
    ASSERT_EQ(runProgram(kelTool(), {L"zip", argument("one.txt")}).exitCode, 0);
    fs::permissions(inTest("one.zip"), fs::perms::none);
    kel::test::ProgramResult r;
    std::string why;
    if (!runAsOrdinaryUser({L"unzip", argument("one.zip"), argument("out")}, r, why))
        GTEST_SKIP() << why;
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, lines({"kel unzip: cannot open " + shown("one.zip") + ": " + reason(EACCES)}));
}

TEST_F(KelZipTool, Unzip_IntoAFolderWithoutPermission_NamesTheFile) {
    ASSERT_EQ(runProgram(kelTool(), {L"zip", argument("one.txt")}).exitCode, 0);
    fs::create_directories(inTest("locked"));
    fs::permissions(inTest("locked"), fs::perms::owner_read | fs::perms::owner_exec |
                                          fs::perms::group_read | fs::perms::group_exec |
                                          fs::perms::others_read | fs::perms::others_exec);
    kel::test::ProgramResult r;
    std::string why;
    if (!runAsOrdinaryUser({L"unzip", argument("one.zip"), argument("locked")}, r, why))
        GTEST_SKIP() << why;
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    // The extraction's own words for the system's EACCES.
    EXPECT_EQ(r.err, lines({"kel unzip: cannot extract one.txt to " + shown("locked/one.txt") +
                            ": cannot create the file: access denied"}));
    EXPECT_TRUE(fs::is_empty(inTest("locked")));
}

#endif

}  // namespace
