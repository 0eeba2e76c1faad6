/// @file KelLogfile.h
/// Plain-text log files and the listing of loaded modules.
///
/// A KelLogfile names one log file and appends text to it; each write opens
/// the file, writes and closes it again, so the file is complete on disk
/// after every call. The object operations write only while the
/// process-wide switch doLogging is on (it starts off); the static writers
/// always write:
///
/// @code
///   KelLogfile::setLogStatus(1);
///   KelLogfile log;                            // "Ferrolab.LOG" in the current folder
///   log.appendWithSave(KelString(L"ready"));   // no newline is added
///   KelLogfile::logToFile(KelString(L"run.log"), KelString(L"step 1"));  // "\nstep 1"
///   KelLogfile::listModules(KelString(L"modules.log"));
/// @endcode
///
/// Text is written in the narrow code page, without a byte-order mark; "\n"
/// stays "\n" on Linux and becomes "\r\n" in Windows' text mode. A static
/// writer given an empty file name writes to the product's default log:
/// "c:\" + product name + ".log" on Windows, and on Linux
/// `${XDG_STATE_HOME:-$HOME/.local/state}/kel/<product name>.log`, whose folder
/// it creates. The product name is KelProductDefines::getGXProductName().

#ifndef KEL_KELLOGFILE_H
#define KEL_KELLOGFILE_H

#include <kel/KelExport.h>
#include <kel/KelString.h>

#include <stdio.h>

/// @copydoc KelLogfile.h
class KEL_API KelLogfile {
public:
    /// A log named "Ferrolab.LOG", relative to the current folder.
    KelLogfile();
    /// A log named by the first 255 characters of `name` (an empty name stays
    /// empty, and every write to it fails).
    KelLogfile(const KelString& name);
    /// Copies the name, the stream pointer (shared, not reopened) and the
    /// reserved field.
    KelLogfile(const KelLogfile& other);
    /// @copydoc KelLogfile(const KelLogfile&)
    KelLogfile& operator=(const KelLogfile& other);
    /// Closes a stream left open, when doLogging is on.
    ~KelLogfile();

    /// Empties the file (creating it when missing). 0 while doLogging is 0,
    /// or when the file cannot be opened; 1 otherwise.
    int reset();

    /// Appends `text` as it is (no newline added), opening and closing the
    /// file around the write. 0 while doLogging is 0, when the file cannot be
    /// opened, or when nothing was written (an empty text); 1 otherwise.
    int appendWithSave(const KelString& text);

    /// Sets and reads doLogging.
    static void setLogStatus(int status);
    /// @copydoc setLogStatus
    static int getLogStatus();

    /// Appends "\n" + `text` to `fileName`, or to the default log when the
    /// name is empty; not gated by doLogging. The first call of a process
    /// empties the file first (once per process, whatever file later calls
    /// name). Failures are silent.
    static void logToFile(const KelString& fileName, const KelString& text);

    /// Replaces `fileName` (or the default log) with a listing of the
    /// current process: "<executable> PID : <id>", two empty lines, the
    /// header "Base        Size      Version         Path", then one line
    /// "0x%08x  0x%-8x%-16s%s" per loaded module (low 32 bits of its base
    /// address, its size, its version or 16 blanks, its full path), in the
    /// order the system lists them. Not gated by doLogging; writes nothing
    /// when the system reports no process.
    static void listModules(const KelString& fileName);

    /// The version of an executable file as "%d.%02d.%04d.%04d" (for example
    /// "1.02.0003.0004"): the fixed version of a PE file's version resource,
    /// or the numbers after ".so." in the real file name of an ELF shared
    /// object ("libz.so.1.2.13" gives "1.02.0013.0000"). Returns 1 and sets
    /// `version`; 0 (version untouched) when the file has no version or
    /// cannot be read. `fileName` keeps the name that was queried.
    static int GetFileVersion(KelString& fileName, KelString& version);

    /// The process-wide switch of the object operations (reset,
    /// appendWithSave, assertClose, the destructor's close): 0, the initial
    /// value, turns them off.
    static int doLogging;

protected:
    /// Closes a stream left open and returns 1; 0 when none is open or
    /// doLogging is 0.
    int assertClose();

private:
    KelString m_fileName;
    FILE* m_pFile;
    int m_nReserved;  ///< set to 0, used by nothing
};

/// Does nothing, on purpose: an empty hook that callers may keep in their
/// code. kelOutputDebugString (KelPlatform.h) is the debug output that
/// writes.
KEL_API void KelOutputDebugString(const KelString& text);

#endif  // KEL_KELLOGFILE_H
