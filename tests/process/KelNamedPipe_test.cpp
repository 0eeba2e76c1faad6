// KelNamedPipe and KelPipeConnection against real clients: a thread of the
// test connects to the pipe (a Unix socket, or the Windows pipe through
// CreateFileW) and writes bytes in the wire format.

#include <kel/Kel.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <climits>
#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "pipe_test_client.h"
#include "support/system.h"

namespace {

using kel::test::ClientThread;
using kel::test::PipeTestClient;
using kel::test::Signal;
using kel::test::uniquePipeName;
using kel::test::wireInt;
using kel::test::wireString;

void* const kInvalidHandle = reinterpret_cast<void*>(~uintptr_t{0});

constexpr unsigned long kErrorInvalidHandle = 6;
constexpr unsigned long kErrorInvalidData = 13;
constexpr unsigned long kErrorInvalidParameter = 87;
constexpr unsigned long kErrorBrokenPipe = 109;
constexpr unsigned long kErrorInvalidName = 123;
constexpr unsigned long kErrorPipeBusy = 231;
constexpr unsigned long kErrorNoData = 232;
constexpr unsigned long kErrorPartialCopy = 299;
constexpr unsigned long kErrorPipeNotConnected = 233;
constexpr unsigned long kErrorPipeConnected = 535;
constexpr unsigned long kErrorPipeListening = 536;

// The pipe with its protected operations and fields in reach.
class InspectedPipe : public KelNamedPipe {
public:
    explicit InspectedPipe(const std::wstring& name) : KelNamedPipe(KelString(name.c_str())) {}
    using KelNamedPipe::readData;
    using KelNamedPipe::readMoreDataIfNeccessary;
    using KelNamedPipe::reset;

    std::wstring name() const { return m_name.getStringW(); }
    void* handle() const { return m_handle; }
    uint32_t consumed() const { return m_consumed; }
    uint32_t valid() const { return m_valid; }
    // The read position as an offset into the buffer; -1 while it is unset.
    long cursorOffset() const { return m_cursor == nullptr ? -1 : m_cursor - m_buffer; }
    std::string bufferBytes(size_t from, size_t count) const {
        return std::string(reinterpret_cast<const char*>(m_buffer) + from, count);
    }
};

// Closes the pipe when the test leaves, before the client threads declared
// ahead of it are joined: a client blocked in a write gets its error and
// ends.
class CloseFirst {
public:
    explicit CloseFirst(KelNamedPipe& pipe) : m_pipe(pipe) {}
    ~CloseFirst() { m_pipe.close(); }

private:
    KelNamedPipe& m_pipe;
};

std::string ints(int first, int count) {
    std::string bytes;
    for (int i = 0; i < count; ++i)
        bytes += wireInt(first + i);
    return bytes;
}

std::string bytesOf(std::initializer_list<int> values) {
    std::string bytes;
    for (int b : values)
        bytes += static_cast<char>(b);
    return bytes;
}

// A pipe created under a fresh name, with a client that writes `bytes` and
// stays connected until the server says `done`.
class PipeTest : public ::testing::Test {
protected:
    PipeTest() : name(uniquePipeName("pipe")), pipe(name) {}

    void TearDown() override { pipe.close(); }

    std::wstring name;
    InspectedPipe pipe;
};

// ----- state ----------------------------------------------------------------

TEST_F(PipeTest, Constructor_StoresTheNameAndOpensNothing) {
    EXPECT_EQ(pipe.name(), name);
    EXPECT_EQ(pipe.handle(), kInvalidHandle);
    EXPECT_EQ(pipe.consumed(), 0u);
    EXPECT_EQ(pipe.valid(), 0u);
    EXPECT_EQ(pipe.cursorOffset(), -1);
    EXPECT_EQ(pipe.isOpened(), 0);
}

TEST_F(PipeTest, Create_OpensThePipe) {
    EXPECT_EQ(pipe.create(), 1);
    EXPECT_EQ(pipe.isOpened(), 1);
    EXPECT_NE(pipe.handle(), kInvalidHandle);
    EXPECT_EQ(pipe.name(), name);
}

TEST_F(PipeTest, Close_ReturnsToTheResetStateWithTheNameEmptied) {
    ASSERT_EQ(pipe.create(), 1);
    ClientThread client(name, [](PipeTestClient& c) { c.write(wireInt(3)); });
    ASSERT_EQ(pipe.waitForConnection(), 1);
    int value = 0;
    ASSERT_EQ(pipe.read(value), 1);
    pipe.close();
    EXPECT_EQ(pipe.isOpened(), 0);
    EXPECT_EQ(pipe.handle(), kInvalidHandle);
    EXPECT_EQ(pipe.name(), L"");
    EXPECT_EQ(pipe.consumed(), 0u);
    EXPECT_EQ(pipe.valid(), 0u);
    EXPECT_EQ(pipe.cursorOffset(), -1);
}

TEST_F(PipeTest, CreateAfterClose_FailsForTheEmptyName) {
    ASSERT_EQ(pipe.create(), 1);
    pipe.close();
    EXPECT_EQ(pipe.create(), 0);
    EXPECT_EQ(pipe.isOpened(), 0);
}

TEST_F(PipeTest, CloseOfAPipeNeverCreated_KeepsTheResetState) {
    pipe.close();
    EXPECT_EQ(pipe.isOpened(), 0);
    EXPECT_EQ(pipe.name(), L"");
}

TEST_F(PipeTest, Reset_ForgetsThePipeWithoutClosingIt) {
    ASSERT_EQ(pipe.create(), 1);
    KelNamedPipe keeper(pipe);
    pipe.reset();
    EXPECT_EQ(pipe.isOpened(), 0);
    EXPECT_EQ(pipe.name(), L"");
    EXPECT_EQ(pipe.cursorOffset(), -1);
    // Still open: a client reaches it through the copy.
    ClientThread client(name, [](PipeTestClient& c) { c.write(wireInt(11)); });
    EXPECT_EQ(keeper.waitForConnection(), 1);
    int value = 0;
    EXPECT_EQ(keeper.read(value), 1);
    EXPECT_EQ(value, 11);
    keeper.close();
}

TEST_F(PipeTest, Destructor_LeavesThePipeOpen) {
    const std::wstring scopedName = uniquePipeName("scoped");
    KelNamedPipe* keeper = nullptr;
    {
        InspectedPipe scoped(scopedName);
        ASSERT_EQ(scoped.create(), 1);
        keeper = new KelNamedPipe(scoped);
    }
    ClientThread client(scopedName, [](PipeTestClient& c) { c.write(wireInt(21)); });
    EXPECT_EQ(keeper->waitForConnection(), 1);
    int value = 0;
    EXPECT_EQ(keeper->read(value), 1);
    EXPECT_EQ(value, 21);
    client.join();
    EXPECT_TRUE(client.connected());
    keeper->close();
    delete keeper;
}

TEST_F(PipeTest, OperationsWithoutAPipe_Fail) {
    kelSetLastError(0);
    EXPECT_EQ(pipe.waitForConnection(), 0);
    EXPECT_EQ(kelGetLastError(), kErrorInvalidHandle);
    int value = 5;
    kelSetLastError(0);
    EXPECT_EQ(pipe.read(value), 0);
    EXPECT_EQ(kelGetLastError(), kErrorInvalidHandle);
    EXPECT_EQ(value, 5);
    KelString text(L"kept");
    EXPECT_EQ(pipe.read(text), 0);
    EXPECT_EQ(text, KelString(L"kept"));
    // A failed read leaves nothing consumed and the position at the start.
    EXPECT_EQ(pipe.consumed(), 0u);
    EXPECT_EQ(pipe.cursorOffset(), 0);
    pipe.disconnect();
    EXPECT_EQ(pipe.isOpened(), 0);
}

// ----- copies ------------------------------------------------------------------

TEST_F(PipeTest, Copy_SharesThePipeAndCopiesTheBufferedBytes) {
    ASSERT_EQ(pipe.create(), 1);
    Signal written;
    ClientThread client(name, [&](PipeTestClient& c) {
        c.write(ints(1, 4));
        written.raise();
    });
    ASSERT_EQ(pipe.waitForConnection(), 1);
    ASSERT_TRUE(written.wait());
    int value = 0;
    ASSERT_EQ(pipe.read(value), 1);
    ASSERT_EQ(value, 1);
    ASSERT_EQ(pipe.valid(), 16u);

    InspectedPipe copy(pipe);
    EXPECT_EQ(copy.handle(), pipe.handle());
    EXPECT_EQ(copy.name(), name);
    EXPECT_EQ(copy.consumed(), 4u);
    EXPECT_EQ(copy.valid(), 16u);
    // The copy reads from its own buffer, at the same position.
    EXPECT_EQ(copy.cursorOffset(), 4);
    EXPECT_EQ(copy.read(value), 1);
    EXPECT_EQ(value, 2);
    EXPECT_EQ(pipe.read(value), 1);
    EXPECT_EQ(value, 2);

    InspectedPipe assigned(uniquePipeName("other"));
    assigned = copy;
    EXPECT_EQ(assigned.handle(), pipe.handle());
    EXPECT_EQ(assigned.cursorOffset(), 8);
    EXPECT_EQ(assigned.read(value), 1);
    EXPECT_EQ(value, 3);
    InspectedPipe& same = assigned;
    assigned = same;
    EXPECT_EQ(assigned.read(value), 1);
    EXPECT_EQ(value, 4);
}

TEST_F(PipeTest, Copy_FailsWithInvalidHandleOnceTheOtherClosedThePipe) {
    ASSERT_EQ(pipe.create(), 1);
    KelNamedPipe copy(pipe);
    pipe.close();
    EXPECT_EQ(copy.isOpened(), 1);
    kelSetLastError(0);
    EXPECT_EQ(copy.waitForConnection(), 0);
    EXPECT_EQ(kelGetLastError(), kErrorInvalidHandle);
    int value = 0;
    EXPECT_EQ(copy.read(value), 0);
    EXPECT_EQ(kelGetLastError(), kErrorInvalidHandle);
}

// ----- connecting ----------------------------------------------------------

TEST_F(PipeTest, WaitForConnection_ReturnsWhenAClientConnects) {
    ASSERT_EQ(pipe.create(), 1);
    ClientThread client(name, [](PipeTestClient& c) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        c.write(wireInt(42));
    });
    EXPECT_EQ(pipe.waitForConnection(), 1);
    int value = 0;
    EXPECT_EQ(pipe.read(value), 1);
    EXPECT_EQ(value, 42);
}

TEST_F(PipeTest, WaitForConnection_CountsAClientThatCameBeforeTheWait) {
    ASSERT_EQ(pipe.create(), 1);
    Signal connected;
    Signal done;
    ClientThread client(name, [&](PipeTestClient& c) {
        c.write(wireInt(7));
        connected.raise();
        done.wait();
    });
    ASSERT_TRUE(connected.wait());
    kelSetLastError(0);
    EXPECT_EQ(pipe.waitForConnection(), 1);
    EXPECT_EQ(kelGetLastError(), kErrorPipeConnected);
    int value = 0;
    EXPECT_EQ(pipe.read(value), 1);
    EXPECT_EQ(value, 7);
    done.raise();
}

// Windows refuses the wait for a client that already went (232, no data);
// a Unix socket keeps what it sent, and the wait takes it.
TEST_F(PipeTest, WaitForConnection_AfterTheClientCameAndWent) {
    ASSERT_EQ(pipe.create(), 1);
    ClientThread client(name, [](PipeTestClient& c) { c.write(wireInt(4)); });
    client.join();
    ASSERT_TRUE(client.connected());
    kelSetLastError(0);
    int value = 0;
    if (kel::test::kWindows) {
        EXPECT_EQ(pipe.waitForConnection(), 0);
        EXPECT_EQ(kelGetLastError(), kErrorNoData);
    } else {
        EXPECT_EQ(pipe.waitForConnection(), 1);
        EXPECT_EQ(kelGetLastError(), kErrorPipeConnected);
        EXPECT_EQ(pipe.read(value), 1);
        EXPECT_EQ(value, 4);
        EXPECT_EQ(pipe.read(value), 0);
        EXPECT_EQ(kelGetLastError(), kErrorBrokenPipe);
    }
}

// Windows makes a second instance of the pipe; without Windows a live pipe
// is never taken over.
TEST_F(PipeTest, Create_OfASecondPipeOfTheSameName) {
    ASSERT_EQ(pipe.create(), 1);
    KelNamedPipe second(KelString(name.c_str()));
    kelSetLastError(0);
    if (kel::test::kWindows) {
        EXPECT_EQ(second.create(), 1);
        second.close();
    } else {
        EXPECT_EQ(second.create(), 0);
        EXPECT_EQ(kelGetLastError(), kErrorPipeBusy);
    }
}

TEST_F(PipeTest, WaitForConnection_WhileAClientIsConnectedReturnsOne) {
    ASSERT_EQ(pipe.create(), 1);
    Signal done;
    ClientThread client(name, [&](PipeTestClient& c) {
        c.write(wireInt(1));
        done.wait();
    });
    ASSERT_EQ(pipe.waitForConnection(), 1);
    kelSetLastError(0);
    EXPECT_EQ(pipe.waitForConnection(), 1);
    EXPECT_EQ(kelGetLastError(), kErrorPipeConnected);
    int value = 0;
    EXPECT_EQ(pipe.read(value), 1);
    EXPECT_EQ(value, 1);
    done.raise();
}

TEST_F(PipeTest, Disconnect_DropsTheClientAndItsUnreadBytesForTheNextClient) {
    ASSERT_EQ(pipe.create(), 1);
    Signal firstWritten, dropped;
    std::atomic<bool> lateWriteFailed{false};
    ClientThread first(name, [&](PipeTestClient& c) {
        c.write(ints(1, 3));
        firstWritten.raise();
        dropped.wait();
        // The server is gone for this client: its writes fail, sooner or
        // later, and never kill the process.
        for (int i = 0; i < 1000 && !lateWriteFailed; ++i)
            lateWriteFailed = !c.write(ints(100, 1024));
    });
    ASSERT_EQ(pipe.waitForConnection(), 1);
    ASSERT_TRUE(firstWritten.wait());
    int value = 0;
    ASSERT_EQ(pipe.read(value), 1);
    ASSERT_EQ(value, 1);
    pipe.disconnect();
    EXPECT_EQ(pipe.isOpened(), 1);
    EXPECT_EQ(pipe.valid(), 0u);
    EXPECT_EQ(pipe.cursorOffset(), -1);
    dropped.raise();
    first.join();
    EXPECT_TRUE(lateWriteFailed);

    ClientThread second(name, [](PipeTestClient& c) { c.write(ints(10, 2)); });
    EXPECT_EQ(pipe.waitForConnection(), 1);
    EXPECT_EQ(pipe.read(value), 1);
    EXPECT_EQ(value, 10);
    EXPECT_EQ(pipe.read(value), 1);
    EXPECT_EQ(value, 11);
}

TEST_F(PipeTest, Disconnect_ServesClientsOneAfterTheOther) {
    ASSERT_EQ(pipe.create(), 1);
    for (int round = 0; round < 5; ++round) {
        ClientThread client(name, [round](PipeTestClient& c) {
            c.write(wireInt(round) + wireString("client " + std::to_string(round)));
        });
        ASSERT_EQ(pipe.waitForConnection(), 1) << round;
        int value = -1;
        KelString text;
        EXPECT_EQ(pipe.read(value), 1);
        EXPECT_EQ(pipe.read(text), 1);
        EXPECT_EQ(value, round);
        EXPECT_EQ(std::string(text.getStringA()), "client " + std::to_string(round));
        client.join();
        EXPECT_EQ(pipe.read(value), 0);
        EXPECT_EQ(kelGetLastError(), kErrorBrokenPipe);
        pipe.disconnect();
    }
}

TEST_F(PipeTest, Read_WithoutAClientFails) {
    ASSERT_EQ(pipe.create(), 1);
    int value = 7;
    kelSetLastError(0);
    EXPECT_EQ(pipe.read(value), 0);
    EXPECT_EQ(kelGetLastError(), kErrorPipeListening);
    EXPECT_EQ(value, 7);
}

TEST_F(PipeTest, Read_AfterDisconnectFails) {
    ASSERT_EQ(pipe.create(), 1);
    {
        ClientThread client(name, [](PipeTestClient& c) { c.write(wireInt(1)); });
        ASSERT_EQ(pipe.waitForConnection(), 1);
    }
    pipe.disconnect();
    int value = 7;
    kelSetLastError(0);
    EXPECT_EQ(pipe.read(value), 0);
    EXPECT_EQ(kelGetLastError(), kErrorPipeNotConnected);
    EXPECT_EQ(value, 7);
}

// ----- decoding -----------------------------------------------------------------

// Creates the pipe, lets a client write `bytes` and waits until it has
// (or a moment, where the system holds the write until the server reads).
class ReadTest : public PipeTest {
protected:
    void serve(const std::string& bytes) {
        ASSERT_EQ(pipe.create(), 1);
        client.reset(new ClientThread(name, [this, bytes](PipeTestClient& c) {
            c.write(bytes);
            written.raise();
            done.wait();
        }));
        ASSERT_EQ(pipe.waitForConnection(), 1);
        written.wait(kel::test::kWindows ? 200 : 20000);
    }

    void TearDown() override {
        done.raise();
        // Closed first, so that a client still writing gets its error.
        pipe.close();
        client.reset();
    }

    Signal written, done;
    std::unique_ptr<ClientThread> client;
};

TEST_F(ReadTest, FirstReadAlwaysReadsFromThePipe) {
    serve(wireInt(7) + wireInt(8));
    EXPECT_EQ(pipe.cursorOffset(), -1);
    // With the cursor unset even a request for nothing reads.
    EXPECT_EQ(pipe.readMoreDataIfNeccessary(0), 1);
    EXPECT_EQ(pipe.valid(), 8u);
    EXPECT_EQ(pipe.consumed(), 0u);
    EXPECT_EQ(pipe.cursorOffset(), 0);
    int value = 0;
    EXPECT_EQ(pipe.read(value), 1);
    EXPECT_EQ(value, 7);
    EXPECT_EQ(pipe.consumed(), 4u);
    EXPECT_EQ(pipe.cursorOffset(), 4);
}

TEST_F(ReadTest, Integers_AreLittleEndian) {
    serve(bytesOf({0x01, 0, 0, 0,    0x12, 0x34, 0x56, 0x78, 0xFF, 0xFF, 0xFF, 0xFF,
                   0,    0, 0, 0x80, 0xFF, 0xFF, 0xFF, 0x7F, 0,    0,    0,    0}));
    const int expected[] = {1, 0x78563412, -1, INT_MIN, INT_MAX, 0};
    for (int e : expected) {
        int value = 12345;
        EXPECT_EQ(pipe.read(value), 1);
        EXPECT_EQ(value, e);
    }
    EXPECT_EQ(pipe.consumed(), 24u);
}

TEST_F(ReadTest, Strings_AreNarrowTextWithAByteCount) {
    std::string narrow;
    ASSERT_TRUE(kel::test::narrowSample(kelGetNarrowCodePage(), L"Tr\u00E4ger", narrow))
        << kel::test::kNoNarrowSample << kelGetNarrowCodePage();
    serve(wireString("HEA 200") + wireString(narrow) + wireString("x"));
    KelString text;
    EXPECT_EQ(pipe.read(text), 1);
    EXPECT_EQ(text, KelString(L"HEA 200"));
    EXPECT_EQ(pipe.read(text), 1);
    EXPECT_EQ(text, KelString(L"Tr\u00E4ger"));
    EXPECT_EQ(pipe.read(text), 1);
    EXPECT_EQ(text, KelString(L"x"));
    EXPECT_EQ(pipe.consumed(), 4 + 7 + 4 + narrow.size() + 4 + 1);
}

TEST_F(ReadTest, EmptyString_LeavesTheTargetUnchangedAndConsumesFourBytes) {
    serve(wireString("") + wireInt(9));
    KelString text(L"keep");
    EXPECT_EQ(pipe.read(text), 1);
    EXPECT_EQ(text, KelString(L"keep"));
    EXPECT_EQ(pipe.consumed(), 4u);
    int value = 0;
    EXPECT_EQ(pipe.read(value), 1);
    EXPECT_EQ(value, 9);
}

TEST_F(ReadTest, IntegersAndStringsInterleaved) {
    std::string bytes;
    for (int i = 0; i < 50; ++i)
        bytes +=
            wireInt(i * 1000 - 7) + wireString(std::string(i, static_cast<char>('a' + i % 26)));
    serve(bytes);
    for (int i = 0; i < 50; ++i) {
        int value = 0;
        KelString text(L"previous");
        ASSERT_EQ(pipe.read(value), 1);
        EXPECT_EQ(value, i * 1000 - 7);
        ASSERT_EQ(pipe.read(text), 1);
        if (i == 0)
            EXPECT_EQ(text, KelString(L"previous"));
        else
            EXPECT_EQ(std::string(text.getStringA()), std::string(i, 'a' + i % 26));
    }
}

TEST_F(ReadTest, StringOf127Bytes_IsRead) {
    const std::string longest(127, 'q');
    serve(wireString(longest) + wireInt(1));
    KelString text;
    EXPECT_EQ(pipe.read(text), 1);
    EXPECT_EQ(std::string(text.getStringA()), longest);
    EXPECT_EQ(pipe.consumed(), 131u);
}

// A hostile count fails, changes nothing and consumes nothing: the four
// bytes can still be read as an integer.
class HostileLength : public ReadTest, public ::testing::WithParamInterface<int32_t> {};

TEST_P(HostileLength, IsAFailedReadThatConsumesNothing) {
    const int32_t length = GetParam();
    serve(wireInt(length) + std::string(200, 'z'));
    KelString text(L"unchanged");
    kelSetLastError(0);
    EXPECT_EQ(pipe.read(text), 0);
    EXPECT_EQ(kelGetLastError(), kErrorInvalidData);
    EXPECT_EQ(text, KelString(L"unchanged"));
    EXPECT_EQ(pipe.consumed(), 0u);
    EXPECT_EQ(pipe.read(text), 0);
    int value = 0;
    EXPECT_EQ(pipe.read(value), 1);
    EXPECT_EQ(value, length);
}

INSTANTIATE_TEST_SUITE_P(Lengths, HostileLength,
                         ::testing::Values(128, 129, 4096, 10 * 1024 * 1024, INT_MAX, -1, -128,
                                           INT_MIN));

// ----- values across the end of the buffer -------------------------------------

// A string of `text` bytes and 1022 integers leave an integer that starts
// `straddle` bytes before the end of the first 4096 bytes read.
class StraddlingInteger : public ReadTest, public ::testing::WithParamInterface<int> {};

TEST_P(StraddlingInteger, IsCompletedByOneFurtherReadAfterTheTailMoved) {
    const int straddle = GetParam();
    const std::string text(4 - straddle, 's');  // 4 + text + 4088 = 4096 - straddle
    serve(wireString(text) + ints(0, 1022) + wireInt(-123456789) + ints(5000, 10));
    KelString read;
    ASSERT_EQ(pipe.read(read), 1);
    int value = 0;
    for (int i = 0; i < 1022; ++i) {
        ASSERT_EQ(pipe.read(value), 1);
        ASSERT_EQ(value, i);
    }
    if (!kel::test::kWindows) {
        // The whole write was there: the first read filled the buffer.
        EXPECT_EQ(pipe.valid(), 4096u);
        EXPECT_EQ(pipe.consumed(), 4096u - straddle);
    }
    ASSERT_EQ(pipe.read(value), 1);
    EXPECT_EQ(value, -123456789);
    if (!kel::test::kWindows) {
        // The tail moved to the start, then the rest arrived behind it.
        EXPECT_EQ(pipe.consumed(), 4u);
        EXPECT_EQ(pipe.valid(), 44u);
    }
    for (int i = 0; i < 10; ++i) {
        ASSERT_EQ(pipe.read(value), 1);
        EXPECT_EQ(value, 5000 + i);
    }
}

INSTANTIATE_TEST_SUITE_P(Bytes, StraddlingInteger, ::testing::Values(1, 2, 3));

// A string whose count or text crosses the end of the first 4096 bytes.
class StraddlingString : public ReadTest, public ::testing::WithParamInterface<int> {};

TEST_P(StraddlingString, IsCompletedByOneFurtherRead) {
    const int start = GetParam();  // where the string's count begins
    // Up to `start`: a string of 0 to 3 bytes, then integers.
    const std::string head((start - 4) % 4, 'h');
    const int count = (start - 4) / 4;
    const std::string crossing = "crossing the end of the buffer";
    serve(wireString(head) + ints(0, count) + wireString(crossing) + wireInt(77));
    KelString text;
    ASSERT_EQ(pipe.read(text), 1);
    int value = 0;
    for (int i = 0; i < count; ++i) {
        ASSERT_EQ(pipe.read(value), 1);
        ASSERT_EQ(value, i);
    }
    EXPECT_EQ(pipe.read(text), 1);
    EXPECT_EQ(std::string(text.getStringA()), crossing);
    EXPECT_EQ(pipe.read(value), 1);
    EXPECT_EQ(value, 77);
}

// 4093..4095: the count crosses the end; 4066 and 4080: the text does;
// 4092 and 4096: the count ends or begins exactly at the end.
INSTANTIATE_TEST_SUITE_P(Starts, StraddlingString,
                         ::testing::Values(4092, 4093, 4094, 4095, 4080, 4066, 4096));

// The client writes a value in two parts; the server has read the first
// part when the second is written. The one further read brings the rest.
TEST_F(PipeTest, ValueSplitAcrossWrites_IsCompletedByTheFurtherRead) {
    ASSERT_EQ(pipe.create(), 1);
    const std::string value = wireInt(0x01020304);
    Signal firstPart, serverWaits;
    ClientThread client(name, [&](PipeTestClient& c) {
        c.write(wireInt(5) + value.substr(0, 2));
        firstPart.raise();
        serverWaits.wait();
        c.write(value.substr(2) + wireInt(6));
    });
    ASSERT_EQ(pipe.waitForConnection(), 1);
    ASSERT_TRUE(firstPart.wait());
    int read = 0;
    ASSERT_EQ(pipe.read(read), 1);
    EXPECT_EQ(read, 5);
    EXPECT_EQ(pipe.valid(), 6u);
    serverWaits.raise();
    ASSERT_EQ(pipe.read(read), 1);
    EXPECT_EQ(read, 0x01020304);
    EXPECT_EQ(pipe.bufferBytes(0, 2), value.substr(0, 2));
    EXPECT_EQ(pipe.consumed(), 4u);
    EXPECT_EQ(pipe.read(read), 1);
    EXPECT_EQ(read, 6);
}

// One read only: when it brings less than the value, the read fails and
// keeps the bytes; a later read completes the value.
TEST_F(PipeTest, ValueTheOneReadDidNotComplete_FailsAndKeepsItsBytes) {
    ASSERT_EQ(pipe.create(), 1);
    const std::string value = wireInt(-2);
    const std::string text = wireString("abcdef");
    Signal partOfTheInteger, restOfTheInteger, oneMoreByte, restOfTheString;
    ClientThread client(name, [&](PipeTestClient& c) {
        c.write(value.substr(0, 3));
        partOfTheInteger.raise();
        restOfTheInteger.wait();
        c.write(value.substr(3) + text.substr(0, 6));
        oneMoreByte.wait();
        c.write(text.substr(6, 1));
        restOfTheString.wait();
        c.write(text.substr(7));
    });
    ASSERT_EQ(pipe.waitForConnection(), 1);
    ASSERT_TRUE(partOfTheInteger.wait());
    int read = 0;
    kelSetLastError(0);
    EXPECT_EQ(pipe.read(read), 0);
    EXPECT_EQ(kelGetLastError(), kErrorPartialCopy);
    EXPECT_EQ(read, 0);
    EXPECT_EQ(pipe.consumed(), 0u);
    EXPECT_EQ(pipe.valid(), 3u);
    EXPECT_EQ(pipe.cursorOffset(), 0);
    restOfTheInteger.raise();
    EXPECT_EQ(pipe.read(read), 1);
    EXPECT_EQ(read, -2);
    // The count and "ab" are buffered; the one read for the rest brings "c".
    oneMoreByte.raise();
    KelString got(L"before");
    EXPECT_EQ(pipe.read(got), 0);
    EXPECT_EQ(kelGetLastError(), kErrorPartialCopy);
    EXPECT_EQ(got, KelString(L"before"));
    EXPECT_EQ(pipe.consumed(), 0u);
    EXPECT_EQ(pipe.valid(), 7u);
    restOfTheString.raise();
    EXPECT_EQ(pipe.read(got), 1);
    EXPECT_EQ(got, KelString(L"abcdef"));
}

// ----- peers that close or misbehave ----------------------------------------

TEST_F(PipeTest, PeerThatCloses_MakesReadReturnZero) {
    ASSERT_EQ(pipe.create(), 1);
    ClientThread client(name, [](PipeTestClient& c) { c.write(wireInt(1) + wireString("end")); });
    ASSERT_EQ(pipe.waitForConnection(), 1);
    client.join();
    int value = 0;
    KelString text;
    EXPECT_EQ(pipe.read(value), 1);
    EXPECT_EQ(pipe.read(text), 1);
    kelSetLastError(0);
    EXPECT_EQ(pipe.read(value), 0);
    EXPECT_EQ(kelGetLastError(), kErrorBrokenPipe);
    EXPECT_EQ(pipe.read(text), 0);
    EXPECT_EQ(text, KelString(L"end"));
    EXPECT_EQ(pipe.consumed(), 0u);
    EXPECT_EQ(pipe.cursorOffset(), 0);
}

TEST_F(PipeTest, PeerClosingInTheMiddleOfAnInteger_GivesFailedReads) {
    ASSERT_EQ(pipe.create(), 1);
    ClientThread client(name,
                        [](PipeTestClient& c) { c.write(wireInt(8) + wireInt(9).substr(0, 2)); });
    ASSERT_EQ(pipe.waitForConnection(), 1);
    client.join();
    int value = 0;
    EXPECT_EQ(pipe.read(value), 1);
    EXPECT_EQ(value, 8);
    value = 55;
    EXPECT_EQ(pipe.read(value), 0);
    EXPECT_EQ(value, 55);
    EXPECT_EQ(pipe.read(value), 0);
    EXPECT_EQ(kelGetLastError(), kErrorBrokenPipe);
    EXPECT_EQ(value, 55);
}

TEST_F(PipeTest, PeerClosingInTheMiddleOfAString_GivesFailedReads) {
    ASSERT_EQ(pipe.create(), 1);
    ClientThread client(name, [](PipeTestClient& c) { c.write(wireInt(10) + "abc"); });
    ASSERT_EQ(pipe.waitForConnection(), 1);
    client.join();
    KelString text(L"unchanged");
    EXPECT_EQ(pipe.read(text), 0);
    EXPECT_EQ(pipe.read(text), 0);
    EXPECT_EQ(text, KelString(L"unchanged"));
}

TEST_F(PipeTest, PeerClosingInTheMiddleOfACount_GivesFailedReads) {
    ASSERT_EQ(pipe.create(), 1);
    ClientThread client(name, [](PipeTestClient& c) { c.write(std::string(3, '\x05')); });
    ASSERT_EQ(pipe.waitForConnection(), 1);
    client.join();
    KelString text(L"unchanged");
    EXPECT_EQ(pipe.read(text), 0);
    EXPECT_EQ(pipe.read(text), 0);
    EXPECT_EQ(text, KelString(L"unchanged"));
}

TEST_F(PipeTest, PeerSendingTenMegabytesOfIntegers_IsReadToTheEnd) {
    ASSERT_EQ(pipe.create(), 1);
    constexpr int kCount = 10 * 1024 * 1024 / 4;
    ClientThread client(name, [](PipeTestClient& c) {
        for (int first = 0; first < kCount; first += 16384)
            if (!c.write(ints(first, 16384)))
                return;
    });
    CloseFirst closeFirst(pipe);
    ASSERT_EQ(pipe.waitForConnection(), 1);
    client.release();
    int value = -1;
    int count = 0;
    bool inOrder = true;
    while (pipe.read(value) == 1) {
        inOrder = inOrder && value == count;
        ++count;
    }
    EXPECT_EQ(count, kCount);
    EXPECT_TRUE(inOrder);
    EXPECT_EQ(kelGetLastError(), kErrorBrokenPipe);
}

TEST_F(PipeTest, PeerAnnouncingATenMegabyteString_GivesAFailedReadAndIsDropped) {
    ASSERT_EQ(pipe.create(), 1);
    std::atomic<bool> writeFailed{false};
    ClientThread client(name, [&](PipeTestClient& c) {
        writeFailed = !c.write(wireInt(10 * 1024 * 1024) + std::string(10 * 1024 * 1024, 'A'));
    });
    CloseFirst closeFirst(pipe);
    ASSERT_EQ(pipe.waitForConnection(), 1);
    KelString text(L"unchanged");
    EXPECT_EQ(pipe.read(text), 0);
    EXPECT_EQ(kelGetLastError(), kErrorInvalidData);
    EXPECT_EQ(text, KelString(L"unchanged"));
    pipe.disconnect();
    client.join();
    EXPECT_TRUE(writeFailed);
    // The pipe serves the next client as usual.
    ClientThread next(name, [](PipeTestClient& c) { c.write(wireString("next")); });
    EXPECT_EQ(pipe.waitForConnection(), 1);
    EXPECT_EQ(pipe.read(text), 1);
    EXPECT_EQ(text, KelString(L"next"));
}

// Random bytes, read as strings where they make one and as integers where
// they do not, against a decoder written here.
TEST_F(PipeTest, PeerSendingRandomBytes_DecodesAsTheWireFormatSays) {
    // Strings with random text, and integers whose high byte makes them no
    // string count.
    std::mt19937 random(20240611);
    std::string bytes;
    while (bytes.size() < 300000) {
        if (random() % 2 == 0) {
            std::string text(random() % 128, '\0');
            for (char& c : text)
                c = static_cast<char>(random());
            bytes += wireString(text);
        } else {
            bytes += wireInt(static_cast<int32_t>(random() | 0x01000000u));
        }
    }
    ASSERT_EQ(pipe.create(), 1);
    ClientThread client(name, [&](PipeTestClient& c) {
        for (size_t at = 0; at < bytes.size(); at += 7001)
            c.write(bytes.substr(at, 7001));
    });
    CloseFirst closeFirst(pipe);
    ASSERT_EQ(pipe.waitForConnection(), 1);
    client.release();
    size_t at = 0;
    int strings = 0, integers = 0;
    for (;;) {
        KelString text;
        if (pipe.read(text) == 1) {
            ASSERT_LE(at + 4, bytes.size());
            const int32_t n = static_cast<int32_t>(
                static_cast<uint32_t>(static_cast<unsigned char>(bytes[at])) |
                static_cast<uint32_t>(static_cast<unsigned char>(bytes[at + 1])) << 8 |
                static_cast<uint32_t>(static_cast<unsigned char>(bytes[at + 2])) << 16 |
                static_cast<uint32_t>(static_cast<unsigned char>(bytes[at + 3])) << 24);
            ASSERT_GE(n, 0);
            ASSERT_LE(n, 127);
            ASSERT_LE(at + 4 + n, bytes.size());
            const std::string narrow = bytes.substr(at + 4, n);
            EXPECT_EQ(text, KelString(narrow.c_str()));
            at += 4 + n;
            ++strings;
            continue;
        }
        const unsigned long error = kelGetLastError();
        if (error != kErrorInvalidData) {
            // Only the end of the stream stops the reading.
            EXPECT_EQ(error, kErrorBrokenPipe);
            break;
        }
        int value = 0;
        ASSERT_EQ(pipe.read(value), 1);
        ASSERT_LE(at + 4, bytes.size());
        int32_t expected = 0;
        std::memcpy(&expected, bytes.data() + at, 4);  // the tests run on little-endian machines
        ASSERT_EQ(value, expected);
        at += 4;
        ++integers;
    }
    EXPECT_EQ(at, bytes.size());
    EXPECT_GT(strings, 1000);
    EXPECT_GT(integers, 1000);
}

// ----- the protected operations ----------------------------------------------

TEST_F(ReadTest, ReadData_ReadsOnceAtTheOffset) {
    serve(ints(1, 3));
    EXPECT_EQ(pipe.readData(100), 1);
    EXPECT_EQ(pipe.valid(), 112u);
    EXPECT_EQ(pipe.bufferBytes(100, 12), ints(1, 3));
    // The position is not the read's business.
    EXPECT_EQ(pipe.cursorOffset(), -1);
}

TEST_F(ReadTest, ReadData_RefusesAnOffsetOutsideTheBuffer) {
    serve(ints(1, 1));
    kelSetLastError(0);
    EXPECT_EQ(pipe.readData(-1), 0);
    EXPECT_EQ(kelGetLastError(), kErrorInvalidParameter);
    EXPECT_EQ(pipe.readData(4097), 0);
    EXPECT_EQ(kelGetLastError(), kErrorInvalidParameter);
    EXPECT_EQ(pipe.valid(), 0u);
}

TEST_F(ReadTest, ReadMoreDataIfNeccessary_ReadsNothingWhileEnoughIsBuffered) {
    serve(ints(1, 4));
    ASSERT_EQ(pipe.readMoreDataIfNeccessary(4), 1);
    ASSERT_EQ(pipe.valid(), 16u);
    int value = 0;
    ASSERT_EQ(pipe.read(value), 1);
    // 12 bytes are buffered: no read (which would wait for the client).
    EXPECT_EQ(pipe.readMoreDataIfNeccessary(12), 1);
    EXPECT_EQ(pipe.consumed(), 4u);
    EXPECT_EQ(pipe.valid(), 16u);
    EXPECT_EQ(pipe.cursorOffset(), 4);
}

TEST_F(PipeTest, ReadMoreDataIfNeccessary_MovesTheTailAndReadsOnce) {
    ASSERT_EQ(pipe.create(), 1);
    Signal first, second;
    ClientThread client(name, [&](PipeTestClient& c) {
        c.write(ints(1, 3));
        first.raise();
        second.wait();
        c.write(ints(4, 1));
    });
    ASSERT_EQ(pipe.waitForConnection(), 1);
    ASSERT_TRUE(first.wait());
    int value = 0;
    ASSERT_EQ(pipe.read(value), 1);
    second.raise();
    // 8 bytes buffered, 100 wanted: the 8 move to the start, one read adds
    // the 4 the client wrote, and that is enough for a result of 1.
    EXPECT_EQ(pipe.readMoreDataIfNeccessary(100), 1);
    EXPECT_EQ(pipe.consumed(), 0u);
    EXPECT_EQ(pipe.cursorOffset(), 0);
    EXPECT_EQ(pipe.valid(), 12u);
    EXPECT_EQ(pipe.bufferBytes(0, 12), ints(2, 3));
}

TEST_F(PipeTest, ReadMoreDataIfNeccessary_FailsWhenTheReadFailsAndKeepsTheTail) {
    ASSERT_EQ(pipe.create(), 1);
    ClientThread client(name, [](PipeTestClient& c) { c.write(ints(1, 2)); });
    ASSERT_EQ(pipe.waitForConnection(), 1);
    client.join();
    int value = 0;
    ASSERT_EQ(pipe.read(value), 1);
    EXPECT_EQ(pipe.readMoreDataIfNeccessary(8), 0);
    EXPECT_EQ(pipe.consumed(), 0u);
    EXPECT_EQ(pipe.cursorOffset(), 0);
    EXPECT_EQ(pipe.valid(), 4u);
    EXPECT_EQ(pipe.read(value), 1);
    EXPECT_EQ(value, 2);
}

// ----- threads ------------------------------------------------------------

TEST_F(PipeTest, CloseFromAnotherThread_EndsAWaitForAClient) {
    KEL_SKIP_ON_WINDOWS("closing a pipe handle does not end a wait on it there");
    ASSERT_EQ(pipe.create(), 1);
    KelNamedPipe copy(pipe);
    std::thread closer([&copy] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        copy.close();
    });
    EXPECT_EQ(pipe.waitForConnection(), 0);
    closer.join();
    EXPECT_EQ(kelGetLastError(), kErrorInvalidHandle);
}

TEST_F(PipeTest, PipesInSeveralThreadsAtOnce) {
    constexpr int kServers = 4;
    std::vector<std::thread> servers;
    std::atomic<int> sums[kServers] = {};
    for (int s = 0; s < kServers; ++s) {
        servers.emplace_back([s, &sums] {
            const std::wstring own = uniquePipeName("many");
            KelNamedPipe server(KelString(own.c_str()));
            if (server.create() != 1)
                return;
            ClientThread client(own, [s](PipeTestClient& c) { c.write(ints(s * 1000, 1000)); });
            if (server.waitForConnection() == 1) {
                client.release();
                int value = 0, sum = 0;
                while (server.read(value) == 1)
                    sum += value;
                sums[s] = sum;
            }
            client.join();
            server.close();
        });
    }
    for (std::thread& t : servers)
        t.join();
    for (int s = 0; s < kServers; ++s)
        EXPECT_EQ(sums[s].load(), s * 1000 * 1000 + 999 * 1000 / 2) << s;
}

// ----- the connection interface ------------------------------------------------

#if defined(__GNUC__)
// In the Itanium C++ ABI (GCC and Clang, MinGW included) a pointer to a
// virtual member function holds 1 + the byte offset of its slot.
template <typename F>
std::ptrdiff_t slotOf(F function) {
    std::ptrdiff_t words[2];
    static_assert(sizeof function == sizeof words, "Itanium member function pointer");
    std::memcpy(words, &function, sizeof words);
    return (words[0] - 1) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

TEST(KelIPCConnection, OperationsSitInTheirSlots) {
    EXPECT_EQ(slotOf(&KelIPCConnection::createConnection), 0);
    EXPECT_EQ(slotOf(&KelIPCConnection::disconnect), 1);
    EXPECT_EQ(slotOf(&KelIPCConnection::close), 2);
    EXPECT_EQ(slotOf(&KelIPCConnection::waitForConnection), 3);
    EXPECT_EQ(slotOf(&KelIPCConnection::isConnected), 4);
    EXPECT_EQ(slotOf(&KelPipeConnection::createConnection), 0);
    EXPECT_EQ(slotOf(&KelPipeConnection::isConnected), 4);
}
#endif

TEST(KelIPCConnection, IsAnInterfaceWithoutFields) {
    EXPECT_TRUE(std::is_abstract<KelIPCConnection>::value);
    EXPECT_FALSE(std::has_virtual_destructor<KelIPCConnection>::value);
    EXPECT_EQ(sizeof(KelIPCConnection), sizeof(void*));
    EXPECT_EQ(sizeof(KelPipeConnection), sizeof(void*) + sizeof(KelNamedPipe));
}

TEST(KelPipeConnection, ManagesTheEmbeddedPipe) {
    const std::wstring name = uniquePipeName("connection");
    KelPipeConnection connection(KelString(name.c_str()));
    KelIPCConnection& ipc = connection;
    EXPECT_EQ(ipc.isConnected(), 0);
    ASSERT_EQ(ipc.createConnection(), 1);
    EXPECT_EQ(ipc.isConnected(), 1);
    EXPECT_EQ(connection.getNamedPipe().isOpened(), 1);
    {
        ClientThread client(name,
                            [](PipeTestClient& c) { c.write(wireInt(31) + wireString("ok")); });
        EXPECT_EQ(ipc.waitForConnection(), 1);
        int value = 0;
        KelString text;
        EXPECT_EQ(connection.getNamedPipe().read(value), 1);
        EXPECT_EQ(connection.getNamedPipe().read(text), 1);
        EXPECT_EQ(value, 31);
        EXPECT_EQ(text, KelString(L"ok"));
    }
    ipc.disconnect();
    EXPECT_EQ(ipc.isConnected(), 1);
    {
        ClientThread client(name, [](PipeTestClient& c) { c.write(wireInt(32)); });
        EXPECT_EQ(ipc.waitForConnection(), 1);
        int value = 0;
        EXPECT_EQ(connection.getNamedPipe().read(value), 1);
        EXPECT_EQ(value, 32);
    }
    ipc.close();
    EXPECT_EQ(ipc.isConnected(), 0);
    EXPECT_EQ(connection.getNamedPipe().isOpened(), 0);
}

TEST(KelPipeConnection, CreateConnectionFailsForABadName) {
    KelPipeConnection connection(KelString(L"no pipe prefix"));
    kelSetLastError(0);
    EXPECT_EQ(connection.createConnection(), 0);
    EXPECT_EQ(kelGetLastError(), kErrorInvalidName);
    EXPECT_EQ(connection.isConnected(), 0);
}

}  // namespace
