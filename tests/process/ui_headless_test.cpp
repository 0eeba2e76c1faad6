// Without a display: every box is one line "caption: text" on stderr with
// the result 0, the progress dialog cannot be created, and nothing waits.
// CTest runs this program with DISPLAY and WAYLAND_DISPLAY removed; it
// removes them itself too, for a run by hand from a desktop.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <chrono>

#include "platform/message_box.h"
#include "process/ui_backend.h"
#include "support/isolation.h"

namespace {

namespace ui = kel::detail::ui;

class NoDisplay : public ::testing::Environment {
    void SetUp() override {
        kel::test::setEnv("DISPLAY", nullptr);
        kel::test::setEnv("WAYLAND_DISPLAY", nullptr);
    }
};

const auto* const g_noDisplay = ::testing::AddGlobalTestEnvironment(new NoDisplay);

TEST(NoDisplay, ToolkitIsUnavailable) {
    EXPECT_FALSE(ui::available());
    EXPECT_EQ(-1, ui::messageBox(nullptr, L"text", L"caption", MB_OK));
}

TEST(NoDisplay, DefaultBoxIsOneStderrLineAndZero) {
    testing::internal::CaptureStderr();
    const int result =
        kel::detail::showMessageBox(nullptr, L"Delete 12 parts?", L"Gantrix", MB_YESNO);
    EXPECT_EQ("Gantrix: Delete 12 parts?\n", testing::internal::GetCapturedStderr());
    EXPECT_EQ(0, result);
}

TEST(NoDisplay, TextsAreWrittenAsUtf8) {
    testing::internal::CaptureStderr();
    kel::detail::showMessageBox(nullptr, L"Tr\u00e4ger fehlt", L"Gantrix \u00c9", MB_OK);
    EXPECT_EQ("Gantrix \xc3\x89: Tr\xc3\xa4ger fehlt\n", testing::internal::GetCapturedStderr());
}

TEST(NoDisplay, WinMessageAnswersZero) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(0, KelWinMessage::messageBox(KelString(L"Licence file not found")));
    EXPECT_EQ("Gantrix: Licence file not found\n", testing::internal::GetCapturedStderr());
}

TEST(NoDisplay, YesNoBoxAnswersNo) {
    KelPromptsProxy::getInstance()->setFunctions(
        [](const KelString&, long number) {
            return KelString(number == 14200 ? L"Gantrix 2015" : L"Renumber?");
        },
        nullptr, nullptr);
    testing::internal::CaptureStderr();
    const int yes = KelMessage::messageBoxYesNo(12, nullptr);
    const std::string err = testing::internal::GetCapturedStderr();
    KelPromptsProxy::getInstance()->setFunctions(nullptr, nullptr, nullptr);
    EXPECT_EQ(0, yes);
    EXPECT_EQ("Gantrix 2015: Renumber?\n", err);
}

TEST(NoDisplay, ProgressDialogCannotBeCreated) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(ui::createProgressDialog());
    EXPECT_FALSE(ui::progressDialogExists());
    EXPECT_EQ(0, KelProgressCtrl::activate(KelString(L"Numbering parts")));
    EXPECT_EQ(0, KelProgressCtrl::isActive(0));
    EXPECT_EQ(0, KelProgressCtrl::setPercentage(42, 0));
    EXPECT_EQ(L"", ui::progressItemText(ui::kProgressPercentId));
    EXPECT_EQ(-1, ui::progressBarPosition());
    EXPECT_EQ(0u, ui::progressWindowId());
    EXPECT_EQ(1, KelProgressCtrl::reset());
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

TEST(NoDisplay, HookStillReceivesEveryBox) {
    int calls = 0;
    kelSetMessageBoxHandler(
        [](HWND, const wchar_t*, const wchar_t*, unsigned int, void* context) {
            ++*static_cast<int*>(context);
            return IDYES;
        },
        &calls);
    EXPECT_EQ(IDYES, KelMessage::messageBox(KelString(L"a"), KelString(L"b"), MB_YESNO));
    kelSetMessageBoxHandler(nullptr, nullptr);
    EXPECT_EQ(1, calls);
}

}  // namespace
