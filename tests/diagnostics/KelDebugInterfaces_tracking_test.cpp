// KelDebugInterfaces with tracking on: this program runs with
// KEL_OBJECT_TRACKING=1 in its environment, so the library turned tracking
// on as it loaded.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

void record(const wchar_t* text, void* context) {
    static_cast<std::vector<std::wstring>*>(context)->push_back(text);
}

void* at(uintptr_t address) {
    return reinterpret_cast<void*>(address);
}

// Each test starts from an empty table and an empty context stack.
class KelDebugInterfacesTracking : public ::testing::Test {
protected:
    void SetUp() override {
        KelDebugInterfaces::clearAllDebugInfo(nullptr);
        KelDebugInterfaces::m_ContextInitiators = KelArray<void*>();
        kelSetDebugOutputHandler(record, &m_output);
    }
    void TearDown() override {
        kelSetDebugOutputHandler(nullptr, nullptr);
        KelDebugInterfaces::clearAllDebugInfo(nullptr);
        KelDebugInterfaces::m_ContextInitiators = KelArray<void*>();
    }

    static const KelDebugInterfaces::DebugInfo& info(long i) {
        return KelDebugInterfaces::m_Info[i];
    }

    std::vector<std::wstring> m_output;
};

TEST_F(KelDebugInterfacesTracking, TheProgramRunsWithTheVariableSet) {
    const char* value = std::getenv("KEL_OBJECT_TRACKING");
    ASSERT_NE(value, nullptr);
    EXPECT_STREQ(value, "1");
}

TEST_F(KelDebugInterfacesTracking, ConstructedObjectsAreRecordedWithTheInnermostContext) {
    KelDebugInterfaces::objectConstructed(KelString(L"Beam"), at(0x1000));
    KelDebugInterfaces::setCurrentContextInitiator(at(0xA));
    KelDebugInterfaces::setCurrentContextInitiator(at(0xB));
    KelDebugInterfaces::objectConstructed(KelString(L"Plate"), at(0x2000));
    KelDebugInterfaces::contextInitiatorEnd(at(0xB));
    KelDebugInterfaces::objectConstructed(KelString(L"Bolt"), at(0x3000));
    ASSERT_EQ(KelDebugInterfaces::entriesNumber(), 3);
    EXPECT_EQ(info(0).m_pContextInitiator, nullptr);
    EXPECT_EQ(std::wstring(info(0).m_ClassName.getStringW()), L"Beam");
    EXPECT_EQ(info(0).m_pObject, at(0x1000));
    EXPECT_EQ(info(0).m_bDestroyed, 0);
    EXPECT_EQ(info(1).m_pContextInitiator, at(0xB));
    EXPECT_EQ(std::wstring(info(1).m_ClassName.getStringW()), L"Plate");
    EXPECT_EQ(info(2).m_pContextInitiator, at(0xA));
    EXPECT_EQ(info(2).m_pObject, at(0x3000));
}

TEST_F(KelDebugInterfacesTracking, ContextEndPopsOnlyTheTopOfTheStack) {
    KelDebugInterfaces::contextInitiatorEnd(at(0xA));  // empty stack: nothing
    KelDebugInterfaces::setCurrentContextInitiator(at(0xA));
    KelDebugInterfaces::setCurrentContextInitiator(at(0xB));
    KelDebugInterfaces::contextInitiatorEnd(at(0xA));  // not the top
    ASSERT_EQ(KelDebugInterfaces::m_ContextInitiators.length(), 2);
    EXPECT_EQ(KelDebugInterfaces::m_ContextInitiators[0], at(0xA));
    EXPECT_EQ(KelDebugInterfaces::m_ContextInitiators[1], at(0xB));
    KelDebugInterfaces::contextInitiatorEnd(at(0xB));
    ASSERT_EQ(KelDebugInterfaces::m_ContextInitiators.length(), 1);
    EXPECT_EQ(KelDebugInterfaces::m_ContextInitiators[0], at(0xA));
    KelDebugInterfaces::contextInitiatorEnd(at(0xA));
    EXPECT_EQ(KelDebugInterfaces::m_ContextInitiators.length(), 0);
}

TEST_F(KelDebugInterfacesTracking, DestroyedMarksTheFirstLiveRecordOfTheObjectAndClass) {
    KelDebugInterfaces::objectConstructed(KelString(L"Beam"), at(0x1000));
    KelDebugInterfaces::objectConstructed(KelString(L"Beam"), at(0x1000));
    KelDebugInterfaces::objectDestroied(KelString(L"Beam"), at(0x1000));
    EXPECT_EQ(info(0).m_bDestroyed, 1);
    EXPECT_EQ(info(1).m_bDestroyed, 0);
    KelDebugInterfaces::objectDestroied(KelString(L"Beam"), at(0x1000));
    EXPECT_EQ(info(1).m_bDestroyed, 1);
    KelDebugInterfaces::objectDestroied(KelString(L"Beam"), at(0x1000));  // none left
    EXPECT_EQ(KelDebugInterfaces::entriesNumber(), 2);
}

TEST_F(KelDebugInterfacesTracking, ADestroyedReportWithAnotherClassNameDoesNotMatch) {
    KelDebugInterfaces::objectConstructed(KelString(L"Beam"), at(0x1000));
    KelDebugInterfaces::objectDestroied(KelString(L"Plate"), at(0x1000));
    KelDebugInterfaces::objectDestroied(KelString(L"beam"), at(0x1000));
    KelDebugInterfaces::objectDestroied(KelString(L"Beam"), at(0x2000));
    EXPECT_EQ(info(0).m_bDestroyed, 0);
}

TEST_F(KelDebugInterfacesTracking, ClearWithAContextRemovesOnlyItsRecords) {
    KelDebugInterfaces::objectConstructed(KelString(L"A"), at(0x1));
    KelDebugInterfaces::setCurrentContextInitiator(at(0xC));
    KelDebugInterfaces::objectConstructed(KelString(L"B"), at(0x2));
    KelDebugInterfaces::objectConstructed(KelString(L"C"), at(0x3));
    KelDebugInterfaces::contextInitiatorEnd(at(0xC));
    KelDebugInterfaces::objectConstructed(KelString(L"D"), at(0x4));
    KelDebugInterfaces::clearAllDebugInfo(at(0xC));
    ASSERT_EQ(KelDebugInterfaces::entriesNumber(), 2);
    EXPECT_EQ(std::wstring(info(0).m_ClassName.getStringW()), L"A");
    EXPECT_EQ(std::wstring(info(1).m_ClassName.getStringW()), L"D");
    KelDebugInterfaces::clearAllDebugInfo(nullptr);
    EXPECT_EQ(KelDebugInterfaces::entriesNumber(), 0);
}

TEST_F(KelDebugInterfacesTracking, ShowResultsListsTheSurvivorsToTheDebugOutput) {
    KelDebugInterfaces::objectConstructed(KelString(L"Beam"), at(0x1000));
    KelDebugInterfaces::objectConstructed(KelString(L"Plate"), at(0x2000));
    KelDebugInterfaces::objectConstructed(KelString(L"Bolt"), at(0xABCDEF));
    KelDebugInterfaces::objectDestroied(KelString(L"Beam"), at(0x1000));
    KelDebugInterfaces::showResults(nullptr);
    const std::vector<std::wstring> expected = {
        L"\n Coclasses not destructed:", L"\n 1 [0] 00002000 Plate", L"\n 2 [1] 00abcdef Bolt"};
    EXPECT_EQ(m_output, expected);
}

TEST_F(KelDebugInterfacesTracking, ShowResultsPrintsTheLow32BitsOfTheAddress) {
    if (sizeof(void*) < 8)
        GTEST_SKIP() << "addresses have 32 bits in this build";
    KelDebugInterfaces::objectConstructed(KelString(L"Far"),
                                          at(static_cast<uintptr_t>(0x12345678DEADBEEFull)));
    KelDebugInterfaces::showResults(nullptr);
    const std::vector<std::wstring> expected = {L"\n Coclasses not destructed:",
                                                L"\n 0 [0] deadbeef Far"};
    EXPECT_EQ(m_output, expected);
}

TEST_F(KelDebugInterfacesTracking, ShowResultsOfAContextCountsPositionsInTheWholeTable) {
    KelDebugInterfaces::objectConstructed(KelString(L"Outside"), at(0x1));
    KelDebugInterfaces::setCurrentContextInitiator(at(0xC));
    KelDebugInterfaces::objectConstructed(KelString(L"Gone"), at(0x2));
    KelDebugInterfaces::objectConstructed(KelString(L"Kept"), at(0x3));
    KelDebugInterfaces::objectConstructed(KelString(L"Also kept"), at(0x4));
    KelDebugInterfaces::objectDestroied(KelString(L"Gone"), at(0x2));
    KelDebugInterfaces::showResults(at(0xC));
    const std::vector<std::wstring> expected = {
        L"\n Coclasses not destructed:", L"\n 2 [0] 00000003 Kept", L"\n 3 [1] 00000004 Also kept"};
    EXPECT_EQ(m_output, expected);
}

TEST_F(KelDebugInterfacesTracking, ShowResultsWithEverythingDestroyedWritesNothing) {
    KelDebugInterfaces::objectConstructed(KelString(L"Beam"), at(0x1000));
    KelDebugInterfaces::objectDestroied(KelString(L"Beam"), at(0x1000));
    KelDebugInterfaces::showResults(nullptr);
    KelDebugInterfaces::showResults(at(0xC));
    EXPECT_TRUE(m_output.empty());
}

TEST_F(KelDebugInterfacesTracking, ClassNamesWithFormatDirectivesArePrintedAsTheyAre) {
    KelDebugInterfaces::objectConstructed(KelString(L"%s %d"), at(0x10));
    KelDebugInterfaces::showResults(nullptr);
    ASSERT_EQ(m_output.size(), 2u);
    EXPECT_EQ(m_output[1], L"\n 0 [0] 00000010 %s %d");
}

}  // namespace
