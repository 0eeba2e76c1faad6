/// @file KelProcessEvolutionManager.h
/// The process-wide registry of long-running operations ("processes") and of
/// the displays that show their progress.
///
/// Code that starts a lengthy operation registers a process with an action
/// text, reports its percentage and deregisters it; every registered display
/// hears of each change at once, on the calling thread.
///
/// @code
///   KelProcessEvolutionManager* manager =
///       KelProcessEvolutionManager::getProcessEvolutionManager();
///   manager->registerDisplay(&myDisplay);   // myDisplay implements ProgressDisplayProtocol
///   const int key = manager->registerProcess(L"Exporting drawings");
///   manager->increaseProgress(key, 40);                 // myDisplay.updateProgress(key, 40)
///   manager->deRegisterProcess(key);                    // myDisplay.removeProcess(key, 0)
/// @endcode
///
/// The outermost process (key 0) may be made cancellable: EnableCancel before
/// it is registered arms cancelling, cancelProcess then ends every nested
/// process and refuses new ones until process 0 is deregistered.
///
/// Nothing here locks: the manager and its displays belong to the
/// application's user-interface thread.

#ifndef KEL_KELPROCESSEVOLUTIONMANAGER_H
#define KEL_KELPROCESSEVOLUTIONMANAGER_H

#include <kel/KelArray.h>
#include <kel/KelExport.h>
#include <kel/KelString.h>

/// One registered process, as the manager keeps it and hands it out by value.
struct ProcessInfo {
    /// The key the process received when it was registered. It is not
    /// renumbered when an earlier process is removed, so it may differ from
    /// the key the process answers to afterwards (its index).
    int key = 0;
    /// The last reported percentage (0 at registration).
    int percent = 0;
    /// The action text given at registration.
    KelString action;
};

/// A progress display, implemented by the application and registered with
/// KelProcessEvolutionManager::registerDisplay. The manager does not own it.
/// The three operations are called synchronously from within the manager's
/// calls, in this slot order.
///
/// @see KelProcessEvolutionManager, whose example registers a display.
class ProgressDisplayProtocol {
public:
    /// The percentage of process `key` changed; also sent for every existing
    /// process when the display registers.
    virtual void updateProgress(int key, int percent) = 0;  // slot 0
    /// Process `key` was registered with `action`; `cancelAllowed` is the
    /// cancel permission of an outermost process (false for nested ones, and
    /// false when a late display is brought up to date).
    virtual void addProcess(int key, KelString action, bool cancelAllowed) = 0;  // slot 1
    /// Process `key` ended (deregistered or cancelled). `reserved` is always 0.
    virtual void removeProcess(int key, int reserved) = 0;  // slot 2
};

/// The registry of processes and displays. A process's key is its index in
/// the list of processes: removing a process moves the later ones down one
/// key.
///
/// @copydetails KelProcessEvolutionManager.h
class KEL_API KelProcessEvolutionManager {
public:
    /// The instance the library creates when it is loaded and never destroys
    /// while it stays loaded (null only if that creation failed).
    static KelProcessEvolutionManager* getProcessEvolutionManager();

    /// An empty manager: no process, no display, cancelling not armed. Host
    /// code normally uses the library's instance; a separate one is
    /// independent of it.
    KelProcessEvolutionManager();
    /// Drops the processes and the display list without telling the
    /// displays, which are not owned.
    virtual ~KelProcessEvolutionManager();

    /// Registers a process with `action` and returns its key, the number of
    /// processes before it (0 for the outermost). Refused with -1 while
    /// cancelling is armed, the outermost process has been cancelled and it
    /// is still registered. Every display receives addProcess(key, action,
    /// cancelAllowed), where cancelAllowed is the permission given to
    /// EnableCancel for the outermost process and false for nested ones.
    int registerProcess(const KelString& action);

    /// Ends process `key`: every display receives removeProcess(key, 0), and
    /// the process is removed when `key` is below the number of processes
    /// (later ones move down one key; their ProcessInfo::key keeps its old
    /// value). A `key` beyond the list is still announced and gives 1.
    /// Deregistering key 0 clears the cancel state (cancelled, armed,
    /// allowed). Returns 0 without doing anything for a negative key, and
    /// for any key but 0 after the outermost process has been cancelled;
    /// otherwise 1.
    int deRegisterProcess(int key);

    /// Stores `percent` for process `key` and sends updateProgress(key,
    /// percent) to every display. Ignored for a key out of range and when the
    /// stored percentage already equals `percent`. The value is passed
    /// through as given: neither clamped nor required to rise.
    void increaseProgress(int key, int percent);

    /// The key of the first process whose action text equals `action`
    /// exactly (case-sensitive), or -1.
    int getKeyForAction(const KelString& action) const;

    /// A copy of process `key`'s record. For a key out of range (negative
    /// included): key 0, percent 0 and an empty action.
    ProcessInfo getProcessInfo(int key);

    /// The action text of process `key`; empty for a key out of range.
    KelString getProcessCurentAction(int key);

    /// The percentage of process `key`; 0 for a key out of range.
    int getProcessCurentPercent(int key) const;

    /// The number of registered processes.
    int getNumberOfActiveProcesses() const;

    /// Appends `display` and returns its index, then brings it up to date:
    /// for every process in key order it receives addProcess(key, action,
    /// false) and then updateProgress(key, percent). A null display is
    /// refused with -1. The same display registered twice is told twice.
    int registerDisplay(ProgressDisplayProtocol* display);

    /// Removes the display at `index` (later displays move down one index)
    /// and returns 1; 0 when `index` is out of range.
    int deRegisterDisplay(int index);

    /// Only while no process is registered: arms cancelling and stores
    /// `allow` as the cancel permission the outermost process is registered
    /// with. Returns 0 in every case, also when it armed cancelling;
    /// deliberate, callers of this manager never looked at the result.
    int EnableCancel(bool allow);

    /// When cancelling is armed and a process exists: sends removeProcess(key,
    /// 0) for every process in key order to every display, sets the cancelled
    /// flag and keeps only the outermost process. Otherwise nothing.
    void cancelProcess();

    /// True once cancelProcess has cancelled, until process 0 is deregistered.
    bool getIsCanceled() const;

    /// The instance that getProcessEvolutionManager returns.
    static KelProcessEvolutionManager* m_pProcessEvolutionManager;

private:
    KelArray<ProcessInfo> m_processes;              ///< a process's key is its index
    KelArray<ProgressDisplayProtocol*> m_displays;  ///< not owned
    KelArray<KelString> m_actions;                  ///< the action text of each process, same index
    bool m_canceled;
    bool m_cancelArmed;
    bool m_cancelAllowed;
};

#endif  // KEL_KELPROCESSEVOLUTIONMANAGER_H
