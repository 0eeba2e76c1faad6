// Text as 16-bit symbols, for the counters' character arithmetic.
//
// The counters step characters as 16-bit code units on every system, so
// that a counter behaves on Linux (32-bit wchar_t) exactly as on Windows
// (16-bit wchar_t): text becomes UTF-16 units on the way in and wide text
// again on the way out.
//
//   Symbols digits = toSymbols(KelString(L"AZ"));
//   digits[1] = u'A';
//   KelString text = fromSymbols(digits.data(), digits.size());  // "AA"

#ifndef KEL_NUMBERING_SYMBOLS_H
#define KEL_NUMBERING_SYMBOLS_H

#include <kel/KelString.h>

#include <cstddef>

#include "platform/utf.h"

namespace kel::detail {

using Symbols = Utf16String;

// The text's UTF-16 code units.
Symbols toSymbols(const KelString& text);

// The text of `count` units. A zero unit contributes nothing and the units
// after it still follow: the value is built by appending one character at a
// time with "%s%c", where a zero character adds nothing.
KelString fromSymbols(const unsigned short* units, size_t count);

// Whether `symbol` occurs in a non-empty `list`. The zero unit always does:
// it is looked up as the one-character text made of it, which is empty and
// so found at the start of any list.
bool occursIn(unsigned short symbol, const unsigned short* list, size_t length);

// True when every character is a decimal digit '0'..'9' (the empty text too).
bool isDecimalText(const KelString& text);

}  // namespace kel::detail

#endif  // KEL_NUMBERING_SYMBOLS_H
