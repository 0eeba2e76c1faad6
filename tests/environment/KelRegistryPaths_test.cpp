#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <string>
#include <utility>
#include <vector>

namespace {

int g_invalidParameterCalls = 0;
void countInvalidParameter(const wchar_t*, const wchar_t*, const wchar_t*, unsigned int,
                           uintptr_t) {
    ++g_invalidParameterCalls;
}

std::wstring text(const KelString& s) {
    return s.getStringW();
}

using Getter = const KelString (*)();

// Every entry of the key table with its getter.
std::vector<std::pair<const char*, Getter>> allEntries() {
    return {
        {"Environment", KelRegistry::getRegPathEnvironment},
        {"Data", KelRegistry::getRegPathData},
        {"GX", KelRegistry::getRegPathGX},
        {"LoadedAddIns", KelRegistry::getRegPathLoadedAddIns},
        {"Wizards", KelRegistry::getRegPathWizards},
        {"Dialogs", KelRegistry::getRegPathDialogs},
        {"ProjectData", KelRegistry::getRegPathProjectData},
        {"Database", KelRegistry::getRegPathDatabase},
        {"ManualLabels", KelRegistry::getRegPathManualLabels},
        {"Structures", KelRegistry::getRegPathProjectExplorerStructures},
        {"Workplanes", KelRegistry::getRegPathProjectExplorerWorkplanes},
        {"DSM", KelRegistry::getRegPathDSM},
        {"JointsCommentField", KelRegistry::getRegPathJointsCommentField},
        {"Bom", KelRegistry::getRegPathBom},
        {"ErrorTracer", KelRegistry::getRegPathErrorTracer},
        {"NETAddins", KelRegistry::getRegPathNETAddins},
        {"LiveUpdate", KelRegistry::getRegPathLiveUpdate},
        {"MT", KelRegistry::getRegPathMT},
        {"DBConnect", KelRegistry::getDBConnect},
        {"DriverDescription", KelRegistry::getDriverDescription},
        {"ListOfAttributes", KelRegistry::getListOfAttributes},
    };
}

// The sixteen rebuilt entries' suffixes after "Software\" + product path.
const std::vector<std::pair<Getter, std::wstring>>& rebuiltEntries() {
    static const std::vector<std::pair<Getter, std::wstring>> entries = {
        {KelRegistry::getRegPathEnvironment, L"\\Environment"},
        {KelRegistry::getRegPathData, L"\\Data"},
        {KelRegistry::getRegPathGX, L""},
        {KelRegistry::getRegPathLoadedAddIns, L"\\LoadedAddins"},
        {KelRegistry::getRegPathWizards, L"\\Settings\\Wizards\\"},
        {KelRegistry::getRegPathDialogs, L"\\Settings\\Dialogs\\"},
        {KelRegistry::getRegPathProjectData, L"\\ProjectData"},
        {KelRegistry::getRegPathDatabase, L"\\DataBase"},
        {KelRegistry::getRegPathManualLabels, L"\\Settings\\ManualLabels"},
        {KelRegistry::getRegPathProjectExplorerStructures,
         L"\\Settings\\ProjectExplorer\\Structures"},
        {KelRegistry::getRegPathProjectExplorerWorkplanes,
         L"\\Settings\\ProjectExplorer\\WorkPlanes"},
        {KelRegistry::getRegPathDSM, L"\\Settings\\DetailStylesManager\\"},
        {KelRegistry::getRegPathJointsCommentField, L"\\Settings\\JointsCommentField\\"},
        {KelRegistry::getRegPathBom, L"\\Settings\\Bom"},
        {KelRegistry::getRegPathErrorTracer, L"\\Settings\\ErrorTracer"},
        {KelRegistry::getRegPathNETAddins, L"\\NETAddins"},
    };
    return entries;
}

class RegistryPaths : public ::testing::Test {
protected:
    void SetUp() override {
        g_invalidParameterCalls = 0;
        m_previous = kelSetInvalidParameterHandler(countInvalidParameter);
    }
    void TearDown() override {
        KelProductDefines::setGXProductName(L"Gantrix");
        KelProductDefines::setGXRelease(L"2015.1");
        KelRegistry::setRegistryPathes();
        kelSetInvalidParameterHandler(m_previous);
    }

private:
    KelInvalidParameterHandler m_previous = nullptr;
};

}  // namespace

// First in this program: the compile-time table.
TEST_F(RegistryPaths, InitialTable) {
    EXPECT_EQ(text(KelRegistry::getRegPathEnvironment()),
              L"Software\\Norvane\\Gantrix\\2015.1\\Environment");
    EXPECT_EQ(text(KelRegistry::getRegPathData()), L"Software\\Norvane\\Gantrix\\2015.1\\Data");
    EXPECT_EQ(text(KelRegistry::getRegPathGX()), L"Software\\Norvane\\Gantrix\\2015.1");
    EXPECT_EQ(text(KelRegistry::getRegPathLoadedAddIns()),
              L"Software\\Norvane\\Gantrix\\2015.1\\LoadedAddins");
    EXPECT_EQ(text(KelRegistry::getRegPathWizards()),
              L"Software\\Norvane\\Gantrix\\2015.1\\Settings\\Wizards\\");
    EXPECT_EQ(text(KelRegistry::getRegPathDialogs()),
              L"Software\\Norvane\\Gantrix\\2015.1\\Settings\\Dialogs\\");
    EXPECT_EQ(text(KelRegistry::getRegPathProjectData()),
              L"Software\\Norvane\\Gantrix\\2015.1\\ProjectData");
    EXPECT_EQ(text(KelRegistry::getRegPathDatabase()),
              L"Software\\Norvane\\Gantrix\\2015.1\\DataBase");
    EXPECT_EQ(text(KelRegistry::getRegPathManualLabels()),
              L"Software\\Norvane\\Gantrix\\2015.1\\Settings\\ManualLabels");
    EXPECT_EQ(text(KelRegistry::getRegPathProjectExplorerStructures()),
              L"Software\\Norvane\\Gantrix\\2015.1\\Settings\\ProjectExplorer\\Structures");
    EXPECT_EQ(text(KelRegistry::getRegPathProjectExplorerWorkplanes()),
              L"Software\\Norvane\\Gantrix\\2015.1\\Settings\\ProjectExplorer\\WorkPlanes");
    EXPECT_EQ(text(KelRegistry::getRegPathDSM()),
              L"Software\\Norvane\\Gantrix\\2015.1\\Settings\\DetailStylesManager\\");
    EXPECT_EQ(text(KelRegistry::getRegPathJointsCommentField()),
              L"Software\\Norvane\\Gantrix\\2015.1\\Settings\\JointsCommentField\\");
    EXPECT_EQ(text(KelRegistry::getRegPathBom()),
              L"Software\\Norvane\\Gantrix\\2015.1\\Settings\\Bom");
    EXPECT_EQ(text(KelRegistry::getRegPathErrorTracer()),
              L"Software\\Norvane\\Gantrix\\2015.1\\Settings\\ErrorTracer");
    EXPECT_EQ(text(KelRegistry::getRegPathNETAddins()),
              L"Software\\Norvane\\Gantrix\\2015.1\\NETAddins");
    EXPECT_EQ(text(KelRegistry::getRegPathLiveUpdate()),
              L"Software\\Norvane\\Gantrix\\2015.1\\ManagementTools");
    EXPECT_EQ(text(KelRegistry::getRegPathMT()),
              L"Software\\Norvane\\Gantrix\\2015.1\\ManagementTools");
    EXPECT_EQ(text(KelRegistry::getDBConnect()), L"DBConnect");
    EXPECT_EQ(text(KelRegistry::getDriverDescription()), L"DriverDescription");
    EXPECT_EQ(text(KelRegistry::getListOfAttributes()), L"ListOfAttributes");
}

TEST_F(RegistryPaths, RebuildingTheInitialProductGivesTheInitialTable) {
    std::vector<std::wstring> before;
    for (const auto& entry : allEntries())
        before.push_back(text(entry.second()));
    KelRegistry::setRegistryPathes();
    const auto entries = allEntries();
    for (size_t i = 0; i < entries.size(); ++i)
        EXPECT_EQ(text(entries[i].second()), before[i]) << entries[i].first;
}

TEST_F(RegistryPaths, NewReleaseReachesTheTableOnlyThroughSetRegistryPathes) {
    KelProductDefines::setGXRelease(L"2016");
    EXPECT_STREQ(KelProductDefines::getGXProduct(), L"Norvane\\Gantrix\\2016");
    EXPECT_STREQ(KelProductDefines::getGXCommercialRelease(), L"2015");
    EXPECT_EQ(text(KelRegistry::getRegPathEnvironment()),
              L"Software\\Norvane\\Gantrix\\2015.1\\Environment");

    KelRegistry::setRegistryPathes();
    EXPECT_EQ(text(KelRegistry::getRegPathEnvironment()),
              L"Software\\Norvane\\Gantrix\\2016\\Environment");
    EXPECT_EQ(text(KelRegistry::getRegPathMT()),
              L"Software\\Norvane\\Gantrix\\2015.1\\ManagementTools");
    EXPECT_EQ(text(KelRegistry::getRegPathLiveUpdate()),
              L"Software\\Norvane\\Gantrix\\2015.1\\ManagementTools");
}

TEST_F(RegistryPaths, EverySixteenEntriesFollowTheNewProduct) {
    KelProductDefines::setGXProductName(L"Ferrix");
    KelProductDefines::setGXRelease(L"9.1");
    KelRegistry::setRegistryPathes();
    for (const auto& entry : rebuiltEntries())
        EXPECT_EQ(text(entry.first()), L"Software\\Norvane\\Ferrix\\9.1" + entry.second);
    EXPECT_EQ(text(KelRegistry::getDBConnect()), L"DBConnect");
    EXPECT_EQ(text(KelRegistry::getDriverDescription()), L"DriverDescription");
    EXPECT_EQ(text(KelRegistry::getListOfAttributes()), L"ListOfAttributes");
    EXPECT_EQ(g_invalidParameterCalls, 0);
}

TEST_F(RegistryPaths, TrailingSeparatorsOnlyWhereTheyBelong) {
    EXPECT_EQ(text(KelRegistry::getRegPathWizards()).back(), L'\\');
    EXPECT_EQ(text(KelRegistry::getRegPathDialogs()).back(), L'\\');
    EXPECT_EQ(text(KelRegistry::getRegPathDSM()).back(), L'\\');
    EXPECT_EQ(text(KelRegistry::getRegPathJointsCommentField()).back(), L'\\');
    EXPECT_NE(text(KelRegistry::getRegPathBom()).back(), L'\\');
    EXPECT_NE(text(KelRegistry::getRegPathManualLabels()).back(), L'\\');
    EXPECT_NE(text(KelRegistry::getRegPathErrorTracer()).back(), L'\\');
}

TEST_F(RegistryPaths, GettersReturnCopies) {
    const KelString before = KelRegistry::getRegPathData();
    KelProductDefines::setGXRelease(L"2020");
    KelRegistry::setRegistryPathes();
    EXPECT_EQ(text(before), L"Software\\Norvane\\Gantrix\\2015.1\\Data");
    EXPECT_EQ(text(KelRegistry::getRegPathData()), L"Software\\Norvane\\Gantrix\\2020\\Data");
}

TEST_F(RegistryPaths, EntryThatWouldNotFitKeepsItsPreviousText) {
    // A product path of 220 characters: "Software\" + path fits for the short
    // suffixes, not for the long ones.
    const std::wstring name(205, L'p');  // "Norvane\" + 205 + "\2015.1" = 220
    KelProductDefines::setGXProductName(name.c_str());
    ASSERT_EQ(std::wstring(KelProductDefines::getGXProduct()).size(), 220u);
    KelRegistry::setRegistryPathes();
    const std::wstring productKey = L"Software\\" + std::wstring(KelProductDefines::getGXProduct());
    int refused = 0;
    for (const auto& entry : rebuiltEntries()) {
        const std::wstring wanted = productKey + entry.second;
        if (wanted.size() < 260) {
            EXPECT_EQ(text(entry.first()), wanted);
        } else {
            ++refused;
            EXPECT_EQ(text(entry.first()).find(L"Software\\Norvane\\Gantrix\\2015.1"), 0u);
        }
    }
    EXPECT_GT(refused, 0);
    EXPECT_EQ(g_invalidParameterCalls, refused);
}

TEST_F(RegistryPaths, ConstructionAndAssignmentDoNothing) {
    KelRegistry a;
    KelRegistry b;
    EXPECT_EQ(&(a = b), &a);
}
