// KelProgressCtrlWindow's rules and KelProgressCtrl's forwarding, counted
// with recording output windows (subclasses). The default window's real
// dialog is tested in the window tests; here, on Linux, the program runs
// without a display, so that dialog cannot be created.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <string>
#include <vector>

#include "support/isolation.h"
#include "support/system.h"

namespace {

std::vector<std::wstring> g_calls;

void log(const wchar_t* window, const std::wstring& call) {
    g_calls.push_back(std::wstring(window) + L"." + call);
}

// An output window of the host's that records what the facade asks of it
// and answers with `answer`.
class RecordingWindow : public KelProgressCtrlWindow {
public:
    RecordingWindow(const wchar_t* name, int answer) : m_answer(answer), m_name(name) {}

    int activate(KelString title) override {
        log(m_name, L"activate(" + std::wstring(title.getStringW()) + L")");
        return m_answer;
    }
    int reset() override {
        log(m_name, L"reset()");
        return m_answer;
    }
    int setPercentage(int percent, int force) override {
        log(m_name,
            L"setPercentage(" + std::to_wstring(percent) + L"," + std::to_wstring(force) + L")");
        return m_answer;
    }
    int setTitle(const KelString& title) override {
        log(m_name, L"setTitle(" + std::wstring(title.getStringW()) + L")");
        return m_answer;
    }

    int m_answer;

private:
    const wchar_t* m_name;
};

// Overrides reset() alone, to see that the base activate() calls it.
class ResetRecorder : public KelProgressCtrlWindow {
public:
    int reset() override {
        log(L"w", L"reset()");
        return KelProgressCtrlWindow::reset();
    }
};

// Gives the tests a look at the owned title.
class TitleInspector : public KelProgressCtrlWindow {
public:
    const wchar_t* titleBuffer() const { return m_title; }
};

// The facade's windows live as long as the process: the list keeps
// pointers to them and has no way to drop one.
RecordingWindow g_a(L"a", 1);
RecordingWindow g_b(L"b", 0);
RecordingWindow g_c(L"c", 1);

KelProgressCtrlWindowController& controller() {
    return KelProgressCtrl::m_ProgressCtrlWindowController;
}

KelProgressCtrlWindow& defaultWindow() {
    return controller().m_defaultWindow;
}

// Windows off and inactive, the three recording windows listed.
void prepareList() {
    KelProgressCtrl::appendOutputWindow(&g_a);
    KelProgressCtrl::appendOutputWindow(&g_b);
    KelProgressCtrl::appendOutputWindow(&g_c);
    KelProgressCtrl::appendOutputWindow(nullptr);  // every window off
    for (KelProgressCtrlWindow* w :
         {static_cast<KelProgressCtrlWindow*>(&g_a), static_cast<KelProgressCtrlWindow*>(&g_b),
          static_cast<KelProgressCtrlWindow*>(&g_c), &defaultWindow()}) {
        w->setActivity(0);
        w->KelProgressCtrlWindow::setPercentage(0, 1);
    }
    g_a.m_answer = 1;
    g_b.m_answer = 0;
    g_c.m_answer = 1;
    g_calls.clear();
}

class NoDisplay : public ::testing::Environment {
    void SetUp() override {
        kel::test::setEnv("DISPLAY", nullptr);
        kel::test::setEnv("WAYLAND_DISPLAY", nullptr);
    }
};

const auto* const g_noDisplay = ::testing::AddGlobalTestEnvironment(new NoDisplay);

// ----- the list as the library is loaded (these run first) -----------------

TEST(KelProgressCtrlAtLoad, DefaultWindowIsListedFirstAndSwitchedOn) {
    ASSERT_EQ(1, controller().m_windows.length());
    EXPECT_EQ(&defaultWindow(), controller().m_windows[0]);
    EXPECT_EQ(1, defaultWindow().getOn());
    EXPECT_EQ(0, defaultWindow().isActive());
    EXPECT_EQ(8, controller().m_windows.growLength());
    int percent = -1;
    EXPECT_EQ(1, KelProgressCtrl::getPercentage(percent));
    EXPECT_EQ(0, percent);
    KelString title(L"untouched");
    EXPECT_EQ(1, KelProgressCtrl::getTitle(title));
    EXPECT_EQ(L"", std::wstring(title.getStringW()));
}

// ----- one window ------------------------------------------------------------

TEST(KelProgressCtrlWindow, StartsOffInactiveAtZeroWithoutTitle) {
    KelProgressCtrlWindow w;
    EXPECT_EQ(0, w.getOn());
    EXPECT_EQ(0, w.isActive());
    EXPECT_EQ(0, w.getActivity());
    int percent = -1;
    EXPECT_EQ(0, w.getPercentage(percent));
    EXPECT_EQ(0, percent);
    KelString title(L"x");
    EXPECT_EQ(0, w.getTitle(title));
    EXPECT_EQ(L"", std::wstring(title.getStringW()));
}

TEST(KelProgressCtrlWindow, AccessorsOfOnAndActivity) {
    KelProgressCtrlWindow w;
    w.switchOn();
    EXPECT_EQ(1, w.getOn());
    w.switchOff();
    EXPECT_EQ(0, w.getOn());
    w.setActivity(1);
    EXPECT_EQ(1, w.isActive());
    EXPECT_EQ(1, w.getActivity());
    w.setActivity(0);
    EXPECT_EQ(0, w.isActive());
}

TEST(KelProgressCtrlWindow, PercentageOutOfRangeIsRefusedAndChangesNothing) {
    KelProgressCtrlWindow w;
    w.setActivity(1);  // active without a dialog
    ASSERT_EQ(1, w.setPercentage(20, 0));
    EXPECT_EQ(0, w.setPercentage(101, 0));
    EXPECT_EQ(0, w.setPercentage(-1, 1));
    EXPECT_EQ(0, w.setPercentage(101, 1));
    int percent = -1;
    w.getPercentage(percent);
    EXPECT_EQ(20, percent);
}

TEST(KelProgressCtrlWindow, ProgressNeverGoesBackUnlessForced) {
    KelProgressCtrlWindow w;
    w.setActivity(1);
    EXPECT_EQ(1, w.setPercentage(50, 0));
    EXPECT_EQ(0, w.setPercentage(30, 0));
    int percent = -1;
    w.getPercentage(percent);
    EXPECT_EQ(50, percent);
    EXPECT_EQ(1, w.setPercentage(30, 1));
    w.getPercentage(percent);
    EXPECT_EQ(30, percent);
}

TEST(KelProgressCtrlWindow, RepeatingTheSameValueIsRefused) {
    KelProgressCtrlWindow w;
    w.setActivity(1);
    EXPECT_EQ(0, w.setPercentage(0, 0));  // 0 is where it starts
    EXPECT_EQ(1, w.setPercentage(42, 0));
    EXPECT_EQ(0, w.setPercentage(42, 0));
    EXPECT_EQ(0, w.setPercentage(42, 1));
    EXPECT_EQ(1, w.setPercentage(100, 0));
    EXPECT_EQ(1, w.setPercentage(0, 1));
}

TEST(KelProgressCtrlWindow, AcceptedValueOfAnInactiveWindowIsStoredButAnswersZero) {
    KelProgressCtrlWindow w;
    EXPECT_EQ(0, w.setPercentage(42, 0));
    int percent = -1;
    EXPECT_EQ(0, w.getPercentage(percent));
    EXPECT_EQ(42, percent);
    // Stored: going back now needs force.
    EXPECT_EQ(0, w.setPercentage(10, 0));
    w.getPercentage(percent);
    EXPECT_EQ(42, percent);
}

TEST(KelProgressCtrlWindow, SetTitleStoresAndAnswersTheActivity) {
    KelProgressCtrlWindow w;
    EXPECT_EQ(0, w.setTitle(KelString(L"Numbering")));
    KelString title;
    EXPECT_EQ(0, w.getTitle(title));
    EXPECT_EQ(L"Numbering", std::wstring(title.getStringW()));
    w.setActivity(1);
    EXPECT_EQ(1, w.setTitle(KelString(L"Drawings")));
    EXPECT_EQ(1, w.getTitle(title));
    EXPECT_EQ(L"Drawings", std::wstring(title.getStringW()));
}

TEST(KelProgressCtrlWindow, ResetClearsPercentAndActivityKeepsTitleAndOn) {
    KelProgressCtrlWindow w;
    w.switchOn();
    w.setTitle(KelString(L"Job"));
    w.setActivity(1);
    w.setPercentage(64, 0);
    EXPECT_EQ(1, w.reset());
    EXPECT_EQ(0, w.isActive());
    int percent = -1;
    w.getPercentage(percent);
    EXPECT_EQ(0, percent);
    KelString title;
    w.getTitle(title);
    EXPECT_EQ(L"Job", std::wstring(title.getStringW()));
    EXPECT_EQ(1, w.getOn());
    EXPECT_EQ(1, w.reset());  // inactive: still 1
}

TEST(KelProgressCtrlWindow, ActivateResetsThroughTheOverrideAndStoresTheTitle) {
    ResetRecorder w;
    w.setActivity(1);
    w.setPercentage(80, 0);
    g_calls.clear();
    const int active = w.activate(KelString(L"Copying"));
    EXPECT_EQ((std::vector<std::wstring>{L"w.reset()"}), g_calls);
    KelString title;
    w.getTitle(title);
    EXPECT_EQ(L"Copying", std::wstring(title.getStringW()));
    int percent = -1;
    w.getPercentage(percent);
    EXPECT_EQ(0, percent);
    EXPECT_EQ(active, w.isActive());
    if (!kel::test::kWindows) {
        EXPECT_EQ(0, active) << "no display: the dialog cannot be created";
    }
    w.KelProgressCtrlWindow::reset();
}

TEST(KelProgressCtrlWindow, CopiesTakeAllFieldsAndTheirOwnTitle) {
    TitleInspector original;
    original.switchOn();
    original.setActivity(1);
    original.setPercentage(33, 0);
    original.setTitle(KelString(L"Bolts"));
    TitleInspector copy(original);
    EXPECT_EQ(1, copy.getOn());
    EXPECT_EQ(1, copy.isActive());
    int percent = -1;
    copy.getPercentage(percent);
    EXPECT_EQ(33, percent);
    ASSERT_NE(nullptr, copy.titleBuffer());
    EXPECT_NE(original.titleBuffer(), copy.titleBuffer());
    EXPECT_EQ(std::wstring(L"Bolts"), copy.titleBuffer());

    original.setTitle(KelString(L"Welds"));
    EXPECT_EQ(std::wstring(L"Bolts"), copy.titleBuffer());

    TitleInspector assigned;
    assigned.setTitle(KelString(L"old"));
    assigned = original;
    EXPECT_NE(original.titleBuffer(), assigned.titleBuffer());
    EXPECT_EQ(std::wstring(L"Welds"), assigned.titleBuffer());
    EXPECT_EQ(1, assigned.getOn());
    assigned = assigned;  // self-assignment keeps everything
    EXPECT_EQ(std::wstring(L"Welds"), assigned.titleBuffer());

    TitleInspector untitled;
    TitleInspector copyOfUntitled(untitled);
    EXPECT_EQ(nullptr, copyOfUntitled.titleBuffer());
}

// ----- the facade ------------------------------------------------------------

TEST(KelProgressCtrlFacade, AppendOutputWindowAnswersIndexes) {
    KelProgressCtrl::appendOutputWindow(&g_a);
    const long before = controller().m_windows.length();
    static RecordingWindow freshWindow(L"fresh", 1);  // listed for the process's lifetime
    RecordingWindow* fresh = &freshWindow;
    EXPECT_EQ(before, KelProgressCtrl::appendOutputWindow(fresh));
    EXPECT_EQ(before + 1, controller().m_windows.length());
    EXPECT_EQ(fresh, controller().m_windows[before]);
    EXPECT_EQ(0, fresh->getOn()) << "the caller switches the new window on";
    EXPECT_EQ(-1, KelProgressCtrl::appendOutputWindow(nullptr));
    EXPECT_EQ(before + 1, controller().m_windows.length());
    EXPECT_EQ(0, KelProgressCtrl::appendOutputWindow(&defaultWindow()));
}

TEST(KelProgressCtrlFacade, AppendingAListedWindowGivesItsIndexAndSwitchesAllOff) {
    prepareList();
    long indexOfB = -1;
    ASSERT_TRUE(controller().m_windows.find(&g_b, indexOfB));
    const long length = controller().m_windows.length();
    g_a.switchOn();
    g_b.switchOn();
    defaultWindow().switchOn();
    EXPECT_EQ(indexOfB, KelProgressCtrl::appendOutputWindow(&g_b));
    EXPECT_EQ(length, controller().m_windows.length());
    EXPECT_EQ(0, g_a.getOn());
    EXPECT_EQ(0, g_b.getOn());
    EXPECT_EQ(0, defaultWindow().getOn());
}

TEST(KelProgressCtrlFacade, NullAppendSwitchesAllOff) {
    prepareList();
    g_c.switchOn();
    defaultWindow().switchOn();
    EXPECT_EQ(-1, KelProgressCtrl::appendOutputWindow(nullptr));
    EXPECT_EQ(0, g_c.getOn());
    EXPECT_EQ(0, defaultWindow().getOn());
}

TEST(KelProgressCtrlFacade, OperationsReachTheWindowsThatAreOnInListOrder) {
    prepareList();
    g_c.switchOn();
    g_a.switchOn();
    EXPECT_EQ(2, KelProgressCtrl::activate(KelString(L"Job")));
    EXPECT_EQ(2, KelProgressCtrl::setTitle(KelString(L"Next")));
    EXPECT_EQ(2, KelProgressCtrl::setPercentage(42, 0));
    EXPECT_EQ(2, KelProgressCtrl::reset());
    EXPECT_EQ((std::vector<std::wstring>{
                  L"a.activate(Job)", L"c.activate(Job)", L"a.setTitle(Next)", L"c.setTitle(Next)",
                  L"a.setPercentage(42,0)", L"c.setPercentage(42,0)", L"a.reset()", L"c.reset()"}),
              g_calls);
}

TEST(KelProgressCtrlFacade, CountsOnlyNonzeroResults) {
    prepareList();
    g_a.switchOn();
    g_b.switchOn();
    g_c.switchOn();
    g_c.m_answer = 7;
    EXPECT_EQ(2, KelProgressCtrl::activate(KelString(L"Job")));
    EXPECT_EQ(2, KelProgressCtrl::setPercentage(10, 1));
    g_a.m_answer = 0;
    g_c.m_answer = 0;
    EXPECT_EQ(0, KelProgressCtrl::setTitle(KelString(L"T")));
    EXPECT_EQ(0, KelProgressCtrl::reset());
    EXPECT_EQ(12u, g_calls.size());
}

TEST(KelProgressCtrlFacade, NullEntriesAreSkipped) {
    prepareList();
    long index = -1;
    if (!controller().m_windows.find(nullptr, index))
        controller().m_windows.append(nullptr);
    g_a.switchOn();
    EXPECT_EQ(1, KelProgressCtrl::setPercentage(5, 0));
    EXPECT_EQ(0, KelProgressCtrl::isActive(0));
    EXPECT_EQ((std::vector<std::wstring>{L"a.setPercentage(5,0)"}), g_calls);
}

TEST(KelProgressCtrlFacade, NoWindowOnMeansNothingIsCalled) {
    prepareList();
    EXPECT_EQ(0, KelProgressCtrl::activate(KelString(L"Job")));
    EXPECT_EQ(0, KelProgressCtrl::setPercentage(42, 0));
    EXPECT_EQ(0, KelProgressCtrl::setTitle(KelString(L"T")));
    EXPECT_EQ(0, KelProgressCtrl::reset());
    KelString title(L"kept");
    int percent = -5;
    EXPECT_EQ(0, KelProgressCtrl::getTitle(title));
    EXPECT_EQ(0, KelProgressCtrl::getPercentage(percent));
    EXPECT_EQ(L"kept", std::wstring(title.getStringW()));
    EXPECT_EQ(-5, percent);
    EXPECT_TRUE(g_calls.empty());
}

TEST(KelProgressCtrlFacade, GettersReadTheFirstWindowThatIsOn) {
    prepareList();
    g_b.KelProgressCtrlWindow::setTitle(KelString(L"from b"));
    g_b.setActivity(1);
    g_b.KelProgressCtrlWindow::setPercentage(61, 0);
    g_c.KelProgressCtrlWindow::setTitle(KelString(L"from c"));
    g_c.switchOn();
    g_b.switchOn();
    KelString title;
    int percent = -1;
    EXPECT_EQ(1, KelProgressCtrl::getTitle(title));
    EXPECT_EQ(L"from b", std::wstring(title.getStringW()));
    EXPECT_EQ(1, KelProgressCtrl::getPercentage(percent));
    EXPECT_EQ(61, percent);
}

TEST(KelProgressCtrlFacade, IsActiveCountsWindowsThatAreOnAndActive) {
    prepareList();
    g_a.switchOn();
    g_a.setActivity(1);
    g_b.setActivity(1);  // active but off: not counted
    g_c.switchOn();
    g_c.setActivity(1);
    EXPECT_EQ(2, KelProgressCtrl::isActive(0));
    EXPECT_EQ(2, KelProgressCtrl::isActive(1));
    EXPECT_EQ(0, defaultWindow().isActive());
}

TEST(KelProgressCtrlFacade, IsActiveClaimMarksTheFirstWindowOnAndActive) {
    prepareList();
    EXPECT_EQ(0, KelProgressCtrl::isActive(0));
    EXPECT_EQ(0, defaultWindow().getOn());
    EXPECT_EQ(0, KelProgressCtrl::isActive(1));
    EXPECT_EQ(1, defaultWindow().getOn());
    EXPECT_EQ(1, defaultWindow().isActive());
    EXPECT_EQ(1, KelProgressCtrl::isActive(0));
    EXPECT_TRUE(g_calls.empty()) << "no window operation is called, no dialog is made";
    defaultWindow().setActivity(0);
}

TEST(KelProgressCtrlFacade, DefaultWindowWithoutADisplayCannotActivate) {
    if (kel::test::kWindows)
        GTEST_SKIP() << "skipped on Windows: there the dialog is shown (ui_window_win32_test)";
    prepareList();
    defaultWindow().switchOn();
    EXPECT_EQ(0, KelProgressCtrl::activate(KelString(L"Job")));
    EXPECT_EQ(0, defaultWindow().isActive());
    KelString title;
    EXPECT_EQ(1, KelProgressCtrl::getTitle(title));
    EXPECT_EQ(L"Job", std::wstring(title.getStringW()));
    EXPECT_EQ(0, KelProgressCtrl::setPercentage(42, 0));
    int percent = -1;
    KelProgressCtrl::getPercentage(percent);
    EXPECT_EQ(42, percent);
    EXPECT_EQ(1, KelProgressCtrl::reset());
}

}  // namespace
