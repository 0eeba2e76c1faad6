#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Log = std::vector<std::string>;
using Type = KelUserNotification::eNotificationType;

// An observer that writes each call into a shared log under its name, then
// runs an optional reaction (deregistering, registering, sending more).
class Recorder : public KelNotificationObserver {
public:
    Recorder() = default;
    Recorder(Log* log, std::string name) : log(log), name(std::move(name)) {}

    void onErrorItem(Type type, KelErrorItem* item) override {
        std::ostringstream call;
        call << name << ": error " << static_cast<int>(type) << " " << item;
        log->push_back(call.str());
        react();
    }
    void onNotification(Type type, const KelString& first, const KelString& second) override {
        log->push_back(name + ": note " + std::to_string(static_cast<int>(type)) + " " +
                       first.getStringA() + " / " + second.getStringA());
        react();
    }

    Log* log = nullptr;
    std::string name;
    std::function<void()> reaction;

private:
    void react() {
        if (reaction)
            reaction();
    }
};

// An error record of the kind an application defines. The library must not
// call any of its operations.
class CountingErrorItem : public KelErrorItem {
public:
    void errorItemOperation0() override { ++calls; }
    void errorItemOperation1() override { ++calls; }
    void errorItemOperation2() override { ++calls; }
    void errorItemOperation3() override { ++calls; }
    void errorItemOperation4() override { ++calls; }
    int calls = 0;
};

// Observers side by side in one array, so their addresses ascend with the
// index: observer i is called before observer i + 1.
class UserNotification : public ::testing::Test {
protected:
    UserNotification() {
        for (int i = 0; i < 4; ++i) {
            observers[i].log = &log;
            observers[i].name = std::to_string(i);
        }
    }

    void note(const wchar_t* first = L"a", const wchar_t* second = L"b") {
        notification.addNotification(KelUserNotification::eNotificationType1, first, second);
    }

    KelUserNotification notification;
    Log log;
    Recorder observers[4];
};

}  // namespace

TEST(UserNotificationInstance, IsCreatedAtLoadAndNeverReplaced) {
    KelUserNotification* instance = KelUserNotification::getInstance();
    ASSERT_NE(instance, nullptr);
    EXPECT_EQ(instance, KelUserNotification::m_pInstance);
    EXPECT_EQ(KelUserNotification::getInstance(), instance);
}

TEST(UserNotificationInstance, BroadcastsToItsObservers) {
    KelUserNotification* instance = KelUserNotification::getInstance();
    Log log;
    Recorder observer(&log, "status");
    instance->registerObserver(&observer);
    instance->addNotification(KelUserNotification::eNotificationType2, L"Export", L"done");
    instance->deregisterObserver(&observer);
    instance->addNotification(KelUserNotification::eNotificationType2, L"Export", L"again");
    EXPECT_EQ(log, (Log{"status: note 2 Export / done"}));
}

TEST_F(UserNotification, NoObservers_NothingHappens) {
    note();
    notification.addErrorItem(KelUserNotification::eNotificationType0, nullptr);
    observers[0].reaction = [] { FAIL() << "an observer that was never registered was called"; };
    note();
    EXPECT_TRUE(log.empty());
}

TEST_F(UserNotification, Notification_ReachesEveryObserverWithTypeAndTexts) {
    notification.registerObserver(&observers[0]);
    notification.registerObserver(&observers[1]);
    notification.addNotification(KelUserNotification::eNotificationType3, L"Numbering",
                                 L"HEA 200 renumbered");
    EXPECT_EQ(log, (Log{"0: note 3 Numbering / HEA 200 renumbered",
                        "1: note 3 Numbering / HEA 200 renumbered"}));
}

TEST_F(UserNotification, Observers_AreCalledInAscendingAddressOrderNotRegistrationOrder) {
    notification.registerObserver(&observers[2]);
    notification.registerObserver(&observers[0]);
    notification.registerObserver(&observers[3]);
    notification.registerObserver(&observers[1]);
    note();
    EXPECT_EQ(log,
              (Log{"0: note 1 a / b", "1: note 1 a / b", "2: note 1 a / b", "3: note 1 a / b"}));
}

TEST_F(UserNotification, Observers_OnTheHeapAreCalledByAddressToo) {
    std::vector<std::unique_ptr<Recorder>> heap;
    for (int i = 0; i < 12; ++i)
        heap.push_back(std::make_unique<Recorder>(&log, std::to_string(i)));
    for (const auto& observer : heap)
        notification.registerObserver(observer.get());

    std::vector<Recorder*> byAddress;
    for (const auto& observer : heap)
        byAddress.push_back(observer.get());
    std::sort(byAddress.begin(), byAddress.end(), std::less<Recorder*>());
    Log expected;
    for (Recorder* observer : byAddress)
        expected.push_back(observer->name + ": note 1 a / b");

    note();
    EXPECT_EQ(log, expected);
    for (const auto& observer : heap)
        notification.deregisterObserver(observer.get());
}

TEST_F(UserNotification, RegisteringTwice_LeavesOneEntryAndOneDeregistrationRemovesIt) {
    notification.registerObserver(&observers[0]);
    notification.registerObserver(&observers[0]);
    note();
    EXPECT_EQ(log, (Log{"0: note 1 a / b"}));
    notification.deregisterObserver(&observers[0]);
    log.clear();
    note();
    EXPECT_TRUE(log.empty());
}

TEST_F(UserNotification, NullAndAbsentObservers_AreIgnored) {
    notification.registerObserver(nullptr);
    notification.deregisterObserver(nullptr);
    notification.deregisterObserver(&observers[1]);
    notification.registerObserver(&observers[0]);
    notification.deregisterObserver(&observers[1]);
    note();
    EXPECT_EQ(log, (Log{"0: note 1 a / b"}));
}

TEST_F(UserNotification, ErrorItem_IsPassedThroughUntouched) {
    notification.registerObserver(&observers[1]);
    notification.registerObserver(&observers[0]);
    CountingErrorItem item;
    notification.addErrorItem(KelUserNotification::eNotificationType4, &item);
    std::ostringstream address;
    address << static_cast<KelErrorItem*>(&item);
    EXPECT_EQ(log, (Log{"0: error 4 " + address.str(), "1: error 4 " + address.str()}));
    EXPECT_EQ(item.calls, 0);
}

TEST_F(UserNotification, ErrorItem_NullIsPassedToo) {
    notification.registerObserver(&observers[0]);
    notification.addErrorItem(KelUserNotification::eNotificationType0, nullptr);
    std::ostringstream null;
    null << static_cast<KelErrorItem*>(nullptr);
    EXPECT_EQ(log, (Log{"0: error 0 " + null.str()}));
}

TEST_F(UserNotification, Type_AnyValueIsPassedThrough) {
    notification.registerObserver(&observers[0]);
    notification.addNotification(static_cast<Type>(1234), L"x", L"y");
    notification.addErrorItem(static_cast<Type>(-7), nullptr);
    ASSERT_EQ(log.size(), 2u);
    EXPECT_EQ(log[0], "0: note 1234 x / y");
    EXPECT_EQ(log[1].rfind("0: error -7 ", 0), 0u) << log[1];
}

TEST_F(UserNotification, EmptyTexts_ArePassedAsGiven) {
    notification.registerObserver(&observers[0]);
    note(L"", L"");
    EXPECT_EQ(log, (Log{"0: note 1  / "}));
}

TEST_F(UserNotification, ObserverDeregisteringItself_DoesNotBreakTheBroadcast) {
    for (Recorder& observer : observers)
        notification.registerObserver(&observer);
    observers[1].reaction = [this] { notification.deregisterObserver(&observers[1]); };
    note();
    EXPECT_EQ(log,
              (Log{"0: note 1 a / b", "1: note 1 a / b", "2: note 1 a / b", "3: note 1 a / b"}));
    log.clear();
    note();
    EXPECT_EQ(log, (Log{"0: note 1 a / b", "2: note 1 a / b", "3: note 1 a / b"}));
}

TEST_F(UserNotification, EveryObserverDeregisteringItself_EmptiesTheSet) {
    for (Recorder& observer : observers) {
        notification.registerObserver(&observer);
        observer.reaction = [this, &observer] { notification.deregisterObserver(&observer); };
    }
    notification.addErrorItem(KelUserNotification::eNotificationType0, nullptr);
    EXPECT_EQ(log.size(), 4u);
    log.clear();
    note();
    EXPECT_TRUE(log.empty());
}

TEST_F(UserNotification, ObserverDeregisteringALaterOne_SkipsIt) {
    for (Recorder& observer : observers)
        notification.registerObserver(&observer);
    observers[0].reaction = [this] { notification.deregisterObserver(&observers[2]); };
    note();
    EXPECT_EQ(log, (Log{"0: note 1 a / b", "1: note 1 a / b", "3: note 1 a / b"}));
}

TEST_F(UserNotification, ObserverDeregisteringAnEarlierOne_LeavesTheRestToRun) {
    for (Recorder& observer : observers)
        notification.registerObserver(&observer);
    observers[2].reaction = [this] {
        notification.deregisterObserver(&observers[0]);
        notification.deregisterObserver(&observers[1]);
    };
    note();
    EXPECT_EQ(log,
              (Log{"0: note 1 a / b", "1: note 1 a / b", "2: note 1 a / b", "3: note 1 a / b"}));
    log.clear();
    note();
    EXPECT_EQ(log, (Log{"2: note 1 a / b", "3: note 1 a / b"}));
}

namespace {

// An observer that, on its first call, deregisters and deletes itself.
class SelfDeleting : public KelNotificationObserver {
public:
    SelfDeleting(KelUserNotification& notification, Log& log)
        : m_notification(notification), m_log(log) {}
    void onErrorItem(Type, KelErrorItem*) override { leave(); }
    void onNotification(Type, const KelString&, const KelString&) override { leave(); }

private:
    void leave() {
        m_log.push_back("transient: leaving");
        m_notification.deregisterObserver(this);
        delete this;  // the broadcast must not look at it again
    }
    KelUserNotification& m_notification;
    Log& m_log;
};

}  // namespace

TEST_F(UserNotification, ObserverDeletingItselfAfterDeregistering_IsNotTouchedAgain) {
    for (int round = 0; round < 8; ++round) {
        // Wherever the allocator places it among the others.
        notification.registerObserver(new SelfDeleting(notification, log));
    }
    notification.registerObserver(&observers[0]);
    notification.registerObserver(&observers[3]);
    note();
    EXPECT_EQ(std::count(log.begin(), log.end(), "transient: leaving"), 8);
    EXPECT_EQ(std::count(log.begin(), log.end(), "0: note 1 a / b"), 1);
    EXPECT_EQ(std::count(log.begin(), log.end(), "3: note 1 a / b"), 1);
    EXPECT_EQ(log.size(), 10u);
    log.clear();
    note();
    EXPECT_EQ(log, (Log{"0: note 1 a / b", "3: note 1 a / b"}));
}

TEST_F(UserNotification, ObserverRegisteringOthers_LaterAddressesJoinTheBroadcast) {
    notification.registerObserver(&observers[1]);
    notification.registerObserver(&observers[2]);
    observers[2].reaction = [this] {
        notification.registerObserver(&observers[0]);  // before the one being called
        notification.registerObserver(&observers[3]);  // after it
        observers[2].reaction = nullptr;
    };
    note();
    EXPECT_EQ(log, (Log{"1: note 1 a / b", "2: note 1 a / b", "3: note 1 a / b"}));
    log.clear();
    note();
    EXPECT_EQ(log,
              (Log{"0: note 1 a / b", "1: note 1 a / b", "2: note 1 a / b", "3: note 1 a / b"}));
}

TEST_F(UserNotification, ObserverSendingANotification_NestedBroadcastRunsToTheEndFirst) {
    notification.registerObserver(&observers[0]);
    notification.registerObserver(&observers[1]);
    observers[0].reaction = [this] {
        observers[0].reaction = nullptr;
        note(L"inner", L"x");
    };
    note(L"outer", L"y");
    EXPECT_EQ(log, (Log{"0: note 1 outer / y", "0: note 1 inner / x", "1: note 1 inner / x",
                        "1: note 1 outer / y"}));
}

TEST_F(UserNotification, ManyObservers_RegisterAndDeregisterInAnyOrder) {
    std::vector<std::unique_ptr<Recorder>> heap;
    for (int i = 0; i < 100; ++i)
        heap.push_back(std::make_unique<Recorder>(&log, std::to_string(i)));
    for (const auto& observer : heap)
        notification.registerObserver(observer.get());
    for (int i = 0; i < 100; i += 2)
        notification.deregisterObserver(heap[i].get());
    note();
    EXPECT_EQ(log.size(), 50u);
    for (const std::string& call : log) {
        const int index = std::stoi(call.substr(0, call.find(':')));
        EXPECT_EQ(index % 2, 1) << call;
    }
    for (const auto& observer : heap)
        notification.deregisterObserver(observer.get());
}

TEST_F(UserNotification, Copy_HasItsOwnObserverSet) {
    notification.registerObserver(&observers[0]);
    notification.registerObserver(&observers[1]);
    KelUserNotification copy(notification);
    copy.deregisterObserver(&observers[0]);
    copy.registerObserver(&observers[2]);
    copy.addNotification(KelUserNotification::eNotificationType1, L"copy", L"c");
    note();
    EXPECT_EQ(log, (Log{"1: note 1 copy / c", "2: note 1 copy / c", "0: note 1 a / b",
                        "1: note 1 a / b"}));

    KelUserNotification assigned;
    assigned = notification;
    log.clear();
    assigned.addErrorItem(KelUserNotification::eNotificationType0, nullptr);
    EXPECT_EQ(log.size(), 2u);
}

TEST(UserNotificationTypes, NamedValuesAreConsecutiveFromZero) {
    EXPECT_EQ(static_cast<int>(KelUserNotification::eNotificationType0), 0);
    EXPECT_EQ(static_cast<int>(KelUserNotification::eNotificationType1), 1);
    EXPECT_EQ(static_cast<int>(KelUserNotification::eNotificationType7), 7);
}
