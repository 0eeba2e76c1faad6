// KelString operations side by side with their std::wstring or C library
// equivalents, on texts of 10, 1,000 and 10,000 characters.

#include <benchmark/benchmark.h>

#include <kel/Kel.h>

#include <cwchar>
#include <string>
#include <vector>

namespace {

// Lower-case letters with the pattern "XYZ" at the very end.
std::wstring searchText(size_t n) {
    std::wstring text;
    for (size_t i = 0; i + 3 < n; ++i)
        text.push_back(static_cast<wchar_t>(L'a' + i % 26));
    text += L"XYZ";
    return text.substr(text.size() > n ? text.size() - n : 0);
}

// Words separated by ", ".
std::wstring listText(size_t n) {
    std::wstring text;
    while (text.size() < n)
        text += L"beam, ";
    text.resize(n);
    return text;
}

// Part marks with numbers: two texts that differ only at their end.
std::wstring markText(size_t n, wchar_t last) {
    std::wstring text;
    for (int i = 1; text.size() < n; ++i)
        text += L"B" + std::to_wstring(i * 7) + L"-";
    text.resize(n - 1);
    text.push_back(last);
    return text;
}

// ----- find ------------------------------------------------------------------------------

void KelString_Find(benchmark::State& state) {
    const KelString text(searchText(static_cast<size_t>(state.range(0))).c_str());
    const KelString pattern(L"XYZ");
    for (auto _ : state)
        benchmark::DoNotOptimize(text.find(pattern));
}
BENCHMARK(KelString_Find)->Name("Find/kel")->ArgName("chars")->Arg(10)->Arg(1000)->Arg(10000);

void StdWstring_Find(benchmark::State& state) {
    const std::wstring text = searchText(static_cast<size_t>(state.range(0)));
    const std::wstring pattern(L"XYZ");
    for (auto _ : state)
        benchmark::DoNotOptimize(text.find(pattern));
    state.SetLabel("std::wstring::find");
}
BENCHMARK(StdWstring_Find)
    ->Name("Find/reference")
    ->ArgName("chars")
    ->Arg(10)
    ->Arg(1000)
    ->Arg(10000);

// ----- replace(from, to) -------------------------------------------------------------------

void KelString_Replace(benchmark::State& state) {
    const KelString original(listText(static_cast<size_t>(state.range(0))).c_str());
    const KelString from(L", ");
    const KelString to(L";");
    for (auto _ : state) {
        KelString text(original);
        benchmark::DoNotOptimize(text.replace(from, to));
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(KelString_Replace)->Name("Replace/kel")->ArgName("chars")->Arg(10)->Arg(1000)->Arg(10000);

// The usual replace-all: build the result in a new string.
std::wstring replaceAll(const std::wstring& text, const std::wstring& from, const std::wstring& to,
                        int& count) {
    std::wstring result;
    size_t done = 0;
    count = 0;
    for (size_t at = text.find(from); at != std::wstring::npos; at = text.find(from, done)) {
        ++count;
        result.append(text, done, at - done);
        result += to;
        done = at + from.size();
    }
    result.append(text, done, std::wstring::npos);
    return result;
}

void StdWstring_Replace(benchmark::State& state) {
    const std::wstring original = listText(static_cast<size_t>(state.range(0)));
    const std::wstring from(L", ");
    const std::wstring to(L";");
    for (auto _ : state) {
        int count = 0;
        std::wstring text = replaceAll(original, from, to, count);
        benchmark::DoNotOptimize(count);
        benchmark::DoNotOptimize(text);
    }
    state.SetLabel("replace-all into a new std::wstring");
}
BENCHMARK(StdWstring_Replace)
    ->Name("Replace/reference")
    ->ArgName("chars")
    ->Arg(10)
    ->Arg(1000)
    ->Arg(10000);

// ----- compareWithNumbers ------------------------------------------------------------------

void KelString_CompareWithNumbers(benchmark::State& state) {
    const size_t n = static_cast<size_t>(state.range(0));
    const KelString a(markText(n, L'a').c_str());
    const KelString b(markText(n, L'b').c_str());
    for (auto _ : state)
        benchmark::DoNotOptimize(KelString::compareWithNumbers(a, b));
}
BENCHMARK(KelString_CompareWithNumbers)
    ->Name("CompareWithNumbers/kel")
    ->ArgName("chars")
    ->Arg(10)
    ->Arg(1000)
    ->Arg(10000);

// A plain digit-aware comparison: runs of digits compare by value (leading
// zeros skipped, then by length, then digit by digit), other characters
// ordinally.
int naturalCompare(const wchar_t* a, const wchar_t* b) {
    const auto digit = [](wchar_t c) { return c >= L'0' && c <= L'9'; };
    while (*a != 0 && *b != 0) {
        if (digit(*a) && digit(*b)) {
            while (*a == L'0')
                ++a;
            while (*b == L'0')
                ++b;
            const wchar_t* ea = a;
            const wchar_t* eb = b;
            while (digit(*ea))
                ++ea;
            while (digit(*eb))
                ++eb;
            if (ea - a != eb - b)
                return ea - a < eb - b ? -1 : 1;
            for (; a < ea; ++a, ++b) {
                if (*a != *b)
                    return *a < *b ? -1 : 1;
            }
            continue;
        }
        if (*a != *b)
            return *a < *b ? -1 : 1;
        ++a;
        ++b;
    }
    return *a == *b ? 0 : (*a == 0 ? -1 : 1);
}

void Plain_NaturalCompare(benchmark::State& state) {
    const size_t n = static_cast<size_t>(state.range(0));
    const std::wstring a = markText(n, L'a');
    const std::wstring b = markText(n, L'b');
    for (auto _ : state)
        benchmark::DoNotOptimize(naturalCompare(a.c_str(), b.c_str()));
    state.SetLabel("a plain digit-aware comparison");
}
BENCHMARK(Plain_NaturalCompare)
    ->Name("CompareWithNumbers/reference")
    ->ArgName("chars")
    ->Arg(10)
    ->Arg(1000)
    ->Arg(10000);

// ----- format ------------------------------------------------------------------------------

void KelString_Format(benchmark::State& state) {
    const std::wstring argument = listText(static_cast<size_t>(state.range(0)));
    KelString text;
    for (auto _ : state) {
        text.format(L"%s|%d", argument.c_str(), 42);
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(KelString_Format)->Name("Format/kel")->ArgName("chars")->Arg(10)->Arg(1000)->Arg(10000);
// The same, against a reference that also makes a string value.
BENCHMARK(KelString_Format)
    ->Name("FormatToString/kel")
    ->ArgName("chars")
    ->Arg(10)
    ->Arg(1000)
    ->Arg(10000);

void Swprintf_Format(benchmark::State& state) {
    const std::wstring argument = listText(static_cast<size_t>(state.range(0)));
    std::vector<wchar_t> buffer(argument.size() + 16);
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            std::swprintf(buffer.data(), buffer.size(), L"%ls|%d", argument.c_str(), 42));
        benchmark::DoNotOptimize(buffer.data());
    }
    state.SetLabel("swprintf into a buffer");
}
BENCHMARK(Swprintf_Format)
    ->Name("Format/reference")
    ->ArgName("chars")
    ->Arg(10)
    ->Arg(1000)
    ->Arg(10000);

// swprintf followed by what a string value costs: its own copy of the text.
void SwprintfToWstring_Format(benchmark::State& state) {
    const std::wstring argument = listText(static_cast<size_t>(state.range(0)));
    std::vector<wchar_t> buffer(argument.size() + 16);
    for (auto _ : state) {
        const int n = std::swprintf(buffer.data(), buffer.size(), L"%ls|%d", argument.c_str(), 42);
        std::wstring text(buffer.data(), static_cast<size_t>(n));
        benchmark::DoNotOptimize(text);
    }
    state.SetLabel("swprintf, then a std::wstring of it");
}
BENCHMARK(SwprintfToWstring_Format)
    ->Name("FormatToString/reference")
    ->ArgName("chars")
    ->Arg(10)
    ->Arg(1000)
    ->Arg(10000);

}  // namespace
