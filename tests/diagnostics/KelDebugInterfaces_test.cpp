// KelDebugInterfaces with tracking off, as the library ships: every
// operation returns at once. (KEL_OBJECT_TRACKING is not set for this
// program; KelDebugInterfaces_tracking_test runs with it.)

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <string>
#include <vector>

#include "support/isolation.h"

namespace {

void record(const wchar_t* text, void* context) {
    static_cast<std::vector<std::wstring>*>(context)->push_back(text);
}

int g_object = 0;

TEST(KelDebugInterfacesOff, EntriesStayZeroWhateverIsReported) {
    KelDebugInterfaces::setCurrentContextInitiator(&g_object);
    KelDebugInterfaces::objectConstructed(KelString(L"Beam"), &g_object);
    KelDebugInterfaces::objectConstructed(KelString(L"Plate"), nullptr);
    KelDebugInterfaces::objectDestroied(KelString(L"Beam"), &g_object);
    EXPECT_EQ(KelDebugInterfaces::entriesNumber(), 0);
    EXPECT_EQ(KelDebugInterfaces::m_Info.length(), 0);
    EXPECT_EQ(KelDebugInterfaces::m_ContextInitiators.length(), 0);
    KelDebugInterfaces::contextInitiatorEnd(&g_object);
    KelDebugInterfaces::clearAllDebugInfo(nullptr);
    EXPECT_EQ(KelDebugInterfaces::entriesNumber(), 0);
}

TEST(KelDebugInterfacesOff, ShowResultsWritesNothing) {
    std::vector<std::wstring> output;
    kelSetDebugOutputHandler(record, &output);
    KelDebugInterfaces::objectConstructed(KelString(L"Beam"), &g_object);
    KelDebugInterfaces::showResults(nullptr);
    KelDebugInterfaces::showResults(&g_object);
    kelSetDebugOutputHandler(nullptr, nullptr);
    EXPECT_TRUE(output.empty());
}

TEST(KelDebugInterfacesOff, TheVariableIsReadOnlyWhenTheLibraryLoads) {
    kel::test::setEnv("KEL_OBJECT_TRACKING", "1");
    KelDebugInterfaces::objectConstructed(KelString(L"Beam"), &g_object);
    kel::test::setEnv("KEL_OBJECT_TRACKING", nullptr);
    EXPECT_EQ(KelDebugInterfaces::entriesNumber(), 0);
}

}  // namespace
