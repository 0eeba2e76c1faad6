#include <kel/KelProgressCtrl.h>

// Built when the library is loaded: the default window is on and listed
// before any host code runs.
KelProgressCtrlWindowController KelProgressCtrl::m_ProgressCtrlWindowController;

KelProgressCtrlWindowController::KelProgressCtrlWindowController() {
    m_defaultWindow.switchOn();
    m_windows.append(&m_defaultWindow);
}

KelProgressCtrlWindowController::~KelProgressCtrlWindowController() = default;

namespace {

KelProgressCtrlWindowController::Windows& windows() {
    return KelProgressCtrl::m_ProgressCtrlWindowController.m_windows;
}

// Calls `operation` on each listed window that is on, in list order, and
// counts the nonzero results.
template <typename Operation>
int forEachOn(Operation operation) {
    int count = 0;
    auto& list = windows();
    for (long i = 0; i < list.length(); ++i) {
        KelProgressCtrlWindow* window = list[i];
        if (window != nullptr && window->getOn() && operation(*window) != 0)
            ++count;
    }
    return count;
}

KelProgressCtrlWindow* firstOn() {
    auto& list = windows();
    for (long i = 0; i < list.length(); ++i) {
        if (list[i] != nullptr && list[i]->getOn())
            return list[i];
    }
    return nullptr;
}

}  // namespace

int KelProgressCtrl::activate(const KelString& title) {
    return forEachOn([&](KelProgressCtrlWindow& w) { return w.activate(title); });
}

int KelProgressCtrl::reset() {
    return forEachOn([](KelProgressCtrlWindow& w) { return w.reset(); });
}

int KelProgressCtrl::setTitle(const KelString& title) {
    return forEachOn([&](KelProgressCtrlWindow& w) { return w.setTitle(title); });
}

int KelProgressCtrl::setPercentage(int percent, int force) {
    return forEachOn([&](KelProgressCtrlWindow& w) { return w.setPercentage(percent, force); });
}

int KelProgressCtrl::getTitle(KelString& title) {
    KelProgressCtrlWindow* window = firstOn();
    if (window == nullptr)
        return 0;
    window->getTitle(title);
    return 1;
}

int KelProgressCtrl::getPercentage(int& percent) {
    KelProgressCtrlWindow* window = firstOn();
    if (window == nullptr)
        return 0;
    window->getPercentage(percent);
    return 1;
}

int KelProgressCtrl::isActive(int claim) {
    const int active = forEachOn([](KelProgressCtrlWindow& w) { return w.isActive(); });
    auto& list = windows();
    if (active == 0 && claim != 0 && list.length() > 0 && list[0] != nullptr) {
        // Claimed for a display the caller drives itself: no dialog.
        list[0]->switchOn();
        list[0]->setActivity(1);
    }
    return active;
}

int KelProgressCtrl::appendOutputWindow(KelProgressCtrlWindow* window) {
    auto& list = windows();
    // Deliberate: every window goes off, even when the call appends nothing;
    // the caller switches on the windows it wants.
    for (long i = 0; i < list.length(); ++i) {
        if (list[i] != nullptr)
            list[i]->switchOff();
    }
    if (window == nullptr)
        return -1;
    long index = -1;
    if (list.find(window, index))
        return static_cast<int>(index);
    return static_cast<int>(list.append(window));
}
