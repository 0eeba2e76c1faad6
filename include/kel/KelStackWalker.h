/// @file KelStackWalker.h
/// Call stacks as text: the frames of a thread with their functions, source
/// files and lines, and modules.
///
/// @code
///   KelStackWalker walker(KelStackWalker::defaultLibraryPath(), L"");
///   if (walker.ShowCallstack())
///       std::wprintf(L"%ls", walker.getCallstackText().getStringW());
///   // /src/app/export.cpp (212): exportDrawing(Drawing&)
///   // /src/app/main.cpp (48): main
///   // 00007F3A1C229D8F (libc.so.6): (filename not available): __libc_start_call_main
/// @endcode
///
/// The symbol services come from a debug-help library that the walker loads
/// at run time by its path, on the first walk: DbgHelp on Windows, elfutils'
/// libdw on Linux ("libdw.so.1"). Neither is linked, so a process without it
/// runs as before; its walks fail with last error 1114. The library is
/// loaded and its symbol session prepared once per process and path; walkers
/// with the same path share it (the symbol search path of the first one to
/// walk applies).
///
/// Each frame becomes one line of the collected text: "file (line): function"
/// when the frame has line information, "address (module): (filename not
/// available): function" when it has none. A subclass may override
/// OnCallstackEntry to receive the frame records instead.
///
/// Windows: the frames come from StackWalk64 on the thread's register
/// context (another thread is suspended while its frames are read), the
/// names, lines and modules from DbgHelp, which reads PDB files and, under
/// Wine, the DWARF 4 information of MinGW builds. Linux: the frames come from
/// backtrace() (another thread is interrupted by a signal, see
/// ShowCallstack), the names, source lines and modules from libdw, the
/// demangled names from the C++ runtime.
///
/// A walker belongs to one thread at a time; different walkers may walk at
/// the same time.

#ifndef KEL_KELSTACKWALKER_H
#define KEL_KELSTACKWALKER_H

#include <kel/KelExport.h>
#include <kel/KelPlatformTypes.h>
#include <kel/KelString.h>

namespace kel::detail {
struct StackWalkerState;
}

/// @copydoc KelStackWalker.h
class KEL_API KelStackWalker {
public:
    /// The size of each text field of a frame record, terminator included.
    static constexpr int kMaxNameLength = 1024;

    /// Consecutive frames whose program counter equals their return address
    /// (one function calling itself from the same place) that a walk accepts
    /// before it decides the stack is endless and stops.
    static constexpr int kMaxRepeatedFrames = 1000;

    /// The kind of a call to OnCallstackEntry: the innermost frame, each
    /// frame after it, and once more after the last frame.
    enum CallstackEntryType { firstEntry = 0, nextEntry = 1, lastEntry = 2 };

    /// One frame as the symbol services describe it. Texts are narrow, in
    /// the process's narrow code page, zero-terminated and cut to fit; a
    /// field the services could not fill is empty.
    struct CallstackEntry {
        /// The frame's program counter (for frames other than an interrupted
        /// thread's innermost one, the return address into the function);
        /// 0 in the lastEntry call.
        unsigned __int64 offset;
        /// The symbol's name as the module stores it (decorated / mangled).
        char name[kMaxNameLength];
        /// The undecorated name alone, without parameters ("Beam::length").
        char undName[kMaxNameLength];
        /// The complete undecorated name ("Beam::length(int) const").
        char undFullName[kMaxNameLength];
        /// The source file of the frame's line, as the debug information
        /// names it.
        char lineFileName[kMaxNameLength];
        /// The line of the call (of the interrupted instruction in an
        /// interrupted thread's innermost frame); 0 when unknown.
        unsigned long lineNumber;
        /// The module's name ("kel" for kel.dll; "libkel.so.1" on Linux).
        char moduleName[kMaxNameLength];
        /// What kind of symbols the module has: "-nosymbols-", "COFF", "CV",
        /// "PDB", "-exported-", "-deferred-", "SYM", "DIA" or "Virtual". On
        /// Linux "PDB" stands for DWARF debug information, "-exported-" for
        /// a symbol table alone.
        char symTypeString[kMaxNameLength];
        /// The full path of the module's file.
        char loadedImageName[kMaxNameLength];
    };

    /// A walker of the stacks of the process `processId`, whose handle is
    /// `process` (a process handle with read access on Windows; ignored on
    /// Linux), using the debug-help library at `libraryPath` and the symbol
    /// search path `symbolPaths` (directories separated by ";"). The paths
    /// are kept as given for the walker's life. Nothing is loaded before
    /// the first walk. On Linux only the walker's own process can be
    /// walked: for another one every walk fails with last error 50.
    KelStackWalker(unsigned long processId, void* process, const KelString& libraryPath,
                   const KelString& symbolPaths);

    /// The same for the calling process.
    KelStackWalker(const KelString& libraryPath, const KelString& symbolPaths);

    /// Forgets the collected text. The library and its symbol session stay
    /// loaded for the process.
    virtual ~KelStackWalker();

    /// Not copyable: a walker owns its collected text and its walk's state.
    KelStackWalker(const KelStackWalker&) = delete;
    /// @copydoc KelStackWalker(const KelStackWalker&)
    KelStackWalker& operator=(const KelStackWalker&) = delete;

    /// Receives the frames of a walk, innermost first: the first with
    /// `type` firstEntry, the others with nextEntry, then one call with
    /// lastEntry (and an offset of 0). The default appends one line per
    /// frame to the collected text and nothing for lastEntry or a frame
    /// whose offset is 0. It first completes the record: an empty `name`
    /// becomes "(function-name not available)", replaced by `undName` when
    /// that is not empty, replaced in turn by `undFullName` when that is not
    /// empty. Then, with a source file, the line is "%s (%d): %s\n" (file,
    /// line number, name); without one, `lineFileName` becomes "(filename
    /// not available)", an empty `moduleName` "(module-name not available)",
    /// and the line is "%p (%s): %s: %s\n" (offset as 16 upper-case
    /// hexadecimal digits, module, file, name). A line is cut to 1023
    /// characters; the collected text stops growing before it would reach
    /// 524,288 characters.
    virtual void OnCallstackEntry(CallstackEntryType type, CallstackEntry& entry);

    /// Walks the calling thread's stack, starting with the function that
    /// called ShowCallstack. Returns 1 when the walk could be made (with
    /// however many frames it found), 0 when not: 1114 as last error when
    /// the debug-help library cannot be loaded or lacks one of the
    /// functions the walker needs. The collected text is emptied first.
    /// A walk stops after the frame whose return address is 0, or once
    /// more than kMaxRepeatedFrames frames in a row have a program counter
    /// equal to their return address (an endless recursion). On Linux at
    /// most 65,536 frames are read.
    int ShowCallstack();

    /// Walks the stack of the thread `threadId` of the walker's process (the
    /// calling thread's id walks the calling thread, as above). Another
    /// thread is walked from the point where it was interrupted:
    /// - Windows: the thread is suspended while its frames are read
    ///   (OpenThread needs THREAD_SUSPEND_RESUME and THREAD_GET_CONTEXT);
    ///   a thread that cannot be opened or suspended, or whose context
    ///   cannot be read, fails the walk with the system's last error.
    /// - Linux: the thread is sent a real-time signal, whose handler (only
    ///   backtrace() into a buffer of the library's, no lock, no
    ///   allocation) records its frames while the caller waits up to one
    ///   second. The signal is the highest real-time one that had no
    ///   handler when the first walk of another thread was made; the
    ///   handler is installed then, with SA_SIGINFO | SA_RESTART, and
    ///   stays. Signals of the same number that the library did not send
    ///   go on to the handler that was there before. A thread that blocks
    ///   the signal fails the walk after the second with last error 1460
    ///   (a late delivery is recognised by its sequence number and
    ///   ignored); an unknown thread fails it with last error 1444. Like
    ///   any signal, the interruption makes a system call that never
    ///   restarts (a sleep, a wait for events) return early with EINTR.
    int ShowCallstack(unsigned long threadId);

    /// The text collected since the last walk began: that walk's lines
    /// (none when it failed), followed by any line OnCallstackEntry added
    /// since.
    const KelString& getCallstackText() const;

    /// The paths the walker was created with.
    const KelString& getLibraryPath() const;
    /// @copydoc getLibraryPath()
    const KelString& getSymbolPaths() const;

    /// 1 once the debug-help library is loaded and the modules' symbols are
    /// known to the walker, else 0.
    int modulesLoaded() const;

    /// The default path of the debug-help library: "DbgHelp.dll" on Windows,
    /// "libdw.so.1" on Linux.
    static const wchar_t* defaultLibraryPath();

private:
    int walk(unsigned long threadId, bool callingThread, const void* startAt);

    kel::detail::StackWalkerState* m_state;
};

#endif  // KEL_KELSTACKWALKER_H
