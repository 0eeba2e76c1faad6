// The stack walker's system half on Linux: frames from backtrace(), another
// thread's frames from a signal handler on that thread, and everything about
// an address from elfutils' libdw, loaded at run time.
//
// libdw is neither linked nor needed at build time: the few declarations
// below are all the walker uses of it, and its functions are bound by name
// from the library that the tracer's path names ("libdw.so.1" unless the
// configuration says otherwise). One Dwfl session per library path lives
// for the process; it learns the process's modules from /proc/self/maps and
// learns them again whenever the dynamic loader reports a module loaded or
// unloaded. Separate debug files are looked for only on this machine (next
// to the module, in .debug/, under /usr/lib/debug and in the symbol search
// path's directories, by debug link and by build id): libdw's standard
// lookup may download them from a debuginfod server, which no host expects
// of a stack walk.

#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <link.h>
#include <semaphore.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <time.h>
#include <ucontext.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <unordered_map>

#include "diagnostics/stack_walk.h"
#include "platform/code_page.h"
#include "platform/last_error.h"
#include "platform/path.h"
#include "platform/utf.h"

namespace kel::detail {

// ----- the part of libdw's interface the walker uses -----------------------------

namespace dw {

struct Dwfl;
struct Dwfl_Module;
struct Dwfl_Line;
struct Dwarf;
struct Elf;
using Dwarf_Addr = uint64_t;
using Dwarf_Word = uint64_t;
using GElf_Addr = uint64_t;
using GElf_Off = uint64_t;
using GElf_Word = uint32_t;

struct GElf_Sym {  // Elf64_Sym
    uint32_t st_name;
    unsigned char st_info;
    unsigned char st_other;
    uint16_t st_shndx;
    uint64_t st_value;
    uint64_t st_size;
};

using FindElf = int (*)(Dwfl_Module*, void**, const char*, Dwarf_Addr, char**, Elf**);
using FindDebuginfo = int (*)(Dwfl_Module*, void**, const char*, Dwarf_Addr, const char*,
                              const char*, GElf_Word, char**);

struct Dwfl_Callbacks {
    FindElf find_elf;
    FindDebuginfo find_debuginfo;
    void* section_address;
    char** debuginfo_path;
};

}  // namespace dw

struct LibdwApi {
    dw::Dwfl* (*begin)(const dw::Dwfl_Callbacks*);
    void (*reportBegin)(dw::Dwfl*);
    int (*reportEnd)(dw::Dwfl*, void*, void*);
    int (*linuxProcReport)(dw::Dwfl*, pid_t);
    dw::FindElf linuxProcFindElf;
    dw::Dwfl_Module* (*addrModule)(dw::Dwfl*, dw::Dwarf_Addr);
    const char* (*moduleAddrName)(dw::Dwfl_Module*, dw::GElf_Addr);
    const char* (*moduleInfo)(dw::Dwfl_Module*, void***, dw::Dwarf_Addr*, dw::Dwarf_Addr*,
                              dw::Dwarf_Addr*, dw::Dwarf_Addr*, const char**, const char**);
    // Optional: without them names come from dwfl_module_addrname, frames
    // have no lines, and modules are reported without symbols.
    const char* (*moduleAddrInfo)(dw::Dwfl_Module*, dw::GElf_Addr, dw::GElf_Off*, dw::GElf_Sym*,
                                  dw::GElf_Word*, dw::Elf**, dw::Dwarf_Addr*);
    dw::Dwfl_Line* (*moduleGetSrc)(dw::Dwfl_Module*, dw::Dwarf_Addr);
    const char* (*lineInfo)(dw::Dwfl_Line*, dw::Dwarf_Addr*, int*, int*, dw::Dwarf_Word*,
                            dw::Dwarf_Word*);
    dw::Dwarf* (*moduleGetDwarf)(dw::Dwfl_Module*, dw::Dwarf_Addr*);
    int (*moduleGetSymtab)(dw::Dwfl_Module*);
    int (*moduleBuildId)(dw::Dwfl_Module*, const unsigned char**, dw::GElf_Addr*);
    const char* (*lineCompDir)(dw::Dwfl_Line*);
};

namespace {

template <typename Function>
bool bind(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(::dlsym(library, name));
    return function != nullptr;
}

// Binds every function by name; false when a required one is missing.
bool bindLibdw(void* library, LibdwApi& api) {
    const bool required = bind(library, "dwfl_begin", api.begin) &&
                          bind(library, "dwfl_report_begin", api.reportBegin) &&
                          bind(library, "dwfl_report_end", api.reportEnd) &&
                          bind(library, "dwfl_linux_proc_report", api.linuxProcReport) &&
                          bind(library, "dwfl_linux_proc_find_elf", api.linuxProcFindElf) &&
                          bind(library, "dwfl_addrmodule", api.addrModule) &&
                          bind(library, "dwfl_module_addrname", api.moduleAddrName) &&
                          bind(library, "dwfl_module_info", api.moduleInfo);
    if (!required)
        return false;
    bind(library, "dwfl_module_addrinfo", api.moduleAddrInfo);
    bind(library, "dwfl_module_getsrc", api.moduleGetSrc);
    bind(library, "dwfl_lineinfo", api.lineInfo);
    bind(library, "dwfl_module_getdwarf", api.moduleGetDwarf);
    bind(library, "dwfl_module_getsymtab", api.moduleGetSymtab);
    bind(library, "dwfl_module_build_id", api.moduleBuildId);
    bind(library, "dwfl_line_comp_dir", api.lineCompDir);
    if (api.lineInfo == nullptr)
        api.moduleGetSrc = nullptr;
    return true;
}

// What one address resolved to, kept so that the frames of code that
// reports errors again and again are described once.
struct ResolvedAddress {
    std::string name;
    std::string undName;
    std::string undFullName;
    std::string file;
    unsigned long line = 0;
    std::string module;
    std::string image;
    unsigned long symbolType = kSymNone;
};

constexpr size_t kMaxResolvedAddresses = 16384;

// The dynamic loader's counts of modules loaded and unloaded so far.
struct LoadCounts {
    unsigned long long adds = 0;
    unsigned long long subs = 0;
    bool operator!=(const LoadCounts& other) const {
        return adds != other.adds || subs != other.subs;
    }
};

int readLoadCounts(struct dl_phdr_info* info, size_t size, void* data) {
    auto* counts = static_cast<LoadCounts*>(data);
    if (size >= offsetof(struct dl_phdr_info, dlpi_subs) + sizeof info->dlpi_subs) {
        counts->adds = info->dlpi_adds;
        counts->subs = info->dlpi_subs;
    }
    return 1;  // the first module carries the counts
}

LoadCounts loadCounts() {
    LoadCounts counts;
    dl_iterate_phdr(readLoadCounts, &counts);
    return counts;
}

}  // namespace

struct SymbolSession {
    std::mutex lock;
    void* library = nullptr;
    LibdwApi api{};
    dw::Dwfl_Callbacks callbacks{};
    dw::Dwfl* dwfl = nullptr;
    // Directories of the symbol search path, where separate debug files
    // are looked for besides the usual places.
    std::vector<std::string> debugDirectories;
    LoadCounts reported;
    std::unordered_map<uint64_t, ResolvedAddress> resolved;
    std::unordered_map<dw::Dwfl_Module*, unsigned long> symbolTypes;
    std::vector<void*> buffer;
};

namespace {

// The session whose libdw call is running on this thread, for the debug
// file lookup that libdw calls back.
thread_local SymbolSession* t_activeSession = nullptr;

bool openReadable(const std::string& path, const char* mainFile, int& fd) {
    if (path.empty() || (mainFile != nullptr && path == mainFile))
        return false;
    fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    return fd >= 0;
}

std::string directoryOf(const char* file) {
    const char* slash = file != nullptr ? std::strrchr(file, '/') : nullptr;
    return slash != nullptr ? std::string(file, static_cast<size_t>(slash - file)) : std::string();
}

// libdw's find_debuginfo callback: a separate debug file on this machine,
// by build id ("<dir>/.build-id/ab/cdef....debug") and by debug link.
int findLocalDebugFile(dw::Dwfl_Module* module, void**, const char* moduleName, dw::Dwarf_Addr,
                       const char* fileName, const char* debugLink, dw::GElf_Word,
                       char** debugFileName) {
    SymbolSession* session = t_activeSession;
    std::vector<std::string> roots = {"/usr/lib/debug"};
    if (session != nullptr)
        roots.insert(roots.end(), session->debugDirectories.begin(),
                     session->debugDirectories.end());
    std::vector<std::string> candidates;
    const unsigned char* bits = nullptr;
    dw::GElf_Addr vaddr = 0;
    const int length = session != nullptr && session->api.moduleBuildId != nullptr
                           ? session->api.moduleBuildId(module, &bits, &vaddr)
                           : 0;
    if (length > 1 && bits != nullptr) {
        static const char kHex[] = "0123456789abcdef";
        std::string id;
        for (int i = 0; i < length; ++i) {
            id += kHex[bits[i] >> 4];
            id += kHex[bits[i] & 15];
        }
        for (const std::string& root : roots)
            candidates.push_back(root + "/.build-id/" + id.substr(0, 2) + "/" + id.substr(2) +
                                 ".debug");
    }
    if (debugLink != nullptr && *debugLink != '\0') {
        const std::string dir = directoryOf(fileName != nullptr ? fileName : moduleName);
        candidates.push_back(dir + "/" + debugLink);
        candidates.push_back(dir + "/.debug/" + debugLink);
        for (const std::string& root : roots) {
            candidates.push_back(root + dir + "/" + debugLink);
            candidates.push_back(root + "/" + debugLink);
        }
    }
    for (const std::string& candidate : candidates) {
        int fd = -1;
        if (openReadable(candidate, fileName, fd)) {
            *debugFileName = ::strdup(candidate.c_str());
            return fd;
        }
    }
    errno = ENOENT;
    return -1;
}

// Makes libdw's module list match the process's again when the dynamic
// loader has loaded or unloaded something since the last report.
void reportModules(SymbolSession& session) {
    const LoadCounts now = loadCounts();
    if (session.dwfl != nullptr && !(now != session.reported))
        return;
    session.api.reportBegin(session.dwfl);
    session.api.linuxProcReport(session.dwfl, ::getpid());
    session.api.reportEnd(session.dwfl, nullptr, nullptr);
    session.reported = now;
    session.resolved.clear();
    session.symbolTypes.clear();
}

void prepareForFrames(SymbolSession& session) {
    t_activeSession = &session;
    reportModules(session);
    t_activeSession = nullptr;
}

// Text from libdw (UTF-8) in the process's narrow code page.
std::string narrowText(const char* text) {
    if (narrowCodePage() == kCodePageUtf8)
        return text;
    return toNarrow(utf8ToWide(text));
}

// "/usr/lib/libkel.so.1" gives "libkel.so.1".
std::string fileNameOf(const char* path) {
    const char* slash = std::strrchr(path, '/');
    return slash != nullptr ? slash + 1 : path;
}

unsigned long symbolTypeOf(SymbolSession& session, dw::Dwfl_Module* module) {
    auto known = session.symbolTypes.find(module);
    if (known != session.symbolTypes.end())
        return known->second;
    const LibdwApi& api = session.api;
    dw::Dwarf_Addr bias = 0;
    unsigned long type = kSymNone;
    if (api.moduleGetDwarf != nullptr && api.moduleGetDwarf(module, &bias) != nullptr)
        type = kSymPdb;
    else if (api.moduleGetSymtab != nullptr && api.moduleGetSymtab(module) > 0)
        type = kSymExport;
    session.symbolTypes.emplace(module, type);
    return type;
}

// A source file named relative to the directory it was compiled in (as
// compiler caches and relocatable builds name them) made absolute, so that
// a report names the file wherever it is read.
std::string sourcePath(const LibdwApi& api, dw::Dwfl_Line* line, const char* file) {
    if (file[0] == '/' || api.lineCompDir == nullptr)
        return file;
    const char* directory = api.lineCompDir(line);
    if (directory == nullptr || directory[0] != '/')
        return file;
    return (std::filesystem::path(directory) / file).lexically_normal().string();
}

ResolvedAddress resolve(SymbolSession& session, uint64_t address) {
    ResolvedAddress result;
    const LibdwApi& api = session.api;
    dw::Dwfl_Module* module = api.addrModule(session.dwfl, address);
    if (module == nullptr)
        return result;
    const char* reportedName =
        api.moduleInfo(module, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
    if (reportedName != nullptr) {
        result.image = narrowText(reportedName);
        result.module = narrowText(fileNameOf(reportedName).c_str());
    }
    const char* symbol = nullptr;
    if (api.moduleAddrInfo != nullptr) {
        dw::GElf_Off offset = 0;
        dw::GElf_Sym sym{};
        symbol = api.moduleAddrInfo(module, address, &offset, &sym, nullptr, nullptr, nullptr);
    } else {
        symbol = api.moduleAddrName(module, address);
    }
    if (symbol != nullptr) {
        result.name = narrowText(symbol);
        // A symbol version ("memcpy@@GLIBC_2.14") is no part of the name.
        std::string plain = symbol;
        const size_t version = plain.find('@');
        if (version != std::string::npos && version > 0)
            plain.erase(version);
        if (!demangleSymbol(plain.c_str(), result.undName, result.undFullName)) {
            // Not a C++ name: it is its own undecorated form.
            result.undName = narrowText(plain.c_str());
            result.undFullName = result.undName;
        }
    }
    if (api.moduleGetSrc != nullptr) {
        dw::Dwfl_Line* line = api.moduleGetSrc(module, address);
        int number = 0;
        const char* file = line != nullptr
                               ? api.lineInfo(line, nullptr, &number, nullptr, nullptr, nullptr)
                               : nullptr;
        if (file != nullptr) {
            result.file = narrowText(sourcePath(api, line, file).c_str());
            result.line = static_cast<unsigned long>(number > 0 ? number : 0);
        }
    }
    result.symbolType = symbolTypeOf(session, module);
    return result;
}

// ----- another thread's frames --------------------------------------------------
//
// The requesting thread sends the target a real-time signal carrying a
// sequence number (rt_tgsigqueueinfo, code SI_QUEUE, the library's tag in
// the value). The handler, on the target, claims the request by moving the
// slot from "pending" to "capturing" for exactly that number, runs
// backtrace() into the slot's buffer and marks it "done", then posts the
// semaphore: all of it async-signal-safe (backtrace is called once
// beforehand, so that its lazy loading of the unwinder has happened). The
// requester waits on the semaphore for up to a second; if the request is
// still pending then, it withdraws it, so a signal delivered later finds a
// number that is no longer pending and does nothing.

constexpr unsigned kTagShift = 40;
constexpr uint64_t kSequenceMask = (uint64_t(1) << kTagShift) - 1;
constexpr uint64_t kTag = 0x4B45;  // "KE"
constexpr uint64_t kIdle = 0;
constexpr uint64_t kPending = 1;
constexpr uint64_t kCapturing = 2;
constexpr uint64_t kDone = 3;
constexpr long kCaptureTimeoutMs = 1000;

struct CaptureSlot {
    std::atomic<uint64_t> state{kIdle};  // sequence << 2 | phase
    sem_t done;
    int count = 0;
    uintptr_t interrupted = 0;
    void* frames[kMaxCapturedFrames];
};

std::atomic<CaptureSlot*> g_slot{nullptr};
struct sigaction g_previousAction;
int g_captureSignal = 0;
uint64_t g_sequence = 0;  // guarded by captureLock()

std::mutex& captureLock() {
    static std::mutex* lock = new std::mutex;  // never destroyed: walks may run during exit
    return *lock;
}

uintptr_t instructionPointer(void* context) {
    const auto* uc = static_cast<const ucontext_t*>(context);
#if defined(__x86_64__)
    return static_cast<uintptr_t>(uc->uc_mcontext.gregs[REG_RIP]);
#elif defined(__i386__)
    return static_cast<uintptr_t>(uc->uc_mcontext.gregs[REG_EIP]);
#elif defined(__aarch64__)
    return static_cast<uintptr_t>(uc->uc_mcontext.pc);
#else
    (void)uc;
    return 0;
#endif
}

// A signal of the same number that the library did not send: what would
// have happened without the library's handler.
void passOn(int signal, siginfo_t* info, void* context) {
    const struct sigaction& previous = g_previousAction;
    if ((previous.sa_flags & SA_SIGINFO) != 0) {
        if (previous.sa_sigaction != nullptr)
            previous.sa_sigaction(signal, info, context);
        return;
    }
    if (previous.sa_handler == SIG_IGN)
        return;
    if (previous.sa_handler == SIG_DFL) {
        // The default action of a real-time signal ends the process; the
        // signal is blocked while this handler runs and strikes on return.
        struct sigaction fallback;
        std::memset(&fallback, 0, sizeof fallback);
        fallback.sa_handler = SIG_DFL;
        ::sigaction(signal, &fallback, nullptr);
        ::raise(signal);
        return;
    }
    previous.sa_handler(signal);
}

void onCaptureSignal(int signal, siginfo_t* info, void* context) {
    CaptureSlot* slot = g_slot.load(std::memory_order_acquire);
    const uint64_t value = reinterpret_cast<uintptr_t>(info->si_value.sival_ptr);
    if (slot == nullptr || info->si_code != SI_QUEUE || info->si_pid != ::getpid() ||
        (value >> kTagShift) != kTag) {
        passOn(signal, info, context);
        return;
    }
    const int savedErrno = errno;
    const uint64_t sequence = value & kSequenceMask;
    uint64_t expected = sequence << 2 | kPending;
    if (slot->state.compare_exchange_strong(expected, sequence << 2 | kCapturing,
                                            std::memory_order_acq_rel)) {
        slot->interrupted = instructionPointer(context);
        slot->count = ::backtrace(slot->frames, static_cast<int>(kMaxCapturedFrames));
        slot->state.store(sequence << 2 | kDone, std::memory_order_release);
        ::sem_post(&slot->done);
    }
    errno = savedErrno;
}

// The highest real-time signal that nobody handles.
int unusedRealTimeSignal() {
    for (int signal = SIGRTMAX; signal >= SIGRTMIN; --signal) {
        struct sigaction current;
        if (::sigaction(signal, nullptr, &current) == 0 && (current.sa_flags & SA_SIGINFO) == 0 &&
            current.sa_handler == SIG_DFL) {
            return signal;
        }
    }
    return 0;
}

// When the library is unloaded its handler must not stay behind. The
// signal is left ignored rather than at its default, which would end the
// process should a late one still be on its way.
struct HandlerRemover {
    ~HandlerRemover() {
        if (g_captureSignal == 0)
            return;
        struct sigaction ignore;
        std::memset(&ignore, 0, sizeof ignore);
        ignore.sa_handler = SIG_IGN;
        ::sigaction(g_captureSignal, &ignore, nullptr);
    }
} g_handlerRemover;

// Installs the handler on first use. Called with captureLock() held.
bool installCaptureHandler() {
    if (g_captureSignal != 0)
        return true;
    void* warmUp[4];
    ::backtrace(warmUp, 4);
    const int signal = unusedRealTimeSignal();
    if (signal == 0 || ::sigaction(signal, nullptr, &g_previousAction) != 0)
        return false;
    auto* slot = new CaptureSlot;  // never freed: a late handler may still look at it
    ::sem_init(&slot->done, 0, 0);
    g_slot.store(slot, std::memory_order_release);
    struct sigaction action;
    std::memset(&action, 0, sizeof action);
    action.sa_sigaction = onCaptureSignal;
    action.sa_flags = SA_SIGINFO | SA_RESTART;
    sigemptyset(&action.sa_mask);
    if (::sigaction(signal, &action, nullptr) != 0)
        return false;
    g_captureSignal = signal;
    return true;
}

long long monotonicMilliseconds() {
    struct timespec now;
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<long long>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
}

// Waits on the semaphore until `slice` milliseconds from now. The wait is
// sem_timedwait on the real-time clock, in short slices measured against
// the monotonic one, so that a clock change shifts the time-out by one
// slice at most (and sanitizers that hold signals back outside known
// blocking calls see it as one).
bool waitSlice(sem_t& semaphore, long slice) {
    struct timespec deadline;
    ::clock_gettime(CLOCK_REALTIME, &deadline);
    deadline.tv_nsec += slice * 1000000L;
    deadline.tv_sec += deadline.tv_nsec / 1000000000L;
    deadline.tv_nsec %= 1000000000L;
    while (::sem_timedwait(&semaphore, &deadline) != 0) {
        if (errno != EINTR)
            return false;
    }
    return true;
}

bool waitForCapture(CaptureSlot& slot, uint64_t sequence) {
    const long long end = monotonicMilliseconds() + kCaptureTimeoutMs;
    for (long long now = monotonicMilliseconds(); now < end; now = monotonicMilliseconds()) {
        if (waitSlice(slot.done, static_cast<long>(std::min<long long>(end - now, 50))))
            return true;
    }
    uint64_t expected = sequence << 2 | kPending;
    if (slot.state.compare_exchange_strong(expected, kIdle, std::memory_order_acq_rel))
        return false;  // withdrawn: a late signal will find nothing to do
    // The handler has claimed the request and is about to post.
    while (::sem_wait(&slot.done) != 0 && errno == EINTR) {
    }
    return true;
}

}  // namespace

std::mutex& sessionLock(SymbolSession& session) {
    return session.lock;
}

unsigned long currentProcessId() {
    return static_cast<unsigned long>(::getpid());
}

void* currentProcessHandle() {
    return nullptr;
}

const wchar_t* defaultSymbolLibrary() {
    return L"libdw.so.1";
}

namespace {

bool loadSession(SymbolSession& session, const std::wstring& libraryPath,
                 const std::wstring& symbolPaths) {
    if (libraryPath.empty())
        return false;
    const NativePath path = toNativePath(libraryPath);
    session.library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (session.library == nullptr)
        return false;
    if (!bindLibdw(session.library, session.api)) {
        ::dlclose(session.library);
        session.library = nullptr;
        return false;
    }
    for (const std::string& directory : splitSearchPath(wideToUtf8(symbolPaths))) {
        const NativePath native = toNativePath(utf8ToWide(directory));
        // Only absolute directories mean anything here ("C:\" does not).
        if (!native.empty() && native[0] == '/')
            session.debugDirectories.push_back(native);
    }
    session.callbacks.find_elf = session.api.linuxProcFindElf;
    session.callbacks.find_debuginfo = findLocalDebugFile;
    session.dwfl = session.api.begin(&session.callbacks);
    if (session.dwfl == nullptr) {
        ::dlclose(session.library);
        session.library = nullptr;
        return false;
    }
    return true;
}

}  // namespace

SymbolSession* openSymbolSession(const std::wstring& libraryPath, const std::wstring& symbolPaths,
                                 unsigned long processId, void*) {
    if (processId != currentProcessId()) {
        setLastError(kErrorNotSupported);
        return nullptr;
    }
    // Never destroyed: the sessions serve the process until it ends.
    static std::mutex* sessionsLock = new std::mutex;
    static auto* sessions = new std::map<std::wstring, SymbolSession*>;
    std::lock_guard<std::mutex> guard(*sessionsLock);
    auto found = sessions->find(libraryPath);
    if (found != sessions->end())
        return found->second;
    auto* session = new SymbolSession;
    if (!loadSession(*session, libraryPath, symbolPaths)) {
        delete session;
        setLastError(kErrorDllInitFailed);
        return nullptr;
    }
    prepareForFrames(*session);
    sessions->emplace(libraryPath, session);
    return session;
}

bool captureCallingThread(SymbolSession& session, const void* startAt,
                          std::vector<CapturedFrame>& frames) {
    std::vector<void*>& buffer = session.buffer;
    size_t capacity = 256;
    int count = 0;
    for (;;) {
        buffer.resize(capacity);
        count = ::backtrace(buffer.data(), static_cast<int>(capacity));
        if (count < static_cast<int>(capacity) || capacity >= kMaxCapturedFrames)
            break;
        capacity = std::min(capacity * 4, kMaxCapturedFrames);
    }
    int first = 0;
    for (int i = 0; i < count; ++i) {
        if (buffer[i] == startAt) {
            first = i;
            break;
        }
    }
    for (int i = first; i < count; ++i)
        frames.push_back({reinterpret_cast<uintptr_t>(buffer[i]), true});
    prepareForFrames(session);
    return true;
}

bool captureThread(SymbolSession& session, unsigned long threadId,
                   std::vector<CapturedFrame>& frames) {
    std::unique_lock<std::mutex> guard(captureLock());
    if (!installCaptureHandler()) {
        setLastError(kErrorNotSupported);
        return false;
    }
    CaptureSlot& slot = *g_slot.load(std::memory_order_relaxed);
    g_sequence = (g_sequence + 1) & kSequenceMask;
    if (g_sequence == 0)
        g_sequence = 1;  // 0 never names a request
    const uint64_t sequence = g_sequence;
    while (::sem_trywait(&slot.done) == 0) {
    }
    slot.state.store(sequence << 2 | kPending, std::memory_order_release);
    siginfo_t info;
    std::memset(&info, 0, sizeof info);
    info.si_signo = g_captureSignal;
    info.si_code = SI_QUEUE;
    info.si_pid = ::getpid();
    info.si_uid = ::getuid();
    info.si_value.sival_ptr =
        reinterpret_cast<void*>(static_cast<uintptr_t>(kTag << kTagShift | sequence));
    if (::syscall(SYS_rt_tgsigqueueinfo, ::getpid(), static_cast<pid_t>(threadId), g_captureSignal,
                  &info) != 0) {
        const int error = errno;
        slot.state.store(kIdle, std::memory_order_release);
        setLastError(error == ESRCH ? kErrorInvalidThreadId : kErrorInvalidParameter);
        return false;
    }
    if (!waitForCapture(slot, sequence)) {
        setLastError(kErrorTimeout);
        return false;
    }
    if (slot.state.load(std::memory_order_acquire) != (sequence << 2 | kDone)) {
        setLastError(kErrorTimeout);
        return false;
    }
    // The frames before the interrupted instruction are the handler's own
    // and the signal trampoline's. Where the unwinder could not pass the
    // signal frame the interrupted instruction leads the frames the
    // handler saw.
    const uintptr_t interrupted = slot.interrupted;
    int first = -1;
    for (int i = 0; i < slot.count; ++i) {
        if (reinterpret_cast<uintptr_t>(slot.frames[i]) == interrupted) {
            first = i;
            break;
        }
    }
    if (interrupted != 0)
        frames.push_back({interrupted, false});
    for (int i = first >= 0 ? first + 1 : 1; i < slot.count; ++i)
        frames.push_back({reinterpret_cast<uintptr_t>(slot.frames[i]), true});
    slot.state.store(kIdle, std::memory_order_release);
    guard.unlock();
    prepareForFrames(session);
    return true;
}

void describeFrame(SymbolSession& session, const CapturedFrame& frame,
                   KelStackWalker::CallstackEntry& entry) {
    // The call lies just before a return address: looking there gives the
    // call's function and line, even when the call was a function's last
    // instruction.
    const uint64_t address = frame.returnAddress && frame.pc > 0 ? frame.pc - 1 : frame.pc;
    t_activeSession = &session;
    auto known = session.resolved.find(address);
    if (known == session.resolved.end()) {
        if (session.resolved.size() >= kMaxResolvedAddresses)
            session.resolved.clear();
        known = session.resolved.emplace(address, resolve(session, address)).first;
    }
    t_activeSession = nullptr;
    const ResolvedAddress& resolved = known->second;
    copyField(entry.name, resolved.name.c_str());
    copyField(entry.undName, resolved.undName.c_str());
    copyField(entry.undFullName, resolved.undFullName.c_str());
    copyField(entry.lineFileName, resolved.file.c_str());
    entry.lineNumber = resolved.line;
    copyField(entry.moduleName, resolved.module.c_str());
    copyField(entry.symTypeString,
              resolved.module.empty() ? "" : symbolTypeText(resolved.symbolType));
    copyField(entry.loadedImageName, resolved.image.c_str());
}

}  // namespace kel::detail
