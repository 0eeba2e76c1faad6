// KelLogfile: the switch that gates the object operations, the object's
// writes, the static writers, the module listing and file versions. Every
// test works in its own folder; the first-call truncation of logToFile is
// tested in a process of its own (KelLogfile_first_call_test).

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <filesystem>
#include <string>
#include <vector>

#include "diagnostics_test_support.h"
#include "support/isolation.h"
#include "support/system.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#include <link.h>
#endif

namespace {

namespace fs = std::filesystem;
using kel::test::inTestDir;
using kel::test::readFile;
using kel::test::textMode;
using kel::test::writeFile;

KelString wideName(const fs::path& path) {
    return KelString(path.wstring().c_str());
}

// Every test starts with logging off, as the library loads, and leaves it
// off.
class KelLogfileTest : public ::testing::Test {
protected:
    void TearDown() override {
        KelLogfile::setLogStatus(0);
        KelProductDefines::setGXProductName(L"Gantrix");
    }
};

// The library's own file: its SONAME link on Linux, kel.dll on Windows.
std::string libraryFileName() {
    return kel::test::kWindows ? "kel.dll" : "libkel.so.1";
}

// The library's file as the tests name it: the real file (libkel.so.1.1.0)
// on Linux, kel.dll beside the test on Windows.
fs::path libraryFile() {
    if (kel::test::kWindows)
        return fs::path(kel::test::selfPath()).parent_path() / "kel.dll";
    return fs::path(KEL_LIBRARY_FILE);
}

// The base address of the loaded library, in the listing's 8 digits.
std::string libraryBase() {
    uintptr_t base = 0;
#if defined(_WIN32)
    base = reinterpret_cast<uintptr_t>(::GetModuleHandleW(L"kel.dll"));
#else
    // The library's first loadable segment starts at its load bias.
    void* handle = ::dlopen("libkel.so.1", RTLD_NOW | RTLD_NOLOAD);
    link_map* map = nullptr;
    if (handle != nullptr && ::dlinfo(handle, RTLD_DI_LINKMAP, &map) == 0 && map != nullptr)
        base = static_cast<uintptr_t>(map->l_addr);
    if (handle != nullptr)
        ::dlclose(handle);
#endif
    char text[16];
    std::snprintf(text, sizeof text, "%08x", static_cast<unsigned int>(base & 0xFFFFFFFFu));
    return text;
}

// Loads the tests' small shared library, built with version 2.3.4: on Linux
// through its SONAME link libkel_test_versioned.so.2, on Windows as
// kel_test_versioned.dll (with a version resource 2.3.4.0) beside the test.
bool loadVersionedLibrary() {
#if defined(_WIN32)
    return ::LoadLibraryW(L"" KEL_TEST_VERSIONED_LIBRARY) != nullptr;
#else
    return ::dlopen(KEL_TEST_VERSIONED_LIBRARY, RTLD_NOW) != nullptr;
#endif
}

std::string versionedLibraryFileName() {
    return kel::test::fileNameOf(KEL_TEST_VERSIONED_LIBRARY);
}

struct Listing {
    std::vector<std::string> lines;
    std::vector<kel::test::ListingLine> modules;
};

// Reads a listing and checks the parts before the module lines.
Listing readListing(const fs::path& file) {
    Listing listing;
    listing.lines = kel::test::linesOf(readFile(file));
    if (listing.lines.size() < 4) {
        ADD_FAILURE() << "a listing has at least four lines";
        return listing;
    }
    for (size_t i = 4; i < listing.lines.size(); ++i) {
        kel::test::ListingLine parsed;
        EXPECT_TRUE(kel::test::parseListingLine(listing.lines[i], parsed)) << listing.lines[i];
        listing.modules.push_back(parsed);
    }
    return listing;
}

const kel::test::ListingLine* moduleNamed(const Listing& listing, const std::string& fileName) {
    for (const auto& m : listing.modules) {
        if (kel::test::fileNameOf(m.path) == fileName)
            return &m;
    }
    return nullptr;
}

// ----- the switch -------------------------------------------------------------

TEST_F(KelLogfileTest, LoggingIsOffWhenTheLibraryLoads) {
    EXPECT_EQ(KelLogfile::doLogging, 0);
    EXPECT_EQ(KelLogfile::getLogStatus(), 0);
}

TEST_F(KelLogfileTest, SetLogStatusSetsTheExportedSwitch) {
    KelLogfile::setLogStatus(5);
    EXPECT_EQ(KelLogfile::doLogging, 5);
    EXPECT_EQ(KelLogfile::getLogStatus(), 5);
    KelLogfile::doLogging = 0;
    EXPECT_EQ(KelLogfile::getLogStatus(), 0);
}

TEST_F(KelLogfileTest, WithLoggingOff_ResetAndAppendReturnZeroAndCreateNoFile) {
    KelLogfile log(wideName(inTestDir("off.log")));
    EXPECT_EQ(log.reset(), 0);
    EXPECT_EQ(log.appendWithSave(KelString(L"text")), 0);
    EXPECT_FALSE(fs::exists(inTestDir("off.log")));
}

TEST_F(KelLogfileTest, WithLoggingOff_ResetLeavesAnExistingFileAsItIs) {
    writeFile(inTestDir("kept.log"), "content");
    KelLogfile log(wideName(inTestDir("kept.log")));
    EXPECT_EQ(log.reset(), 0);
    EXPECT_EQ(readFile(inTestDir("kept.log")), "content");
}

TEST_F(KelLogfileTest, WithLoggingOff_TheStaticWritersStillWrite) {
    KelLogfile::logToFile(wideName(inTestDir("static.log")), KelString(L"entry"));
    KelLogfile::listModules(wideName(inTestDir("modules.log")));
    EXPECT_TRUE(fs::exists(inTestDir("static.log")));
    const std::string text = readFile(inTestDir("static.log"));
    EXPECT_EQ(text.substr(text.size() - textMode("\nentry").size()), textMode("\nentry"));
    EXPECT_GT(fs::file_size(inTestDir("modules.log")), 0u);
}

// A subclass to reach the protected close.
class ClosingLog : public KelLogfile {
public:
    using KelLogfile::assertClose;
    using KelLogfile::KelLogfile;
};

TEST_F(KelLogfileTest, AssertCloseReturnsZeroWithoutAnOpenStreamOrWithLoggingOff) {
    ClosingLog log(wideName(inTestDir("close.log")));
    EXPECT_EQ(log.assertClose(), 0);
    KelLogfile::setLogStatus(1);
    EXPECT_EQ(log.assertClose(), 0);
    EXPECT_EQ(log.appendWithSave(KelString(L"x")), 1);
    EXPECT_EQ(log.assertClose(), 0);  // every write closes its stream
}

// ----- the object's writes ------------------------------------------------------

TEST_F(KelLogfileTest, DefaultLogIsFerrolabLogInTheCurrentFolder) {
    KelLogfile::setLogStatus(1);
    KelLogfile log;
    EXPECT_EQ(log.appendWithSave(KelString(L"default")), 1);
    EXPECT_EQ(readFile(inTestDir("Ferrolab.LOG")), "default");
}

TEST_F(KelLogfileTest, AppendWithSaveAddsNoNewline) {
    KelLogfile::setLogStatus(1);
    KelLogfile log(wideName(inTestDir("a.log")));
    EXPECT_EQ(log.appendWithSave(KelString(L"first")), 1);
    EXPECT_EQ(log.appendWithSave(KelString(L" second")), 1);
    EXPECT_EQ(log.appendWithSave(KelString(L"\nthird")), 1);
    EXPECT_EQ(readFile(inTestDir("a.log")), textMode("first second\nthird"));
}

TEST_F(KelLogfileTest, AppendWithSaveWritesInTheNarrowCodePage) {
    std::string expected;
    if (!kel::test::narrowSample(kelGetNarrowCodePage(), L"Tr\u00E4ger \u20AC", expected))
        GTEST_SKIP() << kel::test::kNoNarrowSample << kelGetNarrowCodePage();
    KelLogfile::setLogStatus(1);
    KelLogfile log(wideName(inTestDir("narrow.log")));
    EXPECT_EQ(log.appendWithSave(KelString(L"Tr\u00E4ger \u20AC")), 1);
    EXPECT_EQ(readFile(inTestDir("narrow.log")), expected);
}

TEST_F(KelLogfileTest, AppendWithSaveOfAnEmptyTextCreatesTheFileAndReturnsZero) {
    KelLogfile::setLogStatus(1);
    KelLogfile log(wideName(inTestDir("empty.log")));
    EXPECT_EQ(log.appendWithSave(KelString(L"")), 0);
    EXPECT_TRUE(fs::exists(inTestDir("empty.log")));
    EXPECT_EQ(fs::file_size(inTestDir("empty.log")), 0u);
}

TEST_F(KelLogfileTest, AppendWithSaveKeepsFormatDirectivesOfTheText) {
    KelLogfile::setLogStatus(1);
    KelLogfile log(wideName(inTestDir("percent.log")));
    EXPECT_EQ(log.appendWithSave(KelString(L"100% %s %d")), 1);
    EXPECT_EQ(readFile(inTestDir("percent.log")), "100% %s %d");
}

TEST_F(KelLogfileTest, ResetEmptiesTheFileAndCreatesAMissingOne) {
    KelLogfile::setLogStatus(1);
    writeFile(inTestDir("full.log"), "old content");
    KelLogfile full(wideName(inTestDir("full.log")));
    EXPECT_EQ(full.reset(), 1);
    EXPECT_EQ(fs::file_size(inTestDir("full.log")), 0u);
    KelLogfile missing(wideName(inTestDir("new.log")));
    EXPECT_EQ(missing.reset(), 1);
    EXPECT_TRUE(fs::exists(inTestDir("new.log")));
    EXPECT_EQ(full.appendWithSave(KelString(L"after")), 1);
    EXPECT_EQ(readFile(inTestDir("full.log")), "after");
}

TEST_F(KelLogfileTest, AFileThatCannotBeOpenedFailsAndChangesNothing) {
    KelLogfile::setLogStatus(1);
    fs::create_directories(inTestDir("folder"));
    KelLogfile folder(wideName(inTestDir("folder")));
    EXPECT_EQ(folder.reset(), 0);
    EXPECT_EQ(folder.appendWithSave(KelString(L"x")), 0);
    EXPECT_TRUE(fs::is_directory(inTestDir("folder")));
    KelLogfile missingFolder(wideName(inTestDir("no/such/folder/a.log")));
    EXPECT_EQ(missingFolder.reset(), 0);
    EXPECT_EQ(missingFolder.appendWithSave(KelString(L"x")), 0);
    EXPECT_FALSE(fs::exists(inTestDir("no")));
}

TEST_F(KelLogfileTest, AnEmptyNameStaysEmptyAndEveryWriteFails) {
    KelLogfile::setLogStatus(1);
    KelLogfile log(KelString(L""));
    EXPECT_EQ(log.reset(), 0);
    EXPECT_EQ(log.appendWithSave(KelString(L"x")), 0);
    EXPECT_EQ(kel::test::testDirEntries(), kel::test::isolationEntries());
}

TEST_F(KelLogfileTest, ANameIsCutToItsFirst255Characters) {
    KelLogfile::setLogStatus(1);
    // 125 times "./" and "x.log" make 255 characters; what follows is cut.
    std::wstring name;
    for (int i = 0; i < 125; ++i)
        name += L"./";
    name += L"x.log";
    ASSERT_EQ(name.size(), 255u);
    KelLogfile log(KelString((name + L"CUT-OFF").c_str()));
    EXPECT_EQ(log.appendWithSave(KelString(L"cut")), 1);
    EXPECT_EQ(readFile(inTestDir("x.log")), "cut");
    EXPECT_FALSE(fs::exists(inTestDir("x.logCUT-OFF")));
    EXPECT_FALSE(fs::exists(inTestDir("x.logC")));
}

TEST_F(KelLogfileTest, ANameOf255CharactersIsKeptWhole) {
    KelLogfile::setLogStatus(1);
    std::wstring name;
    for (int i = 0; i < 124; ++i)
        name += L"./";
    name += L"abcdefg";
    ASSERT_EQ(name.size(), 255u);
    KelLogfile log(KelString(name.c_str()));
    EXPECT_EQ(log.appendWithSave(KelString(L"whole")), 1);
    EXPECT_EQ(readFile(inTestDir("abcdefg")), "whole");
}

TEST_F(KelLogfileTest, CopiesWriteToTheSameFile) {
    KelLogfile::setLogStatus(1);
    KelLogfile original(wideName(inTestDir("shared.log")));
    KelLogfile copy(original);
    KelLogfile assigned;
    assigned = original;
    EXPECT_EQ(original.appendWithSave(KelString(L"1")), 1);
    EXPECT_EQ(copy.appendWithSave(KelString(L"2")), 1);
    EXPECT_EQ(assigned.appendWithSave(KelString(L"3")), 1);
    EXPECT_EQ(readFile(inTestDir("shared.log")), "123");
    EXPECT_FALSE(fs::exists(inTestDir("Ferrolab.LOG")));
}

TEST_F(KelLogfileTest, DestroyingALogWithLoggingOnClosesNothingAndLosesNothing) {
    KelLogfile::setLogStatus(1);
    {
        KelLogfile log(wideName(inTestDir("scope.log")));
        log.appendWithSave(KelString(L"kept"));
    }
    EXPECT_EQ(readFile(inTestDir("scope.log")), "kept");
}

// ----- logToFile ----------------------------------------------------------------

// The first logToFile of the process empties its file; the tests here work
// with later calls.
void useUpTheFirstCall() {
    KelLogfile::logToFile(wideName(inTestDir("first-call.log")), KelString(L""));
}

TEST_F(KelLogfileTest, LogToFileAppendsANewlineAndTheText) {
    useUpTheFirstCall();
    writeFile(inTestDir("run.log"), "earlier");
    KelLogfile::logToFile(wideName(inTestDir("run.log")), KelString(L"one"));
    KelLogfile::logToFile(wideName(inTestDir("run.log")), KelString(L"two %d"));
    EXPECT_EQ(readFile(inTestDir("run.log")), "earlier" + textMode("\none\ntwo %d"));
}

TEST_F(KelLogfileTest, LogToFileIntoAFolderThatDoesNotExistIsSilent) {
    useUpTheFirstCall();
    KelLogfile::logToFile(wideName(inTestDir("missing/run.log")), KelString(L"lost"));
    EXPECT_FALSE(fs::exists(inTestDir("missing")));
}

TEST_F(KelLogfileTest, LogToFileWithoutANameWritesTheProductsDefaultLog) {
    useUpTheFirstCall();
    fs::path expected;
    if (kel::test::kWindows) {
        // "c:\" + product name + ".log": a name of this test's own.
        const std::wstring product = L"kel-test-" + std::to_wstring(kel::test::currentProcessId());
        KelProductDefines::setGXProductName(product.c_str());
        expected = fs::path(L"c:\\" + product + L".log");
        std::error_code ignored;
        fs::remove(expected, ignored);
    } else {
        expected = fs::path(kel::test::tempDir()) / "home/.local/state/kel/Gantrix.log";
        ASSERT_FALSE(fs::exists(expected.parent_path()));
    }
    KelLogfile::logToFile(KelString(L""), KelString(L"to the default log"));
    const std::string text = readFile(expected);
    std::error_code ignored;
    if (kel::test::kWindows)
        fs::remove(expected, ignored);
    EXPECT_EQ(text, textMode("\nto the default log"));
}

#if !defined(_WIN32)

TEST_F(KelLogfileTest, TheDefaultLogFollowsXdgStateHomeAndTheProductName) {
    useUpTheFirstCall();
    const std::string state = kel::test::tempDir() + "/state";
    kel::test::setEnv("XDG_STATE_HOME", state.c_str());
    KelProductDefines::setGXProductName(L"Steelworks");
    KelLogfile::logToFile(KelString(L""), KelString(L"entry"));
    KelLogfile::listModules(KelString(L""));
    kel::test::setEnv("XDG_STATE_HOME", nullptr);
    const fs::path log = fs::path(state) / "kel" / "Steelworks.log";
    ASSERT_TRUE(fs::exists(log));
    EXPECT_EQ((fs::status(log.parent_path()).permissions() & fs::perms::all), fs::perms::owner_all);
    // The listing replaced the entry.
    EXPECT_NE(readFile(log).find(" PID : "), std::string::npos);
}

TEST_F(KelLogfileTest, ARelativeXdgStateHomeIsIgnored) {
    useUpTheFirstCall();
    kel::test::setEnv("XDG_STATE_HOME", "relative/state");
    KelLogfile::logToFile(KelString(L""), KelString(L"entry"));
    kel::test::setEnv("XDG_STATE_HOME", nullptr);
    EXPECT_FALSE(fs::exists(inTestDir("relative")));
    EXPECT_TRUE(fs::exists(fs::path(kel::test::tempDir()) / "home/.local/state/kel/Gantrix.log"));
}

#endif

// ----- listModules ----------------------------------------------------------------

TEST_F(KelLogfileTest, ListModulesBeginsWithTheProcessLineTwoEmptyLinesAndTheHeader) {
    KelLogfile::listModules(wideName(inTestDir("modules.log")));
    const Listing listing = readListing(inTestDir("modules.log"));
    ASSERT_GE(listing.lines.size(), 5u);
    const std::string exe = kel::test::fileNameOf(kel::test::selfPath());
    EXPECT_EQ(listing.lines[0], exe + " PID : " + std::to_string(kel::test::currentProcessId()));
    EXPECT_EQ(listing.lines[1], "");
    EXPECT_EQ(listing.lines[2], "");
    EXPECT_EQ(listing.lines[3], "Base        Size      Version         Path");
    const std::string text = readFile(inTestDir("modules.log"));
    const std::string head = exe + " PID : " + std::to_string(kel::test::currentProcessId()) +
                             "\n\n\nBase        Size      Version         Path\n";
    EXPECT_EQ(text.substr(0, textMode(head).size()), textMode(head));
    EXPECT_EQ(text.back(), '\n');
}

TEST_F(KelLogfileTest, ListModulesStartsWithTheExecutableWhichHasNoVersion) {
    KelLogfile::listModules(wideName(inTestDir("modules.log")));
    const Listing listing = readListing(inTestDir("modules.log"));
    ASSERT_FALSE(listing.modules.empty());
    EXPECT_TRUE(fs::equivalent(fs::u8path(listing.modules[0].path), kel::test::selfPath()))
        << listing.modules[0].path;
    // A module without a version leaves its 16 columns blank.
    EXPECT_EQ(listing.modules[0].version, std::string(16, ' '));
}

TEST_F(KelLogfileTest, ListModulesShowsTheLibraryWithItsVersionAndBase) {
    KelLogfile::listModules(wideName(inTestDir("modules.log")));
    const Listing listing = readListing(inTestDir("modules.log"));
    const kel::test::ListingLine* library = moduleNamed(listing, libraryFileName());
    ASSERT_NE(library, nullptr) << readFile(inTestDir("modules.log"));
    EXPECT_EQ(library->version, kel::test::libraryFileVersion() + "  ");
    EXPECT_EQ(library->base, libraryBase());
    EXPECT_NE(library->size, "0");
    EXPECT_TRUE(fs::path(fs::u8path(library->path)).is_absolute());
}

TEST_F(KelLogfileTest, ListModulesShowsALoadedVersionedLibraryAfterTheOnesBeforeIt) {
    ASSERT_TRUE(loadVersionedLibrary());
    KelLogfile::listModules(wideName(inTestDir("modules.log")));
    const Listing listing = readListing(inTestDir("modules.log"));
    const kel::test::ListingLine* versioned = moduleNamed(listing, versionedLibraryFileName());
    ASSERT_NE(versioned, nullptr) << readFile(inTestDir("modules.log"));
    EXPECT_EQ(versioned->version, "2.03.0004.0000  ");
    const kel::test::ListingLine* library = moduleNamed(listing, libraryFileName());
    ASSERT_NE(library, nullptr);
    EXPECT_LT(library - listing.modules.data(), versioned - listing.modules.data());
}

TEST_F(KelLogfileTest, ListModulesReplacesTheWholeFileEachTime) {
    writeFile(inTestDir("modules.log"), "an older listing\nwith lines\n");
    KelLogfile::listModules(wideName(inTestDir("modules.log")));
    const std::string once = readFile(inTestDir("modules.log"));
    EXPECT_EQ(once.find("an older listing"), std::string::npos);
    KelLogfile::listModules(wideName(inTestDir("modules.log")));
    const std::string twice = readFile(inTestDir("modules.log"));
    EXPECT_EQ(kel::test::linesOf(twice).size(), kel::test::linesOf(once).size());
    EXPECT_EQ(twice.find(" PID : "), once.find(" PID : "));
    EXPECT_EQ(twice.rfind(" PID : "), twice.find(" PID : "));
}

TEST_F(KelLogfileTest, ListModulesIntoAFolderThatDoesNotExistIsSilent) {
    KelLogfile::listModules(wideName(inTestDir("missing/modules.log")));
    EXPECT_FALSE(fs::exists(inTestDir("missing")));
}

// ----- GetFileVersion ----------------------------------------------------------

TEST_F(KelLogfileTest, GetFileVersionOfAPeFileUsesItsVersionResource) {
    KelString name(kel::test::peSample("versioned.dll").wstring().c_str());
    const KelString queried = name;
    KelString version(L"unchanged");
    EXPECT_EQ(KelLogfile::GetFileVersion(name, version), 1);
    EXPECT_EQ(std::wstring(version.getStringW()), L"1.02.0003.0004");
    EXPECT_TRUE(name == queried);
}

TEST_F(KelLogfileTest, GetFileVersionOfAFileWithoutAVersionResourceIsZero) {
    for (const char* sample : {"unversioned.dll", "strings_only.dll"}) {
        KelString name(kel::test::peSample(sample).wstring().c_str());
        KelString version(L"unchanged");
        EXPECT_EQ(KelLogfile::GetFileVersion(name, version), 0) << sample;
        EXPECT_EQ(std::wstring(version.getStringW()), L"unchanged");
    }
}

TEST_F(KelLogfileTest, GetFileVersionOfTextMissingAndEmptyNamesIsZero) {
    writeFile(inTestDir("text.txt"), "MZ is not enough");
    writeFile(inTestDir("libfake.so.1.2"), "not an ELF file");
    for (const fs::path& path : {inTestDir("text.txt"), inTestDir("libfake.so.1.2"),
                                 inTestDir("missing.dll"), fs::path()}) {
        KelString name(path.wstring().c_str());
        KelString version(L"unchanged");
        EXPECT_EQ(KelLogfile::GetFileVersion(name, version), 0) << path;
        EXPECT_EQ(std::wstring(version.getStringW()), L"unchanged");
    }
}

TEST_F(KelLogfileTest, GetFileVersionOfTheLibraryItself) {
    KelString name(libraryFile().wstring().c_str());
    KelString version;
    EXPECT_EQ(KelLogfile::GetFileVersion(name, version), 1);
    EXPECT_EQ(kel::test::utf8(version.getStringW()), kel::test::libraryFileVersion());
}

TEST_F(KelLogfileTest, GetFileVersionOfTheTestExecutableIsZero) {
    KelString name(kel::test::selfPath().c_str());
    KelString version(L"unchanged");
    EXPECT_EQ(KelLogfile::GetFileVersion(name, version), 0);
}

#if !defined(_WIN32)

// Shared objects, their names and links are ELF's.
TEST_F(KelLogfileTest, GetFileVersionOfASharedObjectFollowsLinksToTheRealName) {
    // libkel.so.1 -> libkel.so.1.1.0; a link of our own with another name.
    const fs::path real = fs::canonical(libraryFile());
    fs::create_symlink(real, inTestDir("libother.so.7.8"));
    KelString name(inTestDir("libother.so.7.8").wstring().c_str());
    KelString version;
    EXPECT_EQ(KelLogfile::GetFileVersion(name, version), 1);
    EXPECT_EQ(kel::test::utf8(version.getStringW()), kel::test::libraryFileVersion());
    KelString soname((real.parent_path() / "libkel.so.1").wstring().c_str());
    EXPECT_EQ(KelLogfile::GetFileVersion(soname, version), 1);
    EXPECT_EQ(kel::test::utf8(version.getStringW()), kel::test::libraryFileVersion());
}

TEST_F(KelLogfileTest, GetFileVersionOfACopyUnderAnotherNameReadsThatName) {
    fs::copy_file(fs::canonical(libraryFile()), inTestDir("libcopy.so.12.3.45.6789"));
    fs::copy_file(fs::canonical(libraryFile()), inTestDir("libcopy.so"));
    KelString name(inTestDir("libcopy.so.12.3.45.6789").wstring().c_str());
    KelString version;
    EXPECT_EQ(KelLogfile::GetFileVersion(name, version), 1);
    EXPECT_EQ(std::wstring(version.getStringW()), L"12.03.0045.6789");
    KelString plain(inTestDir("libcopy.so").wstring().c_str());
    KelString unchanged(L"unchanged");
    EXPECT_EQ(KelLogfile::GetFileVersion(plain, unchanged), 0);
    EXPECT_EQ(std::wstring(unchanged.getStringW()), L"unchanged");
}

#endif

TEST_F(KelLogfileTest, GetFileVersionOfTheVersionedTestLibrary) {
    const fs::path library = kel::test::kWindows ? fs::path(kel::test::selfPath()).parent_path() /
                                                       KEL_TEST_VERSIONED_LIBRARY
                                                 : fs::path(KEL_TEST_VERSIONED_LIBRARY);
    KelString name(library.wstring().c_str());
    KelString version;
    EXPECT_EQ(KelLogfile::GetFileVersion(name, version), 1);
    EXPECT_EQ(std::wstring(version.getStringW()), L"2.03.0004.0000");
}

// ----- KelOutputDebugString ---------------------------------------------------------

void record(const wchar_t* text, void* context) {
    static_cast<std::vector<std::wstring>*>(context)->push_back(text);
}

TEST_F(KelLogfileTest, KelOutputDebugStringDoesNothing) {
    std::vector<std::wstring> seen;
    kelSetDebugOutputHandler(record, &seen);
    KelOutputDebugString(KelString(L"nothing happens"));
    kelOutputDebugString(L"the platform sink writes");
    kelSetDebugOutputHandler(nullptr, nullptr);
    EXPECT_EQ(seen, std::vector<std::wstring>{L"the platform sink writes"});
    EXPECT_EQ(kel::test::testDirEntries(), kel::test::isolationEntries());
}

}  // namespace
