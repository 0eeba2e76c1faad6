/// @file KelArray.h
/// The library's growable array template and its policies.
///
/// A KelArray keeps a logical length (elements in use), a physical length
/// (slots allocated), a grow length and the slot block. It grows in fixed
/// steps of the grow length (8 unless told otherwise), never by doubling,
/// and ignores a shrink of at most a quarter of its physical length.
///
/// @code
///   KelArray<double, KelArrayMemCopyReallocator<double>> values;
///   values.append(1.5);                 // physical length 8
///   values.setAt(9, 2.5);               // length 10, physical length 16
/// @endcode

#ifndef KEL_KELARRAY_H
#define KEL_KELARRAY_H

#include <kel/KelExport.h>

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <new>
#include <type_traits>

/// Whether elements of T may be moved to another address by copying their
/// bytes (the old bytes then being forgotten, not destroyed). True for
/// trivially copyable types; a class that holds no pointers into itself may
/// specialise it (KelString does). Arrays of such types grow in place where
/// the heap allows.
template <typename T>
struct KelArrayIsRelocatable : std::is_trivially_copyable<T> {};

/// Allocation and release of a slot block. Blocks hold raw storage; the
/// array constructs and destroys the elements.
template <typename T>
class KelArrayMemoryController {
public:
    /// Storage for `count` slots, nothing constructed in it (a count of 0
    /// or less still gets room for one). Throws std::bad_alloc when memory
    /// runs out.
    static T* allocate(long count) {
        void* block = std::malloc(bytes(count));
        if (block == nullptr)
            throw std::bad_alloc();
        return static_cast<T*>(block);
    }

    /// Resizes a block whose elements are relocatable; may move it. Throws
    /// std::bad_alloc when memory runs out (the block is then unchanged).
    static T* reallocate(T* block, long count) {
        void* moved = std::realloc(static_cast<void*>(block), bytes(count));
        if (moved == nullptr)
            throw std::bad_alloc();
        return static_cast<T*>(moved);
    }

    /// Frees a block from allocate or reallocate; null does nothing. The
    /// elements must have been destroyed.
    static void deallocate(T* block) { std::free(block); }

private:
    static size_t bytes(long count) {
        if (count <= 0)
            return sizeof(T);
        if (static_cast<unsigned long>(count) > static_cast<size_t>(-1) / sizeof(T)) {
            throw std::bad_alloc();
        }
        return static_cast<size_t>(count) * sizeof(T);
    }
};

/// Moves elements into a new block by assignment: KelString elements keep
/// sharing their representations.
template <typename T>
struct KelArrayObjectCopyReallocator {
    /// False: copy() assigns, so the array moves its elements by assignment
    /// unless KelArrayIsRelocatable says their bytes may move.
    static constexpr bool kCopiesBytes = false;

    /// Assigns `count` elements of `source` to the constructed slots at
    /// `target`, in order.
    static void copy(T* target, const T* source, long count) {
        for (long i = 0; i < count; ++i)
            target[i] = source[i];
    }
};

/// Moves elements into a new block by copying their bytes.
template <typename T>
struct KelArrayMemCopyReallocator {
    /// True: the array moves these elements by their bytes and grows its
    /// block in place where the heap allows.
    static constexpr bool kCopiesBytes = true;

    /// Copies the bytes of `count` elements from `source` to `target`
    /// (nothing for a count of 0 or less).
    static void copy(T* target, const T* source, long count) {
        if (count > 0)
            std::memcpy(static_cast<void*>(target), source, count * sizeof(T));
    }
};

/// @copydoc KelArray.h
template <typename T, typename Reallocator = KelArrayObjectCopyReallocator<T>,
          typename MemoryController = KelArrayMemoryController<T>>
class KelArray {
public:
    /// Logical length 0; `grow` is the growth step (0 means 8); `physical`
    /// slots are allocated at once when it is positive.
    KelArray(long physical = 0, long grow = 8) : m_growLength(grow != 0 ? narrow(grow) : 8) {
        if (physical > 0)
            reallocate(physical);
    }

    /// An empty array with the other's grow length, its logical length of
    /// slots and copies (by assignment) of its elements.
    KelArray(const KelArray& other) { *this = other; }

    /// Replaces the elements by copies of the other's, in a block of exactly
    /// the other's logical length; takes its logical and grow lengths.
    KelArray& operator=(const KelArray& other) {
        if (this == &other)
            return *this;
        release();
        if (other.m_logicalLength > 0) {
            reallocate(other.m_logicalLength);
            for (int i = 0; i < other.m_logicalLength; ++i)
                m_data[i] = other.m_data[i];
        }
        m_logicalLength = other.m_logicalLength;
        m_growLength = other.m_growLength;
        return *this;
    }

    /// Destroys the elements and frees the slot block.
    ~KelArray() { release(); }

    /// Element access; no bounds check: `i` must lie inside the logical
    /// length, and first() and last() need an element. at() returns a copy.
    T& operator[](long i) { return m_data[i]; }
    /// @copydoc operator[](long)
    const T& operator[](long i) const { return m_data[i]; }
    /// @copydoc operator[](long)
    T at(long i) const { return m_data[i]; }
    /// @copydoc operator[](long)
    T& first() { return m_data[0]; }
    /// @copydoc operator[](long)
    const T& first() const { return m_data[0]; }
    /// @copydoc operator[](long)
    T& last() { return m_data[m_logicalLength - 1]; }
    /// @copydoc operator[](long)
    const T& last() const { return m_data[m_logicalLength - 1]; }

    /// The slot block itself (null while no slot is allocated).
    T* getData() { return m_data; }
    /// @copydoc getData()
    const T* getData() const { return m_data; }

    /// Inside the logical length: assigns. At or beyond it: the array grows
    /// to i + 1 elements, the slots in between holding fresh (empty) values.
    /// A negative index changes nothing.
    KelArray& setAt(long i, const T& value) {
        if (i < 0)
            return *this;
        if (i < m_logicalLength) {
            m_data[i] = value;
            return *this;
        }
        const T kept(value);  // `value` may be one of this array's elements
        grow(i + 1);
        for (long k = std::max(m_logicalLength, 0); k < i; ++k)
            resetSlot(k);
        m_logicalLength = static_cast<int>(i + 1);
        m_data[i] = kept;
        return *this;
    }

    /// Assigns `value` (which may be one of the elements) to every element
    /// of the logical length.
    KelArray& setAll(const T& value) {
        const T kept(value);
        for (int i = 0; i < m_logicalLength; ++i)
            m_data[i] = kept;
        return *this;
    }

    /// Appends one element and returns its index.
    long append(const T& value) {
        const long index = m_logicalLength;
        setAt(index, value);
        return index;
    }

    /// Appends copies of the other's elements (which may be this array).
    KelArray& append(const KelArray& other) {
        const int count = other.m_logicalLength;
        if (count <= 0)
            return *this;
        const int start = std::max(m_logicalLength, 0);
        grow(static_cast<long>(start) + count);
        for (int i = 0; i < count; ++i)
            m_data[start + i] = other.m_data[i];
        m_logicalLength = start + count;
        return *this;
    }

    /// Inserts before index i (i equal to the length appends). The value may
    /// be one of this array's own elements.
    KelArray& insertAt(long i, const T& value) {
        if (i < 0 || i > m_logicalLength)
            return *this;
        const T kept(value);
        grow(static_cast<long>(m_logicalLength) + 1);
        const int end = m_logicalLength++;
        if constexpr (kRelocates) {
            destroySlots(end, end + 1);
            std::memmove(static_cast<void*>(m_data + i + 1), static_cast<const void*>(m_data + i),
                         static_cast<size_t>(end - i) * sizeof(T));
            new (static_cast<void*>(m_data + i)) T(kept);
        } else {
            for (long k = end; k > i; --k)
                m_data[k] = m_data[k - 1];
            m_data[i] = kept;
        }
        return *this;
    }

    /// Moves the later elements down by one. The vacated last slot keeps its
    /// old value until it is reused or the array dies.
    KelArray& removeAt(long i) {
        if (i < 0 || i >= m_logicalLength)
            return *this;
        const int end = m_logicalLength;
        if constexpr (kRelocates) {
            if (i < end - 1) {
                destroySlots(i, i + 1);
                std::memmove(static_cast<void*>(m_data + i),
                             static_cast<const void*>(m_data + i + 1),
                             static_cast<size_t>(end - 1 - i) * sizeof(T));
                new (static_cast<void*>(m_data + end - 1)) T(m_data[end - 2]);
            }
        } else {
            for (long k = i; k < end - 1; ++k)
                m_data[k] = m_data[k + 1];
        }
        --m_logicalLength;
        return *this;
    }

    /// removeAt(0): an empty array stays as it is.
    KelArray& removeFirst() { return removeAt(0); }

    /// Shortens the logical length by one without touching the slot and
    /// without checking for emptiness: on an empty array the length becomes
    /// -1. Deliberate; callers test isEmpty() first.
    KelArray& removeLast() {
        --m_logicalLength;
        return *this;
    }

    /// Removes the first element at or after `start` equal to `value`: 1
    /// when one was removed, else 0.
    int remove(const T& value, long start = 0) {
        long index = -1;
        if (!find(value, index, start))
            return 0;
        removeAt(index);
        return 1;
    }

    /// 1 when an element at or after `start` equals `value`, else 0.
    int contains(const T& value, long start = 0) const {
        long index = -1;
        return find(value, index, start);
    }

    /// 1 with `index` set to the first element at or after `start` equal to
    /// `value`; 0 (index untouched) when there is none.
    int find(const T& value, long& index, long start = 0) const {
        for (long i = std::max(start, 0L); i < m_logicalLength; ++i) {
            if (m_data[i] == value) {
                index = i;
                return 1;
            }
        }
        return 0;
    }

    /// Binary search of the whole array, which must be sorted by `compare`:
    /// 1 with `index` set to a matching element, else 0 with `index` -1 (also
    /// for an empty array or a null `compare`).
    int bsearch(const T& value, long& index, int (*compare)(const void*, const void*)) const {
        index = -1;
        if (m_logicalLength <= 0 || compare == nullptr)
            return 0;
        const void* found =
            std::bsearch(&value, m_data, static_cast<size_t>(m_logicalLength), sizeof(T), compare);
        if (found == nullptr)
            return 0;
        index = static_cast<const T*>(found) - m_data;
        return 1;
    }

    /// Linear search from `start`; an element matches when compare(&value,
    /// &element) is 0. 1 with `index` set to the first match, else 0 with
    /// `index` -1 (also for a null `compare`).
    int lfind(const T& value, long& index, int (*compare)(const void*, const void*),
              long start = 0) const {
        index = -1;
        if (compare == nullptr)
            return 0;
        for (long i = std::max(start, 0L); i < m_logicalLength; ++i) {
            if (compare(&value, m_data + i) == 0) {
                index = i;
                return 1;
            }
        }
        return 0;
    }

    /// Sorts all elements (not stable); a null `compare` changes nothing.
    void sort(int (*compare)(const void*, const void*)) {
        if (m_logicalLength > 0)
            sortRange(0, m_logicalLength, compare);
    }

    /// Sorts the elements first..last inclusive (not stable). A range that
    /// does not lie inside the logical length changes nothing.
    void sort(long first, long last, int (*compare)(const void*, const void*)) {
        if (m_logicalLength <= 0 || first < 0 || last >= m_logicalLength || last < first)
            return;
        sortRange(first, last - first + 1, compare);
    }

    /// Reverses the order of the elements.
    KelArray& reverse() {
        if (m_logicalLength > 1)
            std::reverse(m_data, m_data + m_logicalLength);
        return *this;
    }

    /// Exchanges elements i and j; an index outside the logical length, or
    /// i equal to j, changes nothing.
    KelArray& swap(long i, long j) {
        if (i < 0 || j < 0 || i >= m_logicalLength || j >= m_logicalLength || i == j) {
            return *this;
        }
        const T kept(m_data[i]);
        m_data[i] = m_data[j];
        m_data[j] = kept;
        return *this;
    }

    /// The logical length: the number of elements in use (-1 after
    /// removeLast on an empty array).
    long length() const { return m_logicalLength; }
    /// @copydoc length
    long logicalLength() const { return m_logicalLength; }
    /// 1 when the logical length is 0, else 0 (0 also for the length -1).
    int isEmpty() const { return m_logicalLength == 0 ? 1 : 0; }

    /// Within the physical length only the logical length changes; beyond
    /// it the block grows by the growth rule and the new elements are fresh.
    KelArray& setLogicalLength(long n) {
        if (n > m_physicalLength)
            grow(n);
        m_logicalLength = narrow(n);
        return *this;
    }

    /// The number of slots allocated.
    long physicalLength() const { return m_physicalLength; }

    /// Reallocates to exactly n slots, unless n shrinks the block by at most
    /// a quarter (then nothing happens). Elements beyond n are dropped.
    KelArray& setPhysicalLength(long n) {
        reallocate(n);
        return *this;
    }

    /// The growth step, as set (the constructor makes 0 into 8).
    long growLength() const { return m_growLength; }

    /// The step is not validated; it must be positive (growth falls back on
    /// 8 while it is not).
    KelArray& setGrowLength(long n) {
        m_growLength = narrow(n);
        return *this;
    }

private:
    static constexpr bool kRelocates = Reallocator::kCopiesBytes || KelArrayIsRelocatable<T>::value;

    static int narrow(long n) {
        if (n > INT_MAX)
            return INT_MAX;
        if (n < INT_MIN)
            return INT_MIN;
        return static_cast<int>(n);
    }

    /// Growth rule: the needed length rounded up to a multiple of the grow
    /// length. Linear on purpose: host code relies on small, predictable
    /// blocks rather than on doubling.
    void grow(long needed) {
        if (needed <= m_physicalLength)
            return;
        const long long step = m_growLength > 0 ? m_growLength : 8;
        const long long target = ((static_cast<long long>(needed) - 1) / step + 1) * step;
        if (target > INT_MAX)
            throw std::bad_alloc();
        reallocate(static_cast<long>(target));
    }

    void reallocate(long n) {
        // A shrink by at most a quarter is ignored: deliberate, it saves a
        // copy for arrays that hover around one size.
        if (n <= m_physicalLength && static_cast<double>(n) > 0.75 * m_physicalLength)
            return;
        if (n < 0 || (m_data == nullptr && n == 0))
            return;
        if (n == 0) {
            release();
            return;
        }
        if (n > INT_MAX)
            throw std::bad_alloc();
        const int size = static_cast<int>(n);
        const int kept = std::min(size, std::max(m_logicalLength, 0));
        if constexpr (kRelocates) {
            // Grow or shrink in place where the heap allows: elements keep
            // their bytes, slots past the kept elements start fresh.
            destroySlots(size, m_physicalLength);
            for (int i = kept; i < std::min(size, m_physicalLength); ++i)
                resetSlot(i);
            m_data = m_data == nullptr ? MemoryController::allocate(size)
                                       : MemoryController::reallocate(m_data, size);
            constructSlots(m_data, std::min(m_physicalLength, size), size);
        } else {
            T* block = MemoryController::allocate(size);
            constructSlots(block, 0, size);
            Reallocator::copy(block, m_data, kept);
            destroySlots(0, m_physicalLength);
            MemoryController::deallocate(m_data);
            m_data = block;
        }
        m_physicalLength = size;
        if (m_logicalLength > size)
            m_logicalLength = size;
    }

    void release() {
        destroySlots(0, m_physicalLength);
        if (m_data != nullptr)
            MemoryController::deallocate(m_data);
        m_data = nullptr;
        m_physicalLength = 0;
        m_logicalLength = 0;
    }

    /// New slots hold zero bytes (plain types) or the default value.
    static void constructSlots(T* block, int from, int to) {
        if (from >= to)
            return;
        if constexpr (std::is_trivially_default_constructible_v<T>) {
            std::memset(static_cast<void*>(block + from), 0,
                        static_cast<size_t>(to - from) * sizeof(T));
        } else {
            for (int i = from; i < to; ++i)
                new (static_cast<void*>(block + i)) T();
        }
    }

    void destroySlots(int from, int to) {
        if constexpr (!std::is_trivially_destructible_v<T>) {
            for (int i = from; i < to; ++i)
                m_data[i].~T();
        } else {
            (void)from;
            (void)to;
        }
    }

    void resetSlot(long i) {
        destroySlots(static_cast<int>(i), static_cast<int>(i) + 1);
        constructSlots(m_data, static_cast<int>(i), static_cast<int>(i) + 1);
    }

    void sortRange(long first, long count, int (*compare)(const void*, const void*)) {
        if (compare == nullptr || count < 2)
            return;
        if constexpr (kRelocates) {
            std::qsort(static_cast<void*>(m_data + first), static_cast<size_t>(count), sizeof(T),
                       compare);
        } else {
            std::sort(m_data + first, m_data + first + count,
                      [compare](const T& a, const T& b) { return compare(&a, &b) < 0; });
        }
    }

    int m_logicalLength = 0;
    int m_physicalLength = 0;
    int m_growLength = 8;
    T* m_data = nullptr;
};

#endif  // KEL_KELARRAY_H
