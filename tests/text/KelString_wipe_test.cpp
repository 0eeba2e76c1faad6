// Released characters and narrow caches are overwritten with zeros before
// the memory goes back to the heap. This program replaces the global
// allocation functions, so it sees every block the library frees and can
// look at a watched block's bytes at that moment.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

namespace {

const void* g_watched = nullptr;
size_t g_watchedBytes = 0;
bool g_watchedFreed = false;
std::vector<unsigned char> g_bytesAtFree;
size_t g_allocations = 0;

void* allocate(size_t size) {
    ++g_allocations;
    void* p = std::malloc(size != 0 ? size : 1);
    if (p == nullptr)
        throw std::bad_alloc();
    return p;
}

void release(void* p) {
    if (p != nullptr && p == g_watched) {
        const auto* bytes = static_cast<const unsigned char*>(p);
        g_bytesAtFree.assign(bytes, bytes + g_watchedBytes);
        g_watchedFreed = true;
    }
    std::free(p);
}

void watch(const void* p, size_t bytes) {
    g_watched = p;
    g_watchedBytes = bytes;
    g_watchedFreed = false;
    g_bytesAtFree.clear();
}

bool allZero(const std::vector<unsigned char>& bytes) {
    for (unsigned char b : bytes) {
        if (b != 0)
            return false;
    }
    return !bytes.empty();
}

// Whether frees inside the library reach this program's operator delete.
// Windows DLLs keep their own allocator, so there the wipe cannot be
// watched from outside.
bool libraryAllocationsAreVisible() {
    const size_t before = g_allocations;
    KelString probe(L"probe");
    return g_allocations > before;
}

}  // namespace

void* operator new(size_t size) {
    return allocate(size);
}
void* operator new[](size_t size) {
    return allocate(size);
}
void operator delete(void* p) noexcept {
    release(p);
}
void operator delete[](void* p) noexcept {
    release(p);
}
void operator delete(void* p, size_t) noexcept {
    release(p);
}
void operator delete[](void* p, size_t) noexcept {
    release(p);
}

class KelStringWipe : public ::testing::Test {
protected:
    void SetUp() override {
        if (!libraryAllocationsAreVisible()) {
            GTEST_SKIP() << "the library's heap is not visible from the test program here";
        }
    }
    void TearDown() override { watch(nullptr, 0); }
};

TEST_F(KelStringWipe, LastReleaseZeroesTheCharactersBeforeFreeing) {
    auto* s = new KelString(L"secret text");
    watch(s->getStringW(), 11 * sizeof(wchar_t));
    delete s;
    ASSERT_TRUE(g_watchedFreed);
    EXPECT_TRUE(allZero(g_bytesAtFree));
}

TEST_F(KelStringWipe, SharedCharactersAreFreedOnlyByTheLastCopy) {
    auto* a = new KelString(L"shared");
    auto* b = new KelString(*a);
    watch(a->getStringW(), 6 * sizeof(wchar_t));
    delete a;
    EXPECT_FALSE(g_watchedFreed);
    EXPECT_STREQ(b->getStringW(), L"shared");
    delete b;
    ASSERT_TRUE(g_watchedFreed);
    EXPECT_TRUE(allZero(g_bytesAtFree));
}

TEST_F(KelStringWipe, AssignmentWipesTheReplacedCharacters) {
    KelString s(L"before");
    watch(s.getStringW(), 6 * sizeof(wchar_t));
    s = L"after";
    ASSERT_TRUE(g_watchedFreed);
    EXPECT_TRUE(allZero(g_bytesAtFree));
}

TEST_F(KelStringWipe, NarrowCacheIsZeroedWhenTheValueChanges) {
    KelString s(L"password");
    const char* narrow = s.getStringA();
    watch(narrow, 8);
    s = L"other";
    ASSERT_TRUE(g_watchedFreed);
    EXPECT_TRUE(allZero(g_bytesAtFree));
}

TEST_F(KelStringWipe, NarrowCacheIsZeroedWhenTheValueDies) {
    auto* s = new KelString(L"token");
    watch(s->getStringA(), 5);
    delete s;
    ASSERT_TRUE(g_watchedFreed);
    EXPECT_TRUE(allZero(g_bytesAtFree));
}

TEST_F(KelStringWipe, TheEmptyRepresentationIsNeverFreed) {
    auto* s = new KelString;
    watch(s->getStringW(), sizeof(wchar_t));
    delete s;
    KelString other(L"x");
    other.empty();
    other = L"y";
    EXPECT_FALSE(g_watchedFreed);
    EXPECT_STREQ(KelString().getStringW(), L"");
}
