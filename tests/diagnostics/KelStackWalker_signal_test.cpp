// KelStackWalker on Linux: the real-time signal that interrupts another
// thread leaves the host's signals alone. Its own program, because the
// library picks its signal on the first walk of another thread.

#include <kel/Kel.h>

#include <gtest/gtest.h>

#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <string>
#include <thread>

namespace {

std::atomic<int> g_hostSignals{0};

void hostHandler(int, siginfo_t*, void*) {
    g_hostSignals.fetch_add(1);
}

// The signal whose handler is neither the default nor the host's: the one
// the library took. 0 when there is none.
int librarySignal() {
    int found = 0;
    for (int signal = SIGRTMIN; signal <= SIGRTMAX; ++signal) {
        struct sigaction current;
        sigaction(signal, nullptr, &current);
        const bool info = (current.sa_flags & SA_SIGINFO) != 0;
        if (info && current.sa_sigaction == hostHandler)
            continue;
        if (!info && current.sa_handler == SIG_DFL)
            continue;
        if (found != 0)
            return -1;  // more than one
        found = signal;
    }
    return found;
}

// A thread of this process, reading a pipe until it is written to.
class ReadingThread {
public:
    ReadingThread() {
        EXPECT_EQ(::pipe(m_pipe), 0);
        m_thread = std::thread([this] {
            m_id.store(kelGetCurrentThreadId());
            char byte = 0;
            m_result.store(static_cast<int>(::read(m_pipe[0], &byte, 1)));
            m_error.store(errno);
        });
        while (m_id.load() == 0)
            std::this_thread::yield();
        // Into its read.
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    ~ReadingThread() {
        finish();
        ::close(m_pipe[0]);
        ::close(m_pipe[1]);
    }
    unsigned long id() const { return m_id.load(); }
    // Writes one byte; the thread's read returns.
    void finish() {
        if (!m_thread.joinable())
            return;
        EXPECT_EQ(::write(m_pipe[1], "x", 1), 1);
        m_thread.join();
    }
    int result() const { return m_result.load(); }
    int error() const { return m_error.load(); }

private:
    int m_pipe[2] = {-1, -1};
    std::atomic<unsigned long> m_id{0};
    std::atomic<int> m_result{-2};
    std::atomic<int> m_error{0};
    std::thread m_thread;
};

// The host handles the highest real-time signal (in every test, so that a
// death test's new process is set up the same way).
void installHostHandler() {
    struct sigaction host;
    std::memset(&host, 0, sizeof host);
    host.sa_sigaction = hostHandler;
    host.sa_flags = SA_SIGINFO;
    sigemptyset(&host.sa_mask);
    ASSERT_EQ(sigaction(SIGRTMAX, &host, nullptr), 0);
}

// A thread of this process that sleeps in short naps until it is stopped.
class NappingThread {
public:
    NappingThread() {
        m_thread = std::thread([this] {
            m_id.store(kelGetCurrentThreadId());
            while (!m_stop.load())
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
        });
        while (m_id.load() == 0)
            std::this_thread::yield();
    }
    ~NappingThread() {
        m_stop.store(true);
        m_thread.join();
    }
    unsigned long id() const { return m_id.load(); }

private:
    std::atomic<unsigned long> m_id{0};
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

#if defined(__SANITIZE_THREAD__)
constexpr bool kThreadSanitizer = true;
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
constexpr bool kThreadSanitizer = true;
#else
constexpr bool kThreadSanitizer = false;
#endif
#else
constexpr bool kThreadSanitizer = false;
#endif

TEST(KelStackWalkerSignal, TheHostsSignalStaysTheHosts) {
    // Before the library walks another thread for the first time.
    installHostHandler();
    ASSERT_EQ(librarySignal(), 0);

    NappingThread target;
    KelStackWalker walker(KelStackWalker::defaultLibraryPath(), L"");
    ASSERT_EQ(walker.ShowCallstack(target.id()), 1) << kelGetLastError();

    // The library took the next signal down, with SA_SIGINFO | SA_RESTART.
    const int taken = librarySignal();
    EXPECT_EQ(taken, SIGRTMAX - 1);
    struct sigaction current;
    sigaction(taken, nullptr, &current);
    EXPECT_EQ(current.sa_flags & (SA_SIGINFO | SA_RESTART), SA_SIGINFO | SA_RESTART);
    // The host's handler is still there and still receives its signal.
    sigaction(SIGRTMAX, nullptr, &current);
    EXPECT_TRUE((current.sa_flags & SA_SIGINFO) != 0 && current.sa_sigaction == hostHandler);
    raise(SIGRTMAX);
    EXPECT_EQ(g_hostSignals.load(), 1);
}

TEST(KelStackWalkerSignal, AnInterruptedReadCarriesOn) {
    if (kThreadSanitizer)
        GTEST_SKIP() << "ThreadSanitizer holds signals back while a thread waits in read()";
    installHostHandler();
    ReadingThread target;
    KelStackWalker walker(KelStackWalker::defaultLibraryPath(), L"");
    for (int i = 0; i < 20; ++i)
        ASSERT_EQ(walker.ShowCallstack(target.id()), 1) << kelGetLastError();
    // The read was restarted after each interruption (SA_RESTART) and
    // returns the byte, not EINTR.
    target.finish();
    EXPECT_EQ(target.result(), 1);
    EXPECT_EQ(target.error(), 0);
}

TEST(KelStackWalkerSignal, ASignalTheLibraryDidNotSendHasItsDefaultEffect) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    installHostHandler();
    NappingThread target;
    KelStackWalker walker(KelStackWalker::defaultLibraryPath(), L"");
    ASSERT_EQ(walker.ShowCallstack(target.id()), 1);
    const int taken = librarySignal();
    ASSERT_GT(taken, 0);
    // Without the library the signal would end the process; it still does.
    EXPECT_EXIT(raise(taken), ::testing::KilledBySignal(taken), "");
}

}  // namespace
