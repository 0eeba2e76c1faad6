// Demonstration: the process evolution manager with a display, observers of
// the user notification, and the thread pool.

#include <kel/Kel.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "command.h"

namespace kel::tool {

namespace {

std::string text(const KelString& value) {
    return value.getStringA();
}

// A display that prints what the manager tells it.
class PrintingDisplay : public ProgressDisplayProtocol {
public:
    explicit PrintingDisplay(std::string name) : m_name(std::move(name)) {}
    void updateProgress(int key, int percent) override {
        line("  " + m_name + " updateProgress(" + std::to_string(key) + ", " +
             std::to_string(percent) + ")");
    }
    void addProcess(int key, KelString action, bool cancelAllowed) override {
        line("  " + m_name + " addProcess(" + std::to_string(key) + ", \"" + text(action) + "\", " +
             (cancelAllowed ? "true" : "false") + ")");
    }
    void removeProcess(int key, int reserved) override {
        line("  " + m_name + " removeProcess(" + std::to_string(key) + ", " +
             std::to_string(reserved) + ")");
    }

private:
    std::string m_name;
};

void showProcesses() {
    KelProcessEvolutionManager* manager = KelProcessEvolutionManager::getProcessEvolutionManager();
    PrintingDisplay bar("[bar]");
    const int barIndex = manager->registerDisplay(&bar);

    line("EnableCancel(true) -> " + std::to_string(manager->EnableCancel(true)) +
         " (always 0, though it armed cancelling)");
    line("registerProcess(\"Export drawings\"):");
    line("  -> key " + std::to_string(manager->registerProcess(L"Export drawings")));
    line("increaseProgress(0, 40):");
    manager->increaseProgress(0, 40);
    line("registerProcess(\"Sheet 12\"):");
    line("  -> key " + std::to_string(manager->registerProcess(L"Sheet 12")));
    line("increaseProgress(1, 50), twice:");
    manager->increaseProgress(1, 50);
    manager->increaseProgress(1, 50);  // unchanged: no call
    line("registerDisplay([log]), a display that comes late:");
    PrintingDisplay log("[log]");
    const int logIndex = manager->registerDisplay(&log);
    line("cancelProcess():");
    manager->cancelProcess();
    line("getIsCanceled() -> " + std::string(manager->getIsCanceled() ? "true" : "false") +
         ", getNumberOfActiveProcesses() -> " +
         std::to_string(manager->getNumberOfActiveProcesses()));
    const int refused = manager->registerProcess(L"Sheet 13");
    const int nestedEnd = manager->deRegisterProcess(1);
    line("registerProcess(\"Sheet 13\") -> " + std::to_string(refused) +
         ", deRegisterProcess(1) -> " + std::to_string(nestedEnd));
    line("deRegisterProcess(0):");
    const int outerEnd = manager->deRegisterProcess(0);
    line("  -> " + std::to_string(outerEnd) + ", getIsCanceled() -> " +
         std::string(manager->getIsCanceled() ? "true" : "false"));

    manager->deRegisterDisplay(logIndex);
    manager->deRegisterDisplay(barIndex);
}

// An observer that prints what it receives, under its name.
class PrintingObserver : public KelNotificationObserver {
public:
    std::string name;
    bool leaveAfterFirst = false;

    void onErrorItem(KelUserNotification::eNotificationType type, KelErrorItem* item) override {
        line("  " + name + " onErrorItem(" + std::to_string(static_cast<int>(type)) + ", " +
             (item == nullptr ? "null" : "item") + ")");
    }
    void onNotification(KelUserNotification::eNotificationType type, const KelString& first,
                        const KelString& second) override {
        line("  " + name + " onNotification(" + std::to_string(static_cast<int>(type)) + ", \"" +
             text(first) + "\", \"" + text(second) + "\")" +
             (leaveAfterFirst ? " and deregisters itself" : ""));
        if (leaveAfterFirst)
            KelUserNotification::getInstance()->deregisterObserver(this);
    }
};

void showNotification() {
    KelUserNotification* notification = KelUserNotification::getInstance();
    PrintingObserver observers[3];  // side by side: addresses ascend with the index
    for (int i = 0; i < 3; ++i)
        observers[i].name = "observer " + std::to_string(i);
    observers[1].leaveAfterFirst = true;

    line("registered in the order 2, 0, 1 (and 2 twice); called by address:");
    for (int i : {2, 0, 1, 2})
        notification->registerObserver(&observers[i]);
    notification->addNotification(KelUserNotification::eNotificationType1, L"Numbering",
                                  L"42 parts renumbered");
    line("again, after observer 1 left:");
    notification->addErrorItem(KelUserNotification::eNotificationType2, nullptr);
    for (PrintingObserver& observer : observers)
        notification->deregisterObserver(&observer);
}

// One slice of the numbers to add up.
struct Slice {
    long long first;
    long long last;
    std::atomic<long long>* total;
};

void addSlice(void* argument) {
    const Slice* slice = static_cast<const Slice*>(argument);
    long long sum = 0;
    for (long long n = slice->first; n <= slice->last; ++n)
        sum += n;
    slice->total->fetch_add(sum);
}

// Holds the pool's only worker until released.
struct Hold {
    std::mutex mutex;
    std::condition_variable condition;
    bool holding = false;
    bool released = false;
};

void holdWorker(void* argument) {
    Hold* hold = static_cast<Hold*>(argument);
    std::unique_lock<std::mutex> lock(hold->mutex);
    hold->holding = true;
    hold->condition.notify_all();
    hold->condition.wait(lock, [hold] { return hold->released; });
}

struct Numbered {
    int number;
    std::vector<int>* order;  // one worker: no lock needed
};

void appendNumber(void* argument) {
    const Numbered* numbered = static_cast<const Numbered*>(argument);
    numbered->order->push_back(numbered->number);
}

void showThreadsPool() {
    std::atomic<long long> total(0);
    std::vector<Slice> slices;
    for (long long first = 1; first <= 1000000; first += 10000)
        slices.push_back(Slice{first, first + 9999, &total});
    KelThreadsPool pool;  // 4 workers
    for (Slice& slice : slices)
        pool.QueueTask(addSlice, &slice);
    pool.WaitForThreadsToFinishWork();
    line("sum of 1..1000000 in " + std::to_string(slices.size()) +
         " tasks on 4 workers = " + std::to_string(total.load()));

    KelThreadsPool single(1);
    Hold hold;
    single.QueueTask(holdWorker, &hold);
    {
        std::unique_lock<std::mutex> lock(hold.mutex);
        hold.condition.wait(lock, [&hold] { return hold.holding; });
    }
    std::vector<int> order;
    std::vector<Numbered> tasks;
    for (int number = 1; number <= 5; ++number)
        tasks.push_back(Numbered{number, &order});
    for (Numbered& task : tasks)
        single.QueueTask(appendNumber, &task);
    {
        std::lock_guard<std::mutex> guard(hold.mutex);
        hold.released = true;
        hold.condition.notify_all();
    }
    single.WaitForThreadsToFinishWork();
    std::string ran;
    for (int number : order)
        ran += (ran.empty() ? "" : ", ") + std::to_string(number);
    line("one busy worker, tasks 1..5 queued: they run " + ran + " (newest first)");
}

void showProcessSection() {
    line("-- nested processes and their displays --");
    showProcesses();
    line("");
    line("-- observers of the user notification --");
    showNotification();
    line("");
    line("-- the thread pool --");
    showThreadsPool();
}

const DemoSection processes(72, "Processes, notification and the thread pool", showProcessSection);

}  // namespace

}  // namespace kel::tool
