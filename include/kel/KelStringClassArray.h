/// @file KelStringClassArray.h
/// The exported array of KelString values.
///
/// Elements are stored by value and shared with their copies, never deep-
/// copied. Sort and search callbacks receive pointers to the elements as
/// const void* (KelString::strCompare and strCompareNoCase fit them).
///
/// @code
///   KelStringClassArray names;
///   names.append(L"IPE 200");
///   names.append(L"HEA 100");
///   names.sort(KelString::strCompare);   // "HEA 100", "IPE 200"
/// @endcode

#ifndef KEL_KELSTRINGCLASSARRAY_H
#define KEL_KELSTRINGCLASSARRAY_H

#include <kel/KelArray.h>
#include <kel/KelExport.h>
#include <kel/KelString.h>

/// @copydoc KelStringClassArray.h
class KEL_API KelStringClassArray {
public:
    /// The array the class keeps its elements in.
    using Elements = KelArray<KelString, KelArrayObjectCopyReallocator<KelString>,
                              KelArrayMemoryController<KelString>>;

    /// Logical length 0; grow length `grow` (8 when 0); `physical` empty
    /// values allocated at once when positive.
    KelStringClassArray(long physical = 0, long grow = 8);
    /// An empty array, then assignment from the other: the copy has the
    /// other's grow length and a physical length equal to its length.
    KelStringClassArray(const KelStringClassArray& other);
    /// Releases the elements.
    ~KelStringClassArray();

    /// Replaces the elements by the other's (shared, not deep-copied), in a
    /// block of exactly the other's length; takes its grow length.
    KelStringClassArray& operator=(const KelStringClassArray& other);

    /// Element access; no bounds check: `i` must lie inside the length, and
    /// first() and last() need an element. at() returns a copy (sharing the
    /// characters).
    KelString& operator[](long i);
    /// @copydoc operator[](long)
    const KelString& operator[](long i) const;
    /// @copydoc operator[](long)
    KelString at(long i);
    /// @copydoc operator[](long)
    KelString& first();
    /// @copydoc operator[](long)
    const KelString& first() const;
    /// @copydoc operator[](long)
    KelString& last();
    /// @copydoc operator[](long)
    const KelString& last() const;

    /// Assigns inside the length; beyond it the array grows to i + 1 with
    /// empty values in between. A negative index changes nothing.
    KelStringClassArray& setAt(long i, const KelString& value);
    /// Assigns `value` (which may be one of the elements) to every element.
    KelStringClassArray& setAll(const KelString& value);
    /// Appends and returns the new element's index.
    long append(const KelString& value);
    /// Appends the other's elements (which may be this array's).
    KelStringClassArray& append(const KelStringClassArray& other);
    /// Inserts before i (i equal to the length appends). Inserting one of
    /// the array's own elements is safe.
    KelStringClassArray& insertAt(long i, const KelString& value);
    /// The vacated last slot keeps its old value until reused.
    KelStringClassArray& removeAt(long i);
    /// removeAt(0): an empty array stays as it is.
    KelStringClassArray& removeFirst();
    /// Shortens the length by one without checking for emptiness: an empty
    /// array gets length -1. Deliberate; callers test isEmpty() first.
    KelStringClassArray& removeLast();

    /// Removes the first element at or after `start` equal to `value`; 1
    /// when one was removed, else 0.
    int remove(const KelString& value, long start = 0);
    /// 1 when an element at or after `start` equals `value`, else 0.
    int contains(const KelString& value, long start = 0) const;
    /// As contains, setting `index` to the first match.
    int find(const KelString& value, long& index, long start = 0) const;
    /// Binary search with `compare` over an array sorted by it: 1 with
    /// `index` set to a match, else 0 with index -1 (also for an empty array
    /// or a null `compare`).
    int bsearch(const KelString& value, long& index,
                int (*compare)(const void*, const void*)) const;
    /// Linear search from `start`, an element matching when compare(&value,
    /// &element) is 0: 1 with `index` set to the first match, else 0 with
    /// index -1.
    int lfind(const KelString& value, long& index, int (*compare)(const void*, const void*),
              long start = 0) const;
    /// Sorts all elements, or first..last inclusive (not stable). A range
    /// outside the length, or a null `compare`, changes nothing.
    void sort(int (*compare)(const void*, const void*));
    /// @copydoc sort(int (*)(const void*, const void*))
    void sort(long first, long last, int (*compare)(const void*, const void*));
    /// Reverses the order of the elements.
    KelStringClassArray& reverse();
    /// Exchanges elements i and j; an index outside the length, or i equal
    /// to j, changes nothing.
    KelStringClassArray& swap(long i, long j);

    /// The number of elements (-1 after removeLast on an empty array).
    long length() const;
    /// @copydoc length
    long logicalLength() const;
    /// 1 when the length is 0, else 0 (0 also for the length -1).
    int isEmpty() const;
    /// Within the physical length only the length changes; beyond it the
    /// array grows in steps of the grow length, the new elements empty.
    KelStringClassArray& setLogicalLength(long n);
    /// The number of slots allocated.
    long physicalLength() const;
    /// Reallocates to exactly n slots unless that shrinks by at most a
    /// quarter.
    KelStringClassArray& setPhysicalLength(long n);
    /// The growth step, as set (the constructor makes 0 into 8).
    long growLength() const;
    /// Not validated; must be positive.
    KelStringClassArray& setGrowLength(long n);

private:
    Elements* m_array;
};

#endif  // KEL_KELSTRINGCLASSARRAY_H
