/// @file KelRBTree.h
/// An ordered set kept as a red-black tree.
///
/// KelRBTree<Key, Value, KeyOf> stores values, each under the key that
/// KeyOf() extracts from it; every key is stored at most once and smaller
/// keys lie to the left. Pointer keys are ordered by their unsigned address
/// values. KelIdentity makes a value its own key.
///
/// @code
///   KelRBTree<int, int, KelIdentity<int>> set;
///   set.insert(7);
///   set.insert(3);                       // 1: added
///   set.insert(7);                       // 0: already there
///   for (auto* node = set.first(); node != nullptr; node = set.next(node)) { ... }   // 3, 7
///   set.remove(3);
/// @endcode
///
/// Nodes are made and freed through two virtual operations, createNode and
/// destroyNode, which a derived tree may replace. Copying a tree rebuilds
/// its nodes. Nothing here locks: one tree belongs to one thread at a time.

#ifndef KEL_KELRBTREE_H
#define KEL_KELRBTREE_H

#include <cstdint>
#include <new>
#include <type_traits>

/// The key extractor that makes a value its own key.
template <typename T>
struct KelIdentity {
    /// `value` itself.
    const T& operator()(const T& value) const { return value; }
};

/// @copydoc KelRBTree.h
template <typename Key, typename Value, typename KeyOf>
class KelRBTree {
public:
    /// The colour of a node, one byte.
    enum eColour : unsigned char {
        eRed = 0,
        eBlack = 1,
    };

    /// A node of the tree. The links are open for reading (traversals,
    /// checks); only the tree changes them.
    struct Node {
        Value value;     ///< the stored value; its key is KeyOf()(value)
        eColour colour;  ///< red or black
        Node* left;      ///< the subtree of smaller keys, or null
        Node* right;     ///< the subtree of greater keys, or null
        Node* parent;    ///< null at the root
    };

    /// An empty tree.
    KelRBTree() : m_root(nullptr), m_count(0) {}

    /// A tree rebuilt from `other`: same shape, keys and colours, new nodes.
    /// (While this tree is being constructed its own createNode is the base
    /// one; a derived tree that wants its own nodes assigns instead.)
    KelRBTree(const KelRBTree& other) : m_root(nullptr), m_count(0) { copyFrom(other); }

    /// Destroys this tree's nodes (post-order: left subtree, right subtree,
    /// node) and rebuilds them from `other`: each node is created with the
    /// source node's value and colour after the copies of its two children,
    /// whose parent is then set to it. If a node cannot be created the tree
    /// ends up empty. Assigning a tree to itself changes nothing.
    KelRBTree& operator=(const KelRBTree& other) {
        if (this != &other) {
            clear();
            copyFrom(other);
        }
        return *this;
    }

    /// Destroys every node. This runs the base destroyNode: a derived tree
    /// that replaces destroyNode calls clear() in its own destructor.
    ~KelRBTree() { clear(); }

    /// Inserts `value` unless a value with its key is already stored. The
    /// node is created first (red, no children); when an equal key turns up
    /// it is destroyed again and the count stays. 1 when added, 0 when the
    /// key was present or no node could be created.
    int insert(const Value& value) {
        Node* added = createNode(value, eRed, nullptr, nullptr);
        if (added == nullptr)
            return 0;
        const Key& key = KeyOf()(added->value);
        Node* parent = nullptr;
        Node* current = m_root;
        bool toLeft = false;
        while (current != nullptr) {
            parent = current;
            if (less(key, keyOf(current))) {
                toLeft = true;
                current = current->left;
            } else if (less(keyOf(current), key)) {
                toLeft = false;
                current = current->right;
            } else {
                destroyNode(added);
                return 0;
            }
        }
        added->parent = parent;
        if (parent == nullptr)
            m_root = added;
        else if (toLeft)
            parent->left = added;
        else
            parent->right = added;
        ++m_count;
        repairAfterInsert(added);
        return 1;
    }

    /// Removes the value stored under `key`, handing its node to
    /// destroyNode. 1 when removed, 0 (nothing changed) when absent.
    int remove(const Key& key) {
        Node* removed = find(key);
        if (removed == nullptr)
            return 0;
        unlink(removed);
        destroyNode(removed);
        --m_count;
        return 1;
    }

    /// The node stored under `key`, or null.
    Node* find(const Key& key) const {
        Node* current = m_root;
        while (current != nullptr) {
            if (less(key, keyOf(current)))
                current = current->left;
            else if (less(keyOf(current), key))
                current = current->right;
            else
                return current;
        }
        return nullptr;
    }

    /// The node with the smallest key greater than `key` (which need not be
    /// stored), or null.
    Node* upperBound(const Key& key) const {
        Node* found = nullptr;
        Node* current = m_root;
        while (current != nullptr) {
            if (less(key, keyOf(current))) {
                found = current;
                current = current->left;
            } else {
                current = current->right;
            }
        }
        return found;
    }

    /// The number of stored values.
    int count() const { return m_count; }

    /// The root node (null when empty).
    Node* getRoot() const { return m_root; }

    /// The node with the smallest key (null when empty).
    Node* first() const { return leftmost(m_root); }

    /// The node after `node` in key order, or null after the last: the
    /// leftmost node of its right subtree if it has one, else the parent
    /// reached by climbing while the node is its parent's right child.
    static Node* next(const Node* node) {
        if (node == nullptr)
            return nullptr;
        if (node->right != nullptr)
            return leftmost(node->right);
        while (node->parent != nullptr && node == node->parent->right)
            node = node->parent;
        return node->parent;
    }

    /// Destroys every node (post-order) and empties the tree.
    void clear() {
        destroySubtree(m_root);
        m_root = nullptr;
        m_count = 0;
    }

protected:
    /// Makes a node holding `value` with the given colour and children; its
    /// parent is null. Null when memory runs out (the tree then leaves the
    /// operation undone).
    virtual Node* createNode(const Value& value, eColour colour, Node* left, Node* right) {
        return new (std::nothrow) Node{value, colour, left, right, nullptr};
    }

    /// Frees a node made by createNode. Its links are not followed.
    virtual void destroyNode(Node* node) { delete node; }

private:
    static const Key& keyOf(const Node* node) { return KeyOf()(node->value); }

    /// Pointers compare as unsigned address values, anything else by <.
    static bool less(const Key& a, const Key& b) {
        if constexpr (std::is_pointer<Key>::value) {
            return reinterpret_cast<std::uintptr_t>(a) < reinterpret_cast<std::uintptr_t>(b);
        } else {
            return a < b;
        }
    }

    static eColour colourOf(const Node* node) { return node == nullptr ? eBlack : node->colour; }

    static Node* leftmost(Node* node) {
        if (node == nullptr)
            return nullptr;
        while (node->left != nullptr)
            node = node->left;
        return node;
    }

    /// Makes `replacement` take `node`'s place under `node`'s parent.
    void replaceChild(Node* node, Node* replacement) {
        if (node->parent == nullptr)
            m_root = replacement;
        else if (node == node->parent->left)
            node->parent->left = replacement;
        else
            node->parent->right = replacement;
        if (replacement != nullptr)
            replacement->parent = node->parent;
    }

    void rotateLeft(Node* node) {
        Node* up = node->right;
        node->right = up->left;
        if (up->left != nullptr)
            up->left->parent = node;
        replaceChild(node, up);
        up->left = node;
        node->parent = up;
    }

    void rotateRight(Node* node) {
        Node* up = node->left;
        node->left = up->right;
        if (up->right != nullptr)
            up->right->parent = node;
        replaceChild(node, up);
        up->right = node;
        node->parent = up;
    }

    /// Restores the colour rules after a red leaf was linked in.
    void repairAfterInsert(Node* node) {
        while (node->parent != nullptr && node->parent->colour == eRed) {
            Node* parent = node->parent;
            Node* grandparent = parent->parent;  // exists: a red node is never the root
            const bool parentIsLeft = parent == grandparent->left;
            Node* uncle = parentIsLeft ? grandparent->right : grandparent->left;
            if (colourOf(uncle) == eRed) {
                parent->colour = eBlack;
                uncle->colour = eBlack;
                grandparent->colour = eRed;
                node = grandparent;
                continue;
            }
            if (parentIsLeft) {
                if (node == parent->right) {
                    rotateLeft(parent);
                    parent = node;
                }
                parent->colour = eBlack;
                grandparent->colour = eRed;
                rotateRight(grandparent);
            } else {
                if (node == parent->left) {
                    rotateRight(parent);
                    parent = node;
                }
                parent->colour = eBlack;
                grandparent->colour = eRed;
                rotateLeft(grandparent);
            }
            break;
        }
        m_root->colour = eBlack;
    }

    /// Takes `node` out of the tree and restores the colour rules; the node
    /// itself is left to the caller.
    void unlink(Node* node) {
        eColour lostColour = node->colour;
        Node* child;        // what moved into the place that lost a node
        Node* childParent;  // its parent (the child may be null)
        if (node->left == nullptr) {
            child = node->right;
            childParent = node->parent;
            replaceChild(node, node->right);
        } else if (node->right == nullptr) {
            child = node->left;
            childParent = node->parent;
            replaceChild(node, node->left);
        } else {
            // Two children: the successor takes the node's place and colour.
            Node* successor = leftmost(node->right);
            lostColour = successor->colour;
            child = successor->right;
            if (successor->parent == node) {
                childParent = successor;
            } else {
                childParent = successor->parent;
                replaceChild(successor, successor->right);
                successor->right = node->right;
                successor->right->parent = successor;
            }
            replaceChild(node, successor);
            successor->left = node->left;
            successor->left->parent = successor;
            successor->colour = node->colour;
        }
        if (lostColour == eBlack)
            repairAfterRemoval(child, childParent);
    }

    /// `node` (possibly null, below `parent`) carries one black too few.
    void repairAfterRemoval(Node* node, Node* parent) {
        while (node != m_root && colourOf(node) == eBlack) {
            if (node == parent->left) {
                Node* sibling = parent->right;
                if (sibling->colour == eRed) {
                    sibling->colour = eBlack;
                    parent->colour = eRed;
                    rotateLeft(parent);
                    sibling = parent->right;
                }
                if (colourOf(sibling->left) == eBlack && colourOf(sibling->right) == eBlack) {
                    sibling->colour = eRed;
                    node = parent;
                    parent = node->parent;
                    continue;
                }
                if (colourOf(sibling->right) == eBlack) {
                    sibling->left->colour = eBlack;
                    sibling->colour = eRed;
                    rotateRight(sibling);
                    sibling = parent->right;
                }
                sibling->colour = parent->colour;
                parent->colour = eBlack;
                sibling->right->colour = eBlack;
                rotateLeft(parent);
            } else {
                Node* sibling = parent->left;
                if (sibling->colour == eRed) {
                    sibling->colour = eBlack;
                    parent->colour = eRed;
                    rotateRight(parent);
                    sibling = parent->left;
                }
                if (colourOf(sibling->left) == eBlack && colourOf(sibling->right) == eBlack) {
                    sibling->colour = eRed;
                    node = parent;
                    parent = node->parent;
                    continue;
                }
                if (colourOf(sibling->left) == eBlack) {
                    sibling->right->colour = eBlack;
                    sibling->colour = eRed;
                    rotateLeft(sibling);
                    sibling = parent->left;
                }
                sibling->colour = parent->colour;
                parent->colour = eBlack;
                sibling->left->colour = eBlack;
                rotateRight(parent);
            }
            node = m_root;
        }
        if (node != nullptr)
            node->colour = eBlack;
    }

    void destroySubtree(Node* node) {
        if (node == nullptr)
            return;
        destroySubtree(node->left);
        destroySubtree(node->right);
        destroyNode(node);
    }

    void copyFrom(const KelRBTree& other) {
        bool failed = false;
        m_root = copySubtree(other.m_root, failed);
        m_count = other.m_count;
        if (failed)
            clear();
    }

    /// Children first, then the node with the source's value and colour.
    Node* copySubtree(const Node* source, bool& failed) {
        if (source == nullptr || failed)
            return nullptr;
        Node* left = copySubtree(source->left, failed);
        Node* right = copySubtree(source->right, failed);
        Node* node = failed ? nullptr : createNode(source->value, source->colour, left, right);
        if (node == nullptr) {
            failed = true;
            destroySubtree(left);
            destroySubtree(right);
            return nullptr;
        }
        if (left != nullptr)
            left->parent = node;
        if (right != nullptr)
            right->parent = node;
        return node;
    }

    Node* m_root;
    int m_count;
};

#endif  // KEL_KELRBTREE_H
