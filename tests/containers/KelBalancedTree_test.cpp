#include <kel/Kel.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <set>
#include <vector>

namespace {

// A record ordered by its key: smaller probes go left.
class IntEntry : public KelBalancedTreeEntry {
public:
    explicit IntEntry(int key, int* destroyed = nullptr) : key(key), m_destroyed(destroyed) {}
    ~IntEntry() override {
        if (m_destroyed != nullptr)
            ++*m_destroyed;
    }

    int compare(const KelBalancedTreeEntry& other) const override {
        const int probe = static_cast<const IntEntry&>(other).key;
        if (probe < key)
            return -1;
        return probe > key ? 1 : 0;
    }

    int key;

private:
    int* m_destroyed;
};

// A record whose comparison answers a fixed, out-of-contract value.
class OddEntry : public KelBalancedTreeEntry {
public:
    explicit OddEntry(int answer) : m_answer(answer) {}
    int compare(const KelBalancedTreeEntry&) const override { return m_answer; }

private:
    int m_answer;
};

// The protected helpers, opened for the tests on entries of IntEntry type.
class Helpers : public IntEntry {
public:
    using KelBalancedTreeEntry::checkLeftInsert;
    using KelBalancedTreeEntry::checkLeftRemove;
    using KelBalancedTreeEntry::checkRightInsert;
    using KelBalancedTreeEntry::checkRightRemove;
    using KelBalancedTreeEntry::inorderPredecessor;
    using KelBalancedTreeEntry::rotateLeft;
    using KelBalancedTreeEntry::rotateRight;

    explicit Helpers(int key) : IntEntry(key) {}
    void correct() { checkAndCorrectBalanceStatus(); }
    void setChildWeights(eWeight left, eWeight right) { setWeightStatusToChilds(left, right); }
};

int keyOf(const KelBalancedTreeEntry* entry) {
    return static_cast<const IntEntry*>(entry)->key;
}

void insertKeys(KelBalancedTree& tree, std::initializer_list<int> keys) {
    for (int key : keys)
        ASSERT_EQ(tree.insert(new IntEntry(key)), KelBalancedTreeEntry::eNoError);
}

std::vector<int> forward(const KelBalancedTree& tree) {
    std::vector<int> keys;
    for (KelBalancedTreeIterator it = tree.begin(); it != tree.end(); ++it)
        keys.push_back(keyOf(*it));
    return keys;
}

// Checks order, parent links and weights below `node`; returns its height.
int checkSubtree(const KelBalancedTreeEntry* node, const KelBalancedTreeEntry* parent) {
    if (node == nullptr)
        return 0;
    EXPECT_EQ(node->parent, parent);
    if (node->left != nullptr) {
        EXPECT_LT(keyOf(node->left), keyOf(node));
    }
    if (node->right != nullptr) {
        EXPECT_GT(keyOf(node->right), keyOf(node));
    }
    const int left = checkSubtree(node->left, node);
    const int right = checkSubtree(node->right, node);
    switch (node->weight) {
        case KelBalancedTreeEntry::eLeftHeavy:
            EXPECT_EQ(left, right + 1) << "at key " << keyOf(node);
            break;
        case KelBalancedTreeEntry::eBalanced:
            EXPECT_EQ(left, right) << "at key " << keyOf(node);
            break;
        case KelBalancedTreeEntry::eRightHeavy:
            EXPECT_EQ(right, left + 1) << "at key " << keyOf(node);
            break;
        default:
            ADD_FAILURE() << "weight " << node->weight;
    }
    return std::max(left, right) + 1;
}

TEST(KelBalancedTree, Enumerations_HaveTheirNumbers) {
    EXPECT_EQ(KelBalancedTreeEntry::eLeftHeavy, 0);
    EXPECT_EQ(KelBalancedTreeEntry::eBalanced, 1);
    EXPECT_EQ(KelBalancedTreeEntry::eRightHeavy, 2);
    EXPECT_EQ(KelBalancedTreeEntry::eNoError, 0);
    EXPECT_EQ(KelBalancedTreeEntry::eAlreadyExists, 1);
    EXPECT_EQ(KelBalancedTreeEntry::eNullEntry, 2);
    EXPECT_EQ(KelBalancedTree::eNoError, KelBalancedTreeEntry::eNoError);
    EXPECT_EQ(KelBalancedTree::eAlreadyExists, KelBalancedTreeEntry::eAlreadyExists);
    EXPECT_EQ(KelBalancedTree::eNullEntry, KelBalancedTreeEntry::eNullEntry);
    EXPECT_EQ(sizeof(KelBalancedTreeEntry::eWeight), 4u);
    EXPECT_EQ(sizeof(KelBalancedTreeEntry::eError), 4u);
}

TEST(KelBalancedTree, NewEntry_IsBalancedWithoutLinks) {
    IntEntry entry(1);
    EXPECT_EQ(entry.weight, KelBalancedTreeEntry::eBalanced);
    EXPECT_EQ(entry.left, nullptr);
    EXPECT_EQ(entry.right, nullptr);
    EXPECT_EQ(entry.parent, nullptr);
}

TEST(KelBalancedTree, NewTree_IsEmpty) {
    KelBalancedTree tree;
    EXPECT_EQ(tree.root, nullptr);
    EXPECT_EQ(tree.count(), 0u);
    EXPECT_TRUE(tree.begin() == tree.end());
    EXPECT_EQ(*tree.begin(), nullptr);
}

TEST(KelBalancedTree, InsertNull_ReturnsNullEntryAndKeepsCount) {
    KelBalancedTree tree;
    insertKeys(tree, {5});
    EXPECT_EQ(tree.insert(nullptr), KelBalancedTreeEntry::eNullEntry);
    EXPECT_EQ(tree.count(), 1u);
}

TEST(KelBalancedTree, InsertDuplicate_ReturnsAlreadyExistsAndLeavesTheTree) {
    KelBalancedTree tree;
    insertKeys(tree, {2, 1, 3});
    const KelBalancedTreeEntry* rootBefore = tree.root;
    int destroyed = 0;
    IntEntry* duplicate = new IntEntry(3, &destroyed);
    EXPECT_EQ(tree.insert(duplicate), KelBalancedTreeEntry::eAlreadyExists);
    EXPECT_EQ(tree.count(), 3u);
    EXPECT_EQ(tree.root, rootBefore);
    EXPECT_EQ(duplicate->parent, nullptr);
    EXPECT_EQ(forward(tree), (std::vector<int>{1, 2, 3}));
    delete duplicate;  // still the caller's
    EXPECT_EQ(destroyed, 1);
}

TEST(KelBalancedTree, InsertAscending_SingleLeftRotationPuts2AtTheRoot) {
    KelBalancedTree tree;
    insertKeys(tree, {1, 2, 3});
    ASSERT_NE(tree.root, nullptr);
    EXPECT_EQ(keyOf(tree.root), 2);
    EXPECT_EQ(tree.root->parent, nullptr);
    EXPECT_EQ(keyOf(tree.root->left), 1);
    EXPECT_EQ(keyOf(tree.root->right), 3);
    EXPECT_EQ(tree.root->weight, KelBalancedTreeEntry::eBalanced);
    EXPECT_EQ(tree.root->left->weight, KelBalancedTreeEntry::eBalanced);
    EXPECT_EQ(tree.root->right->weight, KelBalancedTreeEntry::eBalanced);
    EXPECT_EQ(tree.root->left->parent, tree.root);
    EXPECT_EQ(tree.root->right->parent, tree.root);
    EXPECT_EQ(tree.count(), 3u);
}

TEST(KelBalancedTree, InsertDescending_SingleRightRotationPuts2AtTheRoot) {
    KelBalancedTree tree;
    insertKeys(tree, {3, 2, 1});
    EXPECT_EQ(keyOf(tree.root), 2);
    EXPECT_EQ(keyOf(tree.root->left), 1);
    EXPECT_EQ(keyOf(tree.root->right), 3);
    EXPECT_EQ(tree.root->left->weight, KelBalancedTreeEntry::eBalanced);
    EXPECT_EQ(tree.root->right->weight, KelBalancedTreeEntry::eBalanced);
}

TEST(KelBalancedTree, Insert312_DoubleRotationLeavesAllBalanced) {
    KelBalancedTree tree;
    insertKeys(tree, {3, 1, 2});
    EXPECT_EQ(keyOf(tree.root), 2);
    EXPECT_EQ(keyOf(tree.root->left), 1);
    EXPECT_EQ(keyOf(tree.root->right), 3);
    EXPECT_EQ(tree.root->weight, KelBalancedTreeEntry::eBalanced);
    EXPECT_EQ(tree.root->left->weight, KelBalancedTreeEntry::eBalanced);
    EXPECT_EQ(tree.root->right->weight, KelBalancedTreeEntry::eBalanced);
    EXPECT_EQ(tree.root->parent, nullptr);
    EXPECT_EQ(tree.root->left->parent, tree.root);
    EXPECT_EQ(tree.root->right->parent, tree.root);
}

TEST(KelBalancedTree, Insert132_MirrorDoubleRotationLeavesAllBalanced) {
    KelBalancedTree tree;
    insertKeys(tree, {1, 3, 2});
    EXPECT_EQ(keyOf(tree.root), 2);
    EXPECT_EQ(tree.root->weight, KelBalancedTreeEntry::eBalanced);
    EXPECT_EQ(tree.root->left->weight, KelBalancedTreeEntry::eBalanced);
    EXPECT_EQ(tree.root->right->weight, KelBalancedTreeEntry::eBalanced);
}

TEST(KelBalancedTree, Insert_GrowingSideSetsTheWeight) {
    KelBalancedTree left;
    insertKeys(left, {2, 1});
    EXPECT_EQ(left.root->weight, KelBalancedTreeEntry::eLeftHeavy);
    KelBalancedTree right;
    insertKeys(right, {2, 3});
    EXPECT_EQ(right.root->weight, KelBalancedTreeEntry::eRightHeavy);
    insertKeys(right, {1});
    EXPECT_EQ(right.root->weight, KelBalancedTreeEntry::eBalanced);
}

TEST(KelBalancedTree, DoubleRotation_LeftHeavyGrandchildMakesTheRightChildRightHeavy) {
    KelBalancedTree tree;
    insertKeys(tree, {50, 20, 80, 10, 30, 25});
    EXPECT_EQ(keyOf(tree.root), 30);
    EXPECT_EQ(keyOf(tree.root->left), 20);
    EXPECT_EQ(keyOf(tree.root->right), 50);
    EXPECT_EQ(tree.root->left->weight, KelBalancedTreeEntry::eBalanced);
    EXPECT_EQ(tree.root->right->weight, KelBalancedTreeEntry::eRightHeavy);
    EXPECT_EQ(tree.root->weight, KelBalancedTreeEntry::eBalanced);
    checkSubtree(tree.root, nullptr);
}

TEST(KelBalancedTree, DoubleRotation_RightHeavyGrandchildMakesTheLeftChildLeftHeavy) {
    KelBalancedTree tree;
    insertKeys(tree, {50, 20, 80, 10, 30, 35});
    EXPECT_EQ(keyOf(tree.root), 30);
    EXPECT_EQ(tree.root->left->weight, KelBalancedTreeEntry::eLeftHeavy);
    EXPECT_EQ(tree.root->right->weight, KelBalancedTreeEntry::eBalanced);
    checkSubtree(tree.root, nullptr);
}

TEST(KelBalancedTree, Search_FindsStoredEntriesOnly) {
    KelBalancedTree tree;
    insertKeys(tree, {40, 20, 60, 10, 30, 50, 70});
    for (int key : {10, 20, 30, 40, 50, 60, 70}) {
        const KelBalancedTreeEntry* found = tree.search(IntEntry(key));
        ASSERT_NE(found, nullptr);
        EXPECT_EQ(keyOf(found), key);
    }
    EXPECT_EQ(tree.search(IntEntry(35)), nullptr);
    EXPECT_EQ(tree.search(IntEntry(5)), nullptr);
    EXPECT_EQ(tree.search(IntEntry(75)), nullptr);
}

TEST(KelBalancedTree, Search_EmptyTreeGivesNull) {
    KelBalancedTree tree;
    EXPECT_EQ(tree.search(IntEntry(1)), nullptr);
}

TEST(KelBalancedTree, Search_OutOfContractComparisonGivesNull) {
    KelBalancedTree tree;
    ASSERT_EQ(tree.insert(new OddEntry(0)), KelBalancedTreeEntry::eNoError);
    // The stored entry answers 0: found.
    EXPECT_EQ(tree.search(OddEntry(0)), tree.root);
    KelBalancedTree odd;
    ASSERT_EQ(odd.insert(new IntEntry(1)), KelBalancedTreeEntry::eNoError);
    odd.root->right = new OddEntry(7);  // answers 7 to every probe
    odd.root->right->parent = odd.root;
    EXPECT_EQ(odd.search(IntEntry(2)), nullptr);
}

TEST(KelBalancedTree, Insert_ComparisonOfTwoIsAcceptedWithoutLinking) {
    KelBalancedTree tree;
    ASSERT_EQ(tree.insert(new OddEntry(2)), KelBalancedTreeEntry::eNoError);
    OddEntry* stray = new OddEntry(2);
    EXPECT_EQ(tree.insert(stray), KelBalancedTreeEntry::eNoError);
    EXPECT_EQ(tree.count(), 2u);
    EXPECT_EQ(tree.root->left, nullptr);
    EXPECT_EQ(tree.root->right, nullptr);
    EXPECT_EQ(stray->parent, nullptr);
    delete stray;  // never linked, so still the caller's
}

TEST(KelBalancedTree, Iterate_VisitsInOrderBothWays) {
    KelBalancedTree tree;
    insertKeys(tree, {40, 20, 60, 10, 30, 50, 70, 25, 35});
    EXPECT_EQ(forward(tree), (std::vector<int>{10, 20, 25, 30, 35, 40, 50, 60, 70}));

    KelBalancedTreeIterator it = tree.begin();
    KelBalancedTreeIterator last;
    while (it != tree.end()) {
        last = it;
        ++it;
    }
    std::vector<int> backward;
    for (it = last; it != tree.end(); --it)
        backward.push_back(keyOf(*it));
    EXPECT_EQ(backward, (std::vector<int>{70, 60, 50, 40, 35, 30, 25, 20, 10}));
}

TEST(KelBalancedTree, Iterate_PostfixReturnsThePreviousPosition) {
    KelBalancedTree tree;
    insertKeys(tree, {2, 1, 3});
    KelBalancedTreeIterator it = tree.begin();
    KelBalancedTreeIterator before = it++;
    EXPECT_EQ(keyOf(*before), 1);
    EXPECT_EQ(keyOf(*it), 2);
    before = it--;
    EXPECT_EQ(keyOf(*before), 2);
    EXPECT_EQ(keyOf(*it), 1);
    KelBalancedTreeIterator& self = ++it;
    EXPECT_EQ(&self, &it);
    EXPECT_EQ(keyOf(*it), 2);
}

TEST(KelBalancedTree, Iterate_EndStaysEndInBothDirections) {
    KelBalancedTree tree;
    insertKeys(tree, {2, 1, 3});
    KelBalancedTreeIterator end = tree.end();
    EXPECT_TRUE(--end == tree.end());
    EXPECT_TRUE(++end == tree.end());
    KelBalancedTreeIterator first = tree.begin();
    EXPECT_TRUE(--first == tree.end());  // before the first entry is the end too

    KelBalancedTree empty;
    KelBalancedTreeIterator emptyEnd = empty.end();
    EXPECT_TRUE(--emptyEnd == empty.end());
    EXPECT_TRUE(empty.begin() == empty.end());
}

TEST(KelBalancedTree, Iterator_ComparesCurrentPointersOnly) {
    IntEntry a(1);
    IntEntry b(2);
    EXPECT_TRUE(KelBalancedTreeIterator(&a) == KelBalancedTreeIterator(&a));
    EXPECT_TRUE(KelBalancedTreeIterator(&a) != KelBalancedTreeIterator(&b));
    const KelBalancedTreeIterator original(&b);
    KelBalancedTreeIterator copy(original);
    EXPECT_EQ(copy.current, &b);
    EXPECT_EQ(*copy, &b);
    EXPECT_EQ(KelBalancedTreeIterator().current, nullptr);
}

TEST(KelBalancedTree, Reset_DestroysEveryEntryOnce) {
    int destroyed = 0;
    KelBalancedTree tree;
    for (int key = 0; key < 100; ++key)
        ASSERT_EQ(tree.insert(new IntEntry(key, &destroyed)), KelBalancedTreeEntry::eNoError);
    tree.reset();
    EXPECT_EQ(destroyed, 100);
    EXPECT_EQ(tree.count(), 0u);
    EXPECT_EQ(tree.root, nullptr);
    tree.reset();
    EXPECT_EQ(destroyed, 100);
}

TEST(KelBalancedTree, Reset_OnAnEmptyTreeLeavesTheCount) {
    KelBalancedTree tree;
    tree.reset();
    EXPECT_EQ(tree.count(), 0u);
    // An unlinked insertion counts without giving the tree a root; reset
    // then has nothing to destroy and keeps the count.
    OddEntry stray(2);
    ASSERT_EQ(tree.insert(new IntEntry(1)), KelBalancedTreeEntry::eNoError);
    tree.reset();
    KelBalancedTree odd;
    odd.root = nullptr;
    ASSERT_EQ(odd.insert(&stray), KelBalancedTreeEntry::eNoError);  // empty: linked as root
    odd.root = nullptr;                                             // take it back
    EXPECT_EQ(odd.count(), 1u);
    odd.reset();
    EXPECT_EQ(odd.count(), 1u);
}

TEST(KelBalancedTree, Destructor_DestroysEveryEntry) {
    int destroyed = 0;
    {
        KelBalancedTree tree;
        for (int key : {5, 3, 8, 1, 4})
            tree.insert(new IntEntry(key, &destroyed));
    }
    EXPECT_EQ(destroyed, 5);
}

TEST(KelBalancedTree, EntryDestructor_DestroysRightSubtreeThenLeft) {
    std::vector<int> order;
    class Recorded : public IntEntry {
    public:
        Recorded(int key, std::vector<int>& order) : IntEntry(key), m_order(order) {}
        ~Recorded() override { m_order.push_back(key); }

    private:
        std::vector<int>& m_order;
    };
    KelBalancedTree tree;
    tree.insert(new Recorded(2, order));
    tree.insert(new Recorded(1, order));
    tree.insert(new Recorded(3, order));
    tree.reset();
    // A derived destructor body runs before the base destroys the children.
    EXPECT_EQ(order, (std::vector<int>{2, 3, 1}));
}

TEST(KelBalancedTree, Copy_IsShallow) {
    KelBalancedTree tree;
    insertKeys(tree, {2, 1, 3});
    KelBalancedTree copy(tree);
    EXPECT_EQ(copy.root, tree.root);
    EXPECT_EQ(copy.count(), 3u);
    KelBalancedTree assigned;
    assigned = tree;
    EXPECT_EQ(assigned.root, tree.root);
    EXPECT_EQ(assigned.count(), 3u);
    // Only one of them may destroy the shared entries.
    copy.root = nullptr;
    assigned.root = nullptr;
}

TEST(KelBalancedTree, EntryCopy_CopiesWeightAndLinks) {
    KelBalancedTree tree;
    insertKeys(tree, {2, 1, 3});
    IntEntry copy(*static_cast<IntEntry*>(tree.root));
    EXPECT_EQ(copy.key, 2);
    EXPECT_EQ(copy.left, tree.root->left);
    EXPECT_EQ(copy.right, tree.root->right);
    EXPECT_EQ(copy.parent, nullptr);
    EXPECT_EQ(copy.weight, KelBalancedTreeEntry::eBalanced);
    copy.left = copy.right = nullptr;  // not this copy's to destroy
}

TEST(KelBalancedTree, RotateRight_RelinksChildrenAndParents) {
    IntEntry* n = new IntEntry(5);
    IntEntry* l = new IntEntry(3);
    IntEntry* lr = new IntEntry(4);
    IntEntry top(10);
    n->left = l;
    l->parent = n;
    l->right = lr;
    lr->parent = l;
    n->parent = &top;
    top.left = n;
    Helpers::rotateRight(top.left);
    EXPECT_EQ(top.left, l);
    EXPECT_EQ(l->parent, &top);
    EXPECT_EQ(l->right, n);
    EXPECT_EQ(n->parent, l);
    EXPECT_EQ(n->left, lr);
    EXPECT_EQ(lr->parent, n);
    Helpers::rotateLeft(top.left);
    EXPECT_EQ(top.left, n);
    EXPECT_EQ(n->left, l);
    EXPECT_EQ(l->right, lr);
    EXPECT_EQ(lr->parent, l);
    EXPECT_EQ(n->parent, &top);
}

TEST(KelBalancedTree, CheckAndCorrectBalanceStatus_FollowsTheTable) {
    struct Row {
        KelBalancedTreeEntry::eWeight own, left, right;
    };
    const Row rows[] = {
        {KelBalancedTreeEntry::eLeftHeavy, KelBalancedTreeEntry::eBalanced,
         KelBalancedTreeEntry::eRightHeavy},
        {KelBalancedTreeEntry::eBalanced, KelBalancedTreeEntry::eBalanced,
         KelBalancedTreeEntry::eBalanced},
        {KelBalancedTreeEntry::eRightHeavy, KelBalancedTreeEntry::eLeftHeavy,
         KelBalancedTreeEntry::eBalanced},
    };
    for (const Row& row : rows) {
        Helpers* node = new Helpers(2);
        node->left = new IntEntry(1);
        node->right = new IntEntry(3);
        node->left->weight = KelBalancedTreeEntry::eRightHeavy;
        node->right->weight = KelBalancedTreeEntry::eLeftHeavy;
        node->weight = row.own;
        node->correct();
        EXPECT_EQ(node->left->weight, row.left);
        EXPECT_EQ(node->right->weight, row.right);
        delete node;
    }
    Helpers lonely(1);
    lonely.weight = KelBalancedTreeEntry::eLeftHeavy;
    lonely.correct();  // no children: nothing to set
    lonely.setChildWeights(KelBalancedTreeEntry::eLeftHeavy, KelBalancedTreeEntry::eLeftHeavy);
    EXPECT_EQ(lonely.weight, KelBalancedTreeEntry::eLeftHeavy);
}

TEST(KelBalancedTree, CheckInsert_WeightsAndHeightChange) {
    IntEntry node(1);
    int height = 1;
    KelBalancedTreeEntry* link = &node;
    Helpers::checkLeftInsert(link, height);
    EXPECT_EQ(node.weight, KelBalancedTreeEntry::eLeftHeavy);
    EXPECT_EQ(height, 1);
    node.weight = KelBalancedTreeEntry::eRightHeavy;
    Helpers::checkLeftInsert(link, height);
    EXPECT_EQ(node.weight, KelBalancedTreeEntry::eBalanced);
    EXPECT_EQ(height, 0);
    height = 1;
    Helpers::checkRightInsert(link, height);
    EXPECT_EQ(node.weight, KelBalancedTreeEntry::eRightHeavy);
    EXPECT_EQ(height, 1);
    node.weight = KelBalancedTreeEntry::eLeftHeavy;
    Helpers::checkRightInsert(link, height);
    EXPECT_EQ(node.weight, KelBalancedTreeEntry::eBalanced);
    EXPECT_EQ(height, 0);
}

TEST(KelBalancedTree, CheckLeftRemove_AdjustsWeightsWithoutRotating) {
    IntEntry node(1);
    KelBalancedTreeEntry* link = &node;
    int height = 0;
    node.weight = KelBalancedTreeEntry::eLeftHeavy;
    Helpers::checkLeftRemove(link, height);
    EXPECT_EQ(node.weight, KelBalancedTreeEntry::eBalanced);
    EXPECT_EQ(height, 1);
    Helpers::checkLeftRemove(link, height);
    EXPECT_EQ(node.weight, KelBalancedTreeEntry::eRightHeavy);
    EXPECT_EQ(height, 0);
    height = 1;
    Helpers::checkLeftRemove(link, height);
    EXPECT_EQ(node.weight, KelBalancedTreeEntry::eRightHeavy);
    EXPECT_EQ(height, 1);
    EXPECT_EQ(link, &node);
}

TEST(KelBalancedTree, CheckRightRemove_AdjustsWeightsWithoutRotating) {
    IntEntry node(1);
    KelBalancedTreeEntry* link = &node;
    int height = 1;
    Helpers::checkRightRemove(link, height);
    EXPECT_EQ(node.weight, KelBalancedTreeEntry::eLeftHeavy);
    EXPECT_EQ(height, 0);
    height = 1;
    Helpers::checkRightRemove(link, height);
    EXPECT_EQ(node.weight, KelBalancedTreeEntry::eLeftHeavy);
    EXPECT_EQ(height, 1);
    node.weight = KelBalancedTreeEntry::eRightHeavy;
    height = 0;
    Helpers::checkRightRemove(link, height);
    EXPECT_EQ(node.weight, KelBalancedTreeEntry::eBalanced);
    EXPECT_EQ(height, 1);
    EXPECT_EQ(link, &node);
}

TEST(KelBalancedTree, InorderPredecessor_EmptyLinkGivesNullEntry) {
    KelBalancedTreeEntry* link = nullptr;
    IntEntry removedEntry(1);
    KelBalancedTreeEntry* removed = &removedEntry;
    int height = 0;
    EXPECT_EQ(Helpers::inorderPredecessor(link, removed, height), KelBalancedTreeEntry::eNullEntry);
    EXPECT_EQ(removed, &removedEntry);
    EXPECT_EQ(height, 0);
}

TEST(KelBalancedTree, InorderPredecessor_TakesTheRightmostNodeOfTheLeftSubtree) {
    // 50 is removed; its left subtree is 20 (10, 30 (25, -)), its right 80.
    KelBalancedTree tree;
    insertKeys(tree, {50, 20, 80, 10, 30, 90, 25});
    KelBalancedTreeEntry* removedNode = tree.root;
    ASSERT_EQ(keyOf(removedNode), 50);
    KelBalancedTreeEntry* const left20 = removedNode->left;
    KelBalancedTreeEntry* const right80 = removedNode->right;
    KelBalancedTreeEntry* const node30 = left20->right;
    KelBalancedTreeEntry* const node25 = node30->left;
    ASSERT_EQ(keyOf(node30), 30);
    ASSERT_EQ(left20->weight, KelBalancedTreeEntry::eRightHeavy);

    KelBalancedTreeEntry* removed = removedNode;
    int height = 0;
    EXPECT_EQ(Helpers::inorderPredecessor(removedNode->left, removed, height),
              KelBalancedTreeEntry::eNoError);
    EXPECT_EQ(removed, node30);
    EXPECT_EQ(left20->right, node25);   // the link took 30's left child
    EXPECT_EQ(node30->right, right80);  // 30 took the removed entry's links
    EXPECT_EQ(node30->left, left20);
    EXPECT_EQ(node25->parent, node30);  // parent links are the caller's to fix
    EXPECT_EQ(left20->weight, KelBalancedTreeEntry::eBalanced);  // right side shrank
    EXPECT_EQ(height, 1);

    // Relink as a derived removal would, so that the tree is whole again.
    node25->parent = left20;
    left20->parent = node30;
    right80->parent = node30;
    node30->parent = nullptr;
    tree.root = node30;
    removedNode->left = removedNode->right = nullptr;
    delete removedNode;
    EXPECT_EQ(forward(tree), (std::vector<int>{10, 20, 25, 30, 80, 90}));
}

class RandomInsertion : public ::testing::TestWithParam<unsigned> {};

TEST_P(RandomInsertion, KeepsOrderParentLinksAndWeights) {
    std::mt19937 random(GetParam());
    std::uniform_int_distribution<int> keys(-50000, 50000);
    KelBalancedTree tree;
    std::set<int> reference;
    int destroyed = 0;
    for (int i = 0; i < 10000; ++i) {
        const int key = keys(random);
        IntEntry* entry = new IntEntry(key, &destroyed);
        const KelBalancedTreeEntry::eError result = tree.insert(entry);
        if (reference.insert(key).second) {
            ASSERT_EQ(result, KelBalancedTreeEntry::eNoError);
        } else {
            ASSERT_EQ(result, KelBalancedTreeEntry::eAlreadyExists);
            delete entry;
        }
    }
    const int rejected = destroyed;
    ASSERT_EQ(tree.count(), reference.size());
    EXPECT_EQ(forward(tree), std::vector<int>(reference.begin(), reference.end()));
    const int height = checkSubtree(tree.root, nullptr);
    EXPECT_LE(height, 1.4405 * std::log2(reference.size() + 2.0) - 0.3277);
    for (int key : reference)
        ASSERT_NE(tree.search(IntEntry(key)), nullptr);
    tree.reset();
    EXPECT_EQ(destroyed - rejected, static_cast<int>(reference.size()));
}

TEST_P(RandomInsertion, SortedInputStaysBalanced) {
    KelBalancedTree tree;
    const int n = 10000;
    const bool descending = GetParam() % 2 == 0;
    for (int i = 0; i < n; ++i)
        ASSERT_EQ(tree.insert(new IntEntry(descending ? n - i : i)),
                  KelBalancedTreeEntry::eNoError);
    const int height = checkSubtree(tree.root, nullptr);
    EXPECT_LE(height, 15);  // a perfectly balanced tree of 10,000 has 14 levels
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomInsertion, ::testing::Values(1u, 7u, 42u, 2024u, 65537u));

}  // namespace
