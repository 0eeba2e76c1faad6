#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <string>
#include <vector>

namespace {

using Log = std::vector<std::string>;

// A display that writes every call it receives into a shared log, prefixed
// with its name when it has one.
class RecordingDisplay : public ProgressDisplayProtocol {
public:
    explicit RecordingDisplay(Log& log, std::string name = "")
        : m_log(log), m_name(std::move(name)) {}

    void updateProgress(int key, int percent) override {
        record("update " + std::to_string(key) + " " + std::to_string(percent));
    }
    void addProcess(int key, KelString action, bool cancelAllowed) override {
        record("add " + std::to_string(key) + " " + action.getStringA() + " " +
               (cancelAllowed ? "cancel" : "-"));
    }
    void removeProcess(int key, int reserved) override {
        record("remove " + std::to_string(key) + " " + std::to_string(reserved));
    }

private:
    void record(const std::string& call) {
        m_log.push_back(m_name.empty() ? call : m_name + ": " + call);
    }

    Log& m_log;
    std::string m_name;
};

std::string actionOf(KelProcessEvolutionManager& manager, int key) {
    return manager.getProcessCurentAction(key).getStringA();
}

// Each test works on a manager of its own; the library's instance has tests
// of its own below, which leave it as they found it.
class ProcessEvolutionManager : public ::testing::Test {
protected:
    KelProcessEvolutionManager manager;
    Log log;
    RecordingDisplay display{log};
};

}  // namespace

TEST(ProcessInfoRecord, HoldsKeyPercentAndActionInThatOrder) {
    const ProcessInfo info{3, 40, KelString(L"Export")};
    EXPECT_EQ(info.key, 3);
    EXPECT_EQ(info.percent, 40);
    EXPECT_STREQ(info.action.getStringA(), "Export");

    const ProcessInfo empty;
    EXPECT_EQ(empty.key, 0);
    EXPECT_EQ(empty.percent, 0);
    EXPECT_EQ(empty.action.isEmpty(), 1);
}

TEST(ProcessEvolutionManagerInstance, IsCreatedAtLoadAndNeverReplaced) {
    KelProcessEvolutionManager* instance = KelProcessEvolutionManager::getProcessEvolutionManager();
    ASSERT_NE(instance, nullptr);
    EXPECT_EQ(instance, KelProcessEvolutionManager::m_pProcessEvolutionManager);
    EXPECT_EQ(KelProcessEvolutionManager::getProcessEvolutionManager(), instance);
    EXPECT_EQ(instance->getNumberOfActiveProcesses(), 0);
    EXPECT_FALSE(instance->getIsCanceled());
}

TEST(ProcessEvolutionManagerInstance, ReportsToItsDisplaysAndEndsEmpty) {
    KelProcessEvolutionManager* instance = KelProcessEvolutionManager::getProcessEvolutionManager();
    Log log;
    RecordingDisplay display(log);
    const int index = instance->registerDisplay(&display);
    EXPECT_EQ(index, 0);
    EXPECT_EQ(instance->registerProcess(L"Numbering"), 0);
    instance->increaseProgress(0, 55);
    EXPECT_EQ(instance->deRegisterProcess(0), 1);
    EXPECT_EQ(instance->deRegisterDisplay(index), 1);
    EXPECT_EQ(log, (Log{"add 0 Numbering -", "update 0 55", "remove 0 0"}));
    EXPECT_EQ(instance->getNumberOfActiveProcesses(), 0);
}

TEST_F(ProcessEvolutionManager, RegisterProcess_GivesConsecutiveKeysAndAnnouncesEach) {
    manager.registerDisplay(&display);
    EXPECT_EQ(manager.registerProcess(L"Outer"), 0);
    EXPECT_EQ(manager.registerProcess(L"Inner"), 1);
    EXPECT_EQ(manager.registerProcess(L"Innermost"), 2);
    EXPECT_EQ(log, (Log{"add 0 Outer -", "add 1 Inner -", "add 2 Innermost -"}));
    EXPECT_EQ(manager.getNumberOfActiveProcesses(), 3);
    EXPECT_EQ(actionOf(manager, 2), "Innermost");
    EXPECT_EQ(manager.getProcessCurentPercent(1), 0);
}

TEST_F(ProcessEvolutionManager, RegisterProcess_TellsEveryDisplayInRegistrationOrder) {
    RecordingDisplay first(log, "first");
    RecordingDisplay second(log, "second");
    EXPECT_EQ(manager.registerDisplay(&first), 0);
    EXPECT_EQ(manager.registerDisplay(&second), 1);
    manager.registerProcess(L"Export");
    EXPECT_EQ(log, (Log{"first: add 0 Export -", "second: add 0 Export -"}));
}

TEST_F(ProcessEvolutionManager, RegisterProcess_OnlyTheOutermostCarriesTheCancelPermission) {
    manager.registerDisplay(&display);
    EXPECT_EQ(manager.EnableCancel(true), 0);
    EXPECT_EQ(manager.registerProcess(L"Outer"), 0);
    EXPECT_EQ(manager.registerProcess(L"Inner"), 1);
    EXPECT_EQ(log, (Log{"add 0 Outer cancel", "add 1 Inner -"}));
}

TEST_F(ProcessEvolutionManager, EnableCancel_WithoutPermissionArmsButDoesNotOffer) {
    manager.registerDisplay(&display);
    EXPECT_EQ(manager.EnableCancel(false), 0);
    manager.registerProcess(L"Outer");
    manager.cancelProcess();
    EXPECT_TRUE(manager.getIsCanceled());
    EXPECT_EQ(log, (Log{"add 0 Outer -", "remove 0 0"}));
}

TEST_F(ProcessEvolutionManager, EnableCancel_ReturnsZeroAlsoWhenItArms) {
    EXPECT_EQ(manager.EnableCancel(true), 0);
    manager.registerProcess(L"Outer");
    manager.cancelProcess();
    EXPECT_TRUE(manager.getIsCanceled());  // it did arm
}

TEST_F(ProcessEvolutionManager, EnableCancel_WhileAProcessIsRegisteredChangesNothing) {
    manager.registerDisplay(&display);
    manager.registerProcess(L"Outer");
    EXPECT_EQ(manager.EnableCancel(true), 0);
    manager.cancelProcess();  // not armed: nothing
    EXPECT_FALSE(manager.getIsCanceled());
    EXPECT_EQ(manager.getNumberOfActiveProcesses(), 1);
    EXPECT_EQ(manager.registerProcess(L"Inner"), 1);

    // Nor was the permission stored for the next outermost process.
    manager.deRegisterProcess(1);
    manager.deRegisterProcess(0);
    log.clear();
    EXPECT_EQ(manager.registerProcess(L"Next"), 0);
    EXPECT_EQ(log, (Log{"add 0 Next -"}));
}

TEST_F(ProcessEvolutionManager, EnableCancel_LastCallBeforeTheProcessDecides) {
    manager.registerDisplay(&display);
    manager.EnableCancel(true);
    manager.EnableCancel(false);
    manager.registerProcess(L"Outer");
    EXPECT_EQ(log, (Log{"add 0 Outer -"}));
}

TEST_F(ProcessEvolutionManager, IncreaseProgress_SamePercentTwiceNotifiesOnce) {
    manager.registerProcess(L"Export");
    manager.registerDisplay(&display);
    log.clear();
    manager.increaseProgress(0, 40);
    manager.increaseProgress(0, 40);
    EXPECT_EQ(log, (Log{"update 0 40"}));
    EXPECT_EQ(manager.getProcessCurentPercent(0), 40);
}

TEST_F(ProcessEvolutionManager, IncreaseProgress_ZeroRightAfterRegistrationIsNoChange) {
    manager.registerDisplay(&display);
    manager.registerProcess(L"Export");
    log.clear();
    manager.increaseProgress(0, 0);
    EXPECT_TRUE(log.empty());
}

TEST_F(ProcessEvolutionManager, IncreaseProgress_PassesAnyValueThrough) {
    manager.registerDisplay(&display);
    manager.registerProcess(L"Export");
    log.clear();
    manager.increaseProgress(0, 150);
    EXPECT_EQ(manager.getProcessCurentPercent(0), 150);
    manager.increaseProgress(0, 30);  // falling is accepted
    EXPECT_EQ(manager.getProcessCurentPercent(0), 30);
    manager.increaseProgress(0, -5);
    EXPECT_EQ(manager.getProcessCurentPercent(0), -5);
    EXPECT_EQ(log, (Log{"update 0 150", "update 0 30", "update 0 -5"}));
    EXPECT_EQ(manager.getProcessInfo(0).percent, -5);
}

TEST_F(ProcessEvolutionManager, IncreaseProgress_IgnoresKeysOutOfRange) {
    manager.registerDisplay(&display);
    manager.registerProcess(L"Export");
    log.clear();
    manager.increaseProgress(-1, 10);
    manager.increaseProgress(1, 10);
    manager.increaseProgress(1000, 10);
    EXPECT_TRUE(log.empty());
    EXPECT_EQ(manager.getProcessCurentPercent(0), 0);
}

TEST_F(ProcessEvolutionManager, DeRegisterProcess_NegativeKeyIsRefused) {
    manager.registerDisplay(&display);
    manager.registerProcess(L"Export");
    log.clear();
    EXPECT_EQ(manager.deRegisterProcess(-1), 0);
    EXPECT_TRUE(log.empty());
    EXPECT_EQ(manager.getNumberOfActiveProcesses(), 1);
}

TEST_F(ProcessEvolutionManager, DeRegisterProcess_KeyBeyondTheListIsStillAnnounced) {
    manager.registerDisplay(&display);
    manager.registerProcess(L"Export");
    log.clear();
    EXPECT_EQ(manager.deRegisterProcess(5), 1);
    EXPECT_EQ(log, (Log{"remove 5 0"}));
    EXPECT_EQ(manager.getNumberOfActiveProcesses(), 1);
}

TEST_F(ProcessEvolutionManager, DeRegisterProcess_RemovingOneOfThreeMovesTheLaterDown) {
    manager.registerDisplay(&display);
    manager.registerProcess(L"A");
    manager.registerProcess(L"B");
    manager.registerProcess(L"C");
    manager.increaseProgress(2, 70);
    log.clear();

    EXPECT_EQ(manager.deRegisterProcess(1), 1);
    EXPECT_EQ(log, (Log{"remove 1 0"}));
    EXPECT_EQ(manager.getNumberOfActiveProcesses(), 2);

    // The former process 2 answers to key 1, its record keeps key 2.
    EXPECT_EQ(actionOf(manager, 1), "C");
    EXPECT_EQ(manager.getProcessCurentPercent(1), 70);
    EXPECT_EQ(manager.getKeyForAction(L"C"), 1);
    EXPECT_EQ(manager.getKeyForAction(L"B"), -1);
    const ProcessInfo moved = manager.getProcessInfo(1);
    EXPECT_EQ(moved.key, 2);
    EXPECT_EQ(moved.percent, 70);
    EXPECT_STREQ(moved.action.getStringA(), "C");

    log.clear();
    manager.increaseProgress(1, 80);
    EXPECT_EQ(log, (Log{"update 1 80"}));

    // The next process takes the count as its key, as the moved one's record
    // still says.
    EXPECT_EQ(manager.registerProcess(L"D"), 2);
    EXPECT_EQ(manager.getProcessInfo(2).key, 2);
    EXPECT_EQ(manager.getProcessInfo(1).key, 2);
}

TEST_F(ProcessEvolutionManager, DeRegisterProcess_OfTheLastKeepsTheOthers) {
    manager.registerProcess(L"A");
    manager.registerProcess(L"B");
    EXPECT_EQ(manager.deRegisterProcess(1), 1);
    EXPECT_EQ(manager.getNumberOfActiveProcesses(), 1);
    EXPECT_EQ(actionOf(manager, 0), "A");
    EXPECT_EQ(manager.deRegisterProcess(0), 1);
    EXPECT_EQ(manager.getNumberOfActiveProcesses(), 0);
    EXPECT_EQ(manager.registerProcess(L"Again"), 0);
}

TEST_F(ProcessEvolutionManager, CancelProcess_EndsEveryProcessOnEveryDisplayAndKeepsTheOutermost) {
    RecordingDisplay first(log, "first");
    RecordingDisplay second(log, "second");
    manager.registerDisplay(&first);
    manager.registerDisplay(&second);
    manager.EnableCancel(true);
    manager.registerProcess(L"Outer");
    manager.registerProcess(L"Inner");
    manager.registerProcess(L"Innermost");
    manager.increaseProgress(0, 25);
    log.clear();

    manager.cancelProcess();
    EXPECT_EQ(log, (Log{"first: remove 0 0", "second: remove 0 0", "first: remove 1 0",
                        "second: remove 1 0", "first: remove 2 0", "second: remove 2 0"}));
    EXPECT_TRUE(manager.getIsCanceled());
    EXPECT_EQ(manager.getNumberOfActiveProcesses(), 1);
    EXPECT_EQ(actionOf(manager, 0), "Outer");
    EXPECT_EQ(manager.getProcessCurentPercent(0), 25);
    EXPECT_EQ(actionOf(manager, 1), "");
    EXPECT_EQ(manager.getKeyForAction(L"Inner"), -1);
}

TEST_F(ProcessEvolutionManager, CancelProcess_ThenRegistrationsAndNestedEndsAreRefused) {
    manager.registerDisplay(&display);
    manager.EnableCancel(true);
    manager.registerProcess(L"Outer");
    manager.registerProcess(L"Inner");
    manager.cancelProcess();
    log.clear();

    EXPECT_EQ(manager.registerProcess(L"More"), -1);
    for (int key : {1, 2, 5, 1000})
        EXPECT_EQ(manager.deRegisterProcess(key), 0) << key;
    EXPECT_EQ(manager.deRegisterProcess(-1), 0);
    EXPECT_TRUE(log.empty());
    EXPECT_EQ(manager.getNumberOfActiveProcesses(), 1);
    EXPECT_TRUE(manager.getIsCanceled());

    // Progress of the outermost still goes through.
    manager.increaseProgress(0, 90);
    EXPECT_EQ(log, (Log{"update 0 90"}));
}

TEST_F(ProcessEvolutionManager, DeRegisterProcess_ZeroClearsTheCancelState) {
    manager.registerDisplay(&display);
    manager.EnableCancel(true);
    manager.registerProcess(L"Outer");
    manager.registerProcess(L"Inner");
    manager.cancelProcess();
    log.clear();

    EXPECT_EQ(manager.deRegisterProcess(0), 1);
    EXPECT_EQ(log, (Log{"remove 0 0"}));
    EXPECT_FALSE(manager.getIsCanceled());
    EXPECT_EQ(manager.getNumberOfActiveProcesses(), 0);

    // Permission and arming are gone too.
    log.clear();
    EXPECT_EQ(manager.registerProcess(L"Next"), 0);
    EXPECT_EQ(manager.registerProcess(L"Nested"), 1);
    manager.cancelProcess();
    EXPECT_FALSE(manager.getIsCanceled());
    EXPECT_EQ(manager.getNumberOfActiveProcesses(), 2);
    EXPECT_EQ(log, (Log{"add 0 Next -", "add 1 Nested -"}));
    EXPECT_EQ(actionOf(manager, 0), "Next");
    EXPECT_EQ(manager.getKeyForAction(L"Nested"), 1);
}

TEST_F(ProcessEvolutionManager, DeRegisterProcess_ZeroWithoutCancelAlsoDisarms) {
    manager.EnableCancel(true);
    manager.registerProcess(L"Outer");
    EXPECT_EQ(manager.deRegisterProcess(0), 1);
    manager.registerProcess(L"Next");
    manager.cancelProcess();
    EXPECT_FALSE(manager.getIsCanceled());
}

TEST_F(ProcessEvolutionManager, CancelProcess_NeedsArmingAndAProcess) {
    manager.registerDisplay(&display);
    manager.registerProcess(L"Outer");
    manager.cancelProcess();  // not armed
    EXPECT_FALSE(manager.getIsCanceled());
    manager.deRegisterProcess(0);
    log.clear();

    KelProcessEvolutionManager armedButIdle;
    armedButIdle.registerDisplay(&display);
    armedButIdle.EnableCancel(true);
    armedButIdle.cancelProcess();  // no process
    EXPECT_FALSE(armedButIdle.getIsCanceled());
    EXPECT_TRUE(log.empty());
    EXPECT_EQ(armedButIdle.registerProcess(L"Outer"), 0);
    EXPECT_EQ(log, (Log{"add 0 Outer cancel"}));
}

TEST_F(ProcessEvolutionManager, CancelProcess_TwiceAnnouncesTheOutermostAgain) {
    manager.registerDisplay(&display);
    manager.EnableCancel(true);
    manager.registerProcess(L"Outer");
    manager.registerProcess(L"Inner");
    manager.cancelProcess();
    log.clear();
    manager.cancelProcess();
    EXPECT_EQ(log, (Log{"remove 0 0"}));
    EXPECT_EQ(manager.getNumberOfActiveProcesses(), 1);
}

TEST_F(ProcessEvolutionManager, RegisterDisplay_LateDisplayIsBroughtUpToDate) {
    manager.EnableCancel(true);
    manager.registerProcess(L"Outer");
    manager.registerProcess(L"Inner");
    manager.increaseProgress(0, 10);
    manager.increaseProgress(1, 65);

    EXPECT_EQ(manager.registerDisplay(&display), 0);
    // Slot 1 then slot 0 for each process in key order, never with the
    // cancel permission.
    EXPECT_EQ(log, (Log{"add 0 Outer -", "update 0 10", "add 1 Inner -", "update 1 65"}));
}

TEST_F(ProcessEvolutionManager, RegisterDisplay_ReturnsItsIndex) {
    RecordingDisplay second(log, "second");
    RecordingDisplay third(log, "third");
    EXPECT_EQ(manager.registerDisplay(&display), 0);
    EXPECT_EQ(manager.registerDisplay(&second), 1);
    EXPECT_EQ(manager.registerDisplay(&third), 2);
}

TEST_F(ProcessEvolutionManager, RegisterDisplay_NullIsRefused) {
    EXPECT_EQ(manager.registerDisplay(nullptr), -1);
    manager.registerProcess(L"Export");  // nothing to call, nothing to crash
    EXPECT_EQ(manager.registerDisplay(&display), 0);
}

TEST_F(ProcessEvolutionManager, RegisterDisplay_TheSameDisplayTwiceHearsTwice) {
    manager.registerDisplay(&display);
    manager.registerDisplay(&display);
    manager.registerProcess(L"Export");
    EXPECT_EQ(log, (Log{"add 0 Export -", "add 0 Export -"}));
}

TEST_F(ProcessEvolutionManager, DeRegisterDisplay_MovesTheLaterDisplaysDown) {
    RecordingDisplay first(log, "first");
    RecordingDisplay second(log, "second");
    RecordingDisplay third(log, "third");
    manager.registerDisplay(&first);
    manager.registerDisplay(&second);
    manager.registerDisplay(&third);

    EXPECT_EQ(manager.deRegisterDisplay(0), 1);
    EXPECT_EQ(manager.deRegisterDisplay(2), 0);  // only two left
    EXPECT_EQ(manager.deRegisterDisplay(1), 1);  // "third"
    EXPECT_EQ(manager.deRegisterDisplay(-1), 0);
    manager.registerProcess(L"Export");
    EXPECT_EQ(log, (Log{"second: add 0 Export -"}));
    EXPECT_EQ(manager.deRegisterDisplay(0), 1);
    EXPECT_EQ(manager.deRegisterDisplay(0), 0);
}

TEST_F(ProcessEvolutionManager, GetKeyForAction_IsExactAndFindsTheFirst) {
    manager.registerProcess(L"Export");
    manager.registerProcess(L"Import");
    manager.registerProcess(L"Export");
    EXPECT_EQ(manager.getKeyForAction(L"Export"), 0);
    EXPECT_EQ(manager.getKeyForAction(L"Import"), 1);
    EXPECT_EQ(manager.getKeyForAction(L"export"), -1);
    EXPECT_EQ(manager.getKeyForAction(L"Export "), -1);
    EXPECT_EQ(manager.getKeyForAction(L""), -1);
}

TEST_F(ProcessEvolutionManager, Getters_AnswerEmptyForKeysOutOfRange) {
    manager.registerProcess(L"Export");
    manager.increaseProgress(0, 12);
    for (int key : {1, 3, -1, -1000}) {
        const ProcessInfo info = manager.getProcessInfo(key);
        EXPECT_EQ(info.key, 0) << key;
        EXPECT_EQ(info.percent, 0) << key;
        EXPECT_EQ(info.action.isEmpty(), 1) << key;
        EXPECT_EQ(manager.getProcessCurentAction(key).isEmpty(), 1) << key;
        EXPECT_EQ(manager.getProcessCurentPercent(key), 0) << key;
    }
    const ProcessInfo info = manager.getProcessInfo(0);
    EXPECT_EQ(info.key, 0);
    EXPECT_EQ(info.percent, 12);
    EXPECT_STREQ(info.action.getStringA(), "Export");
}

TEST_F(ProcessEvolutionManager, EmptyAction_IsAnActionLikeAnyOther) {
    manager.registerDisplay(&display);
    EXPECT_EQ(manager.registerProcess(L""), 0);
    EXPECT_EQ(manager.getKeyForAction(L""), 0);
    EXPECT_EQ(log, (Log{"add 0  -"}));
}

TEST_F(ProcessEvolutionManager, ManyProcesses_GrowTheListsPastTheirStep) {
    for (int i = 0; i < 20; ++i) {
        const std::wstring action = L"step " + std::to_wstring(i);
        EXPECT_EQ(manager.registerProcess(action.c_str()), i);
    }
    EXPECT_EQ(manager.getNumberOfActiveProcesses(), 20);
    EXPECT_EQ(actionOf(manager, 19), "step 19");
    EXPECT_EQ(manager.getKeyForAction(L"step 17"), 17);
}

TEST_F(ProcessEvolutionManager, Copy_IsIndependent) {
    manager.registerDisplay(&display);
    manager.registerProcess(L"Export");
    KelProcessEvolutionManager copy(manager);
    log.clear();
    copy.increaseProgress(0, 50);  // the copy shares the (unowned) display
    EXPECT_EQ(log, (Log{"update 0 50"}));
    EXPECT_EQ(manager.getProcessCurentPercent(0), 0);
    EXPECT_EQ(copy.getProcessCurentPercent(0), 50);
}

// A display that reacts to a new process by deregistering it again from
// inside the call, as a display that closes a dialog might.
class EndsEveryProcess : public ProgressDisplayProtocol {
public:
    EndsEveryProcess(KelProcessEvolutionManager& manager, Log& log)
        : m_manager(manager), m_log(log) {}
    void updateProgress(int, int) override {}
    void addProcess(int key, KelString action, bool) override {
        m_log.push_back(std::string("add ") + action.getStringA());
        m_manager.deRegisterProcess(key);
    }
    void removeProcess(int key, int) override { m_log.push_back("remove " + std::to_string(key)); }

private:
    KelProcessEvolutionManager& m_manager;
    Log& m_log;
};

TEST_F(ProcessEvolutionManager, Display_MayChangeTheManagerFromInsideItsCall) {
    EndsEveryProcess ender(manager, log);
    manager.registerDisplay(&ender);
    manager.registerDisplay(&display);
    EXPECT_EQ(manager.registerProcess(L"Short"), 0);
    // The announcement to the second display carries the text as given,
    // although the process is already gone.
    EXPECT_EQ(log, (Log{"add Short", "remove 0", "remove 0 0", "add 0 Short -"}));
    EXPECT_EQ(manager.getNumberOfActiveProcesses(), 0);
}
