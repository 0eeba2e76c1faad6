/// @file KelErrorTracer.h
/// The errors of one command, each with the call stack at the moment it was
/// reported, written to a report file and shown to the user when the command
/// ends.
///
/// @code
///   KelErrorTracer* tracer = KelErrorTracer::GetInstance();
///   tracer->AddError(L"Beam B12: no profile");     // with the stack of this point
///   tracer->AddError(L"Plate P3: thickness 0");
///   tracer->DumpErrors();   // "KelErrorTracer - 2026.11.15 7.5.9.42.txt" in the
///                           // documents folder, and a message box
/// @endcode
///
/// The tracer is off unless the user's settings switch it on. They are read
/// from the user hive, under the key KelRegistry::getRegPathErrorTracer()
/// ("Software\Norvane\Gantrix\2015.1\Settings\ErrorTracer"), by the first
/// call that needs them and again on each Reinitialize (not while the
/// library loads: loading opens no file of the configuration store, and a
/// product renamed at start-up is read under its new name):
/// @code
///   "EnableErrorTracer" (REG_DWORD)  nonzero: on
///   "DbgHelpFullPath"   (REG_SZ)     the debug-help library the stack walker
///                                    loads: "DbgHelp.dll" on Windows,
///                                    elfutils' "libdw.so.1" on Linux when
///                                    the value is missing
///   "SymbolPaths"       (REG_SZ)     the symbol search path, "C:\;" when
///                                    missing (on Linux its absolute
///                                    directories are searched for separate
///                                    debug files, besides /usr/lib/debug)
/// @endcode
///
/// Nothing here locks: AddError and DumpErrors are meant for the
/// application's main thread.

#ifndef KEL_KELERRORTRACER_H
#define KEL_KELERRORTRACER_H

#include <kel/KelArray.h>
#include <kel/KelExport.h>
#include <kel/KelStackWalker.h>
#include <kel/KelString.h>

/// @copydoc KelErrorTracer.h
class KEL_API KelErrorTracer {
public:
    /// The library creates the one instance that GetInstance returns when it
    /// loads. The defaults hold (off, defaultLibraryPath(), "C:\;") and both
    /// error lists are empty; the settings are read, as Reinitialize reads
    /// them, by the first call that needs them.
    KelErrorTracer();
    /// Copies the flag and the two paths (read first if they were not yet);
    /// the error lists are shared by all.
    KelErrorTracer(const KelErrorTracer& other);
    /// @copydoc KelErrorTracer(const KelErrorTracer&)
    KelErrorTracer& operator=(const KelErrorTracer& other);
    /// Destroys this object only; the error lists and the stack walker stay.
    ~KelErrorTracer();

    /// The instance the library created when it loaded; never creates one.
    static KelErrorTracer* GetInstance();

    /// Reads "EnableErrorTracer", "DbgHelpFullPath" and "SymbolPaths" again
    /// (missing values and a missing key leave the defaults: off,
    /// defaultLibraryPath(), "C:\;") and empties both error lists. A stack
    /// walker that exists already keeps the paths it was created with.
    void Reinitialize();

    /// True when "EnableErrorTracer" was a nonzero number at the last read.
    bool IsTraceEnabled();

    /// Does nothing while the tracer is off. Otherwise appends `text` to
    /// m_arrErrors and the calling thread's call stack as text to
    /// m_arrErrorsInfo (see KelStackWalker; the stack starts with AddError's
    /// own frame). The first call creates the stack walker with the current
    /// library and symbol paths. A walk that fails (the debug-help library
    /// cannot be loaded: last error 1114) leaves an empty stack text; the
    /// error is kept all the same.
    void AddError(KelString text);

    /// Does nothing without errors. Otherwise writes the report through a new
    /// QuickLogger named "KelErrorTracer" (a file "KelErrorTracer - <UTC date
    /// and time>.txt" in the user's documents folder): for each error its
    /// text and "\n", then, when both lists have the same length, its stack
    /// text and "\n\n\n". Then shows, through the message-box hook, a box
    /// without owner, with the information icon, the caption "<product name>
    /// - Error tracer" and the text "The last command has caused <n>
    /// errors.\nFor more detailed informations please see the KelErrorTracer
    /// file from 'My Documents' folder.\n\nErrors:\n" followed by one line
    /// "<i>: <error>\n" per error, numbered from 1. Empties both lists.
    void DumpErrors();

    /// The library path and symbol paths read by the last Reinitialize.
    const KelString& getDbgHelpPath() const;
    /// @copydoc getDbgHelpPath()
    const KelString& getSymbolPaths() const;

    /// The instance created when the library loaded.
    static KelErrorTracer* m_pInstance;
    /// The errors reported since the last DumpErrors or Reinitialize, in order.
    static KelArray<KelString> m_arrErrors;
    /// One stack text per error, in the same order (empty when the walk
    /// failed).
    static KelArray<KelString> m_arrErrorsInfo;
    /// Created by the first AddError while the tracer is on; never destroyed.
    static KelStackWalker* m_pStackWalker;

private:
    /// Runs Reinitialize if the settings were never read.
    void readSettings() const;

    bool m_bEnabled;
    KelString m_strDbgHelpPath;
    KelString m_strSymbolPaths;
    bool m_bSettingsRead;
};

#endif  // KEL_KELERRORTRACER_H
