#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <cstring>

TEST(KelMemoryControllerController, AllocatesCountTimesSizeBytes) {
    unsigned char* block = KelMemoryControllerController::allocateArray(16, sizeof(double));
    ASSERT_NE(block, nullptr);
    std::memset(block, 0xAB, 16 * sizeof(double));  // the whole block is usable
    KelMemoryControllerController::deallocateArray(block);
    EXPECT_EQ(block, nullptr);
}

TEST(KelMemoryControllerController, DeallocatingNullDoesNothing) {
    unsigned char* none = nullptr;
    KelMemoryControllerController::deallocateArray(none);
    EXPECT_EQ(none, nullptr);
}

TEST(KelMemoryControllerController, ZeroAndOverflowingRequests) {
    unsigned char* empty = KelMemoryControllerController::allocateArray(0, 8);
    EXPECT_NE(empty, nullptr);
    KelMemoryControllerController::deallocateArray(empty);
    unsigned char* negative = KelMemoryControllerController::allocateArray(-5, 8);
    KelMemoryControllerController::deallocateArray(negative);
    EXPECT_EQ(negative, nullptr);
    EXPECT_EQ(KelMemoryControllerController::allocateArray(0x7FFFFFFF, static_cast<size_t>(-1) / 2),
              nullptr);
}

TEST(KelGlobalStorage, SupportPathsSlotIsNullUntilTheHostSetsIt) {
    EXPECT_EQ(KelGlobalStorage::g_pQuillSupportPaths, nullptr);
    KelString paths(L"/opt/support;/usr/share/support");
    KelGlobalStorage::g_pQuillSupportPaths = &paths;
    EXPECT_STREQ(KelGlobalStorage::g_pQuillSupportPaths->getStringW(),
                 L"/opt/support;/usr/share/support");
    KelGlobalStorage::g_pQuillSupportPaths = nullptr;
}
