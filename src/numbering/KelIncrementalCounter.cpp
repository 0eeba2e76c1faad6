// The incremental counter: an odometer over 16-bit symbols.

#include <kel/KelIncrementalCounter.h>

#include <climits>

#include "numbering/symbols.h"

using kel::detail::Symbols;

StructIncrementalCounter::StructIncrementalCounter() : tag(-1), symbolCount(1), maxValues(0) {}

KelIncrementalCounter::KelIncrementalCounter()
    : m_tag(-1), m_symbolCount(1), m_maxValues(0), m_numeric(0), m_incrementCount(0) {}

KelIncrementalCounter::~KelIncrementalCounter() = default;

int KelIncrementalCounter::setDataFrom(const StructIncrementalCounter& data) {
    m_tag = data.tag;
    m_label = data.label;
    m_startValue = data.startValue;
    m_firstSymbol = data.firstSymbol;
    m_symbolCount = data.symbolCount;
    m_skippedSymbols = data.skippedSymbols;
    m_maxValues = data.maxValues;
    m_remark = data.remark;
    m_numeric =
        kel::detail::isDecimalText(m_startValue) && kel::detail::isDecimalText(m_firstSymbol) ? 1
                                                                                              : 0;
    reset();
    return 1;
}

void KelIncrementalCounter::reset() {
    setDigits(m_startValue);
    m_counterString = m_startValue;
    m_incrementCount = 0;
}

KelIncrementalCounter::eIncrementStatus KelIncrementalCounter::increment() {
    // The call counts even when the limit refuses it.
    if (m_incrementCount < INT_MAX)
        ++m_incrementCount;
    eIncrementStatus status = eIncremented;
    if (m_maxValues != -1 && m_incrementCount >= m_maxValues) {
        status = eLimitReached;
    } else {
        const Symbols skipped = kel::detail::toSymbols(m_skippedSymbols);
        int carry = 1;
        for (long pos = m_digits.length() - 1; pos >= 0 && carry == 1; --pos)
            m_digits[pos] = stepSymbol(m_digits[pos], skipped.data(), skipped.size(), carry);
        if (carry == 1)
            addLeadingPosition(skipped.data(), skipped.size());
    }
    m_counterString =
        kel::detail::fromSymbols(m_digits.getData(), static_cast<size_t>(m_digits.length()));
    return status;
}

KelString KelIncrementalCounter::getCounterString() {
    return m_counterString;
}

void KelIncrementalCounter::setCounterString(const KelString& value) {
    m_counterString = value;
    setDigits(value);
}

wchar_t KelIncrementalCounter::incrementAtPosition(wchar_t symbol, const KelString& skipped,
                                                   int& carry) {
    const Symbols units = kel::detail::toSymbols(skipped);
    return static_cast<wchar_t>(
        stepSymbol(static_cast<unsigned short>(symbol), units.data(), units.size(), carry));
}

wchar_t KelIncrementalCounter::initChar() {
    return static_cast<wchar_t>(firstUnit());
}

unsigned short KelIncrementalCounter::stepSymbol(unsigned short symbol,
                                                 const unsigned short* skipped,
                                                 size_t skippedLength, int& carry) const {
    const int init = firstUnit();
    carry = 0;
    // Every pass moves on by one; after all 65,536 units the symbol is back
    // where it began, so a list that skips everything cannot hold us here.
    for (int pass = 0; pass <= 0xFFFF; ++pass) {
        symbol = static_cast<unsigned short>(symbol + 1);
        if (skippedLength == 0)
            break;
        if (!kel::detail::occursIn(symbol, skipped, skippedLength) ||
            symbol - init >= m_symbolCount)
            break;
    }
    // Equality on purpose: a symbol already beyond the range (possible after
    // setCounterString) keeps climbing instead of wrapping.
    if (symbol - init == m_symbolCount) {
        carry = 1;
        // A numeric position wraps to '0', not to its first symbol, so that
        // '9' becomes '10' when counting from '1'.
        symbol = static_cast<unsigned short>(m_numeric != 0 ? u'0' : init);
    }
    return symbol;
}

unsigned short KelIncrementalCounter::firstUnit() const {
    const Symbols first = kel::detail::toSymbols(m_firstSymbol);
    return first.empty() ? 0 : first.back();
}

void KelIncrementalCounter::setDigits(const KelString& value) {
    const Symbols units = kel::detail::toSymbols(value);
    m_digits.setLogicalLength(static_cast<long>(units.size()));
    for (size_t i = 0; i < units.size(); ++i)
        m_digits[static_cast<long>(i)] = units[i];
}

void KelIncrementalCounter::addLeadingPosition(const unsigned short* skipped,
                                               size_t skippedLength) {
    m_digits.insertAt(0, static_cast<unsigned short>(firstUnit() - 1));
    // A numeric counter never starts a new position with '0'.
    Symbols leadingSkipped(skipped, skippedLength);
    if (m_numeric != 0)
        leadingSkipped.push_back(u'0');
    int carry = 0;
    m_digits[0] = stepSymbol(m_digits[0], leadingSkipped.data(), leadingSkipped.size(), carry);
}
