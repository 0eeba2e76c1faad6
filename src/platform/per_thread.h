// One object per thread, made on a thread's first use and destroyed when
// the thread ends:
//
//   std::string& reason = perThread<std::string, struct ZipReason>();
//
// The second argument, a tag (by default the type itself), tells apart
// objects of the same type that serve different purposes.
//
// Everywhere but Windows this is a `thread_local` object. In the MinGW-w64
// DLL the destructors of `thread_local` objects with a destructor run, as
// threads end, in an order that can free the storage of one while another
// is still in use: threads ending after concurrent regular-expression
// matches corrupted the heap in about one run in three. On Windows the
// objects therefore live on the heap, and a fiber-local storage callback,
// which the system calls as the thread ends, destroys each one. The slot is
// freed, destroying what is left, when the library is unloaded, so that no
// callback is left pointing into an unloaded library.

#ifndef KEL_PLATFORM_PER_THREAD_H
#define KEL_PLATFORM_PER_THREAD_H

#if defined(_WIN32)
#include <windows.h>
#endif

namespace kel::detail {

#if defined(_WIN32)

template <typename T>
class PerThreadSlot {
public:
    PerThreadSlot() : m_index(::FlsAlloc(&destroy)) {}
    ~PerThreadSlot() {
        if (m_index != FLS_OUT_OF_INDEXES)
            ::FlsFree(m_index);
    }
    PerThreadSlot(const PerThreadSlot&) = delete;
    PerThreadSlot& operator=(const PerThreadSlot&) = delete;

    T& get() {
        if (m_index == FLS_OUT_OF_INDEXES) {
            // No slot left in the process: one object per thread that is
            // never destroyed beats none.
            thread_local T* leaked = new T();
            return *leaked;
        }
        T* object = static_cast<T*>(::FlsGetValue(m_index));
        if (object == nullptr) {
            object = new T();
            ::FlsSetValue(m_index, object);
        }
        return *object;
    }

private:
    static void WINAPI destroy(void* object) { delete static_cast<T*>(object); }

    DWORD m_index;
};

template <typename T, typename Tag = T>
T& perThread() {
    static PerThreadSlot<T> slot;
    return slot.get();
}

#else

template <typename T, typename Tag = T>
T& perThread() {
    thread_local T object;
    return object;
}

#endif

}  // namespace kel::detail

#endif  // KEL_PLATFORM_PER_THREAD_H
