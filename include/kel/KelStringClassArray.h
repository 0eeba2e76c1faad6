// KelStringClassArray.h - the exported array of KelString values.
//
// Elements are stored by value and shared with their copies, never deep-
// copied. Sort and search callbacks receive pointers to the elements as
// const void* (KelString::strCompare and strCompareNoCase fit them).
//
//   KelStringClassArray names;
//   names.append(L"IPE 200");
//   names.append(L"HEA 100");
//   names.sort(KelString::strCompare);   // "HEA 100", "IPE 200"

#ifndef KEL_KELSTRINGCLASSARRAY_H
#define KEL_KELSTRINGCLASSARRAY_H

#include <kel/KelArray.h>
#include <kel/KelExport.h>
#include <kel/KelString.h>

class KEL_API KelStringClassArray {
public:
    using Elements = KelArray<KelString, KelArrayObjectCopyReallocator<KelString>,
                              KelArrayMemoryController<KelString>>;

    // Logical length 0; grow length `grow` (8 when 0); `physical` empty
    // values allocated at once when positive.
    KelStringClassArray(long physical = 0, long grow = 8);
    // An empty array, then assignment from the other: the copy has the
    // other's grow length and a physical length equal to its length.
    KelStringClassArray(const KelStringClassArray& other);
    ~KelStringClassArray();

    // Replaces the elements by the other's (shared, not deep-copied), in a
    // block of exactly the other's length; takes its grow length.
    KelStringClassArray& operator=(const KelStringClassArray& other);

    // Element access; no bounds check.
    KelString& operator[](long i);
    const KelString& operator[](long i) const;
    KelString at(long i);
    KelString& first();
    const KelString& first() const;
    KelString& last();
    const KelString& last() const;

    // Assigns inside the length; beyond it the array grows to i + 1 with
    // empty values in between.
    KelStringClassArray& setAt(long i, const KelString& value);
    KelStringClassArray& setAll(const KelString& value);
    // Appends and returns the new element's index.
    long append(const KelString& value);
    KelStringClassArray& append(const KelStringClassArray& other);
    // Inserts before i (i equal to the length appends). Inserting one of
    // the array's own elements is safe.
    KelStringClassArray& insertAt(long i, const KelString& value);
    // The vacated last slot keeps its old value until reused.
    KelStringClassArray& removeAt(long i);
    KelStringClassArray& removeFirst();
    // Shortens the length by one without checking for emptiness: an empty
    // array gets length -1. Deliberate; callers test isEmpty() first.
    KelStringClassArray& removeLast();

    // Removes the first element at or after `start` equal to `value`; 1
    // when one was removed, else 0.
    int remove(const KelString& value, long start = 0);
    // 1 when an element at or after `start` equals `value`, else 0.
    int contains(const KelString& value, long start = 0) const;
    // As contains, setting `index` to the first match.
    int find(const KelString& value, long& index, long start = 0) const;
    // Binary search with `compare` over an array sorted by it; index -1
    // when absent.
    int bsearch(const KelString& value, long& index,
                int (*compare)(const void*, const void*)) const;
    // Linear search from `start`; index -1 when absent.
    int lfind(const KelString& value, long& index, int (*compare)(const void*, const void*),
              long start = 0) const;
    // Sorts all elements, or first..last inclusive (not stable).
    void sort(int (*compare)(const void*, const void*));
    void sort(long first, long last, int (*compare)(const void*, const void*));
    KelStringClassArray& reverse();
    KelStringClassArray& swap(long i, long j);

    long length() const;
    long logicalLength() const;
    int isEmpty() const;
    KelStringClassArray& setLogicalLength(long n);
    long physicalLength() const;
    // Reallocates to exactly n slots unless that shrinks by at most a
    // quarter.
    KelStringClassArray& setPhysicalLength(long n);
    long growLength() const;
    // Not validated; must be positive.
    KelStringClassArray& setGrowLength(long n);

private:
    Elements* m_array;
};

#endif  // KEL_KELSTRINGCLASSARRAY_H
