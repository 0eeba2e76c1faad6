// QuickLogger: time-stamped files in the documents folder, the shared
// stream of the process, appending to the previous log, and where the
// documents folder is. The case of a first logger asked to append is in a
// process of its own (QuickLogger_fresh_test).

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <chrono>
#include <filesystem>
#include <regex>
#include <string>
#include <thread>

#include "diagnostics_test_support.h"
#include "quick_logger_test_support.h"
#include "support/isolation.h"
#include "support/system.h"

namespace {

namespace fs = std::filesystem;
using kel::test::documentsFolder;
using kel::test::logsNamed;
using kel::test::readFile;
using kel::test::textMode;

class QuickLoggerTest : public ::testing::Test {
protected:
    void SetUp() override {
        m_name =
            kel::test::logName(::testing::UnitTest::GetInstance()->current_test_info()->name());
    }
    void TearDown() override {
        kel::test::removeLogs(m_name);
        kel::test::removeLogs(m_name + L"-other");
    }

    // The one log of this test's name; fails the test when there is not
    // exactly one.
    fs::path onlyLog(const fs::path& folder) const {
        const auto logs = logsNamed(folder, m_name);
        EXPECT_EQ(logs.size(), 1u);
        return logs.empty() ? fs::path() : logs[0];
    }

    std::wstring m_name;
};

TEST_F(QuickLoggerTest, ANewLogIsAnEmptyFileNamedWithTheUtcTimeWithoutLeadingZeros) {
    const int64_t before = kel::test::utcNowMilliseconds();
    QuickLogger log(m_name.c_str(), false);
    const int64_t after = kel::test::utcNowMilliseconds();
    const fs::path file = onlyLog(documentsFolder());
    ASSERT_FALSE(file.empty());
    const int64_t stamp = kel::test::timeOfLogName(file, m_name);
    EXPECT_GE(stamp, before - 1) << file;
    EXPECT_LE(stamp, after + 1) << file;
    EXPECT_EQ(fs::file_size(file), 0u);
}

TEST_F(QuickLoggerTest, WriteWithoutTimeWritesTheTextAsItIsAndAtOnce) {
    QuickLogger log(m_name.c_str(), false);
    log.Write(L"abc", false);
    log.Write(L" %s %d", false);
    const fs::path file = onlyLog(documentsFolder());
    EXPECT_EQ(readFile(file), "abc %s %d");
}

TEST_F(QuickLoggerTest, WriteWithTimeStartsANewLineWithTheUtcTimeOfDay) {
    QuickLogger log(m_name.c_str(), false);
    const int64_t before = kel::test::utcNowMilliseconds() % 86400000;
    log.Write(L"first", true);
    const int64_t after = kel::test::utcNowMilliseconds() % 86400000;
    log.Write(L"second", false);
    const std::string text = readFile(onlyLog(documentsFolder()));
    std::smatch m;
    ASSERT_TRUE(std::regex_match(text, m, std::regex(textMode("\n") + "([0-9.]+): firstsecond")))
        << text;
    const int64_t time = kel::test::timeOfDay(m[1].str());
    ASSERT_GE(time, 0) << m[1].str();
    if (after >= before) {  // not across midnight
        EXPECT_GE(time, before);
        EXPECT_LE(time, after);
    }
}

TEST_F(QuickLoggerTest, TextIsWrittenInTheNarrowCodePage) {
    std::string expected;
    if (!kel::test::narrowSample(kelGetNarrowCodePage(), L"Tr\u00E4ger \u20AC", expected))
        GTEST_SKIP() << kel::test::kNoNarrowSample << kelGetNarrowCodePage();
    QuickLogger log(m_name.c_str(), false);
    log.Write(L"Tr\u00E4ger \u20AC", false);
    EXPECT_EQ(readFile(onlyLog(documentsFolder())), expected);
}

TEST_F(QuickLoggerTest, AppendAfterAnEarlierLogContinuesItsFile) {
    {
        QuickLogger first(m_name.c_str(), false);
        first.Write(L"one", false);
    }
    QuickLogger second((m_name + L"-other").c_str(), true);
    second.Write(L"two", false);
    EXPECT_TRUE(logsNamed(documentsFolder(), m_name + L"-other").empty());
    EXPECT_EQ(readFile(onlyLog(documentsFolder())), "onetwo");
}

TEST_F(QuickLoggerTest, AppendWhileTheEarlierLogIsOpenWritesThroughTheSharedStream) {
    QuickLogger first(m_name.c_str(), false);
    first.Write(L"one", false);
    QuickLogger second(m_name.c_str(), true);
    second.Write(L"two", false);
    first.Write(L"three", false);
    EXPECT_EQ(readFile(onlyLog(documentsFolder())), "onetwothree");
}

TEST_F(QuickLoggerTest, DestroyingAnyLoggerClearsTheSharedStreamAndTheNextOneOpensTheFileAgain) {
    QuickLogger owner(m_name.c_str(), false);
    owner.Write(L"1", false);
    {
        QuickLogger borrower(m_name.c_str(), true);
        borrower.Write(L"2", false);
    }
    // The next logger opens the file again: a stream of its own, in "a+",
    // which writes at the end. The owner's "w+" stream writes at its own
    // position, right after "12", so its "4" lands over the "3": two streams.
    QuickLogger next(m_name.c_str(), true);
    next.Write(L"3", false);
    EXPECT_EQ(readFile(onlyLog(documentsFolder())), "123");
    owner.Write(L"4", false);
    EXPECT_EQ(readFile(onlyLog(documentsFolder())), "124");
}

TEST_F(QuickLoggerTest, ALoggerThatOutlivesTheStreamsOwnerOpensTheFileAgain) {
    auto* owner = new QuickLogger(m_name.c_str(), false);
    owner->Write(L"a", false);
    QuickLogger borrower(m_name.c_str(), true);
    borrower.Write(L"b", false);
    delete owner;
    borrower.Write(L"c", true);
    std::smatch m;
    const std::string text = readFile(onlyLog(documentsFolder()));
    EXPECT_TRUE(std::regex_match(text, m, std::regex("ab" + textMode("\n") + "[0-9.]+: c")))
        << text;
}

TEST_F(QuickLoggerTest, ALogWithoutAppendStartsANewFileEachTime) {
    {
        QuickLogger first(m_name.c_str(), false);
        first.Write(L"first", false);
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    QuickLogger second(m_name.c_str(), false);
    second.Write(L"second", false);
    const auto logs = logsNamed(documentsFolder(), m_name);
    ASSERT_EQ(logs.size(), 2u);
    const std::string a = readFile(logs[0]);
    const std::string b = readFile(logs[1]);
    EXPECT_TRUE((a == "first" && b == "second") || (a == "second" && b == "first")) << a << b;
}

TEST_F(QuickLoggerTest, NullTextsWriteNothingOfTheirOwn) {
    QuickLogger log(m_name.c_str(), false);
    log.Write(static_cast<const wchar_t*>(nullptr), false);
    log.Write(static_cast<const unsigned short*>(nullptr), false);
    EXPECT_EQ(fs::file_size(onlyLog(documentsFolder())), 0u);
}

TEST_F(QuickLoggerTest, TheUtf16FormsTakeNameAndText) {
    const std::wstring name = m_name + L"-\u00C4";
    std::u16string name16(name.begin(), name.end());
    {
        QuickLogger log(reinterpret_cast<const unsigned short*>(name16.c_str()), false);
        log.Write(reinterpret_cast<const unsigned short*>(u"utf16"), false);
    }
    const auto logs = logsNamed(documentsFolder(), name);
    ASSERT_EQ(logs.size(), 1u);
    EXPECT_EQ(readFile(logs[0]), "utf16");
    kel::test::removeLogs(name);
}

#if !defined(_WIN32)

// ----- the documents folder (POSIX; Windows asks the shell) ----------------------

class QuickLoggerDocumentsTest : public QuickLoggerTest {
protected:
    void SetUp() override {
        QuickLoggerTest::SetUp();
        m_home = fs::path(kel::test::tempDir()) / "home";
    }

    void writeUserDirs(const std::string& line) {
        fs::create_directories(fs::path(kel::test::tempDir()) / "config");
        kel::test::writeFile(fs::path(kel::test::tempDir()) / "config" / "user-dirs.dirs",
                             "# written by xdg-user-dirs-update\n" + line + "\n");
    }

    fs::path m_home;
};

TEST_F(QuickLoggerDocumentsTest, WithoutADocumentsFolderTheLogGoesToTheHome) {
    QuickLogger log(m_name.c_str(), false);
    EXPECT_EQ(logsNamed(m_home, m_name).size(), 1u);
}

TEST_F(QuickLoggerDocumentsTest, AnExistingDocumentsFolderInTheHomeIsUsed) {
    fs::create_directories(m_home / "Documents");
    QuickLogger log(m_name.c_str(), false);
    EXPECT_EQ(logsNamed(m_home / "Documents", m_name).size(), 1u);
    EXPECT_TRUE(logsNamed(m_home, m_name).empty());
}

TEST_F(QuickLoggerDocumentsTest, XdgDocumentsDirOfUserDirsWins) {
    fs::create_directories(m_home / "Documents");
    fs::create_directories(m_home / "Dokumente");
    writeUserDirs("XDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"");
    QuickLogger log(m_name.c_str(), false);
    EXPECT_EQ(logsNamed(m_home / "Dokumente", m_name).size(), 1u);
}

TEST_F(QuickLoggerDocumentsTest, TheFolderIsLookedUpForEveryNewLog) {
    {
        QuickLogger first(m_name.c_str(), false);
        first.Write(L"home", false);
    }
    fs::create_directories(m_home / "Documents");
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
    QuickLogger second(m_name.c_str(), false);
    second.Write(L"documents", false);
    ASSERT_EQ(logsNamed(m_home, m_name).size(), 1u);
    ASSERT_EQ(logsNamed(m_home / "Documents", m_name).size(), 1u);
    EXPECT_EQ(readFile(logsNamed(m_home, m_name)[0]), "home");
    EXPECT_EQ(readFile(logsNamed(m_home / "Documents", m_name)[0]), "documents");
}

TEST_F(QuickLoggerDocumentsTest, AMissingDocumentsFolderIsNotCreatedAndWritesAreSilent) {
    writeUserDirs("XDG_DOCUMENTS_DIR=\"$HOME/Missing\"");
    QuickLogger log(m_name.c_str(), false);
    log.Write(L"lost", true);
    EXPECT_FALSE(fs::exists(m_home / "Missing"));
    EXPECT_TRUE(logsNamed(m_home, m_name).empty());
}

#endif

}  // namespace
