// The first logToFile of a process empties its file; later calls, to that
// file or any other, only append. A process of its own, so that nothing
// called logToFile before.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <filesystem>

#include "diagnostics_test_support.h"

namespace {

namespace fs = std::filesystem;
using kel::test::inTestDir;
using kel::test::readFile;
using kel::test::textMode;
using kel::test::writeFile;

KelString wideName(const fs::path& path) {
    return KelString(path.wstring().c_str());
}

TEST(KelLogfileFirstCall, TheFirstLogToFileOfTheProcessEmptiesTheFileOnce) {
    writeFile(inTestDir("run.log"), "from an earlier run\n");
    writeFile(inTestDir("other.log"), "kept");
    KelLogfile::logToFile(wideName(inTestDir("run.log")), KelString(L"A"));
    EXPECT_EQ(readFile(inTestDir("run.log")), textMode("\nA"));
    KelLogfile::logToFile(wideName(inTestDir("run.log")), KelString(L"B"));
    EXPECT_EQ(readFile(inTestDir("run.log")), textMode("\nA\nB"));
    KelLogfile::logToFile(wideName(inTestDir("other.log")), KelString(L"C"));
    EXPECT_EQ(readFile(inTestDir("other.log")), "kept" + textMode("\nC"));
}

}  // namespace
