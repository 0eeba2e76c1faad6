#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <string>

namespace {

int g_invalidParameterCalls = 0;
void countInvalidParameter(const wchar_t*, const wchar_t*, const wchar_t*, unsigned int,
                           uintptr_t) {
    ++g_invalidParameterCalls;
}

// Counts invalid-parameter reports and restores the product identity.
class ProductDefines : public ::testing::Test {
protected:
    void SetUp() override {
        g_invalidParameterCalls = 0;
        m_previous = kelSetInvalidParameterHandler(countInvalidParameter);
    }
    void TearDown() override {
        KelProductDefines::setGXProductName(L"Gantrix");
        KelProductDefines::setGXRelease(L"2015.1");
        kelSetInvalidParameterHandler(m_previous);
    }

private:
    KelInvalidParameterHandler m_previous = nullptr;
};

}  // namespace

// First in this program: no setter has run yet.
TEST_F(ProductDefines, InitialValuesBeforeAnySetter) {
    EXPECT_STREQ(KelProductDefines::getGXProductName(), L"Gantrix");
    EXPECT_STREQ(KelProductDefines::getGXRelease(), L"2015.1");
    EXPECT_STREQ(KelProductDefines::getGXCommercialRelease(), L"2015");
    EXPECT_STREQ(KelProductDefines::getGXProduct(), L"Norvane\\Gantrix\\2015.1");
}

TEST_F(ProductDefines, SetReleaseRederivesTheProductPathButNotTheCommercialRelease) {
    KelProductDefines::setGXRelease(L"2016");
    EXPECT_STREQ(KelProductDefines::getGXRelease(), L"2016");
    EXPECT_STREQ(KelProductDefines::getGXProduct(), L"Norvane\\Gantrix\\2016");
    EXPECT_STREQ(KelProductDefines::getGXCommercialRelease(), L"2015");
}

TEST_F(ProductDefines, SetProductNameRederivesTheProductPath) {
    KelProductDefines::setGXProductName(L"Ferrix");
    EXPECT_STREQ(KelProductDefines::getGXProductName(), L"Ferrix");
    EXPECT_STREQ(KelProductDefines::getGXProduct(), L"Norvane\\Ferrix\\2015.1");
    KelProductDefines::setGXRelease(L"7.0");
    EXPECT_STREQ(KelProductDefines::getGXProduct(), L"Norvane\\Ferrix\\7.0");
    EXPECT_EQ(g_invalidParameterCalls, 0);
}

TEST_F(ProductDefines, GettersReturnTheBuffersThemselves) {
    const wchar_t* name = KelProductDefines::getGXProductName();
    const wchar_t* product = KelProductDefines::getGXProduct();
    KelProductDefines::setGXProductName(L"Other");
    EXPECT_EQ(KelProductDefines::getGXProductName(), name);
    EXPECT_STREQ(name, L"Other");
    EXPECT_STREQ(product, L"Norvane\\Other\\2015.1");
}

TEST_F(ProductDefines, EmptyNameIsStored) {
    KelProductDefines::setGXProductName(L"");
    EXPECT_STREQ(KelProductDefines::getGXProductName(), L"");
    EXPECT_STREQ(KelProductDefines::getGXProduct(), L"Norvane\\\\2015.1");
}

TEST_F(ProductDefines, NameOf259CharactersFitsWhenThePathDoesNot) {
    // 259 characters fit the name buffer, but "Norvane\" + name + "\2015.1"
    // does not fit the product path: refused as a whole.
    const std::wstring name(259, L'n');
    KelProductDefines::setGXProductName(name.c_str());
    EXPECT_EQ(g_invalidParameterCalls, 1);
    EXPECT_STREQ(KelProductDefines::getGXProductName(), L"Gantrix");
    EXPECT_STREQ(KelProductDefines::getGXProduct(), L"Norvane\\Gantrix\\2015.1");
}

TEST_F(ProductDefines, NameOf260CharactersIsRefusedWithoutTruncation) {
    const std::wstring name(260, L'x');
    KelProductDefines::setGXProductName(name.c_str());
    EXPECT_EQ(g_invalidParameterCalls, 1);
    EXPECT_STREQ(KelProductDefines::getGXProductName(), L"Gantrix");
    EXPECT_STREQ(KelProductDefines::getGXProduct(), L"Norvane\\Gantrix\\2015.1");
}

TEST_F(ProductDefines, ReleaseTooLongIsRefusedWithoutTruncation) {
    const std::wstring release(300, L'9');
    KelProductDefines::setGXRelease(release.c_str());
    EXPECT_EQ(g_invalidParameterCalls, 1);
    EXPECT_STREQ(KelProductDefines::getGXRelease(), L"2015.1");
    EXPECT_STREQ(KelProductDefines::getGXProduct(), L"Norvane\\Gantrix\\2015.1");
}

TEST_F(ProductDefines, LongestAcceptedProductPathHas259Characters) {
    // "Norvane\" (8) + name + "\" (1) + "2015.1" (6) = 259 with a name of 244.
    const std::wstring name(244, L'a');
    KelProductDefines::setGXProductName(name.c_str());
    EXPECT_EQ(g_invalidParameterCalls, 0);
    EXPECT_EQ(std::wstring(KelProductDefines::getGXProduct()).size(), 259u);
    KelProductDefines::setGXProductName((name + L"a").c_str());
    EXPECT_EQ(g_invalidParameterCalls, 1);
    EXPECT_EQ(std::wstring(KelProductDefines::getGXProductName()), name);
}

TEST_F(ProductDefines, NullIsRefused) {
    KelProductDefines::setGXProductName(static_cast<const wchar_t*>(nullptr));
    KelProductDefines::setGXRelease(static_cast<const wchar_t*>(nullptr));
    KelProductDefines::setGXProductName(static_cast<const unsigned short*>(nullptr));
    KelProductDefines::setGXRelease(static_cast<const unsigned short*>(nullptr));
    EXPECT_EQ(g_invalidParameterCalls, 4);
    EXPECT_STREQ(KelProductDefines::getGXProduct(), L"Norvane\\Gantrix\\2015.1");
}

TEST_F(ProductDefines, SixteenBitFormsTakeUtf16) {
    const unsigned short name[] = {'T', 0x00E4, 'g', 0xD83D, 0xDE00, 0};  // "Täg😀"
    const unsigned short release[] = {'2', '0', '2', '0', 0};
    KelProductDefines::setGXProductName(name);
    KelProductDefines::setGXRelease(release);
    const std::wstring expectedName =
        sizeof(wchar_t) == 2 ? std::wstring(L"T\u00E4g\xD83D\xDE00")
                             : std::wstring(L"T\u00E4g") + static_cast<wchar_t>(0x1F600);
    EXPECT_EQ(std::wstring(KelProductDefines::getGXProductName()), expectedName);
    EXPECT_EQ(std::wstring(KelProductDefines::getGXProduct()),
              L"Norvane\\" + expectedName + L"\\2020");
}

TEST_F(ProductDefines, ConstructionAndAssignmentDoNothing) {
    KelProductDefines a;
    KelProductDefines b;
    EXPECT_EQ(&(a = b), &a);
    EXPECT_STREQ(KelProductDefines::getGXProduct(), L"Norvane\\Gantrix\\2015.1");
}

TEST(GlobalStorage, SupportPathsSlotStartsNullAndIsShared) {
    EXPECT_EQ(KelGlobalStorage::g_pQuillSupportPaths, nullptr);
    KelString paths(L"C:\\Support;D:\\More");
    KelGlobalStorage::g_pQuillSupportPaths = &paths;
    EXPECT_EQ(KelGlobalStorage::g_pQuillSupportPaths, &paths);
    KelGlobalStorage::g_pQuillSupportPaths = nullptr;
    KelGlobalStorage a;
    KelGlobalStorage b;
    EXPECT_EQ(&(a = b), &a);
}
