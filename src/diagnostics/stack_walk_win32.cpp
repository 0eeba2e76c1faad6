// The stack walker's system half on Windows: DbgHelp, loaded at run time by
// the walker's library path, its functions bound by name; StackWalk64 over
// a thread's register context; the process's modules listed with the
// tool-help functions (or, where they fail, the process-status ones) and
// loaded into DbgHelp once.
//
// Another thread is suspended while its frames are read and resumed before
// their symbols are looked up, so that the thread is held as briefly as
// possible and nothing that might wait for it (the heap, DbgHelp's own
// loading of symbol files) runs while it is stopped. The frame buffer for
// that phase is reserved beforehand.
//
// Wine's dbghelp reads the DWARF 4 information of MinGW builds; their C++
// names come out mangled in the Itanium way, which UnDecorateSymbolName does
// not know, so those are demangled by the C++ runtime instead.

#include <windows.h>

#include <dbghelp.h>
#include <psapi.h>
#include <tlhelp32.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "diagnostics/stack_walk.h"
#include "platform/code_page.h"
#include "platform/last_error.h"
#include "platform/path.h"

namespace kel::detail {

struct DbgHelpApi {
    BOOL(WINAPI* symCleanup)(HANDLE);
    PVOID(WINAPI* symFunctionTableAccess64)(HANDLE, DWORD64);
    BOOL(WINAPI* symGetLineFromAddr64)(HANDLE, DWORD64, PDWORD, PIMAGEHLP_LINE64);
    DWORD64(WINAPI* symGetModuleBase64)(HANDLE, DWORD64);
    BOOL(WINAPI* symGetModuleInfo64)(HANDLE, DWORD64, PIMAGEHLP_MODULE64);
    DWORD(WINAPI* symGetOptions)();
    BOOL(WINAPI* symGetSymFromAddr64)(HANDLE, DWORD64, PDWORD64, PIMAGEHLP_SYMBOL64);
    BOOL(WINAPI* symInitialize)(HANDLE, PCSTR, BOOL);
    DWORD64(WINAPI* symLoadModule64)(HANDLE, HANDLE, PCSTR, PCSTR, DWORD64, DWORD);
    DWORD(WINAPI* symSetOptions)(DWORD);
    BOOL(WINAPI* stackWalk64)
    (DWORD, HANDLE, HANDLE, LPSTACKFRAME64, PVOID, PREAD_PROCESS_MEMORY_ROUTINE64,
     PFUNCTION_TABLE_ACCESS_ROUTINE64, PGET_MODULE_BASE_ROUTINE64, PTRANSLATE_ADDRESS_ROUTINE64);
    DWORD(WINAPI* unDecorateSymbolName)(PCSTR, PSTR, DWORD, DWORD);
    BOOL(WINAPI* symGetSearchPath)(HANDLE, PSTR, DWORD);
};

struct SymbolSession {
    std::mutex lock;
    HMODULE library = nullptr;
    DbgHelpApi api{};
    HANDLE process = nullptr;
    DWORD processId = 0;
    // What DbgHelp reports as its search path, for a debugger's eyes only.
    char searchPath[1024] = {};
    // A symbol record with room for a name of kMaxNameLength characters.
    std::vector<unsigned char> symbolBuffer;
    // The frames of a suspended thread, reserved before it is suspended.
    std::vector<CapturedFrame> suspendedFrames;
};

namespace {

constexpr DWORD kSymbolOptions = SYMOPT_LOAD_LINES | SYMOPT_FAIL_CRITICAL_ERRORS;  // 0x210

template <typename Function>
bool bind(HMODULE library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(library, name)));
    return function != nullptr;
}

bool bindDbgHelp(HMODULE library, DbgHelpApi& api) {
    bind(library, "SymGetLineFromAddr64", api.symGetLineFromAddr64);
    bind(library, "SymGetSearchPath", api.symGetSearchPath);
    return bind(library, "SymCleanup", api.symCleanup) &&
           bind(library, "SymFunctionTableAccess64", api.symFunctionTableAccess64) &&
           bind(library, "SymGetModuleBase64", api.symGetModuleBase64) &&
           bind(library, "SymGetModuleInfo64", api.symGetModuleInfo64) &&
           bind(library, "SymGetOptions", api.symGetOptions) &&
           bind(library, "SymGetSymFromAddr64", api.symGetSymFromAddr64) &&
           bind(library, "SymInitialize", api.symInitialize) &&
           bind(library, "SymLoadModule64", api.symLoadModule64) &&
           bind(library, "SymSetOptions", api.symSetOptions) &&
           bind(library, "StackWalk64", api.stackWalk64) &&
           bind(library, "UnDecorateSymbolName", api.unDecorateSymbolName);
}

void loadModule(SymbolSession& session, const char* image, const char* module, DWORD64 base,
                DWORD size) {
    // A module DbgHelp cannot read simply has no symbols.
    session.api.symLoadModule64(session.process, nullptr, image, module, base, size);
}

// The modules through the tool-help functions, from kernel32.dll or, on
// systems that kept them apart, tlhelp32.dll.
bool loadModulesWithToolHelp(SymbolSession& session) {
    using CreateSnapshot = HANDLE(WINAPI*)(DWORD, DWORD);
    using ModuleWalk = BOOL(WINAPI*)(HANDLE, tagMODULEENTRY32*);
    HMODULE library = nullptr;
    CreateSnapshot createSnapshot = nullptr;
    ModuleWalk first = nullptr;
    ModuleWalk next = nullptr;
    for (const wchar_t* name : {L"kernel32.dll", L"tlhelp32.dll"}) {
        library = ::LoadLibraryW(name);
        if (library == nullptr)
            continue;
        if (bind(library, "CreateToolhelp32Snapshot", createSnapshot) &&
            bind(library, "Module32First", first) && bind(library, "Module32Next", next)) {
            break;
        }
        ::FreeLibrary(library);
        library = nullptr;
    }
    if (library == nullptr)
        return false;
    const HANDLE snapshot = createSnapshot(TH32CS_SNAPMODULE, session.processId);
    int count = 0;
    if (snapshot != INVALID_HANDLE_VALUE) {
        tagMODULEENTRY32 entry;
        std::memset(&entry, 0, sizeof entry);
        entry.dwSize = sizeof entry;
        for (BOOL more = first(snapshot, &entry); more; more = next(snapshot, &entry)) {
            loadModule(session, entry.szExePath, entry.szModule,
                       reinterpret_cast<DWORD64>(entry.modBaseAddr), entry.modBaseSize);
            ++count;
        }
        ::CloseHandle(snapshot);
    }
    ::FreeLibrary(library);
    return count > 0;
}

// The modules through the process-status functions of psapi.dll.
bool loadModulesWithProcessStatus(SymbolSession& session) {
    using EnumModules = BOOL(WINAPI*)(HANDLE, HMODULE*, DWORD, LPDWORD);
    using ModuleText = DWORD(WINAPI*)(HANDLE, HMODULE, LPSTR, DWORD);
    using ModuleInformation = BOOL(WINAPI*)(HANDLE, HMODULE, LPMODULEINFO, DWORD);
    HMODULE library = ::LoadLibraryW(L"psapi.dll");
    if (library == nullptr)
        return false;
    EnumModules enumModules = nullptr;
    ModuleText fileName = nullptr;
    ModuleText baseName = nullptr;
    ModuleInformation information = nullptr;
    int count = 0;
    if (bind(library, "EnumProcessModules", enumModules) &&
        bind(library, "GetModuleFileNameExA", fileName) &&
        bind(library, "GetModuleBaseNameA", baseName) &&
        bind(library, "GetModuleInformation", information)) {
        std::vector<HMODULE> modules(1024);
        DWORD needed = 0;
        if (enumModules(session.process, modules.data(),
                        static_cast<DWORD>(modules.size() * sizeof(HMODULE)), &needed)) {
            modules.resize(std::min<size_t>(needed / sizeof(HMODULE), modules.size()));
            for (HMODULE module : modules) {
                MODULEINFO info{};
                char image[MAX_PATH * 2] = {};
                char name[MAX_PATH * 2] = {};
                if (!information(session.process, module, &info, sizeof info))
                    continue;
                fileName(session.process, module, image, sizeof image);
                baseName(session.process, module, name, sizeof name);
                loadModule(session, image, name, reinterpret_cast<DWORD64>(info.lpBaseOfDll),
                           info.SizeOfImage);
                ++count;
            }
        }
    }
    ::FreeLibrary(library);
    return count > 0;
}

bool loadSession(SymbolSession& session, const std::wstring& libraryPath,
                 const std::wstring& symbolPaths) {
    if (libraryPath.empty())
        return false;
    session.library = ::LoadLibraryW(toNativePath(libraryPath).c_str());
    if (session.library == nullptr)
        return false;
    if (!bindDbgHelp(session.library, session.api)) {
        ::FreeLibrary(session.library);
        session.library = nullptr;
        return false;
    }
    const DbgHelpApi& api = session.api;
    // A host that initialised the symbol handler itself keeps its session;
    // the walker then uses that one.
    api.symInitialize(session.process, toNarrow(symbolPaths).c_str(), FALSE);
    api.symSetOptions(api.symGetOptions() | kSymbolOptions);
    if (api.symGetSearchPath != nullptr)
        api.symGetSearchPath(session.process, session.searchPath, sizeof session.searchPath);
    if (!loadModulesWithToolHelp(session))
        loadModulesWithProcessStatus(session);
    session.symbolBuffer.assign(sizeof(IMAGEHLP_SYMBOL64) + KelStackWalker::kMaxNameLength, 0);
    return true;
}

// Reads frames with StackWalk64 from `context` until the walk fails, a
// frame returns to 0, an endless recursion shows, or `frames` is full.
// `frames` has its room reserved: nothing here allocates.
void walkContext(SymbolSession& session, HANDLE thread, CONTEXT& context, bool firstIsExact,
                 std::vector<CapturedFrame>& frames) {
    STACKFRAME64 frame;
    std::memset(&frame, 0, sizeof frame);
#if defined(_M_X64) || defined(__x86_64__)
    const DWORD machine = IMAGE_FILE_MACHINE_AMD64;
    frame.AddrPC.Offset = context.Rip;
    frame.AddrStack.Offset = context.Rsp;
    frame.AddrFrame.Offset = context.Rbp;
#elif defined(_M_IX86) || defined(__i386__)
    const DWORD machine = IMAGE_FILE_MACHINE_I386;
    frame.AddrPC.Offset = context.Eip;
    frame.AddrStack.Offset = context.Esp;
    frame.AddrFrame.Offset = context.Ebp;
#elif defined(_M_ARM64) || defined(__aarch64__)
    const DWORD machine = IMAGE_FILE_MACHINE_ARM64;
    frame.AddrPC.Offset = context.Pc;
    frame.AddrStack.Offset = context.Sp;
    frame.AddrFrame.Offset = context.Fp;
#else
#error "the stack walker knows no register context for this processor"
#endif
    frame.AddrPC.Mode = AddrModeFlat;
    frame.AddrStack.Mode = AddrModeFlat;
    frame.AddrFrame.Mode = AddrModeFlat;
    const DbgHelpApi& api = session.api;
    int repeated = 0;
    while (frames.size() < kMaxCapturedFrames &&
           api.stackWalk64(machine, session.process, thread, &frame, &context, nullptr,
                           api.symFunctionTableAccess64, api.symGetModuleBase64, nullptr)) {
        frames.push_back({frame.AddrPC.Offset, !(firstIsExact && frames.empty())});
        if (frame.AddrPC.Offset == frame.AddrReturn.Offset) {
            // One frame more than the walk itself accepts, so that the walk
            // sees the repeat and stops there.
            if (repeated > KelStackWalker::kMaxRepeatedFrames + 1)
                break;
            ++repeated;
        } else {
            repeated = 0;
        }
        if (frame.AddrReturn.Offset == 0)
            break;
    }
}

bool moduleInformation(SymbolSession& session, DWORD64 address, IMAGEHLP_MODULE64& module) {
    std::memset(&module, 0, sizeof module);
    module.SizeOfStruct = sizeof module;
    if (session.api.symGetModuleInfo64(session.process, address, &module))
        return true;
    // Older DbgHelp versions know only the record up to the loaded image name.
    std::memset(&module, 0, sizeof module);
    module.SizeOfStruct = offsetof(IMAGEHLP_MODULE64, LoadedPdbName);
    return session.api.symGetModuleInfo64(session.process, address, &module) != FALSE;
}

}  // namespace

std::mutex& sessionLock(SymbolSession& session) {
    return session.lock;
}

unsigned long currentProcessId() {
    return ::GetCurrentProcessId();
}

void* currentProcessHandle() {
    return ::GetCurrentProcess();
}

const wchar_t* defaultSymbolLibrary() {
    return L"DbgHelp.dll";
}

SymbolSession* openSymbolSession(const std::wstring& libraryPath, const std::wstring& symbolPaths,
                                 unsigned long processId, void* process) {
    // Never destroyed: DbgHelp allows one session per process handle, and
    // it serves the process until it ends.
    static std::mutex* sessionsLock = new std::mutex;
    static auto* sessions = new std::map<std::pair<std::wstring, unsigned long>, SymbolSession*>;
    std::lock_guard<std::mutex> guard(*sessionsLock);
    const auto key = std::make_pair(libraryPath, processId);
    auto found = sessions->find(key);
    if (found != sessions->end())
        return found->second;
    auto* session = new SymbolSession;
    session->processId = processId;
    session->process = process;
    if (session->process == nullptr) {
        session->process =
            processId == ::GetCurrentProcessId()
                ? ::GetCurrentProcess()
                : ::OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, processId);
    }
    if (session->process == nullptr || !loadSession(*session, libraryPath, symbolPaths)) {
        delete session;
        setLastError(kErrorDllInitFailed);
        return nullptr;
    }
    sessions->emplace(key, session);
    return session;
}

bool captureCallingThread(SymbolSession& session, const void* startAt,
                          std::vector<CapturedFrame>& frames) {
    if (session.processId != ::GetCurrentProcessId()) {
        setLastError(kErrorNotSupported);
        return false;
    }
    CONTEXT context;
    std::memset(&context, 0, sizeof context);
    context.ContextFlags = CONTEXT_FULL;
    ::RtlCaptureContext(&context);
    std::vector<CapturedFrame>& all = session.suspendedFrames;
    all.clear();
    all.reserve(kMaxCapturedFrames);
    walkContext(session, ::GetCurrentThread(), context, false, all);
    size_t first = 0;
    for (size_t i = 0; i < all.size(); ++i) {
        if (all[i].pc == reinterpret_cast<uintptr_t>(startAt)) {
            first = i;
            break;
        }
    }
    frames.assign(all.begin() + static_cast<std::ptrdiff_t>(first), all.end());
    return true;
}

bool captureThread(SymbolSession& session, unsigned long threadId,
                   std::vector<CapturedFrame>& frames) {
    std::vector<CapturedFrame>& captured = session.suspendedFrames;
    captured.clear();
    captured.reserve(kMaxCapturedFrames);
    const HANDLE thread = ::OpenThread(
        THREAD_SUSPEND_RESUME | THREAD_GET_CONTEXT | THREAD_QUERY_INFORMATION, FALSE, threadId);
    if (thread == nullptr)
        return false;
    if (::SuspendThread(thread) == static_cast<DWORD>(-1)) {
        const DWORD error = ::GetLastError();
        ::CloseHandle(thread);
        ::SetLastError(error);
        return false;
    }
    CONTEXT context;
    std::memset(&context, 0, sizeof context);
    context.ContextFlags = CONTEXT_FULL;
    if (!::GetThreadContext(thread, &context)) {
        const DWORD error = ::GetLastError();
        ::ResumeThread(thread);
        ::CloseHandle(thread);
        ::SetLastError(error);
        return false;
    }
    walkContext(session, thread, context, true, captured);
    ::ResumeThread(thread);
    ::CloseHandle(thread);
    frames.assign(captured.begin(), captured.end());
    return true;
}

void describeFrame(SymbolSession& session, const CapturedFrame& frame,
                   KelStackWalker::CallstackEntry& entry) {
    const DbgHelpApi& api = session.api;
    // The call lies just before a return address.
    const DWORD64 address = frame.returnAddress && frame.pc > 0 ? frame.pc - 1 : frame.pc;
    auto* symbol = reinterpret_cast<IMAGEHLP_SYMBOL64*>(session.symbolBuffer.data());
    std::memset(symbol, 0, session.symbolBuffer.size());
    symbol->SizeOfStruct = sizeof(IMAGEHLP_SYMBOL64);
    symbol->MaxNameLength = KelStackWalker::kMaxNameLength;
    DWORD64 symbolDisplacement = 0;
    if (api.symGetSymFromAddr64(session.process, address, &symbolDisplacement, symbol)) {
        copyField(entry.name, symbol->Name);
        api.unDecorateSymbolName(symbol->Name, entry.undName, KelStackWalker::kMaxNameLength,
                                 UNDNAME_NAME_ONLY);
        api.unDecorateSymbolName(symbol->Name, entry.undFullName, KelStackWalker::kMaxNameLength,
                                 UNDNAME_COMPLETE);
        std::string nameOnly;
        std::string full;
        if (demangleSymbol(symbol->Name, nameOnly, full)) {
            copyField(entry.undName, nameOnly.c_str());
            copyField(entry.undFullName, full.c_str());
        }
    }
    if (api.symGetLineFromAddr64 != nullptr) {
        IMAGEHLP_LINE64 line;
        std::memset(&line, 0, sizeof line);
        line.SizeOfStruct = sizeof line;
        DWORD lineDisplacement = 0;
        if (api.symGetLineFromAddr64(session.process, address, &lineDisplacement, &line)) {
            copyField(entry.lineFileName, line.FileName);
            entry.lineNumber = line.LineNumber;
        }
    }
    IMAGEHLP_MODULE64 module;
    if (moduleInformation(session, address, module)) {
        copyField(entry.moduleName, module.ModuleName);
        copyField(entry.loadedImageName, module.LoadedImageName);
        copyField(entry.symTypeString, symbolTypeText(module.SymType));
    }
}

}  // namespace kel::detail
