// Demonstration: the handle map and the balanced tree.

#include <kel/Kel.h>

#include <string>

#include "command.h"

namespace kel::tool {

namespace {

std::string number(long long value) {
    return std::to_string(value);
}

void showHandleMap() {
    KelHandleMap map;
    map.addTuple(1001, 2001);
    map.addTuple(1001, 2999);
    __int64 value = 0;
    map.getAt(1001, value);
    line("addTuple(1001, 2001), addTuple(1001, 2999) -> getAt(1001) = " + number(value) +
         " (addTuple keeps the old value)");
    map.setAt(1001, 2002);
    map.getAt(1001, value);
    line("setAt(1001, 2002)                          -> getAt(1001) = " + number(value) +
         " (setAt overwrites)");
    line("containsKey(1002)                          -> " + number(map.containsKey(1002)));

    for (__int64 key = 1; key <= 4; ++key)
        map.setAt(-key, key * 10);
    KelHandleMap::HandleArray keys;
    KelHandleMap::HandleArray values;
    map.getAll(keys, values);
    std::string pairs;
    for (long i = 0; i < keys.length(); ++i)
        pairs += (i > 0 ? ", " : "") + number(keys[i]) + " -> " + number(values[i]);
    line("getAll after setAt(-1..-4, 10..40)         -> " + pairs);
    line("(buckets in order; a negative handle hashes by its unsigned value)");
}

// A part mark ordered by its text.
class MarkEntry : public KelBalancedTreeEntry {
public:
    explicit MarkEntry(const wchar_t* mark) : mark(mark) {}
    int compare(const KelBalancedTreeEntry& other) const override {
        const std::wstring& probe = static_cast<const MarkEntry&>(other).mark;
        if (probe < mark)
            return -1;
        return probe > mark ? 1 : 0;
    }
    std::wstring mark;
};

void showBalancedTree() {
    KelBalancedTree tree;
    for (const wchar_t* mark : {L"B12", L"A3", L"C7", L"A10", L"B2", L"A1"})
        tree.insert(new MarkEntry(mark));
    MarkEntry* duplicate = new MarkEntry(L"C7");
    const KelBalancedTree::eError result = tree.insert(duplicate);
    delete duplicate;  // refused, so still ours
    std::wstring order;
    for (KelBalancedTreeIterator it = tree.begin(); it != tree.end(); ++it)
        order += (order.empty() ? L"" : L", ") + static_cast<MarkEntry*>(*it)->mark;
    line("insert B12, A3, C7, A10, B2, A1 -> count " + number(tree.count()) + ", root " +
         std::string(KelString(static_cast<MarkEntry*>(tree.root)->mark.c_str()).getStringA()));
    line(L"in order                        -> " + order + L" (the entries' own order)");
    line("insert C7 again                 -> " +
         std::string(result == KelBalancedTree::eAlreadyExists ? "eAlreadyExists" : "?"));
    line("search(A10)                     -> " +
         std::string(tree.search(MarkEntry(L"A10")) != nullptr ? "found" : "not found"));
}

const DemoSection handleMap(30, "Handle map", showHandleMap);
const DemoSection balancedTree(31, "Balanced tree", showBalancedTree);

}  // namespace

}  // namespace kel::tool
