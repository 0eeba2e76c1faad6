/// @file KelHandleMap.h
/// A map from 64-bit handles to 64-bit handles.
///
/// A chained hash table with a prime number of buckets (53 to start with),
/// rebuilt with the next prime whenever one more pair would exceed one pair
/// per bucket; it never shrinks. Keys are unique and hash by their value
/// taken as an unsigned 64-bit number.
///
/// @code
///   KelHandleMap map;
///   map.addTuple(0x1001, 0x2001);        // keeps an existing value
///   map.setAt(0x1001, 0x2002);           // overwrites
///   __int64 value = 0;
///   if (map.getAt(0x1001, value)) { ... }
/// @endcode
///
/// A map belongs to one thread at a time.

#ifndef KEL_KELHANDLEMAP_H
#define KEL_KELHANDLEMAP_H

#include <kel/KelArray.h>
#include <kel/KelExport.h>
#include <kel/KelPlatformTypes.h>

/// @copydoc KelHandleMap.h
class KEL_API KelHandleMap {
public:
    /// The array type of getAll.
    typedef KelArray<__int64, KelArrayMemCopyReallocator<__int64>,
                     KelArrayMemoryController<__int64>>
        HandleArray;

    /// An empty map with 53 buckets.
    KelHandleMap();
    /// An empty map that then becomes a copy of `other`, as by assignment.
    KelHandleMap(const KelHandleMap& other);
    /// Drops every own pair, then takes the other's bucket count and copies
    /// its chains pair by pair, keeping each chain's order. Assigning an
    /// empty map is the way to clear one.
    KelHandleMap& operator=(const KelHandleMap& other);
    /// Frees every pair.
    virtual ~KelHandleMap();

    /// Inserts the pair when the key is absent; a present key keeps its value.
    void addTuple(__int64 key, __int64 value);
    /// Replaces the value of a present key, inserts an absent one. Returns 1.
    int setAt(__int64 key, __int64 value);
    /// 1 when the key is present, else 0.
    int containsKey(__int64 key) const;
    /// 1 with `value` set when the key is present; else 0, `value` untouched.
    int getAt(__int64 key, __int64& value) const;
    /// Applies every pair of `other` as setAt, in other's bucket order. `other`
    /// may be this map (which then stays as it is).
    void add(const KelHandleMap& other);
    /// Sets both arrays' logical length to the number of pairs and fills them
    /// in parallel (keys[i] belongs to values[i]): buckets from 0 upwards,
    /// each chain from its most recently inserted pair.
    void getAll(HandleArray& keys, HandleArray& values) const;
    /// Does nothing: the map keeps its pairs. Deliberate and kept so, since
    /// host code calls it expecting no effect; assign an empty map to clear.
    void empty();

private:
    struct Node;
    struct Block;
    typedef KelArray<Node*, KelArrayMemCopyReallocator<Node*>, KelArrayMemoryController<Node*>>
        BucketArray;

    /// The node for `key`, or null.
    Node* find(__int64 key) const;
    /// Makes room, then inserts the pair when the key is absent and, with
    /// `overwrite`, replaces the value of a present one.
    void insert(__int64 key, __int64 value, bool overwrite);
    /// Makes room for `needed` pairs: rebuilds with the first prime that is
    /// at least `needed` when that exceeds the bucket count.
    void reserve(long needed);
    /// Replaces the bucket array by `primeIndex`'s and moves every node over.
    void rebuild(int primeIndex);
    size_t bucketOf(__int64 key) const;
    /// Nodes are carved out of blocks owned by the map; they are released
    /// all together (the map never removes a single pair).
    Node* allocateNode();
    void releaseNodes();

    BucketArray m_buckets;  ///< logical length = bucket count
    int m_count;            ///< pairs stored
    int m_primeIndex;       ///< index of the bucket count in the prime list
    Block* m_blocks;        ///< most recent block first
    int m_blockUsed;        ///< nodes handed out from m_blocks
};

#endif  // KEL_KELHANDLEMAP_H
