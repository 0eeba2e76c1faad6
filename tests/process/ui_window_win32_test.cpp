// Real windows on Windows: MessageBoxW boxes answered from a helper thread,
// and the progress dialog built from kel.dll's dialog resource 101,
// inspected through the system's own window functions.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <windows.h>

#include <commctrl.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

namespace {

// Windows need a desktop; under Wine that is an X display, which the test
// command provides (with_xvfb.sh) unless it has none to give.
#define REQUIRE_DESKTOP()                                                                       \
    do {                                                                                        \
        if (const char* reason = std::getenv("KEL_TEST_NO_DISPLAY"))                            \
            GTEST_SKIP() << "no display for Wine's windows: " << reason;                        \
        HWND probe = CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, \
                                     nullptr, nullptr);                                         \
        if (probe == nullptr)                                                                   \
            GTEST_SKIP() << "no desktop to create windows on";                                  \
        DestroyWindow(probe);                                                                   \
    } while (false)

// The first visible top-level dialog with this caption, waiting up to ten
// seconds for it to appear; null when none did.
HWND waitForDialog(const wchar_t* caption) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    for (;;) {
        HWND box = FindWindowW(L"#32770", caption);
        if (box != nullptr && IsWindowVisible(box))
            return box;
        if (std::chrono::steady_clock::now() >= deadline)
            return nullptr;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

// Shows a box and, from a helper thread, presses its button `button`.
int answer(const wchar_t* caption, unsigned int style, int button) {
    bool pressed = false;
    std::thread user([&] {
        HWND box = waitForDialog(caption);
        HWND control = box != nullptr ? GetDlgItem(box, button) : nullptr;
        if (control == nullptr)
            return;
        // The click as the button reports it to the box.
        pressed = PostMessageW(box, WM_COMMAND, MAKEWPARAM(button, BN_CLICKED),
                               reinterpret_cast<LPARAM>(control)) != FALSE;
    });
    const int result = KelMessage::messageBox(KelString(L"Continue?"), KelString(caption), style,
                                              static_cast<HWND>(nullptr));
    user.join();
    EXPECT_TRUE(pressed) << "the box or its button did not appear";
    return result;
}

TEST(Win32MessageBox, ButtonsAnswerTheirResults) {
    REQUIRE_DESKTOP();
    EXPECT_EQ(IDYES, answer(L"Box yes", MB_YESNO | MB_ICONQUESTION, IDYES));
    EXPECT_EQ(IDNO, answer(L"Box no", MB_YESNO | MB_ICONQUESTION, IDNO));
    EXPECT_EQ(IDOK, answer(L"Box ok", MB_OKCANCEL, IDOK));
    EXPECT_EQ(IDCANCEL, answer(L"Box cancel", MB_OKCANCEL, IDCANCEL));
}

TEST(Win32MessageBox, YesNoThroughKelMessage) {
    REQUIRE_DESKTOP();
    KelPromptsProxy::getInstance()->setFunctions(
        [](const KelString&, long number) {
            return KelString(number == 14200 ? L"Gantrix" : L"Renumber the parts?");
        },
        nullptr, nullptr);
    bool pressed = false;
    std::thread user([&] {
        HWND box = waitForDialog(L"Gantrix");
        pressed = box != nullptr &&
                  PostMessageW(box, WM_COMMAND, MAKEWPARAM(IDYES, BN_CLICKED),
                               reinterpret_cast<LPARAM>(GetDlgItem(box, IDYES))) != FALSE;
    });
    const int yes = KelMessage::messageBoxYesNo(1205, nullptr);
    user.join();
    KelPromptsProxy::getInstance()->setFunctions(nullptr, nullptr, nullptr);
    EXPECT_TRUE(pressed);
    EXPECT_EQ(1, yes);
}

// The calling thread's window that holds the progress dialog's items.
HWND findProgressDialog() {
    HWND found = nullptr;
    EnumThreadWindows(
        GetCurrentThreadId(),
        [](HWND window, LPARAM context) -> BOOL {
            if (GetDlgItem(window, 1003) != nullptr && GetDlgItem(window, 1002) != nullptr) {
                *reinterpret_cast<HWND*>(context) = window;
                return FALSE;
            }
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&found));
    return found;
}

std::wstring itemText(HWND dialog, int id) {
    wchar_t text[256] = {};
    GetDlgItemTextW(dialog, id, text, 256);
    return text;
}

class Win32ProgressDialog : public ::testing::Test {
protected:
    void SetUp() override { REQUIRE_DESKTOP(); }
    void TearDown() override { KelProgressCtrl::reset(); }
};

TEST_F(Win32ProgressDialog, ShowsTitleBarAndPercentage) {
    ASSERT_EQ(1, KelProgressCtrl::activate(KelString(L"Numbering parts")));
    HWND dialog = findProgressDialog();
    ASSERT_NE(nullptr, dialog);
    EXPECT_TRUE(IsWindowVisible(dialog));
    const LONG style = GetWindowLongW(dialog, GWL_STYLE);
    EXPECT_TRUE(style & WS_POPUP);
    EXPECT_FALSE((style & WS_CAPTION) == WS_CAPTION);
    EXPECT_EQ(L"Numbering parts", itemText(dialog, 1002));
    EXPECT_EQ(L"", itemText(dialog, 1003));

    HWND bar = GetDlgItem(dialog, 1001);
    ASSERT_NE(nullptr, bar);
    wchar_t className[64] = {};
    GetClassNameW(bar, className, 64);
    EXPECT_EQ(std::wstring(L"msctls_progress32"), className);
    EXPECT_EQ(0, SendMessageW(bar, PBM_GETRANGE, TRUE, 0));
    EXPECT_EQ(100, SendMessageW(bar, PBM_GETRANGE, FALSE, 0));
    RECT r = {};
    GetWindowRect(bar, &r);
    MapWindowPoints(HWND_DESKTOP, dialog, reinterpret_cast<POINT*>(&r), 2);
    EXPECT_EQ(10, r.left);
    EXPECT_EQ(40, r.top);
    EXPECT_EQ(290, r.right - r.left);
    EXPECT_EQ(20, r.bottom - r.top);

    EXPECT_EQ(1, KelProgressCtrl::setPercentage(42, 0));
    EXPECT_EQ(L"42%", itemText(dialog, 1003));
    EXPECT_EQ(42, SendMessageW(bar, PBM_GETPOS, 0, 0));
}

TEST_F(Win32ProgressDialog, ItemsFollowTheTemplate) {
    ASSERT_EQ(1, KelProgressCtrl::activate(KelString(L"Layout")));
    HWND dialog = findProgressDialog();
    ASSERT_NE(nullptr, dialog);
    // Dialog units to pixels with the dialog's own font; the system maps the
    // origin and the size of each item separately.
    struct Item {
        int id;
        RECT units;  // x, y, width, height
    };
    for (Item item : {Item{1002, {7, 4, 158, 8}}, Item{1003, {46, 32, 78, 8}}}) {
        MapDialogRect(dialog, &item.units);
        RECT r = {};
        GetWindowRect(GetDlgItem(dialog, item.id), &r);
        MapWindowPoints(HWND_DESKTOP, dialog, reinterpret_cast<POINT*>(&r), 2);
        EXPECT_EQ(item.units.left, r.left) << item.id;
        EXPECT_EQ(item.units.top, r.top) << item.id;
        EXPECT_EQ(item.units.right, r.right - r.left) << item.id;
        EXPECT_EQ(item.units.bottom, r.bottom - r.top) << item.id;
        EXPECT_TRUE(GetWindowLongW(GetDlgItem(dialog, item.id), GWL_STYLE) & SS_CENTER) << item.id;
    }
    RECT size = {0, 0, 169, 48};
    MapDialogRect(dialog, &size);
    RECT client = {};
    GetClientRect(dialog, &client);
    EXPECT_EQ(size.right, client.right);
    EXPECT_EQ(size.bottom, client.bottom);
    EXPECT_TRUE(GetWindowLongW(GetDlgItem(dialog, 1003), GWL_STYLE) & SS_SUNKEN);
    EXPECT_TRUE(GetWindowLongW(GetDlgItem(dialog, 1003), GWL_EXSTYLE) & WS_EX_TRANSPARENT);
}

TEST_F(Win32ProgressDialog, ForcedValueMovesTheBarBack) {
    ASSERT_EQ(1, KelProgressCtrl::activate(KelString(L"Checking")));
    HWND dialog = findProgressDialog();
    ASSERT_NE(nullptr, dialog);
    EXPECT_EQ(1, KelProgressCtrl::setPercentage(50, 0));
    EXPECT_EQ(0, KelProgressCtrl::setPercentage(30, 0));
    EXPECT_EQ(L"50%", itemText(dialog, 1003));
    EXPECT_EQ(1, KelProgressCtrl::setPercentage(30, 1));
    EXPECT_EQ(L"30%", itemText(dialog, 1003));
    EXPECT_EQ(30, SendMessageW(GetDlgItem(dialog, 1001), PBM_GETPOS, 0, 0));
}

TEST_F(Win32ProgressDialog, SetTitleAndReset) {
    ASSERT_EQ(1, KelProgressCtrl::activate(KelString(L"Step 1")));
    HWND dialog = findProgressDialog();
    ASSERT_NE(nullptr, dialog);
    EXPECT_EQ(1, KelProgressCtrl::setTitle(KelString(L"Step 2")));
    EXPECT_EQ(L"Step 2", itemText(dialog, 1002));
    EXPECT_EQ(1, KelProgressCtrl::reset());
    EXPECT_FALSE(IsWindow(dialog));
    EXPECT_EQ(nullptr, findProgressDialog());
    EXPECT_EQ(0, KelProgressCtrl::isActive(0));
}

TEST_F(Win32ProgressDialog, ButtonsOneAndTwoEndTheDialog) {
    ASSERT_EQ(1, KelProgressCtrl::activate(KelString(L"Cancel me")));
    HWND dialog = findProgressDialog();
    ASSERT_NE(nullptr, dialog);
    SendMessageW(dialog, WM_COMMAND, MAKEWPARAM(IDCANCEL, BN_CLICKED), 0);
    EXPECT_FALSE(IsWindowVisible(dialog));
}

}  // namespace
