// KelCompression side by side with zlib's compress2 (level 1) and
// uncompress on 64 MiB of text-like and of random data; KelZipper::ZipFolder
// and KelUnzipper::Unzip side by side with Info-ZIP's "zip -r -6" and
// "unzip" on one 200 MiB tree of mixed files, made in a temporary folder
// and removed at the end. Throughput is reported as bytes per second of
// uncompressed data; the archive runs are timed by the clock on the wall,
// because Info-ZIP works in a child process.

#include <benchmark/benchmark.h>

#include <kel/Kel.h>

#include <unistd.h>
#include <zlib.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<unsigned char>;

Bytes randomBytes(size_t count, uint64_t seed) {
    uint64_t state = 0x9E3779B97F4A7C15ull ^ seed;
    Bytes bytes(count);
    for (size_t i = 0; i < count; i += 8) {
        state ^= state >> 12;
        state ^= state << 25;
        state ^= state >> 27;
        const uint64_t value = state * 0x2545F4914F6CDD1Dull;
        std::memcpy(bytes.data() + i, &value, std::min<size_t>(8, count - i));
    }
    return bytes;
}

// Lines of words and numbers, as a part list or an NC file would hold.
Bytes textBytes(size_t count, uint32_t seed) {
    static const char* const kWords[] = {"BEAM", "COLUMN", "PLATE",  "BOLT", "HEA",
                                         "IPE",  "S235JR", "S355J2", "weld", "angle",
                                         "mark", "frame",  "brace"};
    std::mt19937 generator(seed);
    std::string text;
    text.reserve(count + 64);
    while (text.size() < count) {
        text += kWords[generator() % 13];
        text += ' ';
        text += std::to_string(generator() % 100000);
        text += (generator() % 8 == 0) ? "\n" : " ";
    }
    return Bytes(text.begin(), text.begin() + static_cast<long>(count));
}

const Bytes& input(bool random) {
    static const Bytes text = textBytes(size_t(64) << 20, 1);
    static const Bytes noise = randomBytes(size_t(64) << 20, 1);
    return random ? noise : text;
}

// ----- buffer compression --------------------------------------------------------

void KelCompression_Compress(benchmark::State& state) {
    const Bytes& data = input(state.range(0) != 0);
    for (auto _ : state) {
        KelCompression::ByteArray out;
        if (KelCompression::compress(data.data(), static_cast<long>(data.size()), out) != 1)
            state.SkipWithError("compress failed");
        benchmark::DoNotOptimize(out.getData());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * data.size()));
}
BENCHMARK(KelCompression_Compress)
    ->Name("Compress/kel")
    ->ArgName("random")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);

// The references get a fresh output buffer on every call, as the library's
// functions do (their arrays start empty); the buffer is not zero-filled.
void Zlib_Compress2Level1(benchmark::State& state) {
    const Bytes& data = input(state.range(0) != 0);
    const uLong bound = compressBound(static_cast<uLong>(data.size()));
    for (auto _ : state) {
        std::unique_ptr<unsigned char[]> out(new unsigned char[bound]);
        uLongf length = bound;
        if (compress2(out.get(), &length, data.data(), static_cast<uLong>(data.size()), 1) != Z_OK)
            state.SkipWithError("compress2 failed");
        benchmark::DoNotOptimize(out.get());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * data.size()));
    state.SetLabel("zlib compress2, level 1");
}
BENCHMARK(Zlib_Compress2Level1)
    ->Name("Compress/reference")
    ->ArgName("random")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);

const KelCompression::ByteArray& packed(bool random) {
    static KelCompression::ByteArray text;
    static KelCompression::ByteArray noise;
    KelCompression::ByteArray& target = random ? noise : text;
    if (target.length() == 0) {
        const Bytes& data = input(random);
        KelCompression::compress(data.data(), static_cast<long>(data.size()), target);
    }
    return target;
}

void KelCompression_Decompress(benchmark::State& state) {
    const bool random = state.range(0) != 0;
    const KelCompression::ByteArray& in = packed(random);
    for (auto _ : state) {
        KelCompression::ByteArray out;
        if (KelCompression::decompress(in, out) != 1)
            state.SkipWithError("decompress failed");
        benchmark::DoNotOptimize(out.getData());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * input(random).size()));
}
BENCHMARK(KelCompression_Decompress)
    ->Name("Decompress/kel")
    ->ArgName("random")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);

void Zlib_Uncompress(benchmark::State& state) {
    const bool random = state.range(0) != 0;
    const KelCompression::ByteArray& in = packed(random);
    const size_t size = input(random).size();
    for (auto _ : state) {
        std::unique_ptr<unsigned char[]> out(new unsigned char[size]);
        uLongf length = static_cast<uLongf>(size);
        if (uncompress(out.get(), &length, in.getData(), static_cast<uLong>(in.length())) != Z_OK)
            state.SkipWithError("uncompress failed");
        benchmark::DoNotOptimize(out.get());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * size));
    state.SetLabel("zlib uncompress");
}
BENCHMARK(Zlib_Uncompress)
    ->Name("Decompress/reference")
    ->ArgName("random")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);

// The library with an output array whose physical length is set up front
// (a caller that knows the size): the array then never reallocates.
void KelCompression_DecompressPresized(benchmark::State& state) {
    const bool random = state.range(0) != 0;
    const KelCompression::ByteArray& in = packed(random);
    const long size = static_cast<long>(input(random).size());
    for (auto _ : state) {
        KelCompression::ByteArray out(size + 32768);
        if (KelCompression::decompress(in, out) != 1)
            state.SkipWithError("decompress failed");
        benchmark::DoNotOptimize(out.getData());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * size));
}
BENCHMARK(KelCompression_DecompressPresized)
    ->Name("DecompressPresized/kel")
    ->ArgName("random")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(Zlib_Uncompress)
    ->Name("DecompressPresized/reference")
    ->ArgName("random")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);

// ----- archives ---------------------------------------------------------------------

// The 200 MiB tree: large and small files, text and random, in nested
// folders. Made on first use, removed when the program ends.
struct Tree {
    fs::path base;
    fs::path root;
    int64_t bytes = 0;

    Tree() {
        base = fs::temp_directory_path() / ("kel-bench-files-" + std::to_string(::getpid()));
        root = base / "tree";
        uint32_t seed = 1;
        auto write = [&](const fs::path& path, const Bytes& data) {
            fs::create_directories(path.parent_path());
            std::ofstream(path, std::ios::binary)
                .write(reinterpret_cast<const char*>(data.data()),
                       static_cast<std::streamsize>(data.size()));
            bytes += static_cast<int64_t>(data.size());
        };
        for (int i = 0; i < 4; ++i) {
            write(root / "large" / ("text" + std::to_string(i) + ".txt"),
                  textBytes(size_t(16) << 20, seed++));
            write(root / "large" / ("data" + std::to_string(i) + ".bin"),
                  randomBytes(size_t(12) << 20, seed++));
        }
        for (int i = 0; i < 600; ++i) {
            const fs::path folder =
                root / ("part" + std::to_string(i % 12)) / ("group" + std::to_string(i % 5));
            write(folder / ("list" + std::to_string(i) + ".nc1"), textBytes(150 * 1024, seed++));
        }
        for (int i = 0; i < 1500; ++i) {
            const fs::path folder = root / "small" / ("s" + std::to_string(i % 30));
            write(folder / ("f" + std::to_string(i) + ".dat"),
                  i % 3 == 0 ? randomBytes(8192, seed++) : textBytes(6000, seed++));
        }
        fs::create_directories(root / "empty" / "deeper");
    }

    ~Tree() { fs::remove_all(base); }

    std::wstring wide(const fs::path& path) const {
        const std::string text = path.string();
        return std::wstring(text.begin(), text.end());
    }
};

const Tree& tree() {
    static const Tree instance;
    return instance;
}

std::string quoted(const fs::path& path) {
    return "'" + path.string() + "'";
}

void KelZipper_ZipFolder(benchmark::State& state) {
    const Tree& t = tree();
    for (auto _ : state) {
        if (!KelZipper::ZipFolder(t.wide(t.root).c_str(), false))
            state.SkipWithError("ZipFolder failed");
    }
    state.SetBytesProcessed(state.iterations() * t.bytes);
}
BENCHMARK(KelZipper_ZipFolder)
    ->Name("ZipFolder/kel")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3)
    ->UseRealTime();

void InfoZip_ZipR6(benchmark::State& state) {
    const Tree& t = tree();
    const std::string command =
        "cd " + quoted(t.base) + " && rm -f info.zip && zip -q -r -6 info.zip tree";
    for (auto _ : state) {
        if (std::system(command.c_str()) != 0)
            state.SkipWithError("zip failed");
    }
    state.SetBytesProcessed(state.iterations() * t.bytes);
    state.SetLabel("Info-ZIP zip -r -6");
}
BENCHMARK(InfoZip_ZipR6)
    ->Name("ZipFolder/reference")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3)
    ->UseRealTime();

// Both extract the same archive, made by Info-ZIP.
void KelUnzipper_Unzip(benchmark::State& state) {
    const Tree& t = tree();
    const std::string make =
        "cd " + quoted(t.base) + " && [ -f same.zip ] || zip -q -r -6 same.zip tree";
    std::system(make.c_str());
    const fs::path out = t.base / "out-kel";
    for (auto _ : state) {
        state.PauseTiming();
        fs::remove_all(out);
        state.ResumeTiming();
        if (!KelUnzipper::Unzip(t.wide(t.base / "same.zip").c_str(), t.wide(out).c_str(), false))
            state.SkipWithError("Unzip failed");
    }
    fs::remove_all(out);
    state.SetBytesProcessed(state.iterations() * t.bytes);
}
BENCHMARK(KelUnzipper_Unzip)
    ->Name("Unzip/kel")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3)
    ->UseRealTime();

void InfoZip_Unzip(benchmark::State& state) {
    const Tree& t = tree();
    const std::string make =
        "cd " + quoted(t.base) + " && [ -f same.zip ] || zip -q -r -6 same.zip tree";
    std::system(make.c_str());
    const fs::path out = t.base / "out-info";
    const std::string command = "unzip -q -o " + quoted(t.base / "same.zip") + " -d " + quoted(out);
    for (auto _ : state) {
        state.PauseTiming();
        fs::remove_all(out);
        state.ResumeTiming();
        if (std::system(command.c_str()) != 0)
            state.SkipWithError("unzip failed");
    }
    fs::remove_all(out);
    state.SetBytesProcessed(state.iterations() * t.bytes);
    state.SetLabel("Info-ZIP unzip");
}
BENCHMARK(InfoZip_Unzip)
    ->Name("Unzip/reference")
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3)
    ->UseRealTime();

}  // namespace
