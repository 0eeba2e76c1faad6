// Archives built to attack the extractor: names that leave the target
// folder, damaged directories and checksums, noise. Each operation must
// fail, write nothing outside the target folder and never crash.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <filesystem>
#include <random>
#include <set>
#include <string>

#include "file_test_support.h"
#include "support/isolation.h"

namespace {

using kel::test::Bytes;
using kel::test::pathIn;
using kel::test::quoted;
using kel::test::widePathIn;
namespace fs = std::filesystem;

// Writes `archive` with Python's zipfile: one entry per name, stored or
// deflated, each holding "payload".
void pythonArchive(const std::string& archive, const std::vector<std::string>& names,
                   bool stored = false) {
    std::string list;
    for (const std::string& name : names)
        list += "'" + name + "',";
    const std::string script =
        "import zipfile\n"
        "with zipfile.ZipFile(" + quoted(archive) + ".replace(\"'\",''), 'w', " +
        (stored ? "zipfile.ZIP_STORED" : "zipfile.ZIP_DEFLATED") + ") as z:\n"
        "    for n in [" + list + "]:\n"
        "        z.writestr(zipfile.ZipInfo(n), b'payload')\n";
    kel::test::writeText(pathIn("make.py"), script);
    ASSERT_EQ(kel::test::run("python3 " + quoted(pathIn("make.py"))), 0);
}

// Every path below the test folder, the target folder's contents aside.
std::set<std::string> everythingOutside(const std::string& target) {
    std::set<std::string> paths;
    for (const auto& entry : fs::recursive_directory_iterator(kel::test::tempDir())) {
        const std::string path = entry.path().string();
        if (path.rfind(target, 0) != 0)
            paths.insert(path);
    }
    return paths;
}

class HostileArchive : public ::testing::Test {
protected:
    void SetUp() override {
        fs::create_directories(pathIn("work/target"));
        m_target = pathIn("work/target");
        m_unique = "kel-hostile-" + std::to_string(std::random_device()());
    }

    // Extracts `archive` every way there is; all must fail, and nothing may
    // appear outside the target folder (nor at the root of the file system).
    void expectRefused(const std::string& archive) {
        const std::set<std::string> before = everythingOutside(m_target);
        const std::wstring target = widePathIn("work/target");
        KelUnzipper zip(kel::test::widen(archive).c_str());
        EXPECT_FALSE(zip.UnzipTo(target.c_str(), false));
        EXPECT_FALSE(zip.UnzipFile(0, target.c_str(), false));
        zip.SetOutputFolder(target.c_str());
        EXPECT_FALSE(zip.Unzip(false));
        EXPECT_FALSE(KelUnzipper::Unzip(kel::test::widen(archive).c_str(), target.c_str(), false));
        EXPECT_EQ(everythingOutside(m_target), before);
        EXPECT_FALSE(fs::exists("/" + m_unique));
        EXPECT_FALSE(fs::exists(pathIn("evil")));
        EXPECT_FALSE(fs::exists(pathIn("work/evil")));
    }

    std::string m_target;
    std::string m_unique;
};

TEST_F(HostileArchive, EntryClimbingOut_IsRefused) {
    pythonArchive(pathIn("a.zip"), {"../evil"});
    expectRefused(pathIn("a.zip"));
    EXPECT_TRUE(fs::is_empty(m_target));
}

TEST_F(HostileArchive, EntryClimbingOutThroughAFolder_IsRefused) {
    pythonArchive(pathIn("a.zip"), {"a/../../evil"});
    expectRefused(pathIn("a.zip"));
    EXPECT_TRUE(fs::is_empty(m_target));
}

TEST_F(HostileArchive, AbsoluteEntry_IsRefused) {
    pythonArchive(pathIn("a.zip"), {"/" + m_unique});
    expectRefused(pathIn("a.zip"));
    pythonArchive(pathIn("b.zip"), {"\\\\" + m_unique});
    expectRefused(pathIn("b.zip"));
    EXPECT_TRUE(fs::is_empty(m_target));
}

TEST_F(HostileArchive, EntryWithADrive_IsRefused) {
    pythonArchive(pathIn("a.zip"), {"C:\\\\x"});
    expectRefused(pathIn("a.zip"));
    pythonArchive(pathIn("b.zip"), {"C:x"});
    expectRefused(pathIn("b.zip"));
    EXPECT_TRUE(fs::is_empty(m_target));
}

TEST_F(HostileArchive, IgnorePath_StillRefusesANameOfDots) {
    pythonArchive(pathIn("a.zip"), {"x/.."});
    KelUnzipper zip(widePathIn("a.zip").c_str());
    EXPECT_FALSE(zip.UnzipTo(widePathIn("work/target").c_str(), true));
    // With ignorePath the file name alone is used: "../evil" lands inside.
    pythonArchive(pathIn("b.zip"), {"../evil"});
    KelUnzipper flat(widePathIn("b.zip").c_str());
    EXPECT_TRUE(flat.UnzipTo(widePathIn("work/target").c_str(), true));
    EXPECT_TRUE(fs::exists(pathIn("work/target/evil")));
    EXPECT_FALSE(fs::exists(pathIn("work/evil")));
}

TEST_F(HostileArchive, GoodEntriesBeforeABadOne_AreExtractedThenTheRunStops) {
    pythonArchive(pathIn("a.zip"), {"good.txt", "../evil", "after.txt"});
    KelUnzipper zip(widePathIn("a.zip").c_str());
    EXPECT_FALSE(zip.UnzipTo(widePathIn("work/target").c_str(), false));
    EXPECT_EQ(kel::test::readAll(pathIn("work/target/good.txt")), kel::test::bytesOf("payload"));
    EXPECT_FALSE(fs::exists(pathIn("work/target/after.txt")));
    EXPECT_FALSE(fs::exists(pathIn("work/evil")));
}

TEST_F(HostileArchive, TruncatedArchives_FailToOpenOrToExtract) {
    pythonArchive(pathIn("a.zip"), {"one.txt", "two.txt", "three.txt"});
    const Bytes whole = kel::test::readAll(pathIn("a.zip"));
    // Cuts into the central directory, into the entries, into the first
    // header.
    for (size_t keep : {whole.size() - 30, whole.size() - 60, whole.size() / 2, size_t(10)}) {
        SCOPED_TRACE(keep);
        kel::test::writeAll(pathIn("cut.zip"), Bytes(whole.begin(), whole.begin() + keep));
        expectRefused(pathIn("cut.zip"));
    }
}

TEST_F(HostileArchive, DirectoryShorterThanItsCount_FailsToExtract) {
    pythonArchive(pathIn("a.zip"), {"one.txt", "two.txt"});
    Bytes bytes = kel::test::readAll(pathIn("a.zip"));
    // The end record: entries on this disk and in total (offsets 8 and 10).
    const size_t end = bytes.size() - 22;
    ASSERT_EQ(bytes[end], 'P');
    bytes[end + 8] = 3;
    bytes[end + 10] = 3;
    kel::test::writeAll(pathIn("short.zip"), bytes);
    KelUnzipper zip(widePathIn("short.zip").c_str());
    EXPECT_FALSE(zip.UnzipTo(widePathIn("work/target").c_str(), false));
}

TEST_F(HostileArchive, WrongChecksum_FailsAndLeavesNoFile) {
    pythonArchive(pathIn("a.zip"), {"data.txt"}, true);
    Bytes bytes = kel::test::readAll(pathIn("a.zip"));
    const std::string payload = "payload";
    auto at = std::search(bytes.begin(), bytes.end(), payload.begin(), payload.end());
    ASSERT_NE(at, bytes.end());
    *at = 'P';
    kel::test::writeAll(pathIn("crc.zip"), bytes);
    KelUnzipper zip(widePathIn("crc.zip").c_str());
    EXPECT_FALSE(zip.UnzipTo(widePathIn("work/target").c_str(), false));
    EXPECT_FALSE(fs::exists(pathIn("work/target/data.txt")));
}

TEST_F(HostileArchive, RandomBytes_AreNoArchive) {
    kel::test::writeAll(pathIn("noise.zip"), kel::test::randomBytes(4096, 99));
    KelUnzipper zip;
    EXPECT_FALSE(zip.OpenZip(widePathIn("noise.zip").c_str()));
    expectRefused(pathIn("noise.zip"));
    // Noise behind a valid end record.
    Bytes bytes = kel::test::randomBytes(4096, 98);
    const unsigned char end[22] = {'P', 'K', 5, 6, 0, 0, 0, 0, 5, 0, 5, 0, 0x40, 0, 0, 0,
                                   0x10, 0, 0, 0, 0, 0};
    bytes.insert(bytes.end(), end, end + 22);
    kel::test::writeAll(pathIn("noise2.zip"), bytes);
    expectRefused(pathIn("noise2.zip"));
}

}  // namespace
