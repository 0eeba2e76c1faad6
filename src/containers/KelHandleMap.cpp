// The handle map: chained buckets over a prime table, nodes carved out of
// blocks that the map owns.

#include <kel/KelHandleMap.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <new>
#include <vector>

struct KelHandleMap::Node {
    Node* next;
    __int64 key;
    __int64 value;
};

struct KelHandleMap::Block {
    Block* next;
    int capacity;
    Node* nodes;
};

namespace {

// The bucket counts, in order of use.
constexpr uint64_t kPrimes[] = {
    53ull,        97ull,         193ull,        389ull,       769ull,       1543ull,
    3079ull,      6151ull,       12289ull,      24593ull,     49157ull,     98317ull,
    196613ull,    393241ull,     786433ull,     1572869ull,   3145739ull,   6291469ull,
    12582917ull,  25165843ull,   50331653ull,   100663319ull, 201326611ull, 402653189ull,
    805306457ull, 1610612741ull, 3221225473ull, 4294967291ull};
constexpr int kPrimeCount = sizeof(kPrimes) / sizeof(kPrimes[0]);

// Blocks of nodes grow with the map, from 16 nodes up to 64Ki nodes.
constexpr int kSmallestBlock = 16;
constexpr int kLargestBlock = 65536;

// hash % kPrimes[index]. A constant divisor in each case lets the compiler
// replace the 64-bit division by a multiplication, which keeps a lookup to
// a handful of instructions.
inline size_t reduce(uint64_t hash, int index) {
    // clang-format off
    switch (index) {
        case 0: return hash % kPrimes[0];    case 1: return hash % kPrimes[1];
        case 2: return hash % kPrimes[2];    case 3: return hash % kPrimes[3];
        case 4: return hash % kPrimes[4];    case 5: return hash % kPrimes[5];
        case 6: return hash % kPrimes[6];    case 7: return hash % kPrimes[7];
        case 8: return hash % kPrimes[8];    case 9: return hash % kPrimes[9];
        case 10: return hash % kPrimes[10];  case 11: return hash % kPrimes[11];
        case 12: return hash % kPrimes[12];  case 13: return hash % kPrimes[13];
        case 14: return hash % kPrimes[14];  case 15: return hash % kPrimes[15];
        case 16: return hash % kPrimes[16];  case 17: return hash % kPrimes[17];
        case 18: return hash % kPrimes[18];  case 19: return hash % kPrimes[19];
        case 20: return hash % kPrimes[20];  case 21: return hash % kPrimes[21];
        case 22: return hash % kPrimes[22];  case 23: return hash % kPrimes[23];
        case 24: return hash % kPrimes[24];  case 25: return hash % kPrimes[25];
        case 26: return hash % kPrimes[26];  default: return hash % kPrimes[27];
    }
    // clang-format on
}

// The first prime of the list that is at least `needed` (the last one
// when none is).
int primeIndexFor(long needed) {
    int index = 0;
    while (index < kPrimeCount - 1 && kPrimes[index] < static_cast<uint64_t>(needed))
        ++index;
    return index;
}

}  // namespace

KelHandleMap::KelHandleMap() : m_count(0), m_primeIndex(0), m_blocks(nullptr), m_blockUsed(0) {
    m_buckets.setLogicalLength(static_cast<long>(kPrimes[0]));
}

KelHandleMap::KelHandleMap(const KelHandleMap& other) : KelHandleMap() {
    *this = other;
}

KelHandleMap& KelHandleMap::operator=(const KelHandleMap& other) {
    if (this == &other)
        return *this;
    releaseNodes();
    const long buckets = other.m_buckets.length();
    m_buckets.setLogicalLength(buckets);
    std::memset(static_cast<void*>(m_buckets.getData()), 0, sizeof(Node*) * buckets);
    m_primeIndex = other.m_primeIndex;
    m_count = 0;
    for (long b = 0; b < buckets; ++b) {
        Node** tail = &m_buckets[b];
        for (const Node* source = other.m_buckets[b]; source != nullptr; source = source->next) {
            Node* node = allocateNode();
            if (node == nullptr)
                return *this;
            *node = {nullptr, source->key, source->value};
            *tail = node;
            tail = &node->next;
            ++m_count;
        }
    }
    return *this;
}

KelHandleMap::~KelHandleMap() {
    releaseNodes();
}

void KelHandleMap::addTuple(__int64 key, __int64 value) {
    insert(key, value, false);
}

int KelHandleMap::setAt(__int64 key, __int64 value) {
    insert(key, value, true);
    return 1;
}

int KelHandleMap::containsKey(__int64 key) const {
    return find(key) != nullptr ? 1 : 0;
}

int KelHandleMap::getAt(__int64 key, __int64& value) const {
    const Node* node = find(key);
    if (node == nullptr)
        return 0;
    value = node->value;
    return 1;
}

void KelHandleMap::add(const KelHandleMap& other) {
    if (&other == this) {
        // Applying the pairs while walking the same buckets would follow a
        // rebuild midway; apply a snapshot instead (the values stay).
        HandleArray keys;
        HandleArray values;
        getAll(keys, values);
        for (long i = 0; i < keys.length(); ++i)
            setAt(keys[i], values[i]);
        return;
    }
    for (long b = 0; b < other.m_buckets.length(); ++b) {
        for (const Node* node = other.m_buckets[b]; node != nullptr; node = node->next)
            setAt(node->key, node->value);
    }
}

void KelHandleMap::getAll(HandleArray& keys, HandleArray& values) const {
    keys.setLogicalLength(m_count);
    values.setLogicalLength(m_count);
    long i = 0;
    for (long b = 0; b < m_buckets.length(); ++b) {
        for (const Node* node = m_buckets[b]; node != nullptr; node = node->next) {
            keys[i] = node->key;
            values[i] = node->value;
            ++i;
        }
    }
}

void KelHandleMap::empty() {
    // Deliberately nothing (see the header).
}

KelHandleMap::Node* KelHandleMap::find(__int64 key) const {
    for (Node* node = m_buckets[static_cast<long>(bucketOf(key))]; node != nullptr;
         node = node->next) {
        if (node->key == key)
            return node;
    }
    return nullptr;
}

void KelHandleMap::insert(__int64 key, __int64 value, bool overwrite) {
    // The room for one more pair is made first, also when the key turns out
    // to be present.
    reserve(static_cast<long>(m_count) + 1);
    Node*& head = m_buckets[static_cast<long>(bucketOf(key))];
    for (Node* node = head; node != nullptr; node = node->next) {
        if (node->key == key) {
            if (overwrite)
                node->value = value;
            return;
        }
    }
    if (m_count == INT_MAX)
        return;
    Node* node = allocateNode();
    if (node == nullptr)
        return;
    *node = {head, key, value};
    head = node;
    ++m_count;
}

void KelHandleMap::reserve(long needed) {
    if (needed <= m_buckets.length())
        return;
    const int index = primeIndexFor(needed);
    if (kPrimes[index] > static_cast<uint64_t>(m_buckets.length()))
        rebuild(index);
}

void KelHandleMap::rebuild(int primeIndex) {
    // Bucket counts beyond the array's int length cannot be had; the table
    // then simply keeps its chains longer.
    if (kPrimes[primeIndex] > static_cast<uint64_t>(INT_MAX))
        return;
    const long newLength = static_cast<long>(kPrimes[primeIndex]);
    try {
        std::vector<Node*> chains(m_buckets.getData(), m_buckets.getData() + m_buckets.length());
        m_buckets.setLogicalLength(newLength);
        std::memset(static_cast<void*>(m_buckets.getData()), 0, sizeof(Node*) * newLength);
        m_primeIndex = primeIndex;
        // Old buckets from 0 upwards, each chain from its head; every node
        // goes to the head of its new bucket.
        for (Node* chain : chains) {
            for (Node* node = chain; node != nullptr;) {
                Node* next = node->next;
                Node*& head = m_buckets[static_cast<long>(bucketOf(node->key))];
                node->next = head;
                head = node;
                node = next;
            }
        }
    } catch (const std::bad_alloc&) {
        // Nothing was changed: the table keeps its size.
    }
}

size_t KelHandleMap::bucketOf(__int64 key) const {
    return reduce(static_cast<uint64_t>(key), m_primeIndex);
}

KelHandleMap::Node* KelHandleMap::allocateNode() {
    if (m_blocks == nullptr || m_blockUsed == m_blocks->capacity) {
        const int capacity = std::clamp(m_count, kSmallestBlock, kLargestBlock);
        Block* block = new (std::nothrow) Block{m_blocks, capacity, nullptr};
        if (block == nullptr)
            return nullptr;
        block->nodes = new (std::nothrow) Node[capacity];
        if (block->nodes == nullptr) {
            delete block;
            return nullptr;
        }
        m_blocks = block;
        m_blockUsed = 0;
    }
    return &m_blocks->nodes[m_blockUsed++];
}

void KelHandleMap::releaseNodes() {
    while (m_blocks != nullptr) {
        Block* next = m_blocks->next;
        delete[] m_blocks->nodes;
        delete m_blocks;
        m_blocks = next;
    }
    m_blockUsed = 0;
    m_count = 0;
    std::memset(static_cast<void*>(m_buckets.getData()), 0, sizeof(Node*) * m_buckets.length());
}
