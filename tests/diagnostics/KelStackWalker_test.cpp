// KelStackWalker: walks of the calling thread through functions of this file
// (built with debug information, without optimisation), the frame records
// and their kinds, the two frame-line forms and their fallbacks, an endless
// recursion, and debug-help libraries that cannot be used.

#include <kel/Kel.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <regex>
#include <string>
#include <vector>

#include "support/isolation.h"
#include "tracer_test_support.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#include <unistd.h>
#endif

#if defined(_MSC_VER)
#define TEST_NOINLINE __declspec(noinline)
#else
#define TEST_NOINLINE __attribute__((noinline))
#endif

// Records the line of a call in the same expression as the call, so that
// the recorded line is the call's whatever the layout.
#define AT_LINE(variable, call) (variable = __LINE__, call)

// From the test library built without debug information: calls
// function(context) and returns its result.
extern "C" int kelTestPlainCallBack(int (*function)(void*), void* context);

// ----- functions whose frames the tests look for ---------------------------------

KelStackWalker* g_walker = nullptr;
int g_walkResult = -1;
int g_lineThree = 0;
int g_lineTwo = 0;
int g_lineOne = 0;
int g_lineRecurse = 0;

TEST_NOINLINE void walkerLevelThree() {
    g_walkResult = AT_LINE(g_lineThree, g_walker->ShowCallstack());
}

TEST_NOINLINE void walkerLevelTwo() {
    AT_LINE(g_lineTwo, walkerLevelThree());
}

TEST_NOINLINE void walkerLevelOne() {
    AT_LINE(g_lineOne, walkerLevelTwo());
}

TEST_NOINLINE int walkerRecurse(int depth) {
    if (depth == 0) {
        g_walkResult = AT_LINE(g_lineRecurse, g_walker->ShowCallstack());
        return 0;
    }
    // Not a tail call: the frame stays.
    return walkerRecurse(depth - 1) + 1;
}

int g_lineCallback = 0;

TEST_NOINLINE int walkFromCallback(void* walker) {
    return AT_LINE(g_lineCallback, static_cast<KelStackWalker*>(walker)->ShowCallstack());
}

namespace {

using Entry = KelStackWalker::CallstackEntry;
using kel::test::missingLibrary;

std::vector<std::string> linesOf(const KelString& text) {
    std::vector<std::string> lines;
    std::string all = text.getStringA();
    size_t start = 0;
    for (size_t end; (end = all.find('\n', start)) != std::string::npos; start = end + 1)
        lines.push_back(all.substr(start, end - start));
    if (start < all.size())
        lines.push_back(all.substr(start));
    return lines;
}

// True when the Windows build runs under Wine.
bool underWine() {
#if defined(_WIN32)
    const HMODULE ntdll = ::GetModuleHandleW(L"ntdll.dll");
    return ntdll != nullptr && ::GetProcAddress(ntdll, "wine_get_version") != nullptr;
#else
    return false;
#endif
}

#if defined(_WIN32)
std::string lowerCase(std::string text) {
    for (char& c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}
#endif

std::string baseName(const std::string& path) {
    const size_t slash = path.find_last_of("/\\");
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

// The module name the symbol services give this test program.
std::string thisModule() {
    std::string name = baseName(kel::test::selfPath());
#if defined(_WIN32)
    name = name.substr(0, name.rfind('.'));
#endif
    return name;
}

// This file as the walker names it: the absolute path of the source (under
// Wine, through its drive Z:, which shows the build machine's files).
std::string thisFile() {
    std::string path = std::string(KEL_TRACER_TEST_SOURCE_DIR) + "/KelStackWalker_test.cpp";
#if defined(_WIN32)
    if (path[0] == '/')
        path = "Z:" + path;
    std::replace(path.begin(), path.end(), '/', '\\');
#endif
    return path;
}

// A function of this file as the walker names it: with its parameters where
// the name comes from the symbol table (mangled, then demangled), without
// them where DbgHelp gives the name of the debug information.
std::string fn(const char* name, const char* parameters) {
#if defined(_WIN32)
    (void)parameters;
    return name;
#else
    return std::string(name) + parameters;
#endif
}

std::string frameLine(const std::string& function, int line) {
    return thisFile() + " (" + std::to_string(line) + "): " + function;
}

// A library that loads but lacks the debug-help functions.
std::wstring unsuitableLibrary() {
#if defined(_WIN32)
    return L"kernel32.dll";
#else
    return L"libc.so.6";
#endif
}

// Keeps every record as it was given and as the default callback, which
// also writes the lines, completed it.
class RecordingWalker : public KelStackWalker {
public:
    RecordingWalker() : KelStackWalker(defaultLibraryPath(), L"") {}
    void OnCallstackEntry(CallstackEntryType type, CallstackEntry& entry) override {
        types.push_back(type);
        given.push_back(entry);
        KelStackWalker::OnCallstackEntry(type, entry);
        entries.push_back(entry);
    }
    std::vector<CallstackEntryType> types;
    std::vector<Entry> given;
    std::vector<Entry> entries;
};

Entry blankEntry() {
    Entry entry;
    std::memset(&entry, 0, sizeof entry);
    return entry;
}

void setText(char (&field)[KelStackWalker::kMaxNameLength], const std::string& text) {
    ASSERT_LT(text.size(), sizeof field);
    std::memcpy(field, text.c_str(), text.size() + 1);
}

// One direct call of the default OnCallstackEntry; the line it added.
std::string lineFor(Entry& entry,
                    KelStackWalker::CallstackEntryType type = KelStackWalker::nextEntry) {
    KelStackWalker walker(missingLibrary().c_str(), L"");
    walker.OnCallstackEntry(type, entry);
    return walker.getCallstackText().getStringA();
}

// The address as the frame line prints it.
std::string addressText(unsigned long long address) {
    char text[32];
    std::snprintf(text, sizeof text, sizeof(void*) == 8 ? "%016llX" : "%08llX", address);
    return text;
}

// ----- walks of the calling thread -------------------------------------------------

TEST(KelStackWalker, ShowCallstack_NamesTheCallersWithTheirFilesAndLines) {
    KelStackWalker walker(KelStackWalker::defaultLibraryPath(), L"");
    g_walker = &walker;
    walkerLevelOne();
    ASSERT_EQ(g_walkResult, 1);
    const std::vector<std::string> lines = linesOf(walker.getCallstackText());
    ASSERT_GE(lines.size(), 4u);
    EXPECT_EQ(lines[0], frameLine(fn("walkerLevelThree", "()"), g_lineThree));
    EXPECT_EQ(lines[1], frameLine(fn("walkerLevelTwo", "()"), g_lineTwo));
    EXPECT_EQ(lines[2], frameLine(fn("walkerLevelOne", "()"), g_lineOne));
    EXPECT_NE(lines[3].find("KelStackWalker_ShowCallstack_NamesTheCallersWithTheirFilesAndLines"),
              std::string::npos)
        << lines[3];
    EXPECT_EQ(walker.modulesLoaded(), 1);
    // Every line ends in a line break; the text ends with the outermost frame.
    const std::string text = walker.getCallstackText().getStringA();
    EXPECT_EQ(text.back(), '\n');
}

TEST(KelStackWalker, ShowCallstack_WithTheCallingThreadsIdWalksTheCallingThread) {
    KelStackWalker walker(KelStackWalker::defaultLibraryPath(), L"");
    int line = 0;
    const int result = AT_LINE(line, walker.ShowCallstack(kelGetCurrentThreadId()));
    ASSERT_EQ(result, 1);
    const std::vector<std::string> lines = linesOf(walker.getCallstackText());
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines[0].rfind(thisFile() + " (" + std::to_string(line) + "): ", 0), 0u) << lines[0];
    EXPECT_NE(lines[0].find("WithTheCallingThreadsIdWalksTheCallingThread"), std::string::npos);
}

TEST(KelStackWalker, ShowCallstack_GivesTheFrameRecordsFirstNextAndLast) {
    RecordingWalker walker;
    g_walker = &walker;
    walkerLevelOne();
    ASSERT_EQ(g_walkResult, 1);
    ASSERT_GE(walker.entries.size(), 5u);
    EXPECT_EQ(walker.types.front(), KelStackWalker::firstEntry);
    for (size_t i = 1; i + 1 < walker.types.size(); ++i)
        EXPECT_EQ(walker.types[i], KelStackWalker::nextEntry) << i;
    EXPECT_EQ(walker.types.back(), KelStackWalker::lastEntry);
    EXPECT_EQ(walker.entries.back().offset, 0u);
    EXPECT_EQ(walker.entries.back().name[0], '\0');

    // The innermost frame is walkerLevelThree's, completed by the default
    // callback: its name became the complete undecorated one.
    const Entry& three = walker.entries[0];
    EXPECT_NE(three.offset, 0u);
#if defined(_WIN32)
    EXPECT_STREQ(walker.given[0].name, "walkerLevelThree");
#else
    EXPECT_STREQ(walker.given[0].name, "_Z16walkerLevelThreev");
#endif
    EXPECT_STREQ(three.undName, "walkerLevelThree");
    EXPECT_EQ(std::string(three.undFullName), fn("walkerLevelThree", "()"));
    EXPECT_EQ(std::string(three.name), fn("walkerLevelThree", "()"));
    EXPECT_EQ(three.lineNumber, static_cast<unsigned long>(g_lineThree));
    EXPECT_EQ(baseName(three.lineFileName), "KelStackWalker_test.cpp");
#if defined(_WIN32)
    // DbgHelp gives module names in lower case under Wine.
    EXPECT_EQ(lowerCase(three.moduleName), lowerCase(thisModule()));
#else
    EXPECT_EQ(std::string(three.moduleName), thisModule());
#endif
    EXPECT_EQ(baseName(three.loadedImageName), baseName(kel::test::selfPath()));
#if !defined(_WIN32)
    EXPECT_STREQ(three.loadedImageName, kel::test::selfPath().c_str());
    EXPECT_STREQ(three.symTypeString, "PDB");  // DWARF
#endif
    EXPECT_EQ(walker.entries[1].lineNumber, static_cast<unsigned long>(g_lineTwo));
    EXPECT_EQ(walker.entries[2].lineNumber, static_cast<unsigned long>(g_lineOne));
    // The callers' frames lie further out on the stack, at other addresses.
    EXPECT_NE(walker.entries[1].offset, three.offset);
}

TEST(KelStackWalker, ShowCallstack_UndecoratedNamesOfAMangledSymbol) {
    RecordingWalker walker;
    g_walker = &walker;
    g_walkResult = -1;
    walkerRecurse(0);
    ASSERT_EQ(g_walkResult, 1);
    ASSERT_FALSE(walker.entries.empty());
    const Entry& recurse = walker.entries[0];
    EXPECT_STREQ(recurse.undName, "walkerRecurse");
    EXPECT_EQ(std::string(recurse.undFullName), fn("walkerRecurse", "(int)"));
    EXPECT_EQ(recurse.lineNumber, static_cast<unsigned long>(g_lineRecurse));
}

TEST(KelStackWalker, ShowCallstack_AFrameWithoutLineInformationHasTheAddressForm) {
    // A library built without debug information calls back into this file:
    // its frame has a name but no source line, so it takes the other form.
    RecordingWalker walker;
    ASSERT_EQ(kelTestPlainCallBack(walkFromCallback, &walker), 1);
    const std::vector<std::string> lines = linesOf(walker.getCallstackText());
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines[0], frameLine(fn("walkFromCallback", "(void*)"), g_lineCallback));
    const std::regex addressForm(
        sizeof(void*) == 8 ? "^[0-9A-F]{16} \\(([^)]+)\\): \\(filename not available\\): (.+)$"
                           : "^[0-9A-F]{8} \\(([^)]+)\\): \\(filename not available\\): (.+)$");
    std::smatch match;
    ASSERT_TRUE(std::regex_match(lines[1], match, addressForm)) << lines[1];
    const Entry& plain = walker.entries[1];
    // Wine's dbghelp knows an exported function at its first address only
    // (as a symbol one byte long), so a return address inside it has no
    // name there; DbgHelp on Windows and libdw give the export's name.
    const std::string name = underWine() ? "(function-name not available)" : "kelTestPlainCallBack";
    EXPECT_EQ(lines[1], addressText(plain.offset) + " (" + plain.moduleName +
                            "): (filename not available): " + name);
    EXPECT_STREQ(plain.lineFileName, "(filename not available)");
    EXPECT_EQ(plain.lineNumber, 0u);
    EXPECT_EQ(std::string(plain.name), name);
    EXPECT_STREQ(plain.symTypeString, "-exported-");
#if defined(_WIN32)
    EXPECT_EQ(match[1].str(), "kel_test_plain");
#else
    EXPECT_EQ(match[1].str(), "libkel_test_plain.so");
#endif
}

TEST(KelStackWalker, ShowCallstack_StopsAnEndlessRecursionAfterMoreThan1000Repeats) {
    RecordingWalker walker;
    g_walker = &walker;
    g_walkResult = -1;
    walkerRecurse(5000);
    ASSERT_EQ(g_walkResult, 1);
    // The innermost call's frame, then the frames of the recursion: 1001
    // repeats of the same return address are accepted, the 1002nd ends the
    // walk before it reaches the test.
    const std::vector<std::string> lines = linesOf(walker.getCallstackText());
    ASSERT_EQ(lines.size(), 1002u) << lines[0] << "\n"
                                   << lines[1] << "\n"
                                   << lines[2] << "\n...\n"
                                   << lines[lines.size() - 2] << "\n"
                                   << lines.back();
    EXPECT_EQ(lines[0], frameLine(fn("walkerRecurse", "(int)"), g_lineRecurse));
    for (const std::string& line : lines)
        ASSERT_NE(line.find(fn("walkerRecurse", "(int)")), std::string::npos) << line;
    EXPECT_EQ(lines[1], lines[1001]);
    EXPECT_NE(lines[0], lines[1]);
    ASSERT_EQ(walker.entries.size(), 1003u);
    EXPECT_EQ(walker.types.back(), KelStackWalker::lastEntry);
}

TEST(KelStackWalker, ShowCallstack_AShallowerRecursionIsWalkedToTheEnd) {
    KelStackWalker walker(KelStackWalker::defaultLibraryPath(), L"");
    g_walker = &walker;
    g_walkResult = -1;
    walkerRecurse(900);
    ASSERT_EQ(g_walkResult, 1);
    const std::vector<std::string> lines = linesOf(walker.getCallstackText());
    // 901 frames of walkerRecurse (depths 0 to 900), then the test.
    ASSERT_GT(lines.size(), 901u);
    EXPECT_NE(lines[900].find(fn("walkerRecurse", "(int)")), std::string::npos);
    EXPECT_NE(lines[901].find("AShallowerRecursionIsWalkedToTheEnd"), std::string::npos)
        << lines[901];
}

// ----- debug-help libraries that cannot be used ---------------------------------

TEST(KelStackWalker, ShowCallstack_AMissingLibraryFailsWith1114) {
    KelStackWalker walker(missingLibrary().c_str(), L"");
    kelSetLastError(0);
    EXPECT_EQ(walker.ShowCallstack(), 0);
    EXPECT_EQ(kelGetLastError(), 1114u);
    EXPECT_EQ(walker.modulesLoaded(), 0);
    EXPECT_TRUE(walker.getCallstackText().isEmpty());
    // Each walk tries again, and fails again.
    kelSetLastError(0);
    EXPECT_EQ(walker.ShowCallstack(kelGetCurrentThreadId()), 0);
    EXPECT_EQ(kelGetLastError(), 1114u);
}

TEST(KelStackWalker, ShowCallstack_ALibraryWithoutTheFunctionsFailsWith1114) {
    KelStackWalker walker(unsuitableLibrary().c_str(), L"");
    kelSetLastError(0);
    EXPECT_EQ(walker.ShowCallstack(), 0);
    EXPECT_EQ(kelGetLastError(), 1114u);
    EXPECT_EQ(walker.modulesLoaded(), 0);
}

TEST(KelStackWalker, ShowCallstack_AnEmptyLibraryPathFailsWith1114) {
    KelStackWalker walker(L"", L"");
    kelSetLastError(0);
    EXPECT_EQ(walker.ShowCallstack(), 0);
    EXPECT_EQ(kelGetLastError(), 1114u);
}

TEST(KelStackWalker, ShowCallstack_EmptiesTheTextBeforeItFails) {
    KelStackWalker walker(missingLibrary().c_str(), L"");
    Entry entry = blankEntry();
    entry.offset = 0x1000;
    walker.OnCallstackEntry(KelStackWalker::firstEntry, entry);
    ASSERT_FALSE(walker.getCallstackText().isEmpty());
    EXPECT_EQ(walker.ShowCallstack(), 0);
    EXPECT_TRUE(walker.getCallstackText().isEmpty());
}

#if !defined(_WIN32)
TEST(KelStackWalker, ShowCallstack_AnotherProcessCannotBeWalkedOnLinux) {
    KelStackWalker walker(static_cast<unsigned long>(::getppid()), nullptr,
                          KelStackWalker::defaultLibraryPath(), L"");
    kelSetLastError(0);
    EXPECT_EQ(walker.ShowCallstack(), 0);
    EXPECT_EQ(kelGetLastError(), 50u);
}
#endif

// ----- paths --------------------------------------------------------------------

TEST(KelStackWalker, KeepsThePathsItWasCreatedWith) {
    KelString library(KelStackWalker::defaultLibraryPath());
    KelString symbols(L"C:\\Symbols;D:\\More");
    KelStackWalker walker(library, symbols);
    library = L"other.dll";
    symbols = L"elsewhere";
    EXPECT_STREQ(walker.getLibraryPath().getStringW(), KelStackWalker::defaultLibraryPath());
    EXPECT_STREQ(walker.getSymbolPaths().getStringW(), L"C:\\Symbols;D:\\More");
    EXPECT_EQ(walker.ShowCallstack(), 1);
    EXPECT_STREQ(walker.getSymbolPaths().getStringW(), L"C:\\Symbols;D:\\More");
}

TEST(KelStackWalker, DefaultLibraryPath) {
#if defined(_WIN32)
    EXPECT_STREQ(KelStackWalker::defaultLibraryPath(), L"DbgHelp.dll");
#else
    EXPECT_STREQ(KelStackWalker::defaultLibraryPath(), L"libdw.so.1");
#endif
}

TEST(KelStackWalker, WalkersOfTheSameLibraryWalkSideBySide) {
    KelStackWalker first(KelStackWalker::defaultLibraryPath(), L"");
    KelStackWalker second(KelStackWalker::defaultLibraryPath(), L"");
    g_walker = &first;
    walkerLevelOne();
    ASSERT_EQ(g_walkResult, 1);
    g_walker = &second;
    walkerLevelTwo();
    ASSERT_EQ(g_walkResult, 1);
    EXPECT_EQ(linesOf(first.getCallstackText())[1],
              frameLine(fn("walkerLevelTwo", "()"), g_lineTwo));
    EXPECT_EQ(linesOf(second.getCallstackText())[1],
              frameLine(fn("walkerLevelTwo", "()"), g_lineTwo));
    EXPECT_EQ(linesOf(second.getCallstackText())[0],
              frameLine(fn("walkerLevelThree", "()"), g_lineThree));
}

#if !defined(_WIN32)
TEST(KelStackWalker, ShowCallstack_NamesALibraryLoadedAfterTheFirstWalk) {
    KelStackWalker walker(KelStackWalker::defaultLibraryPath(), L"");
    ASSERT_EQ(walker.ShowCallstack(), 1);
    void* library = ::dlopen(KEL_TEST_WALKED_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << ::dlerror();
    using CallBack = int (*)(int (*)(void*), void*);
    using LineOf = int (*)();
    auto callBack = reinterpret_cast<CallBack>(::dlsym(library, "kelTestWalkedCallBack"));
    auto lineOf = reinterpret_cast<LineOf>(::dlsym(library, "kelTestWalkedCallLine"));
    ASSERT_NE(callBack, nullptr);
    ASSERT_NE(lineOf, nullptr);
    ASSERT_EQ(callBack(walkFromCallback, &walker), 1);
    const std::vector<std::string> lines = linesOf(walker.getCallstackText());
    ASSERT_GE(lines.size(), 2u);
    // This file's function, then the library's with its own file and line.
    EXPECT_EQ(lines[0], frameLine(fn("walkFromCallback", "(void*)"), g_lineCallback));
    EXPECT_EQ(baseName(lines[1]),
              "walked_library.cpp (" + std::to_string(lineOf()) + "): kelTestWalkedCallBack");
    ::dlclose(library);
}
#endif

// ----- the frame lines ----------------------------------------------------------

TEST(KelStackWalkerLine, WithASourceFile) {
    Entry entry = blankEntry();
    entry.offset = 0x401000;
    setText(entry.name, "_ZN4Beam6lengthEi");
    setText(entry.undName, "Beam::length");
    setText(entry.undFullName, "Beam::length(int)");
    setText(entry.lineFileName, "/src/beam.cpp");
    entry.lineNumber = 42;
    setText(entry.moduleName, "libbeam.so");
    EXPECT_EQ(lineFor(entry), "/src/beam.cpp (42): Beam::length(int)\n");
    EXPECT_STREQ(entry.name, "Beam::length(int)");
}

TEST(KelStackWalkerLine, WithoutASourceFile) {
    Entry entry = blankEntry();
    entry.offset = 0x7F001234ABCDull;
    setText(entry.name, "qsort_r");
    setText(entry.undName, "qsort_r");
    setText(entry.undFullName, "qsort_r");
    setText(entry.moduleName, "libc.so.6");
    EXPECT_EQ(lineFor(entry),
              addressText(0x7F001234ABCDull) + " (libc.so.6): (filename not available): qsort_r\n");
    EXPECT_STREQ(entry.lineFileName, "(filename not available)");
    EXPECT_STREQ(entry.moduleName, "libc.so.6");
}

TEST(KelStackWalkerLine, WithoutSourceFileOrModule) {
    Entry entry = blankEntry();
    entry.offset = 0xABC;
    setText(entry.name, "jitted");
    EXPECT_EQ(
        lineFor(entry),
        addressText(0xABC) + " ((module-name not available)): (filename not available): jitted\n");
    EXPECT_STREQ(entry.moduleName, "(module-name not available)");
}

TEST(KelStackWalkerLine, WithoutAnyName) {
    Entry entry = blankEntry();
    entry.offset = 0x10;
    setText(entry.moduleName, "kel");
    EXPECT_EQ(
        lineFor(entry),
        addressText(0x10) + " (kel): (filename not available): (function-name not available)\n");
    EXPECT_STREQ(entry.name, "(function-name not available)");
}

TEST(KelStackWalkerLine, TheUndecoratedNameReplacesTheName) {
    Entry entry = blankEntry();
    entry.offset = 0x10;
    setText(entry.name, "?length@Beam@@QEAAHH@Z");
    setText(entry.undName, "Beam::length");
    setText(entry.lineFileName, "beam.cpp");
    entry.lineNumber = 7;
    EXPECT_EQ(lineFor(entry), "beam.cpp (7): Beam::length\n");
}

TEST(KelStackWalkerLine, TheCompleteNameReplacesTheUndecoratedName) {
    Entry entry = blankEntry();
    entry.offset = 0x10;
    setText(entry.undName, "Beam::length");
    setText(entry.undFullName, "public: int __cdecl Beam::length(int)");
    setText(entry.lineFileName, "beam.cpp");
    entry.lineNumber = 7;
    EXPECT_EQ(lineFor(entry), "beam.cpp (7): public: int __cdecl Beam::length(int)\n");
}

TEST(KelStackWalkerLine, TheNameAloneWhenNothingReplacesIt) {
    Entry entry = blankEntry();
    entry.offset = 0x10;
    setText(entry.name, "main");
    setText(entry.lineFileName, "main.c");
    entry.lineNumber = 3;
    EXPECT_EQ(lineFor(entry), "main.c (3): main\n");
}

TEST(KelStackWalkerLine, TheLastEntryAndAZeroAddressAddNothing) {
    Entry entry = blankEntry();
    setText(entry.name, "main");
    setText(entry.lineFileName, "main.c");
    EXPECT_EQ(lineFor(entry), "");
    entry.offset = 0x10;
    EXPECT_EQ(lineFor(entry, KelStackWalker::lastEntry), "");
    EXPECT_EQ(lineFor(entry, KelStackWalker::firstEntry), "main.c (0): main\n");
}

TEST(KelStackWalkerLine, ALongLineIsCutTo1023Characters) {
    Entry entry = blankEntry();
    entry.offset = 0x10;
    setText(entry.lineFileName, "f.cpp");
    entry.lineNumber = 1;
    setText(entry.undFullName, std::string(1020, 'x'));
    const std::string line = lineFor(entry);
    EXPECT_EQ(line.size(), 1023u);
    EXPECT_EQ(line, "f.cpp (1): " + std::string(1012, 'x'));
}

TEST(KelStackWalkerLine, LinesAccumulate) {
    KelStackWalker walker(missingLibrary().c_str(), L"");
    Entry entry = blankEntry();
    entry.offset = 0x10;
    setText(entry.lineFileName, "a.cpp");
    entry.lineNumber = 1;
    setText(entry.name, "a");
    walker.OnCallstackEntry(KelStackWalker::firstEntry, entry);
    setText(entry.lineFileName, "b.cpp");
    entry.lineNumber = 2;
    setText(entry.name, "b");
    walker.OnCallstackEntry(KelStackWalker::nextEntry, entry);
    walker.OnCallstackEntry(KelStackWalker::lastEntry, entry);
    EXPECT_STREQ(walker.getCallstackText().getStringW(), L"a.cpp (1): a\nb.cpp (2): b\n");
}

}  // namespace
