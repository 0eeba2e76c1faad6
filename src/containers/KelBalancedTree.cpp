// The AVL tree: insertion with single and double rotations, exact-match
// search, in-order iteration, and the weight-only removal helpers.

#include <kel/KelBalancedTree.h>

// ----- KelBalancedTreeEntry ----------------------------------------------------

KelBalancedTreeEntry::KelBalancedTreeEntry()
    : weight(eBalanced), left(nullptr), right(nullptr), parent(nullptr) {}

KelBalancedTreeEntry::~KelBalancedTreeEntry() {
    delete right;
    delete left;
    right = nullptr;
    left = nullptr;
    parent = nullptr;
}

const KelBalancedTreeEntry* KelBalancedTreeEntry::search(const KelBalancedTreeEntry& key) const {
    const KelBalancedTreeEntry* node = this;
    while (node != nullptr) {
        switch (node->compare(key)) {
            case 0:
                return node;
            case -1:
                node = node->left;
                break;
            case 1:
                node = node->right;
                break;
            default:
                return nullptr;
        }
    }
    return nullptr;
}

KelBalancedTreeEntry::eError KelBalancedTreeEntry::insert(KelBalancedTreeEntry*& subtree,
                                                          KelBalancedTreeEntry* entry,
                                                          KelBalancedTreeEntry* parent,
                                                          int& heightChanged) {
    if (subtree == nullptr) {
        // The entry's own weight and children are left as they are: a fresh
        // entry is balanced and has none.
        subtree = entry;
        entry->parent = parent;
        heightChanged = 1;
        return eNoError;
    }
    eError result = eNoError;
    switch (subtree->compare(*entry)) {
        case -1:
            result = insert(subtree->left, entry, subtree, heightChanged);
            if (result == eNoError && heightChanged != 0)
                checkLeftInsert(subtree, heightChanged);
            return result;
        case 1:
            result = insert(subtree->right, entry, subtree, heightChanged);
            if (result == eNoError && heightChanged != 0)
                checkRightInsert(subtree, heightChanged);
            return result;
        case 0:
            heightChanged = 0;
            return eAlreadyExists;
        default:
            // Deliberately "success" without linking: the public insert still
            // counts the entry. Comparisons must return exactly -1, 0 or +1.
            return eNoError;
    }
}

void KelBalancedTreeEntry::checkLeftInsert(KelBalancedTreeEntry*& node, int& heightChanged) {
    switch (node->weight) {
        case eBalanced:
            node->weight = eLeftHeavy;
            return;
        case eRightHeavy:
            node->weight = eBalanced;
            heightChanged = 0;
            return;
        case eLeftHeavy:
            heightChanged = 0;
            if (node->left->weight == eLeftHeavy) {
                node->weight = eBalanced;
                rotateRight(node);
            } else {
                rotateLeft(node->left);
                rotateRight(node);
                node->checkAndCorrectBalanceStatus();
            }
            node->weight = eBalanced;
            return;
    }
}

void KelBalancedTreeEntry::checkRightInsert(KelBalancedTreeEntry*& node, int& heightChanged) {
    switch (node->weight) {
        case eBalanced:
            node->weight = eRightHeavy;
            return;
        case eLeftHeavy:
            node->weight = eBalanced;
            heightChanged = 0;
            return;
        case eRightHeavy:
            heightChanged = 0;
            if (node->right->weight == eRightHeavy) {
                node->weight = eBalanced;
                rotateLeft(node);
            } else {
                rotateRight(node->right);
                rotateLeft(node);
                node->checkAndCorrectBalanceStatus();
            }
            node->weight = eBalanced;
            return;
    }
}

void KelBalancedTreeEntry::rotateRight(KelBalancedTreeEntry*& node) {
    KelBalancedTreeEntry* n = node;
    KelBalancedTreeEntry* l = n->left;
    n->left = l->right;
    l->right = n;
    l->parent = n->parent;
    n->parent = l;
    if (n->left != nullptr)
        n->left->parent = n;
    node = l;
}

void KelBalancedTreeEntry::rotateLeft(KelBalancedTreeEntry*& node) {
    KelBalancedTreeEntry* n = node;
    KelBalancedTreeEntry* r = n->right;
    n->right = r->left;
    r->left = n;
    r->parent = n->parent;
    n->parent = r;
    if (n->right != nullptr)
        n->right->parent = n;
    node = r;
}

void KelBalancedTreeEntry::checkAndCorrectBalanceStatus() {
    switch (weight) {
        case eLeftHeavy:
            setWeightStatusToChilds(eBalanced, eRightHeavy);
            return;
        case eBalanced:
            setWeightStatusToChilds(eBalanced, eBalanced);
            return;
        case eRightHeavy:
            setWeightStatusToChilds(eLeftHeavy, eBalanced);
            return;
    }
}

void KelBalancedTreeEntry::setWeightStatusToChilds(eWeight leftWeight, eWeight rightWeight) {
    if (left != nullptr)
        left->weight = leftWeight;
    if (right != nullptr)
        right->weight = rightWeight;
}

KelBalancedTreeEntry::eError KelBalancedTreeEntry::inorderPredecessor(
    KelBalancedTreeEntry*& subtree, KelBalancedTreeEntry*& removed, int& heightChanged) {
    if (subtree == nullptr)
        return eNullEntry;
    if (subtree->right != nullptr) {
        const eError result = inorderPredecessor(subtree->right, removed, heightChanged);
        if (result == eNoError && heightChanged != 0)
            checkRightRemove(subtree, heightChanged);
        return result;
    }
    KelBalancedTreeEntry* p = subtree;
    subtree = p->left;
    p->right = removed->right;
    p->left = removed->left;
    removed = p;
    heightChanged = 1;
    return eNoError;
}

void KelBalancedTreeEntry::checkLeftRemove(KelBalancedTreeEntry*& node, int& heightChanged) {
    switch (node->weight) {
        case eLeftHeavy:
            node->weight = eBalanced;
            heightChanged = 1;
            return;
        case eBalanced:
            node->weight = eRightHeavy;
            heightChanged = 0;
            return;
        case eRightHeavy:
            // Deliberately no rotation: derived removals rely on the weight
            // staying as it is in this case.
            return;
    }
}

void KelBalancedTreeEntry::checkRightRemove(KelBalancedTreeEntry*& node, int& heightChanged) {
    switch (node->weight) {
        case eBalanced:
            node->weight = eLeftHeavy;
            heightChanged = 0;
            return;
        case eRightHeavy:
            node->weight = eBalanced;
            heightChanged = 1;
            return;
        case eLeftHeavy:
            // Deliberately no rotation, as in checkLeftRemove.
            return;
    }
}

// ----- KelBalancedTreeIterator -------------------------------------------------

KelBalancedTreeIterator::KelBalancedTreeIterator() : current(nullptr) {}

KelBalancedTreeIterator::KelBalancedTreeIterator(KelBalancedTreeEntry* entry) : current(entry) {}

KelBalancedTreeIterator::~KelBalancedTreeIterator() = default;

namespace {

// The in-order neighbour of `node`: one `step` down and then `back` as far
// as possible, or else up past every parent reached through `step`. The
// successor is (right, left), the predecessor (left, right).
KelBalancedTreeEntry* neighbour(KelBalancedTreeEntry* node,
                                KelBalancedTreeEntry* KelBalancedTreeEntry::*step,
                                KelBalancedTreeEntry* KelBalancedTreeEntry::*back) {
    if (node == nullptr)
        return nullptr;
    if (node->*step != nullptr) {
        node = node->*step;
        while (node->*back != nullptr)
            node = node->*back;
        return node;
    }
    while (node->parent != nullptr && node == node->parent->*step)
        node = node->parent;
    return node->parent;
}

}  // namespace

KelBalancedTreeIterator& KelBalancedTreeIterator::operator++() {
    current = neighbour(current, &KelBalancedTreeEntry::right, &KelBalancedTreeEntry::left);
    return *this;
}

KelBalancedTreeIterator KelBalancedTreeIterator::operator++(int) {
    KelBalancedTreeIterator before(*this);
    ++*this;
    return before;
}

KelBalancedTreeIterator& KelBalancedTreeIterator::operator--() {
    current = neighbour(current, &KelBalancedTreeEntry::left, &KelBalancedTreeEntry::right);
    return *this;
}

KelBalancedTreeIterator KelBalancedTreeIterator::operator--(int) {
    KelBalancedTreeIterator before(*this);
    --*this;
    return before;
}

bool KelBalancedTreeIterator::operator==(const KelBalancedTreeIterator& other) const {
    return current == other.current;
}

bool KelBalancedTreeIterator::operator!=(const KelBalancedTreeIterator& other) const {
    return current != other.current;
}

KelBalancedTreeEntry* KelBalancedTreeIterator::operator*() const {
    return current;
}

// ----- KelBalancedTree ---------------------------------------------------------

KelBalancedTree::KelBalancedTree() : root(nullptr), m_count(0) {}

KelBalancedTree::~KelBalancedTree() {
    reset();
}

KelBalancedTree::eError KelBalancedTree::insert(KelBalancedTreeEntry* entry) {
    if (entry == nullptr)
        return eNullEntry;
    int heightChanged = 0;
    const eError result = KelBalancedTreeEntry::insert(root, entry, nullptr, heightChanged);
    if (result == eNoError)
        ++m_count;
    return result;
}

const KelBalancedTreeEntry* KelBalancedTree::search(const KelBalancedTreeEntry& key) const {
    return root != nullptr ? root->search(key) : nullptr;
}

unsigned int KelBalancedTree::count() const {
    return m_count;
}

KelBalancedTreeIterator KelBalancedTree::begin() const {
    KelBalancedTreeEntry* node = root;
    while (node != nullptr && node->left != nullptr)
        node = node->left;
    return KelBalancedTreeIterator(node);
}

KelBalancedTreeIterator KelBalancedTree::end() const {
    return KelBalancedTreeIterator();
}

void KelBalancedTree::reset() {
    if (root == nullptr)
        return;
    delete root;
    root = nullptr;
    m_count = 0;
}
