#include <gtest/gtest.h>

#include <kel/KelPlatform.h>

#include <string>
#include <vector>

#include "platform/message_box.h"

namespace {

struct Shown {
    HWND owner;
    std::wstring text;
    std::wstring caption;
    unsigned int style;
};

int record(HWND owner, const wchar_t* text, const wchar_t* caption, unsigned int style,
           void* context) {
    static_cast<std::vector<Shown>*>(context)->push_back({owner, text, caption, style});
    return IDNO;
}

struct RestoreDefault {
    ~RestoreDefault() { kelSetMessageBoxHandler(nullptr, nullptr); }
};

}  // namespace

TEST(MessageBoxHook, InstalledHandlerReceivesEveryArgumentAndAnswers) {
    RestoreDefault restore;
    std::vector<Shown> shown;
    kelSetMessageBoxHandler(record, &shown);
    HWND owner = reinterpret_cast<HWND>(static_cast<uintptr_t>(0x1234));
    EXPECT_EQ(IDNO, kel::detail::showMessageBox(owner, L"Continue?", L"Gantrix",
                                                MB_YESNO | MB_ICONQUESTION));
    ASSERT_EQ(1u, shown.size());
    EXPECT_EQ(owner, shown[0].owner);
    EXPECT_EQ(L"Continue?", shown[0].text);
    EXPECT_EQ(L"Gantrix", shown[0].caption);
    EXPECT_EQ(static_cast<unsigned int>(MB_YESNO | MB_ICONQUESTION), shown[0].style);
}

TEST(MessageBoxHook, NullTextsReachTheHandlerAsEmptyTexts) {
    RestoreDefault restore;
    std::vector<Shown> shown;
    kelSetMessageBoxHandler(record, &shown);
    kel::detail::showMessageBox(nullptr, nullptr, nullptr, MB_OK);
    ASSERT_EQ(1u, shown.size());
    EXPECT_EQ(L"", shown[0].text);
    EXPECT_EQ(L"", shown[0].caption);
}

TEST(MessageBoxHook, NullHandlerRestoresTheDefault) {
    std::vector<Shown> shown;
    kelSetMessageBoxHandler(record, &shown);
    kelSetMessageBoxHandler(nullptr, nullptr);
    testing::internal::CaptureStderr();
    const int result = kel::detail::consoleMessageBox(L"Disk full", L"Gantrix");
    EXPECT_EQ("Gantrix: Disk full\n", testing::internal::GetCapturedStderr());
    EXPECT_EQ(0, result);
    EXPECT_TRUE(shown.empty());
}
