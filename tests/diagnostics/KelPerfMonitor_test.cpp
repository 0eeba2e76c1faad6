// KelPerfMonitor: start and end entries in its log, milliseconds of the
// runtime clock, and the message box of endWithMessageBox (through a
// recording message-box handler).

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <ctime>
#include <filesystem>
#include <regex>
#include <string>
#include <vector>

#include "diagnostics_test_support.h"

namespace {

namespace fs = std::filesystem;
using kel::test::inTestDir;
using kel::test::readFile;

struct Box {
    HWND owner;
    std::wstring text;
    std::wstring caption;
    unsigned int style;
};

int recordBox(HWND owner, const wchar_t* text, const wchar_t* caption, unsigned int style,
              void* context) {
    static_cast<std::vector<Box>*>(context)->push_back({owner, text, caption, style});
    return IDOK;
}

class KelPerfMonitorTest : public ::testing::Test {
protected:
    void SetUp() override { KelLogfile::setLogStatus(1); }
    void TearDown() override {
        KelLogfile::setLogStatus(0);
        kelSetMessageBoxHandler(nullptr, nullptr);
        KelProductDefines::setGXProductName(L"Gantrix");
    }
};

// Spends about `milliseconds` of processor time.
void burn(int milliseconds) {
    const std::clock_t start = std::clock();
    volatile unsigned long sink = 0;
    while (std::clock() - start < static_cast<std::clock_t>(milliseconds) * CLOCKS_PER_SEC / 1000)
        sink = sink + 1;
}

int number(const std::smatch& match, size_t i) {
    return std::stoi(match[i].str());
}

TEST_F(KelPerfMonitorTest, StartAndEndWriteTheirEntriesToFerrolabPerfLog) {
    KelPerfMonitor perf;
    perf.start(KelString(L"import"));
    perf.end(KelString(L"import"));
    const std::string text = readFile(inTestDir("FerrolabPerf.LOG"));
    std::smatch m;
    ASSERT_TRUE(std::regex_match(
        text, m,
        std::regex(R"(Start = import : (\d+)End = import : (\d+) -> (\d+) \(Diff = (-?\d+)\))")))
        << text;
    EXPECT_EQ(m[1].str(), m[2].str());
    EXPECT_EQ(number(m, 4), number(m, 3) - number(m, 2));
    EXPECT_GE(number(m, 4), 0);
}

// Consecutive entries follow each other on one line: the required output.
TEST_F(KelPerfMonitorTest, TwoStartEndPairsMakeOneLineWithoutSeparators) {
    KelPerfMonitor perf;
    perf.start(KelString(L"a"));
    perf.end(KelString(L"a"));
    perf.start(KelString(L"b"));
    perf.end(KelString(L"b"));
    const std::string text = readFile(inTestDir("FerrolabPerf.LOG"));
    EXPECT_EQ(text.find('\n'), std::string::npos);
    std::smatch m;
    ASSERT_TRUE(
        std::regex_match(text, m,
                         std::regex(R"(Start = a : (\d+)End = a : \1 -> (\d+) \(Diff = (\d+)\))"
                                    R"(Start = b : (\d+)End = b : \4 -> (\d+) \(Diff = (\d+)\))")))
        << text;
    EXPECT_EQ(number(m, 3), number(m, 2) - number(m, 1));
    EXPECT_EQ(number(m, 6), number(m, 5) - number(m, 4));
    EXPECT_LE(number(m, 2), number(m, 4));
}

TEST_F(KelPerfMonitorTest, EndWithoutStartReportsAStartOfZero) {
    KelPerfMonitor perf(KelString(inTestDir("nostart.log").wstring().c_str()));
    perf.end(KelString(L"x"));
    const std::string text = readFile(inTestDir("nostart.log"));
    std::smatch m;
    ASSERT_TRUE(std::regex_match(text, m, std::regex(R"(End = x : 0 -> (\d+) \(Diff = (\d+)\))")))
        << text;
    EXPECT_EQ(m[1].str(), m[2].str());
}

TEST_F(KelPerfMonitorTest, TicksAreMillisecondsOfProcessorTime) {
    KelPerfMonitor perf;
    perf.start(KelString(L"work"));
    burn(200);
    perf.end(KelString(L"work"));
    const std::string text = readFile(inTestDir("FerrolabPerf.LOG"));
    std::smatch m;
    ASSERT_TRUE(std::regex_search(text, m, std::regex(R"(\(Diff = (\d+)\))"))) << text;
    EXPECT_GE(number(m, 1), 190);
    EXPECT_LT(number(m, 1), 5000);
}

TEST_F(KelPerfMonitorTest, ANamedMonitorWritesToItsOwnFile) {
    KelPerfMonitor perf(KelString(inTestDir("perf.txt").wstring().c_str()));
    perf.start(KelString(L"s"));
    EXPECT_TRUE(fs::exists(inTestDir("perf.txt")));
    EXPECT_FALSE(fs::exists(inTestDir("FerrolabPerf.LOG")));
}

TEST_F(KelPerfMonitorTest, WithLoggingOffNothingIsWritten) {
    KelLogfile::setLogStatus(0);
    KelPerfMonitor perf;
    perf.start(KelString(L"s"));
    perf.end(KelString(L"s"));
    EXPECT_FALSE(fs::exists(inTestDir("FerrolabPerf.LOG")));
}

TEST_F(KelPerfMonitorTest, EndWithMessageBoxShowsTheFiguresWithTheProductAsCaption) {
    std::vector<Box> boxes;
    kelSetMessageBoxHandler(recordBox, &boxes);
    KelPerfMonitor perf;
    perf.start(KelString(L"export"));
    perf.endWithMessageBox(KelString(L"export"));
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_EQ(boxes[0].owner, nullptr);
    EXPECT_EQ(boxes[0].caption, L"Gantrix");
    EXPECT_EQ(boxes[0].style, static_cast<unsigned int>(MB_OK | MB_ICONINFORMATION));
    const std::string text = readFile(inTestDir("FerrolabPerf.LOG"));
    std::smatch m;
    ASSERT_TRUE(std::regex_match(
        text, m,
        std::regex(R"(Start = export : (\d+)End = export : (\d+) -> (\d+) \(Diff = (\d+)\))")));
    EXPECT_EQ(boxes[0].text, KelString(("export : " + m[2].str() + " -> " + m[3].str() +
                                        " (Diff = " + m[4].str() + ")")
                                           .c_str())
                                 .getStringW());
}

TEST_F(KelPerfMonitorTest, EndWithMessageBoxShowsTheBoxEvenWithLoggingOff) {
    KelLogfile::setLogStatus(0);
    KelProductDefines::setGXProductName(L"Steelworks");
    std::vector<Box> boxes;
    kelSetMessageBoxHandler(recordBox, &boxes);
    KelPerfMonitor perf;
    perf.endWithMessageBox(KelString(L"late"));
    ASSERT_EQ(boxes.size(), 1u);
    EXPECT_EQ(boxes[0].caption, L"Steelworks");
    std::wsmatch m;
    EXPECT_TRUE(
        std::regex_match(boxes[0].text, m, std::wregex(LR"(late : 0 -> (\d+) \(Diff = (\d+)\))")));
    EXPECT_EQ(m[1].str(), m[2].str());
    EXPECT_FALSE(fs::exists(inTestDir("FerrolabPerf.LOG")));
}

}  // namespace
