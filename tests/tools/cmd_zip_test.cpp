// "kel zip" and "kel unzip", run as a user runs them: the built tool in a
// process of its own, on a small tree in the test's folder.

#include <gtest/gtest.h>

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

}  // namespace
