// The error tracer side by side with the bare frame capture it builds on:
// AddError 20 frames deep on a warm walker (symbols and lines of the stack
// already resolved once) against backtrace() of the same stack, the
// walker's ShowCallstack alone, and the first AddError of a process (the
// debug-help library loaded, the modules reported, the first symbols and
// lines read), measured in fresh processes.
//
//   kel_bench_error_tracer                          the benchmarks
//   kel_bench_error_tracer --kel-first-adderror     (one fresh process's run)

#include <benchmark/benchmark.h>

#include <kel/Kel.h>

#include <execinfo.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

namespace {

namespace fs = std::filesystem;

constexpr int kDepth = 20;

// Descends to `depth` frames below its first caller, then runs `work` there.
template <typename Work>
__attribute__((noinline)) int descend(int depth, Work& work) {
    if (depth <= 1) {
        work();
        return 1;
    }
    // Kept from becoming a loop: every level keeps its frame.
    int below = descend(depth - 1, work);
    benchmark::DoNotOptimize(below);
    return below + 1;
}

// The tracer on, through a configuration store of the benchmark's own.
class EnabledTracer {
public:
    EnabledTracer() {
        m_dir = fs::temp_directory_path() / ("kel-bench-tracer-" + std::to_string(::getpid()));
        fs::create_directories(m_dir);
        ::setenv("KEL_REGISTRY_DIR", m_dir.c_str(), 1);
        KelRegistry::setRegValueCurrentUser(KelRegistry::getRegPathErrorTracer(),
                                            L"EnableErrorTracer", 1);
        KelErrorTracer::GetInstance()->Reinitialize();
    }
    ~EnabledTracer() {
        std::error_code ignored;
        fs::remove_all(m_dir, ignored);
    }
    const fs::path& dir() const { return m_dir; }

private:
    fs::path m_dir;
};

void emptyLists() {
    KelErrorTracer::m_arrErrors.setLogicalLength(0);
    KelErrorTracer::m_arrErrorsInfo.setLogicalLength(0);
}

void ErrorTracer_AddError_Warm(benchmark::State& state) {
    EnabledTracer enabled;
    KelErrorTracer* tracer = KelErrorTracer::GetInstance();
    const KelString error(L"Beam B12: no profile");
    auto work = [&] {
        tracer->AddError(error);  // warms the walker: loaded, symbols read
        long frames = 0;
        for (auto _ : state) {
            tracer->AddError(error);
            if (KelErrorTracer::m_arrErrors.length() >= 1000) {
                state.PauseTiming();
                emptyLists();
                state.ResumeTiming();
            }
        }
        const std::string text = KelErrorTracer::m_arrErrorsInfo.last().getStringA();
        for (char c : text)
            frames += c == '\n';
        state.counters["frames"] = static_cast<double>(frames);
    };
    descend(kDepth, work);
    emptyLists();
}

void StackWalker_ShowCallstack_Warm(benchmark::State& state) {
    KelStackWalker walker(KelStackWalker::defaultLibraryPath(), L"");
    auto work = [&] {
        walker.ShowCallstack();
        for (auto _ : state)
            benchmark::DoNotOptimize(walker.ShowCallstack());
    };
    descend(kDepth, work);
}

void Backtrace_Bare(benchmark::State& state) {
    auto work = [&] {
        void* frames[256];
        int count = 0;
        for (auto _ : state) {
            count = ::backtrace(frames, 256);
            benchmark::DoNotOptimize(frames);
        }
        state.counters["frames"] = count;
        state.SetLabel("glibc backtrace(), addresses only");
    };
    descend(kDepth, work);
}

// A fresh process per iteration: its first AddError, timed inside it.
void ErrorTracer_AddError_FirstOfAProcess(benchmark::State& state) {
    EnabledTracer enabled;  // the children read the same store
    const std::string command =
        fs::read_symlink("/proc/self/exe").string() + " --kel-first-adderror";
    double cpu = 0;
    for (auto _ : state) {
        FILE* child = ::popen(command.c_str(), "r");
        double wallMs = -1;
        double cpuMs = -1;
        if (child == nullptr || std::fscanf(child, "%lf %lf", &wallMs, &cpuMs) != 2) {
            state.SkipWithError("the child process gave no time");
            if (child != nullptr)
                ::pclose(child);
            return;
        }
        ::pclose(child);
        state.SetIterationTime(wallMs / 1000.0);
        cpu += cpuMs;
    }
    state.counters["cpu_ms"] = benchmark::Counter(cpu, benchmark::Counter::kAvgIterations);
}

double cpuMilliseconds() {
    struct rusage usage;
    ::getrusage(RUSAGE_SELF, &usage);
    return (usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) * 1000.0 +
           (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1000.0;
}

// The child's part: one AddError, 20 frames deep, as the process's first.
int firstAddError() {
    KelErrorTracer* tracer = KelErrorTracer::GetInstance();
    if (!tracer->IsTraceEnabled())
        return 1;
    double wallMs = 0;
    double cpuMs = 0;
    auto work = [&] {
        const double cpuBefore = cpuMilliseconds();
        const auto before = std::chrono::steady_clock::now();
        tracer->AddError(KelString(L"Beam B12: no profile"));
        wallMs =
            std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - before)
                .count();
        cpuMs = cpuMilliseconds() - cpuBefore;
    };
    descend(kDepth, work);
    if (KelErrorTracer::m_arrErrorsInfo.length() != 1 ||
        KelErrorTracer::m_arrErrorsInfo[0].isEmpty()) {
        return 1;
    }
    std::printf("%.3f %.3f\n", wallMs, cpuMs);
    return 0;
}

}  // namespace

// AddError and the walker alone, each against backtrace() of the same stack.
BENCHMARK(ErrorTracer_AddError_Warm)
    ->Name("ErrorTracerAddError/kel")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(Backtrace_Bare)->Name("ErrorTracerAddError/reference")->Unit(benchmark::kMicrosecond);
BENCHMARK(StackWalker_ShowCallstack_Warm)->Name("StackWalk/kel")->Unit(benchmark::kMicrosecond);
BENCHMARK(Backtrace_Bare)->Name("StackWalk/reference")->Unit(benchmark::kMicrosecond);
BENCHMARK(ErrorTracer_AddError_FirstOfAProcess)
    ->Name("ErrorTracerFirstAddError/kel")
    ->Unit(benchmark::kMillisecond)
    ->UseManualTime()
    ->Iterations(20);

int main(int argc, char** argv) {
    if (argc == 2 && std::strcmp(argv[1], "--kel-first-adderror") == 0)
        return firstAddError();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
