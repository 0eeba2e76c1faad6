// Archives built byte by byte to attack the extractor: names that leave the target
// folder, damaged directories, streams and checksums, unsupported methods,
// overlapping entries, links, noise. Each operation must fail, write
// nothing outside the target folder, leave no file behind and never crash.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <zlib.h>

#include <filesystem>
#include <map>
#include <random>
#include <set>
#include <string>

#include "file_test_support.h"
#include "files/zip_failure.h"
#include "hostile_corpus.h"
#include "support/isolation.h"
#include "support/system.h"

namespace {

using kel::test::Bytes;
using kel::test::pathIn;
using kel::test::widePathIn;
namespace fs = std::filesystem;

void put16(Bytes& out, unsigned value) {
    out.push_back(static_cast<unsigned char>(value));
    out.push_back(static_cast<unsigned char>(value >> 8));
}

void put32(Bytes& out, unsigned long value) {
    put16(out, static_cast<unsigned>(value & 0xFFFF));
    put16(out, static_cast<unsigned>(value >> 16));
}

// Writes a zip archive byte by byte, so that any name goes in as it
// stands: one stored entry per name, each holding "payload".
void writeArchive(const std::string& archive, const std::vector<std::string>& names) {
    const std::string payload = "payload";
    const unsigned long crc =
        crc32(0, reinterpret_cast<const Bytef*>(payload.data()), static_cast<uInt>(payload.size()));
    Bytes out;
    Bytes directory;
    for (const std::string& name : names) {
        const unsigned long offset = static_cast<unsigned long>(out.size());
        for (Bytes* record : {&out, &directory}) {
            const bool central = record == &directory;
            put32(*record, central ? 0x02014B50 : 0x04034B50);
            if (central)
                put16(*record, 20);      // made by
            put16(*record, 20);          // needed
            put16(*record, 0);           // flags
            put16(*record, 0);           // stored
            put32(*record, 0x21000000);  // 1980-08-01
            put32(*record, crc);
            put32(*record, static_cast<unsigned long>(payload.size()));
            put32(*record, static_cast<unsigned long>(payload.size()));
            put16(*record, static_cast<unsigned>(name.size()));
            put16(*record, 0);  // extra
            if (central) {
                put16(*record, 0);  // comment
                put16(*record, 0);  // disk
                put16(*record, 0);  // internal attributes
                put32(*record, 0);  // external attributes
                put32(*record, offset);
            }
            record->insert(record->end(), name.begin(), name.end());
            if (!central)
                record->insert(record->end(), payload.begin(), payload.end());
        }
    }
    const unsigned long start = static_cast<unsigned long>(out.size());
    out.insert(out.end(), directory.begin(), directory.end());
    put32(out, 0x06054B50);
    put16(out, 0);
    put16(out, 0);
    put16(out, static_cast<unsigned>(names.size()));
    put16(out, static_cast<unsigned>(names.size()));
    put32(out, static_cast<unsigned long>(directory.size()));
    put32(out, start);
    put16(out, 0);
    kel::test::writeAll(archive, out);
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
    writeArchive(pathIn("a.zip"), {"../evil"});
    expectRefused(pathIn("a.zip"));
    EXPECT_TRUE(fs::is_empty(m_target));
}

TEST_F(HostileArchive, EntryClimbingOutThroughAFolder_IsRefused) {
    writeArchive(pathIn("a.zip"), {"a/../../evil"});
    expectRefused(pathIn("a.zip"));
    EXPECT_TRUE(fs::is_empty(m_target));
}

TEST_F(HostileArchive, AbsoluteEntry_IsRefused) {
    writeArchive(pathIn("a.zip"), {"/" + m_unique});
    expectRefused(pathIn("a.zip"));
    writeArchive(pathIn("b.zip"), {"\\" + m_unique});
    expectRefused(pathIn("b.zip"));
    EXPECT_TRUE(fs::is_empty(m_target));
}

TEST_F(HostileArchive, EntryWithADrive_IsRefused) {
    writeArchive(pathIn("a.zip"), {"C:\\x"});
    expectRefused(pathIn("a.zip"));
    writeArchive(pathIn("b.zip"), {"C:x"});
    expectRefused(pathIn("b.zip"));
    EXPECT_TRUE(fs::is_empty(m_target));
}

TEST_F(HostileArchive, IgnorePath_StillRefusesANameOfDots) {
    writeArchive(pathIn("a.zip"), {"x/.."});
    KelUnzipper zip(widePathIn("a.zip").c_str());
    EXPECT_FALSE(zip.UnzipTo(widePathIn("work/target").c_str(), true));
    // With ignorePath the file name alone is used: "../evil" lands inside.
    writeArchive(pathIn("b.zip"), {"../evil"});
    KelUnzipper flat(widePathIn("b.zip").c_str());
    EXPECT_TRUE(flat.UnzipTo(widePathIn("work/target").c_str(), true));
    EXPECT_TRUE(fs::exists(pathIn("work/target/evil")));
    EXPECT_FALSE(fs::exists(pathIn("work/evil")));
}

TEST_F(HostileArchive, GoodEntriesBeforeABadOne_AreExtractedThenTheRunStops) {
    writeArchive(pathIn("a.zip"), {"good.txt", "../evil", "after.txt"});
    KelUnzipper zip(widePathIn("a.zip").c_str());
    EXPECT_FALSE(zip.UnzipTo(widePathIn("work/target").c_str(), false));
    EXPECT_EQ(kel::test::readAll(pathIn("work/target/good.txt")), kel::test::bytesOf("payload"));
    EXPECT_FALSE(fs::exists(pathIn("work/target/after.txt")));
    EXPECT_FALSE(fs::exists(pathIn("work/evil")));
}

TEST_F(HostileArchive, TruncatedArchives_FailToOpenOrToExtract) {
    writeArchive(pathIn("a.zip"), {"one.txt", "two.txt", "three.txt"});
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
    writeArchive(pathIn("a.zip"), {"one.txt", "two.txt"});
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
    writeArchive(pathIn("a.zip"), {"data.txt"});
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
    const unsigned char end[22] = {'P', 'K',  5, 6, 0, 0,    0, 0, 5, 0, 5,
                                   0,   0x40, 0, 0, 0, 0x10, 0, 0, 0, 0, 0};
    bytes.insert(bytes.end(), end, end + 22);
    kel::test::writeAll(pathIn("noise2.zip"), bytes);
    expectRefused(pathIn("noise2.zip"));
}

// The regular files below `folder`.
std::vector<std::string> filesBelow(const std::string& folder) {
    std::vector<std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file())
            files.push_back(entry.path().string());
    }
    return files;
}

// What the extraction of each archive of the corpus reports (see
// data/hostile/make_hostile.py for how each was made).
const std::map<std::string, std::string> kCorpusReasons = {
    {"bad_crc.zip", "the CRC-32 does not match"},
    {"bzip2.zip", "unsupported compression method 12 (bzip2)"},
    {"deflate64.zip", "unsupported compression method 9 (deflate64)"},
    {"directory_count_high.zip",
     "damaged archive: the directory holds 2 of the 3 entries its end record announces"},
    {"directory_count_low.zip",
     "damaged archive: the directory holds more records than its end record announces"},
    {"directory_outside.zip", "no archive is open"},
    {"encrypted.zip", "the entry is encrypted"},
    {"entry_outside.zip", "damaged archive: an entry lies outside the archive's data"},
    {"flipped_byte.zip", "damaged compressed data"},
    {"garbage_directory.zip", "damaged archive: a damaged record in the directory"},
    {"lzma.zip", "unsupported compression method 14 (LZMA)"},
    {"overlapping_data.zip", "damaged archive: entries overlap (their data share bytes)"},
    {"overlapping_same_header.zip", "damaged archive: entries overlap (their data share bytes)"},
    {"size_too_large.zip", "the data holds 16000 bytes, the entry 16100"},
    {"size_too_small.zip", "the data holds more than the entry's 15900 bytes"},
    {"stored_sizes_differ.zip", "a stored entry whose two sizes differ"},
    {"swapped_same_size.zip", "the CRC-32 does not match"},
    {"swapped_stream.zip", "the data holds 5000 bytes, the entry 16000"},
    {"through_link.zip", "the path runs through a link inside the folder"},
    {"truncated_stream.zip", "the compressed data ends before the entry does"},
};

TEST_F(HostileArchive, Corpus_EveryArchiveFailsForItsReasonAndLeavesNoFile) {
    ASSERT_EQ(kel::test::hostileCorpus().size(), kCorpusReasons.size());
    fs::create_directories(pathIn("outside"));
    for (const kel::test::CorpusFile& file : kel::test::hostileCorpus()) {
        SCOPED_TRACE(file.name);
        const std::string name = file.name;
        ASSERT_EQ(kCorpusReasons.count(name), 1u);
        if (name == "through_link.zip") {
            if (kel::test::kWindows)
                continue;  // links need privileges there; the POSIX build covers them
            fs::create_directory_symlink(pathIn("outside"), pathIn("work/target/link"));
        }
        kel::test::writeAll(pathIn(name), Bytes(file.bytes, file.bytes + file.size));
        expectRefused(pathIn(name));
        KelUnzipper zip(widePathIn(name).c_str());
        EXPECT_FALSE(zip.UnzipTo(widePathIn("work/target").c_str(), false));
        EXPECT_EQ(kel::detail::zipFailure(), kCorpusReasons.at(name));
        EXPECT_EQ(filesBelow(m_target), std::vector<std::string>());
        EXPECT_TRUE(fs::is_empty(pathIn("outside")));
        fs::remove_all(m_target);
        fs::create_directories(m_target);
    }
}

}  // namespace
