// "kel message" and the demonstration's windows, run as a user runs them:
// the built tool in a process of its own, with and without a display.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "run_program.h"
#include "support/isolation.h"
#include "support/system.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include "virtual_display.h"
#endif

namespace {

using kel::test::kelTool;
using kel::test::runProgram;

const char kUsage[] = "usage: kel message TEXT [--caption CAPTION] [--yesno]";

std::string line(const std::string& text) {
    return text + (kel::test::kWindows ? "\r\n" : "\n");
}

// The whole usage, as "kel help message" prints it.
std::string usage() {
    return runProgram(kelTool(), {L"help", L"message"}).out;
}

TEST(KelMessageTool, HelpPrintsTheUsage) {
    const auto r = runProgram(kelTool(), {L"message", L"--help"});
    EXPECT_EQ(0, r.exitCode);
    EXPECT_EQ(0u, r.out.rfind(line(kUsage), 0)) << r.out;
    EXPECT_EQ(usage(), r.out);
    EXPECT_EQ("", r.err);
}

TEST(KelMessageTool, BadArgumentsPrintTheUsageWithExitCodeTwo) {
    const std::vector<std::vector<std::wstring>> bad = {
        {L"message"},
        {L"message", L"--yesno"},
        {L"message", L"a", L"b"},
        {L"message", L"a", L"--caption"},
        {L"message", L"a", L"--colour", L"red"},
        {L"message", L"a", L"--caption", L"x", L"--caption", L"y"},
    };
    for (const auto& arguments : bad) {
        const auto r = runProgram(kelTool(), arguments);
        EXPECT_EQ(2, r.exitCode) << arguments.size();
        EXPECT_EQ(usage(), r.err);
        EXPECT_EQ("", r.out);
    }
}

#if !defined(_WIN32)

// Runs `arguments` with the display given (nullptr: none).
kel::test::ProgramResult runWithDisplay(const char* display,
                                        const std::vector<std::wstring>& arguments) {
    const char* saved = std::getenv("DISPLAY");
    const std::string previous = saved != nullptr ? saved : "";
    kel::test::setEnv("DISPLAY", display);
    kel::test::setEnv("WAYLAND_DISPLAY", nullptr);
    auto result = runProgram(kelTool(), arguments);
    kel::test::setEnv("DISPLAY", saved != nullptr ? previous.c_str() : nullptr);
    return result;
}

TEST(KelMessageTool, WithoutDisplayTheBoxIsOneStderrLineAndExitCodeZero) {
    auto r = runWithDisplay(nullptr, {L"message", L"Disk full"});
    EXPECT_EQ(0, r.exitCode);
    EXPECT_EQ("Gantrix: Disk full\n", r.err);
    EXPECT_EQ("", r.out);
    r = runWithDisplay(nullptr, {L"message", L"--yesno", L"Delete?", L"--caption", L"Export"});
    EXPECT_EQ(0, r.exitCode);
    EXPECT_EQ("Export: Delete?\n", r.err);
}

TEST(KelMessageTool, DisplayThatCannotBeOpenedIsLikeNone) {
    const auto start = std::chrono::steady_clock::now();
    const auto r = runWithDisplay(":4093", {L"message", L"Disk full"});
    EXPECT_EQ(0, r.exitCode);
    EXPECT_EQ("Gantrix: Disk full\n", r.err);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
}

TEST(KelDemoTool, WithoutDisplayTheWindowsAreSkippedInOneLine) {
    const auto r = runWithDisplay(nullptr, {L"demo"});
    EXPECT_EQ(0, r.exitCode);
    EXPECT_NE(std::string::npos,
              r.out.find("\n== Message boxes and the progress dialog ==\n\n"
                         "No display: the progress dialog and the message box are skipped.\n"))
        << r.out;
}

class ToolOnDisplay : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        if (!s_display.start(s_reason))
            return;
        if (!kel::test::haveProgram("xdotool")) {
            s_reason = "xdotool is not installed";
            s_display.stop();
        }
    }
    static void TearDownTestSuite() { s_display.stop(); }
    void SetUp() override {
        if (s_display.name().empty())
            GTEST_SKIP() << "no X server: " << s_reason;
    }

    // Runs the tool while a user types `keys` into the window named `name`.
    kel::test::ProgramResult runAnswering(const std::vector<std::wstring>& arguments,
                                          const std::string& name,
                                          const std::vector<std::string>& keys,
                                          double seconds = 20.0) {
        bool typed = false;
        std::thread user([&] { typed = kel::test::pressKeys(name, keys, seconds); });
        auto result = runProgram(kelTool(), arguments);
        user.join();
        EXPECT_TRUE(typed) << "the box did not appear";
        return result;
    }

    static kel::test::VirtualDisplay s_display;
    static std::string s_reason;
};

kel::test::VirtualDisplay ToolOnDisplay::s_display;
std::string ToolOnDisplay::s_reason;

TEST_F(ToolOnDisplay, ExitCodeIsTheButtonChosen) {
    auto r = runAnswering({L"message", L"Delete 3 parts?", L"--caption", L"Script", L"--yesno"},
                          "^Script$", {"Return"});
    EXPECT_EQ(6, r.exitCode);
    EXPECT_EQ("", r.err);
    r = runAnswering({L"message", L"Delete 3 parts?", L"--caption", L"Script", L"--yesno"},
                     "^Script$", {"alt+n"});
    EXPECT_EQ(7, r.exitCode);
    r = runAnswering({L"message", L"Done"}, "^Gantrix$", {"Return"});
    EXPECT_EQ(1, r.exitCode);
}

TEST_F(ToolOnDisplay, DemoRunsTheDialogAndShowsOneBox) {
    // The other sections run first: slow in the sanitizer build.
    const auto r = runAnswering({L"demo"}, "^Gantrix$", {"Return"}, 150.0);
    EXPECT_EQ(0, r.exitCode);
    EXPECT_NE(std::string::npos,
              r.out.find("KelProgressCtrl::activate(L\"kel demo: numbering 100 parts\") -> 1\n"
                         "setPercentage(0 .. 100, 0), then getPercentage -> 100\n"
                         "KelProgressCtrl::reset() -> 1\n"
                         "KelWinMessage::messageBox(...): answer the box to go on\n"
                         "-> 1 (IDOK)\n"))
        << r.out;
}

#else  // _WIN32

// The box of the tool's process, found and answered from this one.
TEST(KelMessageTool, ExitCodeIsTheButtonChosen) {
    if (const char* reason = std::getenv("KEL_TEST_NO_DISPLAY"))
        GTEST_SKIP() << "no display for Wine's windows: " << reason;
    // A window of this process first: it joins the desktop on which it
    // looks for the tool's box.
    HWND probe = CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, nullptr,
                                 nullptr);
    ASSERT_NE(nullptr, probe) << "no desktop to create windows on";
    DestroyWindow(probe);
    for (int button : {IDYES, IDNO}) {
        bool pressed = false;
        std::thread user([&] {
            const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
            HWND box = nullptr;
            while (box == nullptr && std::chrono::steady_clock::now() < deadline) {
                box = FindWindowW(L"#32770", L"Script");
                if (box == nullptr)
                    std::this_thread::sleep_for(std::chrono::milliseconds(20));
            }
            pressed = box != nullptr &&
                      PostMessageW(box, WM_COMMAND, MAKEWPARAM(button, BN_CLICKED),
                                   reinterpret_cast<LPARAM>(GetDlgItem(box, button))) != FALSE;
        });
        const auto r = runProgram(
            kelTool(), {L"message", L"Delete 3 parts?", L"--caption", L"Script", L"--yesno"});
        user.join();
        EXPECT_TRUE(pressed);
        EXPECT_EQ(button, r.exitCode);
        EXPECT_EQ("", r.err);
    }
}

#endif

}  // namespace
