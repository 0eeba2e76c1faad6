// The system half of KelStackWalker: reading a thread's frames and asking
// the debug-help library what lies at an address.
//
// A symbol session is the debug-help library loaded from one path, its
// functions bound by name, and the process's modules made known to it. It
// is created on first use and kept for the process; walkers with the same
// library path share it. Its lock serialises everything done with it (the
// debug-help libraries are not thread-safe).
//
//   SymbolSession* session = openSymbolSession(L"libdw.so.1", L"", pid, nullptr);
//   std::lock_guard<std::mutex> lock(session->lock);
//   captureCallingThread(*session, __builtin_return_address(0), frames);
//   describeFrame(*session, frames[0], entry);

#ifndef KEL_DIAGNOSTICS_STACK_WALK_H
#define KEL_DIAGNOSTICS_STACK_WALK_H

#include <kel/KelStackWalker.h>

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace kel::detail {

// Results beyond those of last_error.h.
constexpr unsigned long kErrorNotSupported = 50;
constexpr unsigned long kErrorInvalidThreadId = 1444;
constexpr unsigned long kErrorTimeout = 1460;

// The most frames one walk reads.
constexpr size_t kMaxCapturedFrames = 65536;

// One frame as read from the stack.
struct CapturedFrame {
    uint64_t pc;
    // True when `pc` is a return address, so that the call itself lies just
    // before it; false for the exact instruction where a thread was
    // interrupted.
    bool returnAddress;
};

// Each system half defines its session; `lock` comes first in both.
struct SymbolSession;

// The lock of a session.
std::mutex& sessionLock(SymbolSession& session);

// The session of the library at `libraryPath` for the process `processId`
// (`process` is its handle on Windows), created and initialised on first
// use: the library loaded, its functions bound, the symbol services set up
// with `symbolPaths` and the process's modules loaded. Null when the
// library cannot be loaded or lacks a required function (it is then
// unloaded again, and a later call tries anew), with last error 1114; or
// when the process cannot be walked on this system, with last error 50.
SymbolSession* openSymbolSession(const std::wstring& libraryPath, const std::wstring& symbolPaths,
                                 unsigned long processId, void* process);

// Reads the calling thread's frames into `frames`, starting with the frame
// whose return address is `startAt` (all frames when it is not found).
// Called with the session locked.
bool captureCallingThread(SymbolSession& session, const void* startAt,
                          std::vector<CapturedFrame>& frames);

// Reads the frames of another thread of the session's process. Called with
// the session locked. False with the last error set when the thread cannot
// be reached.
bool captureThread(SymbolSession& session, unsigned long threadId,
                   std::vector<CapturedFrame>& frames);

// Fills the symbol, line and module fields of `entry` (already zeroed, with
// its offset set) for `frame`. Called with the session locked.
void describeFrame(SymbolSession& session, const CapturedFrame& frame,
                   KelStackWalker::CallstackEntry& entry);

// The calling process's id and handle.
unsigned long currentProcessId();
void* currentProcessHandle();

// The system's default debug-help library.
const wchar_t* defaultSymbolLibrary();

// ----- shared by both halves (stack_walk.cpp) ----------------------------------

// The text of a symbol type number: "-nosymbols-", "COFF", "CV", "PDB",
// "-exported-", "-deferred-", "SYM", "DIA", "Virtual"; "" for others.
const char* symbolTypeText(unsigned long type);

// Symbol type numbers, as DbgHelp numbers them.
constexpr unsigned long kSymNone = 0;
constexpr unsigned long kSymPdb = 3;
constexpr unsigned long kSymExport = 4;

// Demangles a C++ symbol of the Itanium ABI (GCC, Clang, MinGW): `full`
// becomes the complete name with parameters, `nameOnly` the qualified name
// without return type, parameters and qualifiers. False (both untouched)
// for a name that is not mangled that way.
bool demangleSymbol(const char* symbol, std::string& nameOnly, std::string& full);

// Copies `text` into a record field, cut to fit.
void copyField(char (&field)[KelStackWalker::kMaxNameLength], const char* text);

// The directories of a ";"-separated symbol search path, in order, empty
// entries dropped.
std::vector<std::string> splitSearchPath(const std::string& paths);

}  // namespace kel::detail

#endif  // KEL_DIAGNOSTICS_STACK_WALK_H
