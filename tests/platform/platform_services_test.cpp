#include <gtest/gtest.h>

#include <kel/KelPlatform.h>

#include <set>
#include <string>
#include <thread>
#include <vector>

#include "support/isolation.h"

TEST(LastError, IsPerThread) {
    kelSetLastError(1234);
    unsigned long seenByOtherThread = 99;
    std::thread other([&] {
        seenByOtherThread = kelGetLastError();
        kelSetLastError(42);
    });
    other.join();
    EXPECT_EQ(seenByOtherThread, 0ul);
    EXPECT_EQ(kelGetLastError(), 1234ul);
}

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
#if defined(_WIN32)
    EXPECT_NE(captured.find("loud"), std::string::npos);
#else
    EXPECT_EQ(captured, "loud \xC3\xA9\n");
#endif
}

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
