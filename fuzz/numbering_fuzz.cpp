// Fuzzes the counters, the number creator, the time arithmetic and the
// handle map with arbitrary configurations and operations, checking their
// invariants. Every input must end quickly, without a crash or undefined
// behaviour.

#include <kel/Kel.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <unordered_map>

namespace {

class Input {
public:
    Input(const uint8_t* data, size_t size) : m_data(data), m_size(size) {}

    uint8_t byte() { return m_pos < m_size ? m_data[m_pos++] : 0; }
    uint16_t unit() { return static_cast<uint16_t>(byte() | (byte() << 8)); }
    int32_t number() {
        return static_cast<int32_t>(unit() | (static_cast<uint32_t>(unit()) << 16));
    }
    int64_t handle() { return static_cast<int64_t>(number()) * 7919 + byte(); }

    // Up to `limit` characters, none of them zero.
    KelString text(size_t limit) {
        std::wstring chars;
        for (size_t n = byte() % (limit + 1); n > 0; --n) {
            const wchar_t c = static_cast<wchar_t>(unit());
            chars.push_back(c == 0 ? L'A' : c);
        }
        return KelString(chars.c_str());
    }

    bool done() const { return m_pos >= m_size; }

private:
    const uint8_t* m_data;
    size_t m_size;
    size_t m_pos = 0;
};

void check(bool condition) {
    if (!condition)
        std::abort();
}

void counter(Input& in) {
    StructIncrementalCounter data;
    data.startValue = in.text(6);
    data.firstSymbol = in.text(2);
    data.symbolCount = static_cast<int16_t>(in.unit());
    data.skippedSymbols = in.text(8);
    data.maxValues = static_cast<int8_t>(in.byte());
    KelIncrementalCounter counter;
    check(counter.setDataFrom(data) == 1);
    // Each increment adds at most one position (two UTF-16 units at most
    // make one character, so the character count cannot grow faster).
    const int start = counter.getCounterString().length();
    const int steps = in.byte() % 40;
    for (int i = 0; i < steps; ++i)
        counter.increment();
    check(counter.getCounterString().length() <= start + 2 * steps + 2);
}

void creator(Input& in) {
    StructNumberingDataRange range;
    range.firstSymbol = in.text(2);
    range.symbolCount = static_cast<int16_t>(in.unit());
    range.startValue = in.text(6);
    range.skippedSymbols = in.text(8);
    KelNumberCreator numbers(static_cast<KelNumberCreator::eNumberingType>(in.byte() % 5),
                             in.text(3));
    numbers.setNumberingSufix(in.text(3));
    numbers.overrideDataRange(range, static_cast<KelNumberCreator::eNumberingType>(in.byte() % 5));
    numbers.reinit();
    numbers.setNumberingStart(in.text(4));
    const int steps = in.byte() % 40;
    for (int i = 0; i < steps; ++i)
        numbers.getNextNumber();
    KelNumberCreator copy(numbers);
    copy.getNextNumber();
}

SYSTEMTIME time(Input& in) {
    SYSTEMTIME t;
    t.wYear = in.unit();
    t.wMonth = in.byte() % 14;
    t.wDayOfWeek = in.byte();
    t.wDay = in.byte() % 33;
    t.wHour = in.byte() % 26;
    t.wMinute = in.byte() % 62;
    t.wSecond = in.byte() % 62;
    t.wMilliseconds = in.unit() % 1002;
    return t;
}

void timeArithmetic(Input& in) {
    const SYSTEMTIME a = time(in);
    const SYSTEMTIME b = time(in);
    const int hours = in.number();
    int diff = 0;
    const int order = KelTimeUtilities::getDifferenceBetweenTimesInSeconds(a, b, diff);
    int reverse = 0;
    check(KelTimeUtilities::getDifferenceBetweenTimesInDays(b, a, reverse) == -order);
    SYSTEMTIME moved;
    if (KelTimeUtilities::addTime(a, hours, moved) == 0)
        return;
    SYSTEMTIME back;
    if (KelTimeUtilities::addTime(moved, -hours, back) == 0)
        return;
    int zero = 1;
    check(KelTimeUtilities::getDifferenceBetweenTimesInSeconds(back, a, zero) == 0);
    check(zero == 0);
}

void handleMap(Input& in) {
    KelHandleMap map;
    std::unordered_map<int64_t, int64_t> reference;
    while (!in.done()) {
        const uint8_t op = in.byte() % 4;
        const int64_t key = in.handle();
        const int64_t value = in.number();
        if (op == 0) {
            map.addTuple(key, value);
            reference.emplace(key, value);
        } else if (op == 1) {
            map.setAt(key, value);
            reference[key] = value;
        } else if (op == 2) {
            __int64 found = 0;
            const auto it = reference.find(key);
            check(map.getAt(key, found) == (it != reference.end() ? 1 : 0));
            check(it == reference.end() || found == it->second);
        } else {
            KelHandleMap copy(map);
            map.add(copy);
        }
    }
    KelHandleMap::HandleArray keys;
    KelHandleMap::HandleArray values;
    map.getAll(keys, values);
    check(keys.length() == static_cast<long>(reference.size()));
    for (long i = 0; i < keys.length(); ++i)
        check(reference.at(keys[i]) == values[i]);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Input in(data, size);
    switch (in.byte() % 4) {
        case 0:
            counter(in);
            break;
        case 1:
            creator(in);
            break;
        case 2:
            timeArithmetic(in);
            break;
        default:
            handleMap(in);
            break;
    }
    return 0;
}
