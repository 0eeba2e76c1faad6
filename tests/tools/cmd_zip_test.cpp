// "kel zip" and "kel unzip", run as a user runs them: the built tool in a
// process of its own, on a small tree in the test's folder.

#include <gtest/gtest.h>

#include <zlib.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "run_program.h"
#include "support/isolation.h"
#include "support/system.h"

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

TEST_F(KelZipTool, Unzip_MissingArchive_FailsWithOneLineOnStderr) {
    const auto r = runProgram(kelTool(), {L"unzip", argument("missing.zip"), argument("out")});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, lines({"kel unzip: cannot open " + shown("missing.zip")}));
    EXPECT_FALSE(fs::exists(inTest("out")));
}

TEST_F(KelZipTool, Unzip_NotAnArchive_FailsWithOneLineOnStderr) {
    const auto r = runProgram(kelTool(), {L"unzip", argument("one.txt"), argument("out")});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, lines({"kel unzip: cannot open " + shown("one.txt")}));
}

TEST_F(KelZipTool, Zip_MissingSource_FailsAndLeavesNoArchive) {
    const auto r = runProgram(kelTool(), {L"zip", argument("nothing")});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(r.err, lines({"kel zip: cannot archive " + shown("nothing") + " into " +
                            shown("nothing.zip")}));
    EXPECT_FALSE(fs::exists(inTest("nothing.zip")));
}

TEST_F(KelZipTool, BadArguments_PrintTheUsageAndExitWith2) {
    const std::string zipUsage = lines({"usage: kel zip PATH [ARCHIVE] [--flat]"});
    const std::string unzipUsage = lines({"usage: kel unzip ARCHIVE [FOLDER] [--flat]"});
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
    EXPECT_EQ(
        r.err,
        lines({"kel unzip: cannot extract data.txt: unsupported compression method 12 (bzip2)"}));
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
    EXPECT_EQ(r.err, lines({"kel unzip: cannot extract data.txt: the CRC-32 does not match"}));
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

}  // namespace
