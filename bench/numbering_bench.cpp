// KelRegExWrapper::match, which compiles its pattern on every call, side by
// side with the same pattern compiled once with Boost.Xpressive; and the
// part-mark counter and number creator for scale, without a reference.

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
