// KelString and KelStringClassArray side by side with std::wstring and
// std::vector<std::wstring>.

#include <benchmark/benchmark.h>

#include <kel/Kel.h>

#include <clocale>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

const std::wstring& text(size_t n) {
    static std::wstring cache;
    if (cache.size() != n) {
        cache.clear();
        for (size_t i = 0; i < n; ++i)
            cache.push_back(static_cast<wchar_t>(L'a' + i % 26));
    }
    return cache;
}

// ----- copy ----------------------------------------------------------------------

void KelString_Copy(benchmark::State& state) {
    const KelString source(text(static_cast<size_t>(state.range(0))).c_str());
    for (auto _ : state) {
        KelString copy(source);
        benchmark::DoNotOptimize(copy);
    }
}
BENCHMARK(KelString_Copy)->Name("StringCopy/kel")->ArgName("chars")->Arg(10)->Arg(1000);

void StdWstring_Copy(benchmark::State& state) {
    const std::wstring source = text(static_cast<size_t>(state.range(0)));
    for (auto _ : state) {
        std::wstring copy(source);
        benchmark::DoNotOptimize(copy);
    }
    state.SetLabel("std::wstring");
}
BENCHMARK(StdWstring_Copy)->Name("StringCopy/reference")->ArgName("chars")->Arg(10)->Arg(1000);

// ----- assignment ------------------------------------------------------------------

void KelString_Assign(benchmark::State& state) {
    const KelString a(text(1000).c_str());
    const KelString b(text(999).c_str());
    KelString target;
    for (auto _ : state) {
        target = a;
        target = b;
        benchmark::DoNotOptimize(target);
    }
}
BENCHMARK(KelString_Assign)->Name("StringAssign/kel");

void StdWstring_Assign(benchmark::State& state) {
    const std::wstring a = text(1000);
    const std::wstring b = text(999);
    std::wstring target;
    for (auto _ : state) {
        target = a;
        target = b;
        benchmark::DoNotOptimize(target);
    }
    state.SetLabel("std::wstring");
}
BENCHMARK(StdWstring_Assign)->Name("StringAssign/reference");

// ----- equality ------------------------------------------------------------------------

void KelString_Equal(benchmark::State& state) {
    const KelString a(text(1000).c_str());
    const KelString b(text(1000).c_str());  // equal text, separate characters
    for (auto _ : state)
        benchmark::DoNotOptimize(a == b);
}
BENCHMARK(KelString_Equal)->Name("StringEqual/kel");

void StdWstring_Equal(benchmark::State& state) {
    const std::wstring a = text(1000);
    const std::wstring b = text(1000);
    for (auto _ : state)
        benchmark::DoNotOptimize(a == b);
    state.SetLabel("std::wstring");
}
BENCHMARK(StdWstring_Equal)->Name("StringEqual/reference");

// ----- narrow conversion ---------------------------------------------------------------

void KelString_GetStringA(benchmark::State& state) {
    const KelString source(text(1000).c_str());
    for (auto _ : state) {
        KelString copy(source);  // a fresh narrow cache each time
        benchmark::DoNotOptimize(copy.getStringA());
    }
}
BENCHMARK(KelString_GetStringA)->Name("NarrowText/kel");

void StdWstring_Wcstombs(benchmark::State& state) {
    std::setlocale(LC_ALL, "C.UTF-8");
    const std::wstring source = text(1000);
    for (auto _ : state) {
        std::string narrow(std::wcstombs(nullptr, source.c_str(), 0), '\0');
        std::wcstombs(narrow.data(), source.c_str(), narrow.size() + 1);
        benchmark::DoNotOptimize(narrow);
    }
    state.SetLabel("wcstombs into a std::string (UTF-8)");
}
BENCHMARK(StdWstring_Wcstombs)->Name("NarrowText/reference");

// ----- arrays ------------------------------------------------------------------------------

void KelStringClassArray_Append(benchmark::State& state) {
    const KelString value(L"HEA 200 profile");
    for (auto _ : state) {
        KelStringClassArray array;
        for (long i = 0; i < state.range(0); ++i)
            array.append(value);
        benchmark::DoNotOptimize(array.length());
    }
}
BENCHMARK(KelStringClassArray_Append)
    ->Name("ArrayAppend/kel")
    ->ArgName("count")
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond);

void StdVector_PushBack(benchmark::State& state) {
    const std::wstring value(L"HEA 200 profile");
    for (auto _ : state) {
        std::vector<std::wstring> array;
        for (long i = 0; i < state.range(0); ++i)
            array.push_back(value);
        benchmark::DoNotOptimize(array.size());
    }
    state.SetLabel("std::vector<std::wstring>");
}
BENCHMARK(StdVector_PushBack)
    ->Name("ArrayAppend/reference")
    ->ArgName("count")
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond);

void KelStringClassArray_InsertAtFront(benchmark::State& state) {
    const KelString value(L"HEA 200 profile");
    for (auto _ : state) {
        KelStringClassArray array;
        for (long i = 0; i < state.range(0); ++i)
            array.insertAt(0, value);
        benchmark::DoNotOptimize(array.length());
    }
}
BENCHMARK(KelStringClassArray_InsertAtFront)
    ->Name("ArrayInsertAtFront/kel")
    ->ArgName("count")
    ->Arg(10000)
    ->Unit(benchmark::kMillisecond);

void StdVector_InsertAtFront(benchmark::State& state) {
    const std::wstring value(L"HEA 200 profile");
    for (auto _ : state) {
        std::vector<std::wstring> array;
        for (long i = 0; i < state.range(0); ++i)
            array.insert(array.begin(), value);
        benchmark::DoNotOptimize(array.size());
    }
    state.SetLabel("std::vector<std::wstring>");
}
BENCHMARK(StdVector_InsertAtFront)
    ->Name("ArrayInsertAtFront/reference")
    ->ArgName("count")
    ->Arg(10000)
    ->Unit(benchmark::kMillisecond);

}  // namespace
