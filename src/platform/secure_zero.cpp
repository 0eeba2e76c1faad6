#include "platform/secure_zero.h"

#include <cstring>

namespace kel::detail {

namespace {
// Calling memset through a volatile pointer keeps the store even when the
// memory is freed right afterwards.
void* (*const volatile g_memset)(void*, int, size_t) = std::memset;
}  // namespace

void secureZero(void* memory, size_t bytes) {
    if (memory != nullptr && bytes > 0)
        g_memset(memory, 0, bytes);
}

}  // namespace kel::detail
