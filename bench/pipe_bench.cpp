// KelNamedPipe decoding what a client thread writes, side by side with a
// plain recv loop on the same kind of connected Unix socket, reading into a
// buffer of the same 4096 bytes: 1,000,000 integers, and 100,000 strings of
// 1 to 40 bytes.
//
// Each iteration connects a fresh client thread that writes the whole
// stream in 64 KiB pieces and closes; the server reads until the end. Times
// are wall-clock (the client runs in its own thread).

#include <benchmark/benchmark.h>

#include <kel/Kel.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <algorithm>
#include <cstring>
#include <string>
#include <thread>


namespace {

constexpr int kIntegers = 1000000;
constexpr int kStrings = 100000;
constexpr size_t kWriteSize = 65536;

// A private runtime directory for the benchmark's pipes.
const std::string& runtimeDirectory() {
    static const std::string directory = [] {
        char pattern[] = "/tmp/kel-pipe-bench-XXXXXX";
        const std::string made = ::mkdtemp(pattern) != nullptr ? pattern : "/tmp";
        ::setenv("XDG_RUNTIME_DIR", made.c_str(), 1);
        return made;
    }();
    return directory;
}

void appendInt(std::string& bytes, int32_t value) {
    const auto bits = static_cast<uint32_t>(value);
    for (int i = 0; i < 4; ++i)
        bytes += static_cast<char>((bits >> (8 * i)) & 0xFF);
}

const std::string& integerStream() {
    static const std::string bytes = [] {
        std::string b;
        b.reserve(4 * kIntegers);
        for (int i = 0; i < kIntegers; ++i)
            appendInt(b, i * 7 - 3000000);
        return b;
    }();
    return bytes;
}

const std::string& stringStream() {
    static const std::string bytes = [] {
        std::string b;
        for (int i = 0; i < kStrings; ++i) {
            const std::string text = "HEA " + std::string(static_cast<size_t>(i % 37), 'x');
            appendInt(b, static_cast<int32_t>(text.size()));
            b += text;
        }
        return b;
    }();
    return bytes;
}

// A client thread: connects to `path` and writes `bytes`.
std::thread writer(const std::string& path, const std::string& bytes) {
    return std::thread([path, &bytes] {
        const int fd = ::socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        while (::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
            std::this_thread::yield();
        for (size_t at = 0; at < bytes.size(); at += kWriteSize) {
            const size_t size = std::min(kWriteSize, bytes.size() - at);
            size_t done = 0;
            while (done < size) {
                const ssize_t n = ::send(fd, bytes.data() + at + done, size - done, MSG_NOSIGNAL);
                if (n <= 0)
                    break;
                done += static_cast<size_t>(n);
            }
        }
        ::close(fd);
    });
}

// ----- KelNamedPipe -------------------------------------------------------------------

template <typename Decode>
void runKelPipe(benchmark::State& state, const std::string& bytes, Decode decode) {
    const std::string path = runtimeDirectory() + "/kel/pipes/bench";
    for (auto _ : state) {
        KelNamedPipe pipe(KelString(L"\\\\.\\pipe\\bench"));
        if (!pipe.create()) {
            state.SkipWithError("the pipe could not be created");
            return;
        }
        std::thread client = writer(path, bytes);
        pipe.waitForConnection();
        decode(pipe);
        client.join();
        pipe.close();
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes.size()));
}

void KelNamedPipe_Integers(benchmark::State& state) {
    runKelPipe(state, integerStream(), [&state](KelNamedPipe& pipe) {
        int value = 0;
        int64_t sum = 0;
        int count = 0;
        while (pipe.read(value)) {
            sum += value;
            ++count;
        }
        if (count != kIntegers)
            state.SkipWithError("integers lost");
        benchmark::DoNotOptimize(sum);
    });
    state.SetItemsProcessed(state.iterations() * kIntegers);
}
BENCHMARK(KelNamedPipe_Integers)->Unit(benchmark::kMillisecond)->UseRealTime();

void KelNamedPipe_Strings(benchmark::State& state) {
    runKelPipe(state, stringStream(), [&state](KelNamedPipe& pipe) {
        KelString text;
        int count = 0;
        size_t characters = 0;
        while (pipe.read(text)) {
            characters += static_cast<size_t>(text.length());
            ++count;
        }
        if (count != kStrings)
            state.SkipWithError("strings lost");
        benchmark::DoNotOptimize(characters);
    });
    state.SetItemsProcessed(state.iterations() * kStrings);
}
BENCHMARK(KelNamedPipe_Strings)->Unit(benchmark::kMillisecond)->UseRealTime();

// ----- the plain recv loop --------------------------------------------------------------

// Listens at a socket of its own, accepts the client and hands the
// connection to `decode`.
template <typename Decode>
void runRecv(benchmark::State& state, const std::string& bytes, Decode decode) {
    const std::string path = runtimeDirectory() + "/plain";
    for (auto _ : state) {
        ::unlink(path.c_str());
        const int listener = ::socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        if (::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
            ::listen(listener, 255) != 0) {
            state.SkipWithError("the socket could not be created");
            return;
        }
        std::thread client = writer(path, bytes);
        const int fd = ::accept(listener, nullptr, nullptr);
        decode(fd);
        client.join();
        ::close(fd);
        ::close(listener);
        ::unlink(path.c_str());
    }
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes.size()));
}

// Receives into a 4096-byte buffer and hands each whole value to `value`
// (its offset in the buffer); a value cut by the end of a read is moved to
// the front and completed by the next one.
template <typename Value>
int recvLoop(int fd, Value value) {
    unsigned char buffer[4096];
    size_t have = 0;
    int count = 0;
    for (;;) {
        const ssize_t n = ::recv(fd, buffer + have, sizeof buffer - have, 0);
        if (n <= 0)
            return count;
        have += static_cast<size_t>(n);
        size_t at = 0;
        for (;;) {
            const size_t used = value(buffer + at, have - at);
            if (used == 0)
                break;
            at += used;
            ++count;
        }
        std::memmove(buffer, buffer + at, have - at);
        have -= at;
    }
}

int32_t littleEndian(const unsigned char* p) {
    int32_t v;
    std::memcpy(&v, p, 4);
    return v;
}

void Recv_Integers(benchmark::State& state) {
    runRecv(state, integerStream(), [&state](int fd) {
        int64_t sum = 0;
        const int count = recvLoop(fd, [&sum](const unsigned char* p, size_t size) -> size_t {
            if (size < 4)
                return 0;
            sum += littleEndian(p);
            return 4;
        });
        if (count != kIntegers)
            state.SkipWithError("integers lost");
        benchmark::DoNotOptimize(sum);
    });
    state.SetItemsProcessed(state.iterations() * kIntegers);
}
BENCHMARK(Recv_Integers)->Unit(benchmark::kMillisecond)->UseRealTime();

// The strings as std::string: the bytes, nothing converted.
void Recv_Strings(benchmark::State& state) {
    runRecv(state, stringStream(), [&state](int fd) {
        std::string text;
        size_t characters = 0;
        const int count = recvLoop(fd, [&](const unsigned char* p, size_t size) -> size_t {
            if (size < 4 || size < 4 + static_cast<size_t>(littleEndian(p)))
                return 0;
            const size_t length = static_cast<size_t>(littleEndian(p));
            text.assign(reinterpret_cast<const char*>(p + 4), length);
            characters += text.size();
            return 4 + length;
        });
        if (count != kStrings)
            state.SkipWithError("strings lost");
        benchmark::DoNotOptimize(characters);
    });
    state.SetItemsProcessed(state.iterations() * kStrings);
}
BENCHMARK(Recv_Strings)->Unit(benchmark::kMillisecond)->UseRealTime();

// The strings as KelString, converted from the narrow code page as
// KelNamedPipe does.
void Recv_StringsAsKelString(benchmark::State& state) {
    runRecv(state, stringStream(), [&state](int fd) {
        KelString text;
        size_t characters = 0;
        char narrow[128];
        const int count = recvLoop(fd, [&](const unsigned char* p, size_t size) -> size_t {
            if (size < 4 || size < 4 + static_cast<size_t>(littleEndian(p)))
                return 0;
            const size_t length = static_cast<size_t>(littleEndian(p));
            std::memcpy(narrow, p + 4, length);
            narrow[length] = '\0';
            text = narrow;
            characters += static_cast<size_t>(text.length());
            return 4 + length;
        });
        if (count != kStrings)
            state.SkipWithError("strings lost");
        benchmark::DoNotOptimize(characters);
    });
    state.SetItemsProcessed(state.iterations() * kStrings);
}
BENCHMARK(Recv_StringsAsKelString)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
