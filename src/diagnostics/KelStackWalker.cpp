// KelStackWalker: the walk itself and the frame lines. Reading the frames
// and describing an address are the system half's (stack_walk_posix.cpp,
// stack_walk_win32.cpp).

#include <kel/KelStackWalker.h>

#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "diagnostics/stack_walk.h"
#include "platform/code_page.h"
#include "platform/format.h"
#include "platform/thread_id.h"

#if defined(_MSC_VER)
#include <intrin.h>
#define KEL_NOINLINE __declspec(noinline)
#define KEL_RETURN_ADDRESS() _ReturnAddress()
#else
#define KEL_NOINLINE __attribute__((noinline))
#define KEL_RETURN_ADDRESS() __builtin_return_address(0)
#endif

namespace kel::detail {

struct StackWalkerState {
    StackWalkerState(unsigned long id, void* handle, const KelString& library,
                     const KelString& symbols)
        : processId(id), process(handle), libraryPath(library), symbolPaths(symbols) {}

    unsigned long processId;
    void* process;
    const KelString libraryPath;
    const KelString symbolPaths;
    // Set once the library is loaded and the modules' symbols are known.
    SymbolSession* session = nullptr;
    int maxRepeatedFrames = KelStackWalker::kMaxRepeatedFrames;
    // The text collected since the last walk began, and the same as a
    // KelString, brought up to date when asked for.
    std::wstring text;
    KelString collected;
    bool collectedCurrent = true;
    std::vector<CapturedFrame> frames;
    KelStackWalker::CallstackEntry entry;
};

namespace {

std::string formatLine(const char* format, ...) {
    va_list args;
    va_start(args, format);
    std::string line = formatToString(format, args);
    va_end(args);
    return line;
}

}  // namespace

}  // namespace kel::detail

using kel::detail::StackWalkerState;

KelStackWalker::KelStackWalker(unsigned long processId, void* process, const KelString& libraryPath,
                               const KelString& symbolPaths)
    : m_state(new StackWalkerState(processId, process, libraryPath, symbolPaths)) {}

KelStackWalker::KelStackWalker(const KelString& libraryPath, const KelString& symbolPaths)
    : KelStackWalker(kel::detail::currentProcessId(), kel::detail::currentProcessHandle(),
                     libraryPath, symbolPaths) {}

KelStackWalker::~KelStackWalker() {
    delete m_state;
}

const wchar_t* KelStackWalker::defaultLibraryPath() {
    return kel::detail::defaultSymbolLibrary();
}

const KelString& KelStackWalker::getCallstackText() const {
    StackWalkerState& state = *m_state;
    if (!state.collectedCurrent) {
        state.collected = state.text.c_str();
        state.collectedCurrent = true;
    }
    return state.collected;
}

const KelString& KelStackWalker::getLibraryPath() const {
    return m_state->libraryPath;
}

const KelString& KelStackWalker::getSymbolPaths() const {
    return m_state->symbolPaths;
}

int KelStackWalker::modulesLoaded() const {
    return m_state->session != nullptr ? 1 : 0;
}

// Not inlined: the walk starts at the return address into the caller.
KEL_NOINLINE int KelStackWalker::ShowCallstack() {
    return walk(kel::detail::currentThreadId(), true, KEL_RETURN_ADDRESS());
}

KEL_NOINLINE int KelStackWalker::ShowCallstack(unsigned long threadId) {
    const bool callingThread = threadId == kel::detail::currentThreadId();
    return walk(threadId, callingThread, callingThread ? KEL_RETURN_ADDRESS() : nullptr);
}

int KelStackWalker::walk(unsigned long threadId, bool callingThread, const void* startAt) {
    using namespace kel::detail;
    StackWalkerState& state = *m_state;
    state.text.clear();
    state.collectedCurrent = false;
    if (state.session == nullptr) {
        state.session =
            openSymbolSession(state.libraryPath.getStringW(), state.symbolPaths.getStringW(),
                              state.processId, state.process);
        if (state.session == nullptr)
            return 0;
    }
    SymbolSession& session = *state.session;
    std::unique_lock<std::mutex> lock(sessionLock(session));
    state.frames.clear();
    const bool captured = callingThread ? captureCallingThread(session, startAt, state.frames)
                                        : captureThread(session, threadId, state.frames);
    if (!captured)
        return 0;

    CallstackEntry& entry = state.entry;
    int repeated = 0;
    for (size_t number = 0; number < state.frames.size(); ++number) {
        const CapturedFrame& frame = state.frames[number];
        const uint64_t returnAddress =
            number + 1 < state.frames.size() ? state.frames[number + 1].pc : 0;
        if (frame.pc == returnAddress) {
            if (repeated > state.maxRepeatedFrames)
                break;  // an endless call stack
            ++repeated;
        } else {
            repeated = 0;
        }
        std::memset(&entry, 0, sizeof entry);
        entry.offset = frame.pc;
        if (frame.pc != 0)
            describeFrame(session, frame, entry);
        // The override may walk again: the session is not held while it runs.
        lock.unlock();
        OnCallstackEntry(number == 0 ? firstEntry : nextEntry, entry);
        lock.lock();
        if (returnAddress == 0)
            break;
    }
    lock.unlock();
    std::memset(&entry, 0, sizeof entry);
    OnCallstackEntry(lastEntry, entry);
    return 1;
}

void KelStackWalker::OnCallstackEntry(CallstackEntryType type, CallstackEntry& entry) {
    using kel::detail::copyField;
    if (type == lastEntry || entry.offset == 0)
        return;
    if (entry.name[0] == '\0')
        copyField(entry.name, "(function-name not available)");
    if (entry.undName[0] != '\0')
        copyField(entry.name, entry.undName);
    if (entry.undFullName[0] != '\0')
        copyField(entry.name, entry.undFullName);
    std::string line;
    if (entry.lineFileName[0] == '\0') {
        copyField(entry.lineFileName, "(filename not available)");
        if (entry.moduleName[0] == '\0')
            copyField(entry.moduleName, "(module-name not available)");
        line = kel::detail::formatLine(
            "%p (%s): %s: %s\n", reinterpret_cast<void*>(static_cast<uintptr_t>(entry.offset)),
            entry.moduleName, entry.lineFileName, entry.name);
    } else {
        line = kel::detail::formatLine("%s (%d): %s\n", entry.lineFileName,
                                       static_cast<int>(entry.lineNumber), entry.name);
    }
    if (line.size() > static_cast<size_t>(kMaxNameLength - 1))
        line.resize(kMaxNameLength - 1);
    const std::wstring wide = kel::detail::toWide(line);
    // The text stays within what a KelString format could hold.
    std::wstring& text = m_state->text;
    if (text.size() + wide.size() < static_cast<size_t>(KelString::kTempBufferSize)) {
        text += wide;
        m_state->collectedCurrent = false;
    }
}
