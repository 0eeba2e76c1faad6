// The library's own version reader: PE version resources of the samples
// made with the MinGW tool chain and of images built byte by byte (PE32
// and PE32+, every odd layout and every way of spoiling one), ELF version
// names, and the text form. In the Windows build the system's version API
// reads the same files and must agree.

#include <gtest/gtest.h>

#include <kel/KelVersion.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "diagnostics/file_version.h"
#include "diagnostics_test_support.h"
#include "pe_builder.h"
#include "support/isolation.h"
#include "support/system.h"

#if defined(_WIN32)
#include <windows.h>
#endif

namespace {

namespace fs = std::filesystem;
using kel::detail::FileVersion;
using kel::detail::formatFileVersion;
using kel::detail::MemoryBytes;
using kel::detail::peFileVersion;
using kel::detail::readFileVersion;
using kel::detail::versionFromSharedObjectName;
using kel::detail::VersionLookup;
using kel::test::Bytes;
using kel::test::PeImage;
using kel::test::put16;
using kel::test::put32;
using kel::test::versionResource;

// "a.b.c.d" of a version, or "none".
std::string text(bool found, const FileVersion& v) {
    if (!found)
        return "none";
    return std::to_string(v.major) + "." + std::to_string(v.minor) + "." + std::to_string(v.build) +
           "." + std::to_string(v.revision);
}

std::string versionOf(const Bytes& bytes) {
    // An exact copy on the heap: a read past its end is caught by the
    // sanitizers.
    std::unique_ptr<unsigned char[]> copy(new unsigned char[bytes.size() + 1]);
    std::copy(bytes.begin(), bytes.end(), copy.get());
    MemoryBytes source(copy.get(), bytes.size());
    FileVersion v;
    const bool found = peFileVersion(source, v);
    return text(found, v);
}

std::string versionOfFile(const fs::path& path) {
    FileVersion v;
    int error = 0;
    const bool found = readFileVersion(path.wstring(), v, error) == VersionLookup::Found;
    return text(found, v);
}

Bytes bytesOf(const fs::path& path) {
    const std::string s = kel::test::readFile(path);
    return Bytes(s.begin(), s.end());
}

PeImage versionImage(bool pe32Plus) {
    PeImage image;
    image.pe32Plus = pe32Plus;
    image.addResource(16, 1, 0x409, versionResource(7, 8, 9, 10));
    return image;
}

// ----- the samples made with the tool chain ----------------------------------------------

TEST(PeVersion, ToolChainSampleWithAVersionResource) {
    EXPECT_EQ(versionOf(bytesOf(kel::test::peSample("versioned.dll"))), "1.2.3.4");
    EXPECT_EQ(versionOfFile(kel::test::peSample("versioned.dll")), "1.2.3.4");
}

TEST(PeVersion, ToolChainSamplesWithoutAVersionResource) {
    EXPECT_EQ(versionOf(bytesOf(kel::test::peSample("strings_only.dll"))), "none");
    EXPECT_EQ(versionOf(bytesOf(kel::test::peSample("unversioned.dll"))), "none");
}

TEST(PeVersion, EveryCutOfTheToolChainSampleGivesNoneOrTheWholeVersion) {
    const Bytes whole = bytesOf(kel::test::peSample("versioned.dll"));
    for (size_t n = 0; n < whole.size(); ++n) {
        const std::string v = versionOf(Bytes(whole.begin(), whole.begin() + n));
        EXPECT_TRUE(v == "none" || v == "1.2.3.4") << n;
    }
}

// ----- images built byte by byte ----------------------------------------------------

TEST(PeVersion, Pe32PlusAndPe32) {
    EXPECT_EQ(versionOf(versionImage(true).build()), "7.8.9.10");
    EXPECT_EQ(versionOf(versionImage(false).build()), "7.8.9.10");
}

TEST(PeVersion, LargestNumbers) {
    PeImage image;
    image.addResource(16, 1, 0, versionResource(65535, 65535, 65535, 65535));
    EXPECT_EQ(versionOf(image.build()), "65535.65535.65535.65535");
}

TEST(PeVersion, OtherResourcesAndNamedEntriesAroundTheVersion) {
    PeImage image;
    image.addResource(6, 1, 0x409, Bytes(40, 0));
    image.addResource(24, 2, 0x409, Bytes(10, 'x'));
    image.addResource(16, 1, 0x409, versionResource(3, 1, 4, 1));
    PeImage::Resource named;
    named.typeName = u"TYPELIB";
    named.data = Bytes(8, 1);
    image.resources.push_back(named);
    PeImage::Resource namedVersion;
    namedVersion.type = 16;
    namedVersion.nameName = u"OTHER";
    namedVersion.language = 0x409;
    namedVersion.data = versionResource(9, 9, 9, 9);
    image.resources.push_back(namedVersion);
    EXPECT_EQ(versionOf(image.build()), "3.1.4.1");
}

TEST(PeVersion, OnlyTheVersionResourceNamedOneCounts) {
    PeImage image;
    image.addResource(16, 2, 0x409, versionResource(2, 2, 2, 2));
    EXPECT_EQ(versionOf(image.build()), "none");
    PeImage named;
    PeImage::Resource r;
    r.type = 16;
    r.nameName = u"VS_VERSION_INFO";
    r.data = versionResource(2, 2, 2, 2);
    named.resources.push_back(r);
    EXPECT_EQ(versionOf(named.build()), "none");
}

TEST(PeVersion, TheFirstLanguageIsRead) {
    PeImage image;
    image.addResource(16, 1, 0x409, versionResource(2, 0, 0, 0));
    image.addResource(16, 1, 0x407, versionResource(1, 0, 0, 0));
    EXPECT_EQ(versionOf(image.build()), "1.0.0.0");
}

TEST(PeVersion, AValueLengthOfZeroGivesNone) {
    PeImage image = versionImage(true);
    put16(image.resources[0].data, 2, 0);
    EXPECT_EQ(versionOf(image.build()), "none");
}

TEST(PeVersion, TheSignatureIsNotChecked) {
    PeImage image = versionImage(true);
    put32(image.resources[0].data, 40, 0);
    EXPECT_EQ(versionOf(image.build()), "7.8.9.10");
}

TEST(PeVersion, AShortKeyMovesTheFixedBlock) {
    // Key "VS" (6 bytes with its terminator) from byte 6: the block starts
    // at 12.
    Bytes r(12 + 52, 0);
    put16(r, 0, static_cast<uint16_t>(r.size()));
    put16(r, 2, 52);
    put16(r, 6, 'V');
    put16(r, 8, 'S');
    put32(r, 12 + 8, (5u << 16) | 6);
    put32(r, 12 + 12, (7u << 16) | 8);
    PeImage image;
    image.addResource(16, 1, 0, r);
    EXPECT_EQ(versionOf(image.build()), "5.6.7.8");
}

TEST(PeVersion, AResourceEndingAfterItsKeyReadsZerosFromTheBuffersPadding) {
    // The reader's buffer is 16 bytes longer than the resource and zeroed,
    // so a fixed block that begins at the resource's end reads as zeros.
    Bytes r = versionResource(7, 8, 9, 10);
    r.resize(40);
    PeImage image;
    image.addResource(16, 1, 0, r);
    EXPECT_EQ(versionOf(image.build()), "0.0.0.0");
}

TEST(PeVersion, AKeyWithoutTerminatorGivesNone) {
    Bytes r(64, 'A');
    put16(r, 0, 64);
    put16(r, 2, 52);
    PeImage image;
    image.addResource(16, 1, 0, r);
    // The key runs into the zero padding; the block would lie beyond it.
    EXPECT_EQ(versionOf(image.build()), "none");
}

TEST(PeVersion, ResourcesOfZeroOrOfFewBytesGiveNone) {
    for (size_t size : {0, 1, 2, 3}) {
        PeImage image;
        image.addResource(16, 1, 0, Bytes(size, 0));
        EXPECT_EQ(versionOf(image.build()), "none") << size;
    }
}

TEST(PeVersion, EveryCutOfABuiltImageBeforeTheResourcesEndGivesNone) {
    for (bool pe32Plus : {true, false}) {
        PeImage image = versionImage(pe32Plus);
        const Bytes whole = image.build();
        const size_t end = image.dataFileOffsets[0] + image.resources[0].data.size();
        for (size_t n = 0; n <= whole.size(); ++n) {
            EXPECT_EQ(versionOf(Bytes(whole.begin(), whole.begin() + n)),
                      n < end ? "none" : "7.8.9.10")
                << n;
        }
    }
}

TEST(PeVersion, SpoiledHeadersGiveNone) {
    PeImage image = versionImage(true);
    const Bytes good = image.build();
    struct Spoil {
        const char* what;
        size_t offset;
        uint32_t value;
        bool wide;
    };
    const uint32_t o = image.optionalHeaderOffset;
    const uint32_t coff = image.peHeaderOffset + 4;
    const Spoil spoils[] = {
        {"no MZ", 0, 'X', false},
        {"PE header beyond the file", 0x3C, 0xFFFFFFF0u, true},
        {"PE header inside the DOS header", 0x3C, 0x10, true},
        {"no PE signature", image.peHeaderOffset, 'N', false},
        {"unknown optional header", o, 0x107, false},
        {"PE32 magic on a PE32+ header", o, 0x10B, false},
        {"optional header too short for the resources", coff + 16, 112 + 16, false},
        {"two data directories", o + 108, 2, true},
        {"no resource directory", o + 112 + 16, 0, true},
        {"resource directory outside every section", o + 112 + 16, 0x9000, true},
        {"no sections", coff + 2, 0, false},
        {"65535 sections", coff + 2, 0xFFFF, false},
        {"section data beyond the file", image.sectionTableOffset + 20, 0x7FFFFFF0u, true},
        {"section data size of zero", image.sectionTableOffset + 16, 0, true},
        {"65535 named root entries", image.resourceFileOffset + 12, 0xFFFF, false},
        {"no root entries", image.resourceFileOffset + 14, 0, false},
        {"type entry without subdirectory flag", image.resourceFileOffset + 16 + 4, 0x18, true},
        {"type subdirectory beyond the file", image.resourceFileOffset + 16 + 4, 0xFFFFFFF0u, true},
    };
    for (const Spoil& spoil : spoils) {
        Bytes bytes = good;
        if (spoil.wide) {
            put32(bytes, spoil.offset, spoil.value);
        } else {
            put16(bytes, spoil.offset, static_cast<uint16_t>(spoil.value));
        }
        bytes.resize(good.size());
        EXPECT_EQ(versionOf(bytes), "none") << spoil.what;
    }
}

TEST(PeVersion, SpoiledResourceEntriesGiveNone) {
    PeImage image = versionImage(false);
    const Bytes good = image.build();
    const uint32_t base = image.resourceFileOffset;
    // Root (16 + 8), type directory (16 + 8), name directory (16 + 8), then
    // the data entry.
    const uint32_t nameEntry = base + 24 + 16;
    const uint32_t languageEntry = base + 48 + 16;
    const uint32_t dataEntry = base + 72;
    struct Spoil {
        const char* what;
        size_t offset;
        uint32_t value;
    };
    const Spoil spoils[] = {
        {"name entry not 1", nameEntry, 7},
        {"name entry without subdirectory flag", nameEntry + 4, 48},
        {"language entry pointing to a directory", languageEntry + 4, 0x80000000u | 72},
        {"language entry beyond the file", languageEntry + 4, 0x7FFFFFF0u},
        {"data outside every section", dataEntry, 0x50000},
        {"data running past its section", dataEntry + 4, 0x10000},
        {"data of size zero", dataEntry + 4, 0},
        {"data of the largest size", dataEntry + 4, 0xFFFFFFFFu},
    };
    for (const Spoil& spoil : spoils) {
        Bytes bytes = good;
        put32(bytes, spoil.offset, spoil.value);
        EXPECT_EQ(versionOf(bytes), "none") << spoil.what;
    }
}

TEST(PeVersion, EveryByteSetToAnyOfThreeValuesNeverReadsOutsideTheFile) {
    const Bytes good = versionImage(true).build();
    for (size_t i = 0; i < good.size(); ++i) {
        for (unsigned char value : {0x00, 0x7F, 0xFF}) {
            Bytes bytes = good;
            bytes[i] = value;
            const std::string v = versionOf(bytes);
            EXPECT_FALSE(v.empty());
        }
    }
}

TEST(PeVersion, EmptyAndTinyInputs) {
    EXPECT_EQ(versionOf(Bytes()), "none");
    EXPECT_EQ(versionOf(Bytes{'M'}), "none");
    EXPECT_EQ(versionOf(Bytes{'M', 'Z'}), "none");
    Bytes header(64, 0);
    header[0] = 'M';
    header[1] = 'Z';
    EXPECT_EQ(versionOf(header), "none");
}

// ----- ELF names ---------------------------------------------------------------------

std::string nameVersion(const wchar_t* name) {
    FileVersion v;
    const bool found = versionFromSharedObjectName(name, v);
    return text(found, v);
}

TEST(SharedObjectVersion, NumbersAfterTheLastSoAreTheVersion) {
    EXPECT_EQ(nameVersion(L"libz.so.1.2.13"), "1.2.13.0");
    EXPECT_EQ(nameVersion(L"libkel.so.1"), "1.0.0.0");
    EXPECT_EQ(nameVersion(L"libkel.so.1.0.0"), "1.0.0.0");
    EXPECT_EQ(nameVersion(L"libstdc++.so.6.0.30"), "6.0.30.0");
    EXPECT_EQ(nameVersion(L"libx.so.1.2.3.4"), "1.2.3.4");
    EXPECT_EQ(nameVersion(L"libx.so.1.2.3.4.5"), "1.2.3.4");
    EXPECT_EQ(nameVersion(L"libx.so.1.so.2"), "2.0.0.0");
    EXPECT_EQ(nameVersion(L"libx.so.65535"), "65535.0.0.0");
    EXPECT_EQ(nameVersion(L"libx.so.007"), "7.0.0.0");
}

TEST(SharedObjectVersion, NamesWithoutANumericSuffixHaveNone) {
    for (const wchar_t* name :
         {L"libx.so", L"libx.so.", L"libx.so.1.", L"libx.so.1..2", L"libx.so.1a", L"libx.so.a",
          L"libx.so.65536", L"libx.so.123456", L"libx.so.-1", L"libx.so.1 ", L"kel", L"x.dll",
          L"libx.so.1.so", L""}) {
        EXPECT_EQ(nameVersion(name), "none") << std::wstring(name).size();
    }
}

// ----- files and text ----------------------------------------------------------------

TEST(FileVersionText, MinorTwoDigitsBuildAndRevisionFour) {
    EXPECT_EQ(formatFileVersion({1, 2, 3, 4}), L"1.02.0003.0004");
    EXPECT_EQ(formatFileVersion({0, 0, 0, 0}), L"0.00.0000.0000");
    EXPECT_EQ(formatFileVersion({12, 345, 6789, 12345}), L"12.345.6789.12345");
    EXPECT_EQ(formatFileVersion({65535, 65535, 65535, 65535}), L"65535.65535.65535.65535");
}

TEST(ReadFileVersion, AMissingFileCannotBeOpened) {
    FileVersion v;
    int error = 0;
    EXPECT_EQ(readFileVersion((kel::test::tempDirW() + L"/missing.dll"), v, error),
              VersionLookup::CannotOpen);
    EXPECT_EQ(error, ENOENT);
}

TEST(ReadFileVersion, FoldersTextAndShortFilesHaveNone) {
    FileVersion v;
    int error = 0;
    fs::create_directories(kel::test::inTestDir("folder.so.1"));
    EXPECT_NE(readFileVersion(kel::test::inTestDir("folder.so.1").wstring(), v, error),
              VersionLookup::Found);
    kel::test::writeFile(kel::test::inTestDir("empty.dll"), "");
    kel::test::writeFile(kel::test::inTestDir("lib.so.1"),
                         "\x7F"
                         "EL");
    EXPECT_EQ(versionOfFile(kel::test::inTestDir("empty.dll")), "none");
    EXPECT_EQ(versionOfFile(kel::test::inTestDir("lib.so.1")), "none");
}

#if !defined(_WIN32)

// Version links of shared objects are POSIX's.
TEST(ReadFileVersion, AnElfFileIsReadByItsRealName) {
    std::string elf =
        "\x7F"
        "ELF";
    elf += std::string(60, '\0');
    kel::test::writeFile(kel::test::inTestDir("libreal.so.4.5.6"), elf);
    fs::create_symlink("libreal.so.4.5.6", kel::test::inTestDir("libreal.so.4"));
    fs::create_symlink("libreal.so.4", kel::test::inTestDir("libreal.so"));
    EXPECT_EQ(versionOfFile(kel::test::inTestDir("libreal.so")), "4.5.6.0");
    EXPECT_EQ(versionOfFile(kel::test::inTestDir("libreal.so.4")), "4.5.6.0");
    EXPECT_EQ(formatFileVersion({4, 5, 6, 0}), L"4.05.0006.0000");
}

#endif

TEST(ReadFileVersion, AnElfNameOnAPeFileReadsTheResource) {
    fs::copy_file(kel::test::peSample("versioned.dll"), kel::test::inTestDir("libpe.so.9"));
    EXPECT_EQ(versionOfFile(kel::test::inTestDir("libpe.so.9")), "1.2.3.4");
}

// ----- the system's version API on the same files (Windows) ---------------------------

#if defined(_WIN32)

std::string systemVersion(const fs::path& path) {
    DWORD handle = 0;
    const DWORD size = ::GetFileVersionInfoSizeW(path.wstring().c_str(), &handle);
    if (size == 0)
        return "none";
    std::vector<unsigned char> buffer(size);
    if (!::GetFileVersionInfoW(path.wstring().c_str(), 0, size, buffer.data()))
        return "none";
    VS_FIXEDFILEINFO* fixed = nullptr;
    UINT length = 0;
    if (!::VerQueryValueW(buffer.data(), L"\\", reinterpret_cast<void**>(&fixed), &length) ||
        fixed == nullptr) {
        return "none";
    }
    FileVersion v;
    v.major = HIWORD(fixed->dwFileVersionMS);
    v.minor = LOWORD(fixed->dwFileVersionMS);
    v.build = HIWORD(fixed->dwFileVersionLS);
    v.revision = LOWORD(fixed->dwFileVersionLS);
    return text(true, v);
}

TEST(SystemVersionApi, AgreesOnTheLibrary) {
    const fs::path library = fs::path(kel::test::selfPath()).parent_path() / "kel.dll";
    EXPECT_EQ(systemVersion(library), std::to_string(KEL_VERSION_MAJOR) + "." +
                                          std::to_string(KEL_VERSION_MINOR) + "." +
                                          std::to_string(KEL_VERSION_PATCH) + ".0");
    EXPECT_EQ(versionOfFile(library), systemVersion(library));
}

TEST(SystemVersionApi, AgreesOnTheToolChainSamples) {
    for (const char* sample : {"versioned.dll", "strings_only.dll", "unversioned.dll"}) {
        const fs::path path = kel::test::peSample(sample);
        EXPECT_EQ(versionOfFile(path), systemVersion(path)) << sample;
    }
}

TEST(SystemVersionApi, AgreesOnBuiltImages) {
    for (bool pe32Plus : {true, false}) {
        const Bytes bytes = versionImage(pe32Plus).build();
        const fs::path path = kel::test::inTestDir(pe32Plus ? "built64.dll" : "built32.dll");
        kel::test::writeFile(path, std::string(bytes.begin(), bytes.end()));
        EXPECT_EQ(systemVersion(path), "7.8.9.10") << path;
        EXPECT_EQ(versionOfFile(path), systemVersion(path)) << path;
    }
}

#endif

}  // namespace
