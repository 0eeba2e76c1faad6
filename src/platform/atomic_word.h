// Atomic access to unsigned long words that live in ordinary storage (the
// thread-id table of the string scratch slots).

#ifndef KEL_PLATFORM_ATOMIC_WORD_H
#define KEL_PLATFORM_ATOMIC_WORD_H

#if defined(_MSC_VER) && !defined(__clang__)
#include <intrin.h>
#endif

namespace kel::detail {

#if defined(_MSC_VER) && !defined(__clang__)

inline unsigned long atomicLoad(const unsigned long* word) {
    return static_cast<unsigned long>(
        _InterlockedOr(reinterpret_cast<volatile long*>(const_cast<unsigned long*>(word)), 0));
}
inline void atomicStore(unsigned long* word, unsigned long value) {
    _InterlockedExchange(reinterpret_cast<volatile long*>(word), static_cast<long>(value));
}
// Writes `value` if the word is 0; true when it did.
inline bool atomicClaim(unsigned long* word, unsigned long value) {
    return _InterlockedCompareExchange(reinterpret_cast<volatile long*>(word),
                                       static_cast<long>(value), 0) == 0;
}

#else

inline unsigned long atomicLoad(const unsigned long* word) {
    return __atomic_load_n(word, __ATOMIC_ACQUIRE);
}
inline void atomicStore(unsigned long* word, unsigned long value) {
    __atomic_store_n(word, value, __ATOMIC_RELEASE);
}
// Writes `value` if the word is 0; true when it did.
inline bool atomicClaim(unsigned long* word, unsigned long value) {
    unsigned long expected = 0;
    return __atomic_compare_exchange_n(word, &expected, value, false, __ATOMIC_ACQ_REL,
                                       __ATOMIC_ACQUIRE);
}

#endif

}  // namespace kel::detail

#endif  // KEL_PLATFORM_ATOMIC_WORD_H
