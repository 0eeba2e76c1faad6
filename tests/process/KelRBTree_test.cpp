#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace {

using IntTree = KelRBTree<int, int, KelIdentity<int>>;
using Node = IntTree::Node;

// Checks every rule of a red-black tree below `node`: keys strictly
// ascending within (low, high), parent links, colours, no red node with a
// red child, the same number of black nodes on every path. Returns that
// black height (-1 after a broken rule, described in `error`) and adds the
// nodes to `count`. Plain code rather than assertions: it runs after every
// step of long random sequences.
int checkSubtree(const Node* node, const Node* parent, const int* low, const int* high, int& count,
                 std::string& error) {
    if (node == nullptr)
        return 1;
    ++count;
    const char* broken = nullptr;
    if (node->parent != parent)
        broken = "wrong parent link";
    else if ((low != nullptr && !(*low < node->value)) ||
             (high != nullptr && !(node->value < *high)))
        broken = "key out of order";
    else if (node->colour != IntTree::eRed && node->colour != IntTree::eBlack)
        broken = "no colour";
    else if (node->colour == IntTree::eRed &&
             ((node->left != nullptr && node->left->colour == IntTree::eRed) ||
              (node->right != nullptr && node->right->colour == IntTree::eRed)))
        broken = "red node with a red child";
    if (broken != nullptr) {
        error = std::string(broken) + " at " + std::to_string(node->value);
        return -1;
    }
    const int left = checkSubtree(node->left, node, low, &node->value, count, error);
    const int right = checkSubtree(node->right, node, &node->value, high, count, error);
    if (!error.empty())
        return -1;
    if (left != right) {
        error = "black heights " + std::to_string(left) + " and " + std::to_string(right) + " at " +
                std::to_string(node->value);
        return -1;
    }
    return left + (node->colour == IntTree::eBlack ? 1 : 0);
}

// All rules, the count, and the contents against `model`, in order.
::testing::AssertionResult matchesModel(const IntTree& tree, const std::set<int>& model) {
    const Node* root = tree.getRoot();
    if (root != nullptr && (root->colour != IntTree::eBlack || root->parent != nullptr))
        return ::testing::AssertionFailure() << "the root is not a black parentless node";
    int nodes = 0;
    std::string error;
    checkSubtree(root, nullptr, nullptr, nullptr, nodes, error);
    if (!error.empty())
        return ::testing::AssertionFailure() << error;
    if (nodes != tree.count() || tree.count() != static_cast<int>(model.size())) {
        return ::testing::AssertionFailure()
               << "count " << tree.count() << ", nodes " << nodes << ", model " << model.size();
    }
    auto expected = model.begin();
    for (const Node* node = tree.first(); node != nullptr; node = IntTree::next(node), ++expected) {
        if (expected == model.end() || *expected != node->value)
            return ::testing::AssertionFailure() << "traversal differs at " << node->value;
    }
    if (expected != model.end())
        return ::testing::AssertionFailure() << "traversal ends early";
    return ::testing::AssertionSuccess();
}

int height(const Node* node) {
    if (node == nullptr)
        return 0;
    return 1 + std::max(height(node->left), height(node->right));
}

std::vector<int> inOrder(const IntTree& tree) {
    std::vector<int> values;
    for (const Node* node = tree.first(); node != nullptr; node = IntTree::next(node))
        values.push_back(node->value);
    return values;
}

// "value:colour(left,right)" in pre-order, "." for a missing child.
std::string shape(const Node* node) {
    if (node == nullptr)
        return ".";
    std::string text = std::to_string(node->value) + (node->colour == IntTree::eRed ? "r" : "b");
    if (node->left == nullptr && node->right == nullptr)
        return text;
    return text + "(" + shape(node->left) + "," + shape(node->right) + ")";
}

// A tree that records the calls of its node operations, and can be told to
// fail creating nodes after a number of them.
class RecordingTree : public IntTree {
public:
    RecordingTree() = default;
    RecordingTree(const RecordingTree& other) : IntTree(other) {}
    RecordingTree& operator=(const RecordingTree& other) {
        IntTree::operator=(other);
        return *this;
    }
    ~RecordingTree() { clear(); }

    std::vector<std::string> created;
    std::vector<int> destroyed;
    int failAfter = -1;  // creations still allowed; -1 for no limit

protected:
    Node* createNode(const int& value, eColour colour, Node* left, Node* right) override {
        if (failAfter == 0)
            return nullptr;
        if (failAfter > 0)
            --failAfter;
        created.push_back(std::to_string(value) + (colour == eRed ? "r" : "b"));
        Node* node = IntTree::createNode(value, colour, left, right);
        EXPECT_EQ(node->parent, nullptr);
        EXPECT_EQ(node->left, left);
        EXPECT_EQ(node->right, right);
        return node;
    }
    void destroyNode(Node* node) override {
        destroyed.push_back(node->value);
        IntTree::destroyNode(node);
    }
};

}  // namespace

TEST(KelRBTree, Empty_HasNoRootAndNoFirst) {
    IntTree tree;
    EXPECT_EQ(tree.getRoot(), nullptr);
    EXPECT_EQ(tree.count(), 0);
    EXPECT_EQ(tree.first(), nullptr);
    EXPECT_EQ(IntTree::next(nullptr), nullptr);
    EXPECT_EQ(tree.find(1), nullptr);
    EXPECT_EQ(tree.upperBound(1), nullptr);
    EXPECT_EQ(tree.remove(1), 0);
}

TEST(KelRBTree, Colour_IsOneByte) {
    EXPECT_EQ(sizeof(IntTree::eColour), 1u);
    EXPECT_EQ(static_cast<int>(IntTree::eRed), 0);
    EXPECT_EQ(static_cast<int>(IntTree::eBlack), 1);
}

TEST(KelRBTree, Insert_FirstNodeIsABlackRoot) {
    IntTree tree;
    EXPECT_EQ(tree.insert(10), 1);
    EXPECT_EQ(shape(tree.getRoot()), "10b");
    EXPECT_EQ(tree.count(), 1);
}

TEST(KelRBTree, Insert_AscendingKeysRotateAndRecolour) {
    IntTree tree;
    tree.insert(10);
    tree.insert(20);
    EXPECT_EQ(shape(tree.getRoot()), "10b(.,20r)");
    tree.insert(30);  // red-red on the right: rotate left at 10
    EXPECT_EQ(shape(tree.getRoot()), "20b(10r,30r)");
    tree.insert(40);  // red uncle: recolour
    EXPECT_EQ(shape(tree.getRoot()), "20b(10b,30b(.,40r))");
    tree.insert(50);  // rotate left at 30
    EXPECT_EQ(shape(tree.getRoot()), "20b(10b,40b(30r,50r))");
    tree.insert(60);
    EXPECT_EQ(shape(tree.getRoot()), "20b(10b,40r(30b,50b(.,60r)))");
    EXPECT_TRUE(matchesModel(tree, {10, 20, 30, 40, 50, 60}));
}

TEST(KelRBTree, Insert_ZigZagNeedsTwoRotations) {
    IntTree tree;
    tree.insert(30);
    tree.insert(10);
    tree.insert(20);
    EXPECT_EQ(shape(tree.getRoot()), "20b(10r,30r)");
    IntTree mirror;
    mirror.insert(10);
    mirror.insert(30);
    mirror.insert(20);
    EXPECT_EQ(shape(mirror.getRoot()), "20b(10r,30r)");
}

TEST(KelRBTree, Insert_EqualKeyDestroysTheFreshNodeAndKeepsTheCount) {
    RecordingTree tree;
    EXPECT_EQ(tree.insert(5), 1);
    const Node* stored = tree.getRoot();
    EXPECT_EQ(tree.insert(5), 0);
    EXPECT_EQ(tree.count(), 1);
    EXPECT_EQ(tree.getRoot(), stored);
    EXPECT_EQ(tree.created, (std::vector<std::string>{"5r", "5r"}));
    EXPECT_EQ(tree.destroyed, (std::vector<int>{5}));
}

TEST(KelRBTree, Insert_WithoutMemoryChangesNothing) {
    RecordingTree tree;
    tree.insert(1);
    tree.failAfter = 0;
    EXPECT_EQ(tree.insert(2), 0);
    EXPECT_EQ(tree.count(), 1);
    EXPECT_TRUE(matchesModel(tree, {1}));
}

TEST(KelRBTree, Remove_AbsentKeyChangesNothing) {
    RecordingTree tree;
    for (int value : {4, 2, 6})
        tree.insert(value);
    const std::string before = shape(tree.getRoot());
    EXPECT_EQ(tree.remove(5), 0);
    EXPECT_EQ(shape(tree.getRoot()), before);
    EXPECT_EQ(tree.count(), 3);
    EXPECT_TRUE(tree.destroyed.empty());
}

TEST(KelRBTree, Remove_HandsTheNodeToDestroyNodeAndDropsTheCount) {
    RecordingTree tree;
    for (int value : {4, 2, 6, 1, 3, 5, 7})
        tree.insert(value);
    EXPECT_EQ(tree.remove(4), 1);  // the root, with two children
    EXPECT_EQ(tree.destroyed, (std::vector<int>{4}));
    EXPECT_EQ(tree.count(), 6);
    EXPECT_TRUE(matchesModel(tree, {1, 2, 3, 5, 6, 7}));
    EXPECT_EQ(tree.remove(1), 1);  // a leaf
    EXPECT_EQ(tree.remove(2), 1);  // one child
    EXPECT_TRUE(matchesModel(tree, {3, 5, 6, 7}));
    for (int value : {3, 5, 6, 7})
        EXPECT_EQ(tree.remove(value), 1);
    EXPECT_EQ(tree.getRoot(), nullptr);
    EXPECT_EQ(tree.count(), 0);
    EXPECT_EQ(tree.destroyed, (std::vector<int>{4, 1, 2, 3, 5, 6, 7}));
}

TEST(KelRBTree, Remove_BlackLeafRebalances) {
    IntTree tree;
    for (int value : {10, 20, 30, 40, 50, 60})
        tree.insert(value);
    // 20b(10b,40r(30b,50b(.,60r))): removing the black leaf 10 borrows from
    // the right side.
    EXPECT_EQ(tree.remove(10), 1);
    EXPECT_EQ(shape(tree.getRoot()), "40b(20b(.,30r),50b(.,60r))");
    EXPECT_TRUE(matchesModel(tree, {20, 30, 40, 50, 60}));
}

TEST(KelRBTree, Traversal_VisitsKeysInAscendingOrder) {
    IntTree tree;
    for (int value : {50, 20, 80, 10, 30, 70, 90, 60, 40})
        tree.insert(value);
    EXPECT_EQ(inOrder(tree), (std::vector<int>{10, 20, 30, 40, 50, 60, 70, 80, 90}));
    EXPECT_EQ(tree.first()->value, 10);
}

TEST(KelRBTree, FindAndUpperBound) {
    IntTree tree;
    for (int value : {50, 20, 80})
        tree.insert(value);
    ASSERT_NE(tree.find(20), nullptr);
    EXPECT_EQ(tree.find(20)->value, 20);
    EXPECT_EQ(tree.find(21), nullptr);
    EXPECT_EQ(tree.upperBound(20)->value, 50);
    EXPECT_EQ(tree.upperBound(21)->value, 50);
    EXPECT_EQ(tree.upperBound(0)->value, 20);
    EXPECT_EQ(tree.upperBound(80), nullptr);
}

TEST(KelRBTree, PointerKeys_CompareAsUnsignedAddresses) {
    using PointerTree = KelRBTree<char*, char*, KelIdentity<char*>>;
    // Never dereferenced: only their values are keys.
    char* const low = reinterpret_cast<char*>(std::uintptr_t{0x10});
    char* const middle = reinterpret_cast<char*>(~std::uintptr_t{0} >> 1);
    char* const high = reinterpret_cast<char*>(~std::uintptr_t{0} - 0xF);  // "negative" if signed
    PointerTree tree;
    tree.insert(high);
    tree.insert(low);
    tree.insert(middle);
    EXPECT_EQ(tree.insert(middle), 0);
    std::vector<char*> order;
    for (auto* node = tree.first(); node != nullptr; node = PointerTree::next(node))
        order.push_back(node->value);
    EXPECT_EQ(order, (std::vector<char*>{low, middle, high}));
    EXPECT_EQ(tree.remove(high), 1);
    EXPECT_EQ(tree.count(), 2);
}

TEST(KelRBTree, RandomInsertsAndRemovals_KeepEveryRuleAtEveryStep) {
    std::mt19937 random(20150101);
    // Keys from a small range, so that inserts meet present keys and removals
    // find theirs: the tree hovers around a few hundred nodes.
    std::uniform_int_distribution<int> keys(0, 511);
    std::uniform_int_distribution<int> coin(0, 99);
    IntTree tree;
    std::set<int> model;
    for (int step = 0; step < 100000; ++step) {
        const int key = keys(random);
        // Grow for the first third, then hover, then shrink.
        const int insertChance = step < 33000 ? 70 : (step < 66000 ? 50 : 35);
        if (coin(random) < insertChance) {
            const int added = model.insert(key).second ? 1 : 0;
            ASSERT_EQ(tree.insert(key), added) << "step " << step << " insert " << key;
        } else {
            const int removed = static_cast<int>(model.erase(key));
            ASSERT_EQ(tree.remove(key), removed) << "step " << step << " remove " << key;
        }
        ASSERT_TRUE(matchesModel(tree, model)) << "after step " << step;
    }
}

TEST(KelRBTree, LargeTree_StaysWithinTheRedBlackHeight) {
    std::mt19937 random(7);
    IntTree tree;
    std::set<int> model;
    for (int i = 0; i < 100000; ++i) {
        const int key = static_cast<int>(random() % 1000000);
        tree.insert(key);
        model.insert(key);
    }
    for (int i = 0; i < 50000; ++i) {
        const int key = static_cast<int>(random() % 1000000);
        EXPECT_EQ(tree.remove(key), static_cast<int>(model.erase(key)));
    }
    EXPECT_TRUE(matchesModel(tree, model));
    const double bound = 2 * std::log2(static_cast<double>(model.size()) + 1);
    EXPECT_LE(height(tree.getRoot()), bound);
}

TEST(KelRBTree, SequentialKeys_StayWithinTheRedBlackHeight) {
    IntTree tree;
    std::set<int> model;
    for (int key = 0; key < 65535; ++key) {
        tree.insert(key);
        model.insert(key);
    }
    EXPECT_TRUE(matchesModel(tree, model));
    EXPECT_LE(height(tree.getRoot()), 32);
}

TEST(KelRBTree, CopyConstruction_RebuildsTheSameShapeFromNewNodes) {
    IntTree source;
    for (int value : {10, 20, 30, 40, 50, 60, 5})
        source.insert(value);
    IntTree copy(source);
    EXPECT_EQ(shape(copy.getRoot()), shape(source.getRoot()));
    EXPECT_EQ(copy.count(), 7);
    EXPECT_TRUE(matchesModel(copy, {5, 10, 20, 30, 40, 50, 60}));
    // New nodes: changing the copy leaves the source alone.
    EXPECT_NE(copy.getRoot(), source.getRoot());
    copy.remove(20);
    copy.insert(25);
    EXPECT_TRUE(matchesModel(source, {5, 10, 20, 30, 40, 50, 60}));
    EXPECT_TRUE(matchesModel(copy, {5, 10, 25, 30, 40, 50, 60}));
}

TEST(KelRBTree, CopyAssignment_DestroysPostOrderThenCreatesPostOrder) {
    RecordingTree source;
    for (int value : {20, 10, 30, 40})
        source.insert(value);  // 20b(10b,30b(.,40r))
    RecordingTree target;
    for (int value : {2, 1, 3})
        target.insert(value);  // 2b(1r,3r)
    target.created.clear();

    target = source;
    // The target's nodes go left, right, node; the copies are made children
    // first, each with the source node's colour.
    EXPECT_EQ(target.destroyed, (std::vector<int>{1, 3, 2}));
    EXPECT_EQ(target.created, (std::vector<std::string>{"10b", "40r", "30b", "20b"}));
    EXPECT_EQ(shape(target.getRoot()), "20b(10b,30b(.,40r))");
    EXPECT_EQ(target.count(), 4);
    EXPECT_TRUE(matchesModel(target, {10, 20, 30, 40}));
}

TEST(KelRBTree, CopyAssignment_ToItselfChangesNothing) {
    RecordingTree tree;
    for (int value : {1, 2, 3})
        tree.insert(value);
    const Node* root = tree.getRoot();
    RecordingTree& alias = tree;
    tree = alias;
    EXPECT_EQ(tree.getRoot(), root);
    EXPECT_TRUE(tree.destroyed.empty());
    EXPECT_TRUE(matchesModel(tree, {1, 2, 3}));
}

TEST(KelRBTree, CopyAssignment_FromAnEmptyTreeEmpties) {
    RecordingTree tree;
    tree.insert(1);
    tree = RecordingTree();
    EXPECT_EQ(tree.getRoot(), nullptr);
    EXPECT_EQ(tree.count(), 0);
    EXPECT_EQ(tree.destroyed, (std::vector<int>{1}));
}

TEST(KelRBTree, CopyAssignment_WithoutMemoryLeavesAnEmptyTreeAndNoStrayNode) {
    RecordingTree source;
    for (int value = 1; value <= 15; ++value)
        source.insert(value);
    RecordingTree target;
    target.failAfter = 9;  // the tenth node cannot be made
    target = source;
    EXPECT_EQ(target.getRoot(), nullptr);
    EXPECT_EQ(target.count(), 0);
    EXPECT_EQ(target.created.size(), 9u);
    EXPECT_EQ(target.destroyed.size(), 9u);  // every node made was freed again
}

TEST(KelRBTree, Clear_DestroysEveryNodeOnce) {
    RecordingTree tree;
    for (int value : {2, 1, 3})
        tree.insert(value);
    tree.clear();
    EXPECT_EQ(tree.destroyed, (std::vector<int>{1, 3, 2}));
    EXPECT_EQ(tree.count(), 0);
    EXPECT_EQ(tree.getRoot(), nullptr);
    tree.clear();
    EXPECT_EQ(tree.destroyed.size(), 3u);
}
