#include <kel/KelProcessEvolutionManager.h>

#include <new>

// Created when the library is loaded and never destroyed while it stays
// loaded: displays may still report while the host shuts down.
KelProcessEvolutionManager* KelProcessEvolutionManager::m_pProcessEvolutionManager =
    new (std::nothrow) KelProcessEvolutionManager;

KelProcessEvolutionManager* KelProcessEvolutionManager::getProcessEvolutionManager() {
    return m_pProcessEvolutionManager;
}

KelProcessEvolutionManager::KelProcessEvolutionManager()
    : m_canceled(false), m_cancelArmed(false), m_cancelAllowed(false) {}

KelProcessEvolutionManager::~KelProcessEvolutionManager() = default;

// Displays are called by index, the length read again at every step: a
// display may register or deregister displays (or processes) from inside its
// callback, which may move the arrays.

int KelProcessEvolutionManager::registerProcess(const KelString& action) {
    const int n = static_cast<int>(m_processes.length());
    if (m_cancelArmed && m_canceled && n != 0)
        return -1;

    ProcessInfo info;
    info.key = n;
    info.percent = 0;
    info.action = action;
    m_processes.append(info);
    m_actions.append(action);

    // Only the outermost process may offer cancelling.
    const bool cancelAllowed = n == 0 ? m_cancelAllowed : false;
    const KelString announced(action);  // `action` may live in a display that goes away
    for (long i = 0; i < m_displays.length(); ++i)
        m_displays[i]->addProcess(n, announced, cancelAllowed);
    return n;
}

int KelProcessEvolutionManager::deRegisterProcess(int key) {
    if (key < 0)
        return 0;
    // After a cancel only the outermost process may still end.
    if (m_cancelArmed && m_canceled && key != 0)
        return 0;

    // Announced even for a key beyond the list; deliberate, displays drop
    // keys they do not know and hosts end processes without checking.
    for (long i = 0; i < m_displays.length(); ++i)
        m_displays[i]->removeProcess(key, 0);

    if (key < m_processes.length()) {
        // The later records keep their stored keys: deliberately not
        // renumbered, ProcessInfo::key tells the key given at registration.
        m_processes.removeAt(key);
        m_actions.removeAt(key);
    }
    if (key == 0) {
        m_canceled = false;
        m_cancelArmed = false;
        m_cancelAllowed = false;
    }
    return 1;
}

void KelProcessEvolutionManager::increaseProgress(int key, int percent) {
    if (key < 0 || key >= m_processes.length() || m_processes[key].percent == percent)
        return;
    m_processes[key].percent = percent;
    for (long i = 0; i < m_displays.length(); ++i)
        m_displays[i]->updateProgress(key, percent);
}

// The lookups answer from the process records. The separate list of action
// texts is kept in step with them, except that a cancel leaves it longer
// than the process list (see cancelProcess); reading the records means a
// stale text never answers for a live process.

int KelProcessEvolutionManager::getKeyForAction(const KelString& action) const {
    for (long i = 0; i < m_processes.length(); ++i) {
        if (m_processes[i].action == action)
            return static_cast<int>(i);
    }
    return -1;
}

ProcessInfo KelProcessEvolutionManager::getProcessInfo(int key) {
    if (key < 0 || key >= m_processes.length())
        return ProcessInfo();
    return m_processes[key];
}

KelString KelProcessEvolutionManager::getProcessCurentAction(int key) {
    if (key < 0 || key >= m_processes.length())
        return KelString();
    return m_processes[key].action;
}

int KelProcessEvolutionManager::getProcessCurentPercent(int key) const {
    if (key < 0 || key >= m_processes.length())
        return 0;
    return m_processes[key].percent;
}

int KelProcessEvolutionManager::getNumberOfActiveProcesses() const {
    return static_cast<int>(m_processes.length());
}

int KelProcessEvolutionManager::registerDisplay(ProgressDisplayProtocol* display) {
    if (display == nullptr)
        return -1;
    const int index = static_cast<int>(m_displays.append(display));
    // A late display learns every process as if it had been there, without
    // the outermost process's cancel permission.
    for (long key = 0; key < m_processes.length(); ++key) {
        const ProcessInfo info = m_processes[key];
        display->addProcess(static_cast<int>(key), info.action, false);
        display->updateProgress(static_cast<int>(key), info.percent);
    }
    return index;
}

int KelProcessEvolutionManager::deRegisterDisplay(int index) {
    if (index < 0 || index >= m_displays.length())
        return 0;
    m_displays.removeAt(index);
    return 1;
}

int KelProcessEvolutionManager::EnableCancel(bool allow) {
    if (m_processes.length() == 0) {
        m_cancelArmed = true;
        m_cancelAllowed = allow;
    }
    // Always 0, also when cancelling was armed; deliberate, kept for the
    // callers written against this result.
    return 0;
}

void KelProcessEvolutionManager::cancelProcess() {
    if (!m_cancelArmed || m_processes.length() == 0)
        return;
    for (long key = 0; key < m_processes.length(); ++key) {
        for (long i = 0; i < m_displays.length(); ++i)
            m_displays[i]->removeProcess(static_cast<int>(key), 0);
    }
    m_canceled = true;
    // Only the outermost process stays. The list of action texts is left as
    // it is; deliberate, nothing reads it beyond the process count.
    if (m_processes.length() > 1)
        m_processes.setLogicalLength(1);
}

bool KelProcessEvolutionManager::getIsCanceled() const {
    return m_canceled;
}
