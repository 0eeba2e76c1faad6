// KelHandleMap side by side with std::unordered_map<int64_t, int64_t>, and
// KelBalancedTree side by side with std::set, on 1,000,000 entries:
// consecutive handles (random:0) and handles spread over 64 bits (random:1).

#include <benchmark/benchmark.h>

#include <kel/Kel.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <set>
#include <unordered_map>
#include <vector>

namespace {

constexpr int64_t kCount = 1000000;

// Handles as an application hands them out: consecutive ids above a base,
// in shuffled order.
const std::vector<int64_t>& sequentialHandles() {
    static const std::vector<int64_t> handles = [] {
        std::vector<int64_t> h(kCount);
        for (int64_t i = 0; i < kCount; ++i)
            h[static_cast<size_t>(i)] = 0x100000000ll + i;
        std::shuffle(h.begin(), h.end(), std::mt19937_64(1));
        return h;
    }();
    return handles;
}

// Handles spread over the whole 64-bit range.
const std::vector<int64_t>& randomHandles() {
    static const std::vector<int64_t> handles = [] {
        std::vector<int64_t> h(kCount);
        std::mt19937_64 random(2);
        for (auto& value : h)
            value = static_cast<int64_t>(random());
        return h;
    }();
    return handles;
}

const std::vector<int64_t>& handles(const benchmark::State& state) {
    return state.range(0) == 0 ? sequentialHandles() : randomHandles();
}

// The reference's name, on the reference's side.
void setCounters(benchmark::State& state, const char* reference = nullptr) {
    if (reference != nullptr)
        state.SetLabel(reference);
    state.SetItemsProcessed(state.iterations() * kCount);
}

// ----- handle map: insert ------------------------------------------------------------

void KelHandleMap_Insert(benchmark::State& state) {
    const std::vector<int64_t>& keys = handles(state);
    for (auto _ : state) {
        KelHandleMap map;
        for (int64_t key : keys)
            map.addTuple(key, key + 1);
        benchmark::DoNotOptimize(map);
    }
    setCounters(state);
}
BENCHMARK(KelHandleMap_Insert)
    ->Name("HandleMapInsert/kel")
    ->ArgName("random")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);

void StdUnorderedMap_Insert(benchmark::State& state) {
    const std::vector<int64_t>& keys = handles(state);
    for (auto _ : state) {
        std::unordered_map<int64_t, int64_t> map;
        for (int64_t key : keys)
            map.emplace(key, key + 1);
        benchmark::DoNotOptimize(map);
    }
    setCounters(state, "std::unordered_map");
}
BENCHMARK(StdUnorderedMap_Insert)
    ->Name("HandleMapInsert/reference")
    ->ArgName("random")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);

// ----- handle map: lookup ------------------------------------------------------------

void KelHandleMap_Lookup(benchmark::State& state) {
    const std::vector<int64_t>& keys = handles(state);
    KelHandleMap map;
    for (int64_t key : keys)
        map.addTuple(key, key + 1);
    for (auto _ : state) {
        int64_t sum = 0;
        for (int64_t key : keys) {
            __int64 value = 0;
            map.getAt(key, value);
            sum += value;
        }
        benchmark::DoNotOptimize(sum);
    }
    setCounters(state);
}
BENCHMARK(KelHandleMap_Lookup)
    ->Name("HandleMapLookup/kel")
    ->ArgName("random")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);

void StdUnorderedMap_Lookup(benchmark::State& state) {
    const std::vector<int64_t>& keys = handles(state);
    std::unordered_map<int64_t, int64_t> map;
    for (int64_t key : keys)
        map.emplace(key, key + 1);
    for (auto _ : state) {
        int64_t sum = 0;
        for (int64_t key : keys) {
            const auto it = map.find(key);
            sum += it != map.end() ? it->second : 0;
        }
        benchmark::DoNotOptimize(sum);
    }
    setCounters(state, "std::unordered_map");
}
BENCHMARK(StdUnorderedMap_Lookup)
    ->Name("HandleMapLookup/reference")
    ->ArgName("random")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);

// ----- balanced tree -------------------------------------------------------------------

class Entry : public KelBalancedTreeEntry {
public:
    explicit Entry(int64_t key) : key(key) {}
    int compare(const KelBalancedTreeEntry& other) const override {
        const int64_t probe = static_cast<const Entry&>(other).key;
        if (probe < key)
            return -1;
        return probe > key ? 1 : 0;
    }
    int64_t key;
};

void KelBalancedTree_Insert(benchmark::State& state) {
    const std::vector<int64_t>& keys = handles(state);
    for (auto _ : state) {
        KelBalancedTree tree;
        for (int64_t key : keys)
            tree.insert(new Entry(key));
        benchmark::DoNotOptimize(tree.root);
        state.PauseTiming();  // the destruction is not insertion
        tree.reset();
        state.ResumeTiming();
    }
    setCounters(state);
}
BENCHMARK(KelBalancedTree_Insert)
    ->Name("BalancedTreeInsert/kel")
    ->ArgName("random")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);

void StdSet_Insert(benchmark::State& state) {
    const std::vector<int64_t>& keys = handles(state);
    for (auto _ : state) {
        auto set = new std::set<int64_t>;
        for (int64_t key : keys)
            set->insert(key);
        benchmark::DoNotOptimize(set);
        state.PauseTiming();
        delete set;
        state.ResumeTiming();
    }
    setCounters(state, "std::set");
}
BENCHMARK(StdSet_Insert)
    ->Name("BalancedTreeInsert/reference")
    ->ArgName("random")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);

void KelBalancedTree_Search(benchmark::State& state) {
    const std::vector<int64_t>& keys = handles(state);
    KelBalancedTree tree;
    for (int64_t key : keys)
        tree.insert(new Entry(key));
    for (auto _ : state) {
        int64_t found = 0;
        for (int64_t key : keys)
            found += tree.search(Entry(key)) != nullptr ? 1 : 0;
        benchmark::DoNotOptimize(found);
    }
    setCounters(state);
}
BENCHMARK(KelBalancedTree_Search)
    ->Name("BalancedTreeSearch/kel")
    ->ArgName("random")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);

void StdSet_Search(benchmark::State& state) {
    const std::vector<int64_t>& keys = handles(state);
    std::set<int64_t> set(keys.begin(), keys.end());
    for (auto _ : state) {
        int64_t found = 0;
        for (int64_t key : keys)
            found += set.find(key) != set.end() ? 1 : 0;
        benchmark::DoNotOptimize(found);
    }
    setCounters(state, "std::set");
}
BENCHMARK(StdSet_Search)
    ->Name("BalancedTreeSearch/reference")
    ->ArgName("random")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);

}  // namespace
