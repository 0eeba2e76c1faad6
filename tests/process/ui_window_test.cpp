// Real windows on Linux: GTK message boxes and the progress dialog on a
// private Xvfb server, answered and inspected from outside with xdotool and
// ImageMagick, as a user would see them.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <clocale>
#include <filesystem>
#include <string>
#include <thread>

#include "platform/message_box.h"
#include "process/ui_backend.h"
#include "virtual_display.h"

namespace {

namespace ui = kel::detail::ui;
using kel::test::findWindow;
using kel::test::pressKeys;

// One X server for the whole program: GTK connects once per process.
class DisplayEnvironment : public ::testing::Environment {
public:
    void SetUp() override {
        if (!m_display.start(m_reason))
            return;
        for (const char* tool : {"xdotool", "import", "convert"}) {
            if (!kel::test::haveProgram(tool)) {
                m_reason = std::string(tool) + " is not installed (xdotool, imagemagick)";
                m_display.stop();
                return;
            }
        }
    }
    void TearDown() override {
        // The dialog goes before its server does.
        KelProgressCtrl::reset();
        m_display.stop();
    }
    static std::string& reason() { return m_reason; }
    static bool running() { return !m_display.name().empty(); }

private:
    static kel::test::VirtualDisplay m_display;
    static std::string m_reason;
};

kel::test::VirtualDisplay DisplayEnvironment::m_display;
std::string DisplayEnvironment::m_reason;

const auto* const g_environment = ::testing::AddGlobalTestEnvironment(new DisplayEnvironment);

#define REQUIRE_DISPLAY()                                                     \
    do {                                                                      \
        if (!DisplayEnvironment::running())                                   \
            GTEST_SKIP() << "no X server: " << DisplayEnvironment::reason();  \
        ASSERT_TRUE(ui::available()) << "GTK 3 did not start on the display"; \
    } while (false)

std::string screenshotPath(const char* name) {
    const std::filesystem::path dir(KEL_SCREENSHOT_DIR);
    std::filesystem::create_directories(dir);
    return (dir / name).string();
}

// Shows a box and, from another thread, types `keys` into it.
int answer(const wchar_t* caption, unsigned int style, std::vector<std::string> keys,
           const wchar_t* text = L"Continue?") {
    const std::string name = "^" + std::string(KelString(caption).getStringA()) + "$";
    bool typed = false;
    std::thread user([&] { typed = pressKeys(name, keys); });
    const int result = kel::detail::showMessageBox(nullptr, text, caption, style);
    user.join();
    EXPECT_TRUE(typed) << "the box did not appear";
    return result;
}

TEST(GtkToolkit, HostLocaleIsLeftAlone) {
    REQUIRE_DISPLAY();
    // GTK would set the locale from the environment; the host's stays.
    EXPECT_STREQ("C", std::setlocale(LC_ALL, nullptr));
}

TEST(GtkMessageBox, ReturnAnswersTheFirstButtonByDefault) {
    REQUIRE_DISPLAY();
    EXPECT_EQ(IDYES, answer(L"Box yes", MB_YESNO | MB_ICONQUESTION, {"Return"}));
    EXPECT_EQ(IDOK, answer(L"Box ok", MB_OKCANCEL, {"Return"}));
    EXPECT_EQ(IDOK, answer(L"Box plain", MB_OK, {"Return"}));
}

TEST(GtkMessageBox, ReturnAnswersTheDefaultButtonTheStyleNames) {
    REQUIRE_DISPLAY();
    EXPECT_EQ(IDNO, answer(L"Box default 2", MB_YESNO | MB_DEFBUTTON2, {"Return"}));
    EXPECT_EQ(IDCANCEL, answer(L"Box default 3", MB_YESNOCANCEL | MB_DEFBUTTON3, {"Return"}));
    EXPECT_EQ(IDCANCEL, answer(L"Box ok cancel 2", MB_OKCANCEL | MB_DEFBUTTON2, {"Return"}));
    // A default button the box does not have means the first one.
    EXPECT_EQ(IDYES, answer(L"Box default 3 of 2", MB_YESNO | MB_DEFBUTTON3, {"Return"}));
}

TEST(GtkMessageBox, MnemonicsChooseTheOtherButtons) {
    REQUIRE_DISPLAY();
    EXPECT_EQ(IDNO, answer(L"Box no", MB_YESNO, {"alt+n"}));
    EXPECT_EQ(IDRETRY, answer(L"Box retry", MB_ABORTRETRYIGNORE | MB_ICONERROR, {"alt+r"}));
    EXPECT_EQ(IDIGNORE, answer(L"Box ignore", MB_ABORTRETRYIGNORE, {"alt+i"}));
    EXPECT_EQ(IDRETRY, answer(L"Box retry cancel", MB_RETRYCANCEL | MB_ICONWARNING, {"Return"}));
}

TEST(GtkMessageBox, ClosingAnswersCancelWhereTheBoxHasOne) {
    REQUIRE_DISPLAY();
    EXPECT_EQ(IDCANCEL, answer(L"Box escape", MB_OKCANCEL, {"Escape"}));
    EXPECT_EQ(IDCANCEL, answer(L"Box escape 3", MB_YESNOCANCEL, {"Escape"}));
    // As on Windows, a box with OK alone answers OK when closed.
    EXPECT_EQ(IDOK, answer(L"Box escape ok", MB_OK | MB_ICONINFORMATION, {"Escape"}));
}

TEST(GtkMessageBox, YesNoBoxCannotBeClosed) {
    REQUIRE_DISPLAY();
    bool stayed = false;
    bool typed = false;
    std::thread user([&] {
        typed = pressKeys("^Box stays$", {"Escape"});
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        stayed = kel::test::windowVisible("^Box stays$");
        typed = typed && pressKeys("^Box stays$", {"alt+n"});
    });
    const int result = kel::detail::showMessageBox(nullptr, L"Continue?", L"Box stays", MB_YESNO);
    user.join();
    EXPECT_TRUE(typed);
    EXPECT_TRUE(stayed) << "Escape closed a Yes/No box";
    EXPECT_EQ(IDNO, result);
}

TEST(GtkMessageBox, BoxIsGoneOnceAnswered) {
    REQUIRE_DISPLAY();
    EXPECT_EQ(IDOK, answer(L"Box gone", MB_OK, {"Return"}));
    EXPECT_FALSE(kel::test::windowVisible("^Box gone$"));
}

TEST(GtkMessageBox, YesNoBoxScreenshot) {
    REQUIRE_DISPLAY();
    const std::string path = screenshotPath("message_box.png");
    std::filesystem::remove(path);
    bool saved = false;
    bool typed = false;
    std::thread user([&] {
        const unsigned long id = findWindow("^Gantrix$");
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        saved = id != 0 && kel::test::screenshot(id, path);
        typed = pressKeys("^Gantrix$", {"Return"});
    });
    KelPromptsProxy::getInstance()->setFunctions(
        [](const KelString& section, long number) {
            if (section == KelString(L"GUI") && number == 14200)
                return KelString(L"Gantrix");
            return KelString(L"Renumber the 12 selected parts?");
        },
        nullptr, nullptr);
    const int yes = KelMessage::messageBoxYesNo(1205, nullptr);
    KelPromptsProxy::getInstance()->setFunctions(nullptr, nullptr, nullptr);
    user.join();
    EXPECT_TRUE(typed);
    EXPECT_EQ(1, yes);
    ASSERT_TRUE(saved);
    EXPECT_GT(std::filesystem::file_size(path), 1000u);
}

TEST(GtkMessageBox, LibraryBoxesUseTheDefaultHandler) {
    REQUIRE_DISPLAY();
    bool typed = false;
    std::thread user([&] { typed = pressKeys("^Gantrix$", {"Return"}); });
    EXPECT_EQ(IDOK, KelWinMessage::messageBox(L"The licence expires in 12 days."));
    user.join();
    EXPECT_TRUE(typed);
}

TEST(GtkMessageBox, OtherThreadsGetTheConsoleLine) {
    REQUIRE_DISPLAY();
    // GTK belongs to the thread that started it (this one, in earlier tests).
    int result = -1;
    testing::internal::CaptureStderr();
    std::thread other([&] {
        result = kel::detail::showMessageBox(nullptr, L"From a worker", L"Gantrix", MB_OK);
    });
    other.join();
    EXPECT_EQ("Gantrix: From a worker\n", testing::internal::GetCapturedStderr());
    EXPECT_EQ(0, result);
}

class GtkProgressDialog : public ::testing::Test {
protected:
    void SetUp() override {
        if (!DisplayEnvironment::running())
            GTEST_SKIP() << "no X server: " << DisplayEnvironment::reason();
        ASSERT_TRUE(ui::available());
    }
    void TearDown() override { KelProgressCtrl::reset(); }
};

TEST_F(GtkProgressDialog, ShowsTitleBarAndPercentage) {
    ASSERT_EQ(1, KelProgressCtrl::activate(L"Numbering parts"));
    const unsigned long id = ui::progressWindowId();
    ASSERT_NE(0u, id);
    EXPECT_EQ(id, findWindow("^Numbering parts$", 5));
    EXPECT_EQ(L"Numbering parts", ui::progressItemText(ui::kProgressTitleId));
    EXPECT_EQ(L"", ui::progressItemText(ui::kProgressPercentId));
    EXPECT_EQ(0, ui::progressBarPosition());

    EXPECT_EQ(1, KelProgressCtrl::setPercentage(42, 0));
    EXPECT_EQ(L"42%", ui::progressItemText(ui::kProgressPercentId));
    EXPECT_EQ(42, ui::progressBarPosition());

    // What is on the screen: the bar filled up to 42 % of its 290 pixels.
    const std::string path = screenshotPath("progress_dialog.png");
    std::filesystem::remove(path);
    ASSERT_TRUE(kel::test::screenshot(id, path));
    const int y = 40 + 10 + 1;  // the middle of the bar, inside the frame
    const std::string filled = kel::test::pixel(path, 1 + 10 + 290 * 30 / 100, y);
    const std::string empty = kel::test::pixel(path, 1 + 10 + 290 * 60 / 100, y);
    const std::string filledEdge = kel::test::pixel(path, 1 + 10 + 290 * 40 / 100, y);
    const std::string emptyEdge = kel::test::pixel(path, 1 + 10 + 290 * 44 / 100, y);
    EXPECT_FALSE(filled.empty());
    EXPECT_NE(filled, empty);
    EXPECT_EQ(filled, filledEdge);
    EXPECT_EQ(empty, emptyEdge);
}

TEST_F(GtkProgressDialog, ForcedValueMovesTheBarBack) {
    ASSERT_EQ(1, KelProgressCtrl::activate(L"Checking"));
    EXPECT_EQ(1, KelProgressCtrl::setPercentage(50, 0));
    EXPECT_EQ(0, KelProgressCtrl::setPercentage(30, 0));
    EXPECT_EQ(L"50%", ui::progressItemText(ui::kProgressPercentId));
    EXPECT_EQ(1, KelProgressCtrl::setPercentage(30, 1));
    EXPECT_EQ(L"30%", ui::progressItemText(ui::kProgressPercentId));
    EXPECT_EQ(30, ui::progressBarPosition());
    EXPECT_EQ(1, KelProgressCtrl::setPercentage(100, 0));
    EXPECT_EQ(L"100%", ui::progressItemText(ui::kProgressPercentId));
    EXPECT_EQ(100, ui::progressBarPosition());
}

TEST_F(GtkProgressDialog, SetTitleChangesTheTitleLine) {
    ASSERT_EQ(1, KelProgressCtrl::activate(L"Step 1"));
    EXPECT_EQ(1, KelProgressCtrl::setTitle(L"Step 2: writing drawings"));
    EXPECT_EQ(L"Step 2: writing drawings", ui::progressItemText(ui::kProgressTitleId));
    EXPECT_NE(0u, findWindow("^Step 2: writing drawings$", 5));
}

TEST_F(GtkProgressDialog, ResetRemovesTheWindow) {
    ASSERT_EQ(1, KelProgressCtrl::activate(L"Short job"));
    ASSERT_NE(0u, findWindow("^Short job$", 5));
    EXPECT_EQ(1, KelProgressCtrl::reset());
    EXPECT_FALSE(ui::progressDialogExists());
    EXPECT_EQ(0u, ui::progressWindowId());
    EXPECT_FALSE(kel::test::windowVisible("^Short job$"));
    int active = -1;
    EXPECT_EQ(0, KelProgressCtrl::isActive(0));
    EXPECT_EQ(1, KelProgressCtrl::getPercentage(active));
    EXPECT_EQ(0, active);
}

TEST_F(GtkProgressDialog, SecondActivateShowsOneFreshDialog) {
    ASSERT_EQ(1, KelProgressCtrl::activate(L"First job"));
    EXPECT_EQ(1, KelProgressCtrl::setPercentage(70, 0));
    ASSERT_EQ(1, KelProgressCtrl::activate(L"Second job"));
    EXPECT_FALSE(kel::test::windowVisible("^First job$"));
    EXPECT_NE(0u, findWindow("^Second job$", 5));
    EXPECT_EQ(L"", ui::progressItemText(ui::kProgressPercentId));
    int percent = -1;
    KelProgressCtrl::getPercentage(percent);
    EXPECT_EQ(0, percent);
}

TEST_F(GtkProgressDialog, WindowDestroyedFromOutsideIsForgotten) {
    ASSERT_EQ(1, KelProgressCtrl::activate(L"Destroyed job"));
    const unsigned long id = ui::progressWindowId();
    ASSERT_NE(0u, id);
    // Another client destroys the X window (GTK prints its warnings about it).
    ASSERT_EQ(0, kel::test::run({"xdotool", "windowclose", std::to_string(id)}));
    // The library notices when it next runs the window's events.
    EXPECT_EQ(1, KelProgressCtrl::setPercentage(10, 0));
    EXPECT_FALSE(ui::progressDialogExists());
    EXPECT_EQ(1, KelProgressCtrl::setPercentage(20, 0));
    EXPECT_EQ(L"", ui::progressItemText(ui::kProgressPercentId));
    EXPECT_EQ(1, KelProgressCtrl::reset());
    EXPECT_EQ(1, KelProgressCtrl::activate(L"Next job"));
    EXPECT_NE(0u, findWindow("^Next job$", 5));
}

}  // namespace
