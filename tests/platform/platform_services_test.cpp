#include <gtest/gtest.h>

#include <kel/KelPlatform.h>

#include <atomic>
#include <set>
#include <string>
#include <thread>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
#endif

#include "support/isolation.h"
#include "support/system.h"

TEST(LastError, IsPerThread) {
    // The two threads take turns by spinning on an atomic, not by a lock or
    // a join: on Windows those are system calls, which may change the
    // calling thread's last error themselves.
    std::atomic<int> turn{0};
    unsigned long seenByOtherThread = 99;
    unsigned long otherAfterItsOwnSet = 0;
    std::thread other([&] {
        while (turn.load() != 1) {
        }
        seenByOtherThread = kelGetLastError();
        kelSetLastError(42);
        otherAfterItsOwnSet = kelGetLastError();
        turn.store(2);
    });
    kelSetLastError(1234);
    turn.store(1);
    while (turn.load() != 2) {
    }
    const unsigned long mine = kelGetLastError();
    other.join();
    EXPECT_EQ(mine, 1234ul);
    EXPECT_EQ(otherAfterItsOwnSet, 42ul);
    if (kel::test::kWindows) {
        // The system's value: whatever the thread's start-up left there.
        EXPECT_NE(seenByOtherThread, 1234ul);
    } else {
        EXPECT_EQ(seenByOtherThread, 0ul);
    }
}

#if defined(_WIN32)
TEST(LastError, IsTheSystemsOwnOnWindows) {
    kelSetLastError(183);
    EXPECT_EQ(::GetLastError(), 183ul);
    ::SetLastError(1114);
    EXPECT_EQ(kelGetLastError(), 1114ul);
}
#endif

TEST(ThreadId, IsStableWithinAThreadAndDiffersBetweenThreads) {
    const unsigned long mine = kelGetCurrentThreadId();
    EXPECT_NE(mine, 0ul);
    EXPECT_EQ(kelGetCurrentThreadId(), mine);
    std::vector<unsigned long> ids(4);
    std::vector<std::thread> threads;
    for (size_t i = 0; i < ids.size(); ++i) {
        threads.emplace_back([&ids, i] { ids[i] = kelGetCurrentThreadId(); });
    }
    for (auto& t : threads)
        t.join();
    std::set<unsigned long> distinct(ids.begin(), ids.end());
    distinct.insert(mine);
    EXPECT_EQ(distinct.size(), 5u);
}

#if defined(_WIN32)
TEST(ThreadId, IsTheSystemsOwnOnWindows) {
    EXPECT_EQ(kelGetCurrentThreadId(), ::GetCurrentThreadId());
    unsigned long seen = 0;
    unsigned long system = 1;
    std::thread other([&] {
        seen = kelGetCurrentThreadId();
        system = ::GetCurrentThreadId();
    });
    other.join();
    EXPECT_EQ(seen, system);
}
#endif

namespace {
std::vector<std::wstring> g_lines;
void collect(const wchar_t* text, void* context) {
    g_lines.push_back(text);
    ++*static_cast<int*>(context);
}
}  // namespace

TEST(DebugOutput, GoesToTheInstalledHandlerWithItsContext) {
    g_lines.clear();
    int calls = 0;
    kelSetDebugOutputHandler(collect, &calls);
    kelOutputDebugString(L"first");
    kelOutputDebugString(nullptr);
    kelOutputDebugString(L"second");
    kelSetDebugOutputHandler(nullptr, nullptr);
    kelOutputDebugString(L"not collected");
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(g_lines, (std::vector<std::wstring>{L"first", L"second"}));
}

TEST(DebugOutput, DefaultIsSilentAndStderrOnRequest) {
    kel::test::setEnv("KEL_DEBUG_OUTPUT", nullptr);
    testing::internal::CaptureStderr();
    kelOutputDebugString(L"quiet");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");

    kel::test::setEnv("KEL_DEBUG_OUTPUT", "1");
    testing::internal::CaptureStderr();
    kelOutputDebugString(L"loud \u00E9");
    const std::string captured = testing::internal::GetCapturedStderr();
    kel::test::setEnv("KEL_DEBUG_OUTPUT", nullptr);
    EXPECT_EQ(captured, "loud \xC3\xA9\n");  // UTF-8 on every system
}

#if defined(_WIN32)
namespace {

// What reached the debugger channel. OutputDebugString raises an exception
// that a debugger would take; a vectored handler sees it first and passes
// it on. The wide form carries the text itself, the narrow one its ANSI
// conversion (which is the same for the ASCII text used here).
std::vector<std::wstring> g_debuggerLines;

LONG CALLBACK watchDebugOutput(EXCEPTION_POINTERS* pointers) {
    constexpr DWORD kWidePrintException = 0x4001000A;
    const EXCEPTION_RECORD* record = pointers->ExceptionRecord;
    if (record->NumberParameters < 2)
        return EXCEPTION_CONTINUE_SEARCH;
    if (record->ExceptionCode == kWidePrintException) {
        g_debuggerLines.emplace_back(
            reinterpret_cast<const wchar_t*>(record->ExceptionInformation[1]));
    } else if (record->ExceptionCode == DBG_PRINTEXCEPTION_C) {
        const std::string text = reinterpret_cast<const char*>(record->ExceptionInformation[1]);
        g_debuggerLines.emplace_back(text.begin(), text.end());
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

}  // namespace

TEST(DebugOutput, DefaultGoesToTheDebuggerOnWindows) {
    g_debuggerLines.clear();
    kel::test::setEnv("KEL_DEBUG_OUTPUT", nullptr);
    void* watcher = ::AddVectoredExceptionHandler(1, watchDebugOutput);
    ASSERT_NE(watcher, nullptr);
    kelOutputDebugString(L"kel: to the debugger");
    ::RemoveVectoredExceptionHandler(watcher);
    ASSERT_FALSE(g_debuggerLines.empty());
    for (const std::wstring& line : g_debuggerLines)
        EXPECT_EQ(line, L"kel: to the debugger");
}
#endif

namespace {
int g_handlerCalls = 0;
void countingHandler(const wchar_t*, const wchar_t*, const wchar_t*, unsigned int, uintptr_t) {
    ++g_handlerCalls;
}
void otherHandler(const wchar_t*, const wchar_t*, const wchar_t*, unsigned int, uintptr_t) {}
}  // namespace

TEST(InvalidParameterHandler, SetReturnsThePreviousOne) {
    EXPECT_EQ(kelGetInvalidParameterHandler(), nullptr);
    EXPECT_EQ(kelSetInvalidParameterHandler(countingHandler), nullptr);
    EXPECT_EQ(kelGetInvalidParameterHandler(), countingHandler);
    EXPECT_EQ(kelSetInvalidParameterHandler(otherHandler), countingHandler);
    EXPECT_EQ(kelSetInvalidParameterHandler(nullptr), otherHandler);
    EXPECT_EQ(kelGetInvalidParameterHandler(), nullptr);
}

TEST(NarrowCodePage, IsUtf8WithoutKelAcp) {
#if defined(_WIN32)
    EXPECT_EQ(kelGetNarrowCodePage(), GetACP());
#else
    EXPECT_EQ(kelGetNarrowCodePage(), 65001u);
#endif
}
