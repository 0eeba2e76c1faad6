/// @file KelBalancedTree.h
/// An intrusive height-balanced (AVL) search tree.
///
/// Client code derives its record class from KelBalancedTreeEntry and
/// supplies the order with compare(); the tree owns the entries it accepts.
/// There is no public removal; derived classes build one from the protected
/// helpers, which only adjust balance weights.
///
/// @code
///   struct Mark : KelBalancedTreeEntry {
///       explicit Mark(int n) : number(n) {}
///       int compare(const KelBalancedTreeEntry& o) const override {
///           const int other = static_cast<const Mark&>(o).number;
///           return other < number ? -1 : (other > number ? 1 : 0);
///       }
///       int number;
///   };
///   KelBalancedTree tree;
///   tree.insert(new Mark(7));
///   for (KelBalancedTreeIterator it = tree.begin(); it != tree.end(); ++it) { ... }
/// @endcode
///
/// Nothing here locks: one tree belongs to one thread at a time.

#ifndef KEL_KELBALANCEDTREE_H
#define KEL_KELBALANCEDTREE_H

#include <kel/KelExport.h>

class KelBalancedTree;

/// The result codes of the tree and its entries, shared by both classes so
/// that KelBalancedTree::eNoError and KelBalancedTreeEntry::eNoError name the
/// same value. Header-only: enumerators need no storage in the library.
struct KelBalancedTreeResults {
    /// The result of an insertion or of a removal helper.
    enum eError : int {
        eNoError = 0,        ///< done
        eAlreadyExists = 1,  ///< an entry comparing equal is already stored
        eNullEntry = 2,      ///< a null entry, or a removal helper on an empty subtree
    };
};

/// The base class of every record stored in a KelBalancedTree.
///
/// The links are open to client and derived code: the tree is intrusive, and
/// code that builds a removal on the protected helpers relinks entries itself.
///
/// @see KelBalancedTree, whose example derives a record class.
class KEL_API KelBalancedTreeEntry : public KelBalancedTreeResults {
public:
    /// Balance state of a node. Note that balanced is 1, not 0.
    enum eWeight : int {
        eLeftHeavy = 0,   ///< the left subtree is one level higher
        eBalanced = 1,    ///< both subtrees have the same height
        eRightHeavy = 2,  ///< the right subtree is one level higher
    };

    /// A balanced entry without links.
    KelBalancedTreeEntry();
    /// Member-wise: the weight and all three links are copied, nothing is
    /// duplicated. A copy that is destroyed destroys the children it points to.
    KelBalancedTreeEntry(const KelBalancedTreeEntry& other) = default;
    /// @copydoc KelBalancedTreeEntry(const KelBalancedTreeEntry&)
    KelBalancedTreeEntry& operator=(const KelBalancedTreeEntry& other) = default;
    /// Destroys the right subtree, then the left subtree, then clears the links.
    virtual ~KelBalancedTreeEntry();

    /// The order of the tree, seen from this stored entry: -1 when `other`
    /// belongs in this entry's left subtree, +1 when in its right subtree, 0
    /// when it equals this entry. Any other value is a contract violation
    /// that the tree accepts silently (see KelBalancedTree::insert).
    virtual int compare(const KelBalancedTreeEntry& other) const = 0;

    eWeight weight;                ///< the balance state of this entry's subtree
    KelBalancedTreeEntry* left;    ///< owned
    KelBalancedTreeEntry* right;   ///< owned
    KelBalancedTreeEntry* parent;  ///< not owned; null at the root

protected:
    /// Rebalancing after the left (right) subtree of `node` grew by one
    /// level; `heightChanged` tells on return whether `node`'s subtree grew.
    /// A rotation replaces `node` by the subtree's new root.
    static void checkLeftInsert(KelBalancedTreeEntry*& node, int& heightChanged);
    /// @copydoc checkLeftInsert
    static void checkRightInsert(KelBalancedTreeEntry*& node, int& heightChanged);

    /// Single rotations of the subtree held by `node` (the parent's child
    /// field or the tree's root field); parent links are kept right.
    static void rotateLeft(KelBalancedTreeEntry*& node);
    /// @copydoc rotateLeft
    static void rotateRight(KelBalancedTreeEntry*& node);

    /// On the new root of a double rotation, which still carries the weight
    /// it had as the grandchild: sets its children's weights from it
    /// (left-heavy: balanced / right-heavy; balanced: balanced / balanced;
    /// right-heavy: left-heavy / balanced).
    void checkAndCorrectBalanceStatus();
    /// Sets the weights of the left and the right child; a missing child is
    /// skipped.
    void setWeightStatusToChilds(eWeight leftWeight, eWeight rightWeight);

    /// Removal building blocks. They adjust weights only and never rotate;
    /// the case that would need a rotation leaves the weight as it is.
    ///
    /// inorderPredecessor: `subtree` is the left child link of the entry
    /// being removed, `removed` that entry. Walks right to the rightmost
    /// node p, unlinks it (its link takes p's left child), makes it take the
    /// removed entry's right and left pointers and sets `removed` to p.
    /// Parent links and p's weight are left to the caller. eNullEntry for an
    /// empty link.
    static eError inorderPredecessor(KelBalancedTreeEntry*& subtree, KelBalancedTreeEntry*& removed,
                                     int& heightChanged);
    /// The left (right) side of `node` shrank by one level.
    static void checkLeftRemove(KelBalancedTreeEntry*& node, int& heightChanged);
    /// @copydoc checkLeftRemove
    static void checkRightRemove(KelBalancedTreeEntry*& node, int& heightChanged);

private:
    friend class KelBalancedTree;

    /// The stored entry below and including this one that equals `key`.
    const KelBalancedTreeEntry* search(const KelBalancedTreeEntry& key) const;

    static eError insert(KelBalancedTreeEntry*& subtree, KelBalancedTreeEntry* entry,
                         KelBalancedTreeEntry* parent, int& heightChanged);
};

/// Walks the entries of a tree in order, in both directions. A null current
/// entry is the end.
///
/// @see KelBalancedTree, whose example walks a tree.
class KEL_API KelBalancedTreeIterator {
public:
    /// The end: no current entry.
    KelBalancedTreeIterator();
    /// An iterator standing on `entry` (null: the end).
    KelBalancedTreeIterator(KelBalancedTreeEntry* entry);
    /// Copies the current entry.
    KelBalancedTreeIterator(const KelBalancedTreeIterator& other) = default;
    /// @copydoc KelBalancedTreeIterator(const KelBalancedTreeIterator&)
    KelBalancedTreeIterator& operator=(const KelBalancedTreeIterator& other) = default;
    /// Does nothing: the iterator owns no entry.
    virtual ~KelBalancedTreeIterator();

    /// To the in-order successor; the end stays the end.
    KelBalancedTreeIterator& operator++();
    /// The same, returning the iterator as it was.
    KelBalancedTreeIterator operator++(int);
    /// To the in-order predecessor. Decrementing the end stays at the end:
    /// it does not move to the last entry.
    KelBalancedTreeIterator& operator--();
    /// The same, returning the iterator as it was.
    KelBalancedTreeIterator operator--(int);

    /// Compare the current entries only.
    bool operator==(const KelBalancedTreeIterator& other) const;
    /// @copydoc operator==(const KelBalancedTreeIterator&) const
    bool operator!=(const KelBalancedTreeIterator& other) const;

    /// The current entry (null at the end).
    KelBalancedTreeEntry* operator*() const;

    KelBalancedTreeEntry* current;  ///< the entry the iterator stands on; null at the end
};

/// The tree: owns its root, and through it every entry.
///
/// Copies are shallow: a copy shares the entries (root pointer and count
/// are copied), and two copies of a populated tree must not both be
/// destroyed.
///
/// @copydetails KelBalancedTree.h
class KEL_API KelBalancedTree : public KelBalancedTreeResults {
public:
    /// An empty tree.
    KelBalancedTree();
    /// Shallow: the root pointer and the count are copied, the entries are
    /// shared (see the class description).
    KelBalancedTree(const KelBalancedTree& other) = default;
    /// @copydoc KelBalancedTree(const KelBalancedTree&)
    KelBalancedTree& operator=(const KelBalancedTree& other) = default;
    /// Destroys every entry, as reset() does.
    virtual ~KelBalancedTree();

    /// Inserts an entry allocated by the caller. On eNoError the tree owns it
    /// and the count grows by one; otherwise (eNullEntry for null,
    /// eAlreadyExists for a duplicate) nothing is linked and the caller keeps
    /// the entry. A comparison result other than -1, 0 or +1 on the way down
    /// gives eNoError and counts the entry without linking it (it stays the
    /// caller's); deliberate, host code written against this tree relies on
    /// exactly that.
    eError insert(KelBalancedTreeEntry* entry);

    /// The stored entry that compares equal to `key` (normally a stack object
    /// carrying just the key fields), or null. A comparison result other than
    /// -1, 0 or +1 gives null.
    const KelBalancedTreeEntry* search(const KelBalancedTreeEntry& key) const;

    /// The number of successful insertions since the last reset.
    unsigned int count() const;

    /// The first entry in order (the end when the tree is empty), and the end.
    KelBalancedTreeIterator begin() const;
    /// @copydoc begin
    KelBalancedTreeIterator end() const;

    /// Destroys every entry and empties the tree. On an empty tree it does
    /// nothing at all, so a count left by unlinked insertions stays.
    void reset();

    KelBalancedTreeEntry* root;  ///< owned; null when empty

private:
    unsigned int m_count;
};

#endif  // KEL_KELBALANCEDTREE_H
