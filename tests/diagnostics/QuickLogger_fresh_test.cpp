// A quick logger asked to append when no log was started before in the
// process starts a new file. A process of its own, so that no logger came
// first.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <filesystem>

#include "diagnostics_test_support.h"
#include "quick_logger_test_support.h"

namespace {

namespace fs = std::filesystem;

TEST(QuickLoggerFresh, AppendWithoutAnEarlierLogStartsANewFile) {
    const std::wstring name = kel::test::logName("fresh");
    const int64_t before = kel::test::utcNowMilliseconds();
    {
        QuickLogger log(name.c_str(), true);
        log.Write(L"fresh", false);
    }
    const int64_t after = kel::test::utcNowMilliseconds();
    const auto logs = kel::test::logsNamed(kel::test::documentsFolder(), name);
    ASSERT_EQ(logs.size(), 1u);
    const int64_t stamp = kel::test::timeOfLogName(logs[0], name);
    const std::string text = kel::test::readFile(logs[0]);
    kel::test::removeLogs(name);
    EXPECT_GE(stamp, before - 1);
    EXPECT_LE(stamp, after + 1);
    EXPECT_EQ(text, "fresh");
}

}  // namespace
