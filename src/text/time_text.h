// strftime with the Windows runtime's rules in the "C" locale, the same on
// every system.
//
//   char text[64];
//   size_t n = formatCalendarTime(text, 64, "%c", &t);  // "02/29/24 13:05:09"
//
// The directives are C99's with the runtime's "C" locale texts: %c is
// "%x %X", %x "MM/dd/yy", %X "HH:mm:ss", %r "%I:%M:%S %p". The # flag asks
// for the long date in %#c ("Thursday, February 29, 2024 13:05:09") and %#x
// ("Thursday, February 29, 2024"), drops leading zeros and spaces from the
// numbers of %#d, %#D, %#e, %#F, %#H, %#I, %#j, %#m, %#M, %#r, %#R, %#S, %#T,
// %#U, %#V, %#W, %#y and %#Y, and is ignored elsewhere. %z is the offset
// from UTC ("-0800"), %Z the name of the runtime's time zone.
//
// The runtime's failures: a null buffer or format, a size of 0, a directive
// it does not know (the E and O modifiers included, and a "%" that ends the
// format) or a field of `t` out of its range where a directive uses it (a
// null `t` when one does) is reported through the invalid-parameter handler;
// errno is EINVAL, the result 0 and the buffer "" when it has room. A result
// that does not fit `size` - 1 characters gives 0, "" and errno ERANGE
// without a report.

#ifndef KEL_TEXT_TIME_TEXT_H
#define KEL_TEXT_TIME_TEXT_H

#include <cstddef>
#include <ctime>

namespace kel::detail {

// The number of characters written, the terminator not counted; 0 on
// failure (as above) and for an empty result.
size_t formatCalendarTime(char* buffer, size_t size, const char* format, const struct tm* t);

}  // namespace kel::detail

#endif  // KEL_TEXT_TIME_TEXT_H
