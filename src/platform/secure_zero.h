// Overwriting memory with zeros in a way the compiler may not optimise away.

#ifndef KEL_PLATFORM_SECURE_ZERO_H
#define KEL_PLATFORM_SECURE_ZERO_H

#include <cstddef>

namespace kel::detail {

void secureZero(void* memory, size_t bytes);

}  // namespace kel::detail

#endif  // KEL_PLATFORM_SECURE_ZERO_H
