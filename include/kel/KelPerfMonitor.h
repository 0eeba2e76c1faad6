/// @file KelPerfMonitor.h
/// Timing figures in a log file, and the quick logger.
///
/// KelPerfMonitor takes the processor clock at start and end and appends
/// the figures to its log through KelLogfile::appendWithSave, so it writes
/// only while KelLogfile::doLogging is on:
///
/// @code
///   KelLogfile::setLogStatus(1);
///   KelPerfMonitor perf;                      // "FerrolabPerf.LOG" in the current folder
///   perf.start(KelString(L"import"));         // "Start = import : 120"
///   perf.end(KelString(L"import"));           // "End = import : 120 -> 480 (Diff = 360)"
/// @endcode
///
/// Ticks are milliseconds of the C runtime clock on every system. The
/// entries carry no line breaks, so consecutive ones follow each other on
/// one line.
///
/// QuickLogger writes a new, time-stamped text file in the user's documents
/// folder; every quick logger of the process writes through one shared
/// stream:
///
/// @code
///   QuickLogger log(L"Import", false);        // ".../Documents/Import - 2026.11.15 7.5.9.42.txt"
///   log.Write(L"started", true);              // "\n7.5.9.43: started"
/// @endcode
///
/// The documents folder is the shell's personal folder on Windows; on Linux
/// XDG_DOCUMENTS_DIR of the user's user-dirs.dirs, else ~/Documents when it
/// exists, else the home folder. It is looked up for every new file and
/// never created.

#ifndef KEL_KELPERFMONITOR_H
#define KEL_KELPERFMONITOR_H

#include <kel/KelExport.h>
#include <kel/KelLogfile.h>
#include <kel/KelString.h>

#include <stdio.h>

/// @copydoc KelPerfMonitor.h
class KEL_API KelPerfMonitor : public KelLogfile {
public:
    /// A monitor writing to "FerrolabPerf.LOG" (relative to the current
    /// folder); start ticks 0.
    KelPerfMonitor();
    /// A monitor writing to the first 255 characters of `fileName`.
    KelPerfMonitor(const KelString& fileName);

    /// Takes the clock as start ticks and appends "Start = <label> : <start>".
    void start(const KelString& label);

    /// Takes the clock as end ticks and appends
    /// "End = <label> : <start> -> <end> (Diff = <end - start>)". Without a
    /// start the start ticks are 0 and the difference is the end ticks.
    void end(const KelString& label);

    /// end(label), then a message box without owner, with the information
    /// icon, the product name as caption and the text
    /// "<label> : <start> -> <end> (Diff = <end - start>)". The box is shown
    /// even while doLogging is off.
    void endWithMessageBox(const KelString& label);

private:
    int m_nStartTicks;
    int m_nEndTicks;
};

/// A new, time-stamped text file in the user's documents folder; every
/// quick logger of the process writes through one shared stream.
///
/// @see KelPerfMonitor.h, whose example shows it.
class KEL_API QuickLogger {
public:
    /// Starts a log named `name`. With `append` false, or when no quick log
    /// was started before in this process: a new file
    /// "<documents>/<name> - <Y>.<M>.<D> <h>.<m>.<s>.<ms>.txt" (UTC, numbers
    /// without leading zeros), opened with "w+". With `append` true after an
    /// earlier log: that log's file again, with "a+", through the shared
    /// stream when one is open. A null name counts as empty. The unsigned
    /// short form takes the name as 16-bit units.
    QuickLogger(const wchar_t* name, bool append);
    /// @copydoc QuickLogger(const wchar_t*, bool)
    QuickLogger(const unsigned short* name, bool append);

    /// Closes the stream when this logger opened it. In every case the shared
    /// stream is forgotten, so the next logger opens the file again.
    ~QuickLogger();

    QuickLogger(const QuickLogger&) = delete;
    QuickLogger& operator=(const QuickLogger&) = delete;

    /// Writes `text` (a null text writes nothing of its own); with `withTime`
    /// first a new line and the UTC time of day as "<h>.<m>.<s>.<ms>: ". The
    /// file is opened again when needed; when it cannot be opened nothing
    /// happens. The text is on disk when the call returns. The unsigned
    /// short form takes the text as 16-bit units.
    void Write(const wchar_t* text, bool withTime);
    /// @copydoc Write(const wchar_t*, bool)
    void Write(const unsigned short* text, bool withTime);

private:
    void InitializeLogFile(const wchar_t* name, bool append);
    void GetDateTime(wchar_t* buffer, int size, bool timeOnly);
    void OpenFile();
    void CloseFile();

    wchar_t* m_pszPath;
    wchar_t* m_pszFolder;
    wchar_t* m_pszMode;
    FILE* m_pFile;
    bool m_bOwnsStream;
    /// The shared stream's generation when this logger took it (see
    /// OpenFile): a stream closed by its owner is never written again.
    unsigned long m_nStreamGeneration;

    static wchar_t* m_pszLastPath;
    static wchar_t* m_pszLastFolder;
    static FILE* m_pSharedStream;
};

#endif  // KEL_KELPERFMONITOR_H
