/// @file KelProgressCtrl.h
/// Progress reports (a title and a percentage) and the windows that show them.
///
/// @code
///   KelProgressCtrl::activate(L"Numbering parts");   // the dialog appears
///   for (int i = 1; i <= 100; ++i)
///       KelProgressCtrl::setPercentage(i, 0);        // bar and "i%"
///   KelProgressCtrl::reset();                         // the dialog goes away
/// @endcode
///
/// KelProgressCtrl is a static facade that forwards each report to a list
/// of output windows. The list starts with one default KelProgressCtrlWindow,
/// switched on when the library is loaded, whose dialog is a small window
/// with a title line, a progress bar and a percentage text. Applications add
/// their own output windows (subclasses overriding the virtual operations)
/// with appendOutputWindow.
///
/// The dialog is one for the whole process. It is shown on Windows from the
/// library's dialog resource 101 and on Linux as a GTK 3 window; without a
/// display (or without GTK) it cannot be created and activate() returns 0.
/// The library has no main loop: after each change it lets the window
/// repaint before returning. Use the facade and the windows from the
/// application's user-interface thread only; nothing is locked.

#ifndef KEL_KELPROGRESSCTRL_H
#define KEL_KELPROGRESSCTRL_H

#include <kel/KelArray.h>
#include <kel/KelExport.h>
#include <kel/KelString.h>

/// One output window of progress reports. The base class shows the
/// process-wide progress dialog; a subclass overrides the virtual operations
/// to show progress its own way.
///
/// @see KelProgressCtrl, whose example drives the default window.
class KEL_API KelProgressCtrlWindow {
public:
    /// Off, no title, percent 0, inactive.
    KelProgressCtrlWindow();
    /// Copies all four fields; the title as a new heap copy.
    KelProgressCtrlWindow(const KelProgressCtrlWindow& other);
    /// @copydoc KelProgressCtrlWindow(const KelProgressCtrlWindow&)
    KelProgressCtrlWindow& operator=(const KelProgressCtrlWindow& other);
    /// Frees the title. Does not touch the dialog.
    virtual ~KelProgressCtrlWindow();

    /// Calls this window's own reset(), stores `title`, creates the dialog
    /// (no owner), sets its title line to `title` and shows it. Returns the
    /// activity: 1 when the dialog was created, 0 when it could not be (no
    /// display, no toolkit).
    virtual int activate(KelString title);

    /// Destroys the dialog if this window is active; then percent = 0 and
    /// active = 0. Returns 1.
    virtual int reset();

    /// Accepts `percent` when it lies in 0..100, differs from the current
    /// value and is not below it unless `force` is nonzero (progress never
    /// goes back unless forced); an accepted value is stored and, while
    /// active, moves the bar and sets the percentage text to "<percent>%".
    /// Returns 0 for a refused value, else the activity.
    virtual int setPercentage(int percent, int force);

    /// Stores the title and, while active, shows it in the title line.
    /// Returns the activity.
    virtual int setTitle(const KelString& title);

    /// Copies the title out (empty before any title was given). Returns the
    /// activity.
    int getTitle(KelString& title) const;
    /// Copies the percent out. Returns the activity.
    int getPercentage(int& percent) const;

    /// The activity: 1 while this window's dialog exists. setActivity
    /// stores the value as given and touches no dialog (for subclasses that
    /// show progress their own way).
    int isActive() const;
    /// @copydoc isActive() const
    int getActivity() const;
    /// @copydoc isActive() const
    void setActivity(int active);

    /// Whether the facade forwards to this window (1) or not (0), and the
    /// switches; a new window is off.
    int getOn() const;
    /// @copydoc getOn
    void switchOn();
    /// @copydoc getOn
    void switchOff();

protected:
    int m_on;          ///< 1 while the facade forwards to this window
    wchar_t* m_title;  ///< owned heap copy; null until a title is given
    int m_percent;     ///< the last accepted percentage
    int m_active;      ///< the activity

private:
    void storeTitle(const wchar_t* title);
};

/// The facade's list of output windows (grows in steps of 8) and the default
/// window that the list starts with.
class KEL_API KelProgressCtrlWindowController {
public:
    /// The list type: pointers to windows the list does not own.
    using Windows =
        KelArray<KelProgressCtrlWindow*, KelArrayMemCopyReallocator<KelProgressCtrlWindow*>>;

    /// The default window, switched on, as the list's only entry.
    KelProgressCtrlWindowController();
    /// Drops the list; the listed windows are not destroyed (the default
    /// window goes with the controller).
    ~KelProgressCtrlWindowController();
    KelProgressCtrlWindowController(const KelProgressCtrlWindowController&) = delete;
    KelProgressCtrlWindowController& operator=(const KelProgressCtrlWindowController&) = delete;

    /// The listed windows, in order; the first is the default window unless
    /// the list was changed by hand.
    Windows m_windows;
    /// The window that shows the process-wide dialog by default.
    KelProgressCtrlWindow m_defaultWindow;
};

/// The static facade. "Each window" below means each non-null listed window
/// whose on flag is set, in list order.
///
/// @copydetails KelProgressCtrl.h
class KEL_API KelProgressCtrl {
public:
    /// activate(title) on each window; the number that returned nonzero.
    static int activate(const KelString& title);
    /// reset() on each window; the number that returned nonzero.
    static int reset();
    /// setTitle(title) on each window; the number that returned nonzero.
    static int setTitle(const KelString& title);
    /// setPercentage(percent, force) on each window; the number that
    /// returned nonzero.
    static int setPercentage(int percent, int force);

    /// The title of the first window that is on; 1 if there was one, else 0
    /// (`title` untouched).
    static int getTitle(KelString& title);
    /// The percent of the first window that is on; 1 if there was one, else
    /// 0 (`percent` untouched).
    static int getPercentage(int& percent);

    /// The number of windows that are on and active. When there is none and
    /// `claim` is nonzero, the first listed window (whatever its state) is
    /// marked on and active, without a dialog, and 0 is returned.
    static int isActive(int claim);

    /// Switches every listed window off, then: -1 for a null `window`; the
    /// index of `window` when it is listed already; else appends it and
    /// returns its index. The caller switches the new window on.
    static int appendOutputWindow(KelProgressCtrlWindow* window);

    /// The output windows; holds the default window, switched on, from the
    /// moment the library is loaded.
    static KelProgressCtrlWindowController m_ProgressCtrlWindowController;
};

#endif  // KEL_KELPROGRESSCTRL_H
