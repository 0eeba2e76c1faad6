// Truncation of doubles toward zero into integers, defined for every input.
//
// A double that does not fit (or is not a number) gives the type's lowest
// value, the "integer indefinite" result of the x86 conversion
// instructions, so that the library answers the same on every system
// instead of leaving the conversion undefined.
//
//   truncateToInt(-1.9)   // -1
//   truncateToInt(3e9)    // INT_MIN

#ifndef KEL_NUMBERING_TRUNCATE_H
#define KEL_NUMBERING_TRUNCATE_H

#include <climits>
#include <cmath>

namespace kel::detail {

inline int truncateToInt(double value) {
    // The open interval (INT_MIN - 1, INT_MAX + 1) truncates into range.
    if (!(value > -2147483649.0 && value < 2147483648.0))
        return INT_MIN;
    return static_cast<int>(value);
}

inline long truncateToLong(double value) {
    // -2^(bits-1) and 2^(bits-1) are exact doubles for 32- and 64-bit long.
    const double limit = std::ldexp(1.0, static_cast<int>(sizeof(long) * CHAR_BIT) - 1);
    if (!(value >= -limit && value < limit))
        return LONG_MIN;
    return static_cast<long>(value);
}

}  // namespace kel::detail

#endif  // KEL_NUMBERING_TRUNCATE_H
