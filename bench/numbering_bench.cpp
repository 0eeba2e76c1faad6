// KelRegExWrapper::match (compiled patterns cached, steps and stack
// bounded) side by side with the same pattern compiled once with
// Boost.Xpressive, and with Xpressive compiling on every call; and the
// part-mark counter and number creator for scale, without a reference.
// The wrapper is timed once per subject, so that each row of the table
// compares it with one way of using Xpressive.

#include <benchmark/benchmark.h>

#include <kel/Kel.h>

#include <boost/xpressive/xpressive_dynamic.hpp>

#include <string>

namespace {

namespace xp = boost::xpressive;

const wchar_t kPattern[] = L"([A-Z]+) ?(\\d+)(?:x(\\d+))?";
const wchar_t kText[] = L"HEA 200x300";

using Groups = KelArray<KelString, KelArrayObjectCopyReallocator<KelString>,
                        KelArrayMemoryController<KelString>>;

void KelRegExWrapper_Match(benchmark::State& state) {
    KelRegExWrapper regex;
    regex.setRegularExpression(kPattern);
    const KelString text(kText);
    for (auto _ : state) {
        Groups groups;
        benchmark::DoNotOptimize(regex.match(text, groups));
    }
}
BENCHMARK(KelRegExWrapper_Match)->Name("RegexMatch/kel");
BENCHMARK(KelRegExWrapper_Match)->Name("RegexMatchReusedResults/kel");
BENCHMARK(KelRegExWrapper_Match)->Name("RegexMatchKelGroups/kel");
BENCHMARK(KelRegExWrapper_Match)->Name("RegexMatchCompiledEachCall/kel");

void Xpressive_CompiledOnce_Match(benchmark::State& state) {
    const xp::wsregex regex = xp::wsregex::compile(kPattern);
    const std::wstring text(kText);
    for (auto _ : state) {
        xp::wsmatch what;
        benchmark::DoNotOptimize(xp::regex_match(text, what, regex));
        std::wstring groups[4];
        for (size_t i = 0; i < what.size(); ++i)
            groups[i] = what[i].str();
        benchmark::DoNotOptimize(groups);
    }
    state.SetLabel("Boost.Xpressive, compiled once");
}
BENCHMARK(Xpressive_CompiledOnce_Match)->Name("RegexMatch/reference");

// The same, with one match_results for all matches, so that the engine's
// per-match records are allocated once: Xpressive at its fastest.
void Xpressive_CompiledOnce_ReusedResults_Match(benchmark::State& state) {
    const xp::wsregex regex = xp::wsregex::compile(kPattern);
    const std::wstring text(kText);
    xp::wsmatch what;
    for (auto _ : state) {
        benchmark::DoNotOptimize(xp::regex_match(text, what, regex));
        std::wstring groups[4];
        for (size_t i = 0; i < what.size(); ++i)
            groups[i] = what[i].str();
        benchmark::DoNotOptimize(groups);
    }
    state.SetLabel("Boost.Xpressive, compiled once, one match_results");
}
BENCHMARK(Xpressive_CompiledOnce_ReusedResults_Match)->Name("RegexMatchReusedResults/reference");

// The same on the KelString's own characters, with the wrapper's output:
// the non-empty groups appended to a KelArray as KelString values. What
// KelRegExWrapper_Match takes beyond this is the price of finding the
// compiled pattern and of bounding the engine.
void Xpressive_CompiledOnce_KelGroups_Match(benchmark::State& state) {
    const xp::wcregex regex = xp::wcregex::compile(kPattern);
    const KelString text(kText);
    xp::wcmatch what;
    for (auto _ : state) {
        Groups groups;
        const wchar_t* begin = text.getStringW();
        const bool matched = xp::regex_match(begin, begin + text.length(), what, regex);
        if (matched) {
            for (size_t i = 0; i < what.size(); ++i) {
                if (what[i].length() > 0)
                    groups.append(KelString(what[i].str().c_str()));
            }
        }
        benchmark::DoNotOptimize(matched);
    }
    state.SetLabel("Boost.Xpressive, compiled once, groups into a KelArray");
}
BENCHMARK(Xpressive_CompiledOnce_KelGroups_Match)->Name("RegexMatchKelGroups/reference");

void Xpressive_CompiledEachCall_Match(benchmark::State& state) {
    const std::wstring text(kText);
    for (auto _ : state) {
        const xp::wsregex regex = xp::wsregex::compile(kPattern);
        xp::wsmatch what;
        benchmark::DoNotOptimize(xp::regex_match(text, what, regex));
        std::wstring groups[4];
        for (size_t i = 0; i < what.size(); ++i)
            groups[i] = what[i].str();
        benchmark::DoNotOptimize(groups);
    }
    state.SetLabel("Boost.Xpressive, compiled on every call");
}
BENCHMARK(Xpressive_CompiledEachCall_Match)->Name("RegexMatchCompiledEachCall/reference");

void KelIncrementalCounter_Increment(benchmark::State& state) {
    StructIncrementalCounter marks;
    marks.startValue = L"A";
    marks.firstSymbol = L"A";
    marks.symbolCount = 26;
    marks.skippedSymbols = L"IO";
    marks.maxValues = -1;
    KelIncrementalCounter counter;
    counter.setDataFrom(marks);
    for (auto _ : state)
        benchmark::DoNotOptimize(counter.increment());
}
BENCHMARK(KelIncrementalCounter_Increment)->Name("IncrementalCounter/kel");

void KelNumberCreator_GetNextNumber(benchmark::State& state) {
    StructNumberingDataRange range;
    range.firstSymbol = L"1";
    range.symbolCount = 10;
    range.startValue = L"1";
    KelNumberCreator numbers(KelNumberCreator::eDecimal, L"P");
    numbers.overrideDataRange(range, KelNumberCreator::eDecimal);
    numbers.reinit();
    for (auto _ : state)
        benchmark::DoNotOptimize(numbers.getNextNumber());
}
BENCHMARK(KelNumberCreator_GetNextNumber)->Name("NumberCreator/kel");

}  // namespace
