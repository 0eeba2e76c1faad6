// The pieces below KelDataSourcesUtilities: the configuration file's scan,
// the ODBC boundary's text and driver list, and the process-wide lists as
// the class keeps them.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <string>
#include <vector>

#include "KelDataSource_test_support.h"
#include "environment/data_sources.h"
#include "environment/odbc.h"

using kel::detail::scanAttribute;
using kel::detail::scanDataSources;
using kel::detail::ScannedDataSource;

namespace {

const bool kDrivers = kel::test::useTestDrivers(kel::test::TestDrivers::Both);

std::wstring text(const KelString& s) {
    return s.getStringW();
}

// name|connection|platform per entry, for exact comparisons.
std::vector<std::wstring> scanned(const std::wstring& file,
                                  const std::wstring& product = L"Gantrix") {
    std::vector<std::wstring> entries;
    for (const ScannedDataSource& entry : scanDataSources(file.c_str(), product.c_str())) {
        entries.push_back(text(entry.name) + L"|" + text(entry.connectionString) + L"|" +
                          text(entry.platform));
    }
    return entries;
}

using Entries = std::vector<std::wstring>;

class ProcessWideLists : public ::testing::Test {
protected:
    void SetUp() override { kel::test::removeStoreValues(); }
    void TearDown() override { kel::test::removeStoreValues(); }
};

}  // namespace

// ----- the scan ------------------------------------------------------------------

TEST(Scan, ReadsTheThreeAttributesOfEachElementInOrder) {
    EXPECT_EQ(scanned(L"<Gantrix><DataSource Name=\"A\" Platform=\"x64\" Value=\"DSN=a\"/>"
                      L"<DataSource Platform=\"x86\" Value=\"DSN=b\" Name=\"B\"/></Gantrix>"),
              (Entries{L"A|DSN=a|x64", L"B|DSN=b|x86"}));
}

TEST(Scan, NeedsBothProductTags) {
    const std::wstring element = L"<DataSource Name=\"A\" Platform=\"x64\" Value=\"v\"/>";
    EXPECT_EQ(scanned(element), Entries{});
    EXPECT_EQ(scanned(L"<Gantrix>" + element), Entries{});
    EXPECT_EQ(scanned(element + L"</Gantrix>"), Entries{});
    EXPECT_EQ(scanned(L"</Gantrix><Gantrix>" + element), Entries{});
    EXPECT_EQ(scanned(L"<gantrix>" + element + L"</gantrix>"), Entries{});
}

TEST(Scan, TakesTheSectionFromTheFirstOpeningTagToTheNextClosingTag) {
    EXPECT_EQ(scanned(L"<Gantrix><DataSource Name=\"A\"/></Gantrix>"
                      L"<Gantrix><DataSource Name=\"B\"/></Gantrix>"),
              Entries{L"A||"});
    EXPECT_EQ(scanned(L"<DataSource Name=\"Before\"/><Gantrix><DataSource Name=\"In\"/></Gantrix>"
                      L"<DataSource Name=\"After\"/>"),
              Entries{L"In||"});
}

TEST(Scan, EmptyProductNameUsesEmptyTags) {
    EXPECT_EQ(scanned(L"<><DataSource Name=\"A\"/></>", L""), Entries{L"A||"});
}

TEST(Scan, OtherProductNames) {
    const std::wstring file =
        L"<Gantrix><DataSource Name=\"G\"/></Gantrix>"
        L"<Ferrix><DataSource Name=\"F\"/></Ferrix>";
    EXPECT_EQ(scanned(file, L"Ferrix"), Entries{L"F||"});
    EXPECT_EQ(scanned(file, L"Gantrix"), Entries{L"G||"});
    EXPECT_EQ(scanned(file, L"Other"), Entries{});
}

TEST(Scan, AnElementEndsAtTheNextEndMarkInsideTheSection) {
    EXPECT_EQ(scanned(L"<Gantrix><DataSource Name=\"A\"/><DataSource Name=\"B\">"
                      L"<DataSource Name=\"C\"/></Gantrix>"),
              (Entries{L"A||", L"B||"}));
    EXPECT_EQ(scanned(L"<Gantrix><DataSource Name=\"A\"/><DataSource Name=\"B\"</Gantrix>/>"),
              Entries{L"A||"});
}

TEST(Scan, AnElementRunsToTheNextEndMarkWhateverLiesBetween) {
    // "<DataSources>" begins with "<DataSource" too: its element runs to
    // the first "/>", and the first attributes found are the inner ones.
    EXPECT_EQ(scanned(L"<Gantrix><DataSources>\n  <DataSource Name=\"A\" Platform=\"x64\" "
                      L"Value=\"v\"/>\n</DataSources></Gantrix>"),
              Entries{L"A|v|x64"});
}

TEST(Scan, BlanksAroundValuesStay) {
    EXPECT_EQ(
        scanned(L"<Gantrix><DataSource Name=\" A \" Platform=\"\tx64\" Value=\"v\n\"/></Gantrix>"),
        Entries{L" A |v\n|\tx64"});
}

TEST(Scan, AttributeSearchIsPlainText) {
    EXPECT_EQ(text(scanAttribute(L"Name=\"PlatformTools\" Platform=\"x64\"", L"Platform")),
              L" Platform=");
    EXPECT_EQ(text(scanAttribute(L"Value=\"UserName=u\" Name=\"Shop\"", L"Name")), L" Name=");
    EXPECT_EQ(text(scanAttribute(L"name=\"lower\" Name=\"Upper\"", L"Name")), L"Upper");
    EXPECT_EQ(text(scanAttribute(L"Name = \"spaced\"", L"Name")), L"spaced");
    EXPECT_EQ(text(scanAttribute(L"Name=\"\"", L"Name")), L"");
}

TEST(Scan, AMissingAttributeOrQuoteGivesAnEmptyValue) {
    EXPECT_EQ(text(scanAttribute(L"Platform=\"x64\"", L"Name")), L"");
    EXPECT_EQ(text(scanAttribute(L"Name=", L"Name")), L"");
    EXPECT_EQ(text(scanAttribute(L"Name=\"open", L"Name")), L"");
    EXPECT_EQ(text(scanAttribute(L"Name=\"", L"Name")), L"");
    EXPECT_EQ(text(scanAttribute(L"", L"Name")), L"");
}

TEST(Scan, EntitiesAndCommentsAreText) {
    EXPECT_EQ(scanned(L"<Gantrix><!-- <DataSource Name=\"Old\"/> --><DataSource "
                      L"Name=\"a&amp;b\" Value=\"&lt;&#34;\"/></Gantrix>"),
              (Entries{L"Old||", L"a&amp;b|&lt;&#34;|"}));
}

TEST(Scan, ElementsOverLinesAndSeveralOnALine) {
    EXPECT_EQ(scanned(L"<Gantrix>\r\n<DataSource\r\n\tName=\"A\"\r\n\tPlatform=\"x64\"\r\n/>"
                      L"<DataSource Name=\"B\"/> <DataSource Name=\"C\"/>\r\n</Gantrix>"),
              (Entries{L"A||x64", L"B||", L"C||"}));
}

TEST(Scan, SupplementaryCharactersPassThrough) {
    EXPECT_EQ(scanned(L"<Gantrix><DataSource Name=\"\U0001D51B\" Value=\"DBQ=C:\\\U0001F600.mdb\"/>"
                      L"</Gantrix>"),
              Entries{L"\U0001D51B|DBQ=C:\\\U0001F600.mdb|"});
}

TEST(Scan, EmptyElementsAndEmptyText) {
    EXPECT_EQ(scanned(L""), Entries{});
    EXPECT_EQ(scanned(L"<Gantrix></Gantrix>"), Entries{});
    EXPECT_EQ(scanned(L"<Gantrix><DataSource/><DataSource /></Gantrix>"), (Entries{L"||", L"||"}));
    EXPECT_EQ(scanned(L"<Gantrix><DataSource</Gantrix>"), Entries{});
}

// ----- the ODBC boundary -----------------------------------------------------------

TEST(OdbcBoundary, SupplementaryCharactersBecomeSurrogatePairs) {
    const kel::detail::Utf16String units = kel::detail::odbcText(L"a\u00e9\U0001D51B");
    EXPECT_EQ(units, (kel::detail::Utf16String{0x61, 0xE9, 0xD835, 0xDD1B}));
    EXPECT_EQ(kel::detail::odbcWideText(units.data(), units.size()), L"a\u00e9\U0001D51B");
}

TEST(OdbcBoundary, DriverListIsASequenceOfTextsEndedByAnEmptyOne) {
    const unsigned short list[] = {'A', 0, 'B', 'c', 0, 0, 'X', 0};
    EXPECT_EQ(kel::detail::odbcDriverNames(list, 8), (std::vector<std::wstring>{L"A", L"Bc"}));
    EXPECT_EQ(kel::detail::odbcDriverNames(list, 0), std::vector<std::wstring>{});
    const unsigned short empty[] = {0, 'A', 0};
    EXPECT_EQ(kel::detail::odbcDriverNames(empty, 3), std::vector<std::wstring>{});
}

TEST(OdbcBoundary, DriverListEndsAtTheEndOfTheBuffer) {
    const unsigned short full[] = {'A', 0, 'B', 'C'};
    EXPECT_EQ(kel::detail::odbcDriverNames(full, 4), (std::vector<std::wstring>{L"A", L"BC"}));
}

TEST(OdbcBoundary, DriverNamesBeyondTheBasicPlaneAreOneCharacter) {
    const unsigned short list[] = {'D', 0xD835, 0xDD1B, 0, 0};
    const std::vector<std::wstring> names = kel::detail::odbcDriverNames(list, 5);
    ASSERT_EQ(names.size(), 1u);
    EXPECT_EQ(names[0], L"D\U0001D51B");
}

TEST(OdbcBoundary, InstalledDriversAreTheTestDrivers) {
    KEL_REQUIRE_TEST_DRIVERS();
    EXPECT_EQ(kel::detail::odbcInstalledDriverNames(2000), kel::test::testDriverNames());
}

TEST(OdbcBoundary, ConnectsThroughTheDriverManager) {
    KEL_REQUIRE_TEST_DRIVERS();
    void* environment = kel::detail::odbcCreateEnvironment();
    ASSERT_NE(environment, nullptr);
    const std::wstring database = kel::test::sqliteDatabase(L"catalogue.sqlite");
    EXPECT_EQ(kel::detail::odbcConnect(environment, kel::test::sqliteConnection(database).c_str()),
              kel::detail::OdbcConnectResult::Connected);
    EXPECT_EQ(kel::detail::odbcConnect(
                  environment,
                  kel::test::dbqConnection(kel::test::kDefaultDriver, kel::test::junkFile(L"j.mdb"))
                      .c_str()),
              kel::detail::OdbcConnectResult::Failed);
    EXPECT_TRUE(kel::detail::odbcFreeEnvironment(environment));
    EXPECT_FALSE(kel::detail::odbcFreeEnvironment(nullptr));
}

// ----- the process-wide lists ------------------------------------------------------

TEST_F(ProcessWideLists, InstalledDriversAsTheSystemListsThem) {
    KEL_REQUIRE_TEST_DRIVERS();
    const KelArray<KelString>& drivers = kel::detail::DataSourcesAccess::installedDrivers();
    std::vector<std::wstring> names;
    for (long i = 0; i < drivers.length(); ++i)
        names.push_back(text(drivers[i]));
    EXPECT_EQ(names, kel::test::testDriverNames());
}

TEST_F(ProcessWideLists, FamilyWideEntriesComeBeforeTheFilesInFileOrder) {
    const std::wstring profiles =
        kel::test::dbqConnection(kel::test::kDefaultDriver, kel::test::testPath(L"p.mdb"));
    kel::test::setFamilyConnection(L"OrbisProfiles2015.1", profiles);
    const std::wstring path = kel::test::testPath(L"sources.xml");
    kel::test::writeBytes(
        path, kel::test::configuration("<DataSource Name=\"B\" Platform=\"x86\" Value=\"DSN=b\"/>\n"
                                       "<DataSource Name=\"A\" Platform=\"x64\" Value=\"DSN=a\"/>\n"
                                       "<DataSource Name=\"OrbisProfiles2015.1\" Platform=\"x64\" "
                                       "Value=\"DSN=file\"/>\n"));
    KelDataSourcesUtilities sources(path.c_str());
    EXPECT_EQ(text(kel::detail::DataSourcesAccess::configurationFilePath()), path);
    const auto& list = kel::detail::DataSourcesAccess::dataSources();
    std::vector<std::wstring> entries;
    for (long i = 0; i < list.length(); ++i) {
        entries.push_back(text(list[i].name) + L"|" + text(list[i].connectionString) + L"|" +
                          text(list[i].platform));
    }
    EXPECT_EQ(entries,
              (Entries{L"OrbisProfiles2015.1|" + profiles + L"|x64", L"VyrMapping2015.1||x64",
                       L"B|DSN=b|x86", L"A|DSN=a|x64", L"OrbisProfiles2015.1|DSN=file|x64"}));
}

TEST_F(ProcessWideLists, TheDefaultPathIsTheDataFolderFollowedByTheFileName) {
    kel::test::setDataFolder(L"D:\\Gantrix\\Data\\");
    KelDataSourcesUtilities sources{KelString()};
    EXPECT_EQ(text(kel::detail::DataSourcesAccess::configurationFilePath()),
              L"D:\\Gantrix\\Data\\Configuration\\DatabaseConfiguration.xml");
}
