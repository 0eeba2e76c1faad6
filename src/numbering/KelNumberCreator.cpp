// The number creator: prefix + running value + suffix over a symbol range.

#include <kel/KelNumberCreator.h>

#include "numbering/symbols.h"

using kel::detail::Symbols;

namespace {

unsigned short firstUnitOf(const KelString& text) {
    const Symbols units = kel::detail::toSymbols(text);
    return units.empty() ? 0 : units.front();
}

}  // namespace

StructNumberingDataRange::StructNumberingDataRange() : rangeTag(0), symbolCount(0) {}

KelNumberCreator::KelNumberCreator() : m_type(eNumberingSymbols) {}

KelNumberCreator::KelNumberCreator(eNumberingType type, const KelString& prefix)
    : m_type(type), m_prefix(prefix) {}

KelNumberCreator::KelNumberCreator(const KelNumberCreator& other)
    : m_type(other.m_type),
      m_prefix(other.m_prefix),
      m_suffix(other.m_suffix),
      m_start(other.m_start),
      m_current(other.m_current) {}

KelNumberCreator& KelNumberCreator::operator=(const KelNumberCreator& other) {
    if (this == &other)
        return *this;
    m_type = other.m_type;
    m_prefix = other.m_prefix;
    m_start = other.m_start;
    m_current = other.m_current;
    m_suffix = other.m_suffix;
    return *this;
}

KelNumberCreator::~KelNumberCreator() = default;

KelNumberCreator::SetCodeTag KelNumberCreator::setNumberingType(eNumberingType type) {
    if (type == m_type)
        return eCodeUnchanged;
    m_type = type;
    m_start = m_range.firstSymbol;
    m_current = m_start;
    return eCodeSet;
}

KelNumberCreator::SetCodeTag KelNumberCreator::setNumberingPrefix(const KelString& prefix) {
    if (prefix == m_prefix)
        return eCodeUnchanged;
    m_prefix = prefix;
    return eCodeSet;
}

KelNumberCreator::SetCodeTag KelNumberCreator::setNumberingSufix(const KelString& suffix) {
    if (suffix == m_suffix)
        return eCodeUnchanged;
    m_suffix = suffix;
    return eCodeSet;
}

const KelString& KelNumberCreator::getNumberingPrefix() const {
    return m_prefix;
}

const KelString& KelNumberCreator::getNumberingSufix() const {
    return m_suffix;
}

const KelString& KelNumberCreator::getNumberingStart() const {
    return m_start;
}

KelNumberCreator::SetCodeTag KelNumberCreator::setNumberingStart(const KelString& value) {
    if (checkNumber(value) == 0)
        return eCodeUnchanged;
    m_start = value;
    return eCodeSet;
}

KelNumberCreator::SetCodeTag KelNumberCreator::overrideDataRange(
    const StructNumberingDataRange& range, eNumberingType type) {
    // The range is taken even when the type is unchanged.
    m_range = range;
    if (type == m_type)
        return eCodeUnchanged;
    m_type = type;
    m_start = m_range.startValue;
    m_current = m_start;
    return eCodeSet;
}

void KelNumberCreator::reset() {
    m_current = m_start;
}

void KelNumberCreator::reinit() {
    m_start = m_range.startValue;
    m_current = m_start;
}

int KelNumberCreator::checkNumber(const KelString& value) const {
    const int first = firstUnitOf(m_range.firstSymbol);
    const long long end = static_cast<long long>(first) + m_range.symbolCount;
    for (unsigned short unit : kel::detail::toSymbols(value)) {
        if (unit < first || unit >= end)
            return 0;
    }
    return 1;
}

KelString KelNumberCreator::getNextNumber() {
    const KelString handedOut = m_current;
    Symbols digits = kel::detail::toSymbols(m_current);
    const unsigned short first = firstUnitOf(m_range.firstSymbol);
    const int base = m_range.firstSymbol.toInteger();
    const Symbols skipped = kel::detail::toSymbols(m_range.skippedSymbols);
    bool carry = true;
    for (size_t pos = digits.size(); pos > 0 && carry; --pos) {
        digits[pos - 1] =
            stepPosition(digits[pos - 1], first, base, skipped.data(), skipped.size(), carry);
    }
    if (carry) {
        // A decimal number counting from "0" never gains a leading zero. The
        // new leading symbol is not checked against the skip list.
        const bool decimalFromZero =
            m_type == eDecimal && KelString::compareNoCase(m_range.firstSymbol, L"0") == 0;
        digits.insert(digits.begin(),
                      static_cast<unsigned short>(first + (decimalFromZero ? 1 : 0)));
    }
    m_current = kel::detail::fromSymbols(digits.data(), digits.size());
    return m_prefix + handedOut + m_suffix;
}

unsigned short KelNumberCreator::stepPosition(unsigned short symbol, unsigned short first, int base,
                                              const unsigned short* skipped, size_t skippedLength,
                                              bool& carry) const {
    const int count = m_range.symbolCount;
    // Each pass depends on the symbol alone, so 65,536 passes have seen every
    // unit: a skip list that covers the whole range cannot hold us here.
    for (int pass = 0; pass <= 0xFFFF; ++pass) {
        int d = (symbol - first) + 1;
        // Recomputed on every pass: a position that wraps onto a skipped
        // symbol loses its carry. Deliberate: it keeps the sequences equal
        // to the numbers already handed out with such ranges.
        carry = d >= count;
        if (count > 0)
            d %= count;
        unsigned short next = static_cast<unsigned short>(first + d);
        if (m_type == eDecimal && base > 0 && (static_cast<long long>(base) + d) % 10 == 0) {
            next = u'0';
            carry = true;
        }
        if (!kel::detail::occursIn(next, skipped, skippedLength))
            return next;
        symbol = next;
    }
    return symbol;
}
