// KelDataSourcesUtilities with both ODBC drivers installed: lookups in the
// configuration file and the family-wide entries, the file's formats, the
// plain text scan, connection tests and the choice of driver.
//
// No test here makes a driver lose its place in the installed list (that
// lasts for the rest of the process): connection strings of the
// configuration files name missing database files, whose tests give 0.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <string>
#include <vector>

#include "KelDataSource_test_support.h"

using kel::test::configuration;
using kel::test::dataSource;
using kel::test::dbqConnection;
using kel::test::kAlternateDriver;
using kel::test::kDefaultDriver;
using kel::test::testPath;
using kel::test::writeBytes;

namespace {

const bool kDrivers = kel::test::useTestDrivers(kel::test::TestDrivers::Both);

std::wstring text(const KelString& s) {
    return s.getStringW();
}

struct Lookup {
    int result;
    std::wstring connection;
};

class DataSources : public ::testing::Test {
protected:
    void SetUp() override { kel::test::removeStoreValues(); }

    void TearDown() override {
        KelDataSourcesUtilities::setOEMode(false);
        KelProductDefines::setGXProductName(L"Gantrix");
        kel::test::removeStoreValues();
    }

    // Writes the configuration file into the test's folder; the library
    // reads it from there.
    static std::wstring writeConfiguration(
        const std::string& bytes, const std::wstring& name = L"DatabaseConfiguration.xml") {
        const std::wstring path = testPath(name);
        writeBytes(path, bytes);
        return path;
    }

    static KelDataSourcesUtilities fromFile(const std::string& bytes) {
        return KelDataSourcesUtilities(writeConfiguration(bytes).c_str());
    }

    static Lookup lookup(KelDataSourcesUtilities& sources, const std::wstring& name,
                         const std::wstring& platform = L"x64") {
        KelString connection(L"left over");
        const int result = sources.getConnectionString(name.c_str(), connection, platform.c_str());
        return {result, text(connection)};
    }

    // A connection string whose test gives 0: the default driver and a
    // database file that does not exist.
    static std::wstring missingDatabase(const std::wstring& name = L"missing.mdb") {
        return dbqConnection(kDefaultDriver, testPath(name));
    }
};

void expectFound(const Lookup& found, const std::wstring& connection) {
    EXPECT_EQ(found.result, 1);
    EXPECT_EQ(found.connection, connection);
}

void expectNotFound(const Lookup& found) {
    EXPECT_EQ(found.result, 0);
    EXPECT_EQ(found.connection, L"");
}

}  // namespace

// ----- lookups -------------------------------------------------------------------

TEST_F(DataSources, FindsAnEntryOfTheConfigurationFile) {
    const std::wstring projects = missingDatabase(L"projects.mdb");
    KelDataSourcesUtilities sources =
        fromFile(configuration(dataSource(L"Projects", L"x64", projects)));
    expectFound(lookup(sources, L"Projects"), projects);
}

TEST_F(DataSources, LookupIgnoresTheCaseOfNameAndPlatform) {
    const std::wstring projects = missingDatabase();
    KelDataSourcesUtilities sources =
        fromFile(configuration(dataSource(L"Projects", L"x64", projects)));
    expectFound(lookup(sources, L"PROJECTS", L"X64"), projects);
    expectFound(lookup(sources, L"projects", L"x64"), projects);
}

TEST_F(DataSources, PlatformMustMatch) {
    KelDataSourcesUtilities sources =
        fromFile(configuration(dataSource(L"Projects", L"x64", missingDatabase())));
    expectNotFound(lookup(sources, L"Projects", L"x86"));
    expectNotFound(lookup(sources, L"Projects", L""));
}

TEST_F(DataSources, NotFoundWritesOneLineToTheDebugOutput) {
    KelDataSourcesUtilities sources =
        fromFile(configuration(dataSource(L"Projects", L"x64", missingDatabase())));
    kel::test::DebugOutputCapture output;
    expectNotFound(lookup(sources, L"Missing Source", L"x64"));
    ASSERT_EQ(output.lines().size(), 1u);
    EXPECT_EQ(output.lines()[0], L"\n Connection string not found for datasource Missing Source");
}

TEST_F(DataSources, FoundWritesNothingToTheDebugOutput) {
    KelDataSourcesUtilities sources =
        fromFile(configuration(dataSource(L"Projects", L"x64", missingDatabase())));
    kel::test::DebugOutputCapture output;
    EXPECT_EQ(lookup(sources, L"Projects").result, 1);
    EXPECT_EQ(lookup(sources, L"OrbisProfiles2015.1").result, 1);
    EXPECT_TRUE(output.lines().empty());
}

TEST_F(DataSources, FirstMatchingEntryWins) {
    const std::wstring first = missingDatabase(L"first.mdb");
    KelDataSourcesUtilities sources = fromFile(
        configuration(dataSource(L"Projects", L"x64", first) + "\n" +
                      dataSource(L"PROJECTS", L"X64", missingDatabase(L"second.mdb")) + "\n"));
    expectFound(lookup(sources, L"Projects"), first);
}

TEST_F(DataSources, EachPlatformHasItsOwnEntry) {
    const std::wstring x64 = missingDatabase(L"x64.mdb");
    const std::wstring x86 = missingDatabase(L"x86.mdb");
    KelDataSourcesUtilities sources = fromFile(configuration(
        dataSource(L"Projects", L"x64", x64) + "\n" + dataSource(L"Projects", L"x86", x86) + "\n"));
    expectFound(lookup(sources, L"Projects", L"x64"), x64);
    expectFound(lookup(sources, L"Projects", L"x86"), x86);
}

TEST_F(DataSources, DefaultPathIsInTheDataFolder) {
    const std::wstring folder = testPath(L"data");
    kel::test::setDataFolder(folder);
    const std::wstring projects = missingDatabase();
    writeBytes(folder + L"/Configuration/DatabaseConfiguration.xml",
               configuration(dataSource(L"Projects", L"x64", projects)));
    KelDataSourcesUtilities sources(L"");
    expectFound(lookup(sources, L"Projects"), projects);
}

TEST_F(DataSources, DefaultPathWithoutADataFolderFindsOnlyTheFamilyWideEntries) {
    KelDataSourcesUtilities sources{KelString()};
    expectFound(lookup(sources, L"OrbisProfiles2015.1"), L"");
    expectNotFound(lookup(sources, L"Projects"));
}

// ----- the family-wide entries ---------------------------------------------------

TEST_F(DataSources, FamilyWideEntriesComeFromTheStore) {
    const std::wstring profiles = missingDatabase(L"profiles.mdb");
    const std::wstring mapping = missingDatabase(L"mapping.mdb");
    kel::test::setFamilyConnection(L"OrbisProfiles2015.1", profiles);
    kel::test::setFamilyConnection(L"VyrMapping2015.1", mapping);
    KelDataSourcesUtilities sources = fromFile(configuration(""));
    expectFound(lookup(sources, L"orbisprofiles2015.1", L"X64"), profiles);
    expectFound(lookup(sources, L"VyrMapping2015.1", L"x64"), mapping);
}

TEST_F(DataSources, FamilyWideEntriesExistWithoutStoredStrings) {
    KelDataSourcesUtilities sources = fromFile(configuration(""));
    expectFound(lookup(sources, L"OrbisProfiles2015.1"), L"");
    expectFound(lookup(sources, L"VyrMapping2015.1"), L"");
}

TEST_F(DataSources, FamilyWideEntriesAreForX64Only) {
    kel::test::setFamilyConnection(L"OrbisProfiles2015.1", missingDatabase());
    KelDataSourcesUtilities sources = fromFile(configuration(""));
    expectNotFound(lookup(sources, L"OrbisProfiles2015.1", L"x86"));
}

TEST_F(DataSources, FamilyWideEntriesWinOverTheFile) {
    const std::wstring stored = missingDatabase(L"stored.mdb");
    const std::wstring x86 = missingDatabase(L"x86.mdb");
    kel::test::setFamilyConnection(L"OrbisProfiles2015.1", stored);
    KelDataSourcesUtilities sources = fromFile(
        configuration(dataSource(L"OrbisProfiles2015.1", L"x64", missingDatabase(L"file.mdb")) +
                      "\n" + dataSource(L"OrbisProfiles2015.1", L"x86", x86) + "\n"));
    expectFound(lookup(sources, L"OrbisProfiles2015.1", L"x64"), stored);
    expectFound(lookup(sources, L"OrbisProfiles2015.1", L"x86"), x86);
}

TEST_F(DataSources, FamilyWideEntryWinsEvenWithoutAStoredString) {
    KelDataSourcesUtilities sources = fromFile(
        configuration(dataSource(L"VyrMapping2015.1", L"x64", missingDatabase(L"file.mdb"))));
    expectFound(lookup(sources, L"VyrMapping2015.1"), L"");
}

// ----- the driver in the strings read --------------------------------------------

TEST_F(DataSources, StringsReadAreRewrittenToTheInstalledDefaultDriver) {
    const std::wstring file = testPath(L"missing.mdb");
    kel::test::setFamilyConnection(L"VyrMapping2015.1", dbqConnection(kAlternateDriver, file));
    KelDataSourcesUtilities sources = fromFile(
        configuration(dataSource(L"Projects", L"x64", dbqConnection(kAlternateDriver, file))));
    expectFound(lookup(sources, L"Projects"), dbqConnection(kDefaultDriver, file));
    expectFound(lookup(sources, L"VyrMapping2015.1"), dbqConnection(kDefaultDriver, file));
    EXPECT_EQ(KelDataSourcesUtilities::defaultDriverIsUsedInAllDataSources(), 1);
}

// ----- the cached list -------------------------------------------------------------

TEST_F(DataSources, AnotherPathDropsTheDataSourcesRead) {
    const std::wstring first = writeConfiguration(
        configuration(dataSource(L"First", L"x64", missingDatabase())), L"first.xml");
    const std::wstring second = writeConfiguration(
        configuration(dataSource(L"Second", L"x64", missingDatabase())), L"second.xml");
    KelDataSourcesUtilities fromFirst(first.c_str());
    EXPECT_EQ(lookup(fromFirst, L"First").result, 1);
    KelDataSourcesUtilities fromSecond(second.c_str());
    EXPECT_EQ(lookup(fromSecond, L"First").result, 0);
    EXPECT_EQ(lookup(fromSecond, L"Second").result, 1);
    // The path is process-wide: the first object now reads the second file too.
    EXPECT_EQ(lookup(fromFirst, L"Second").result, 1);
}

TEST_F(DataSources, TheSamePathKeepsTheDataSourcesRead) {
    const std::wstring path =
        writeConfiguration(configuration(dataSource(L"Before", L"x64", missingDatabase())));
    KelDataSourcesUtilities before(path.c_str());
    EXPECT_EQ(lookup(before, L"Before").result, 1);
    writeConfiguration(configuration(dataSource(L"After", L"x64", missingDatabase())));
    KelDataSourcesUtilities after(path.c_str());
    EXPECT_EQ(lookup(after, L"Before").result, 1);
    EXPECT_EQ(lookup(after, L"After").result, 0);
}

TEST_F(DataSources, APathDifferingOnlyInCaseKeepsTheDataSourcesRead) {
    const std::wstring path = writeConfiguration(
        configuration(dataSource(L"Before", L"x64", missingDatabase())), L"sources.xml");
    KelDataSourcesUtilities before(path.c_str());
    EXPECT_EQ(lookup(before, L"Before").result, 1);
    writeConfiguration(configuration(dataSource(L"After", L"x64", missingDatabase())),
                       L"SOURCES.XML");
    KelDataSourcesUtilities after(testPath(L"SOURCES.XML").c_str());
    EXPECT_EQ(lookup(after, L"Before").result, 1);
    EXPECT_EQ(lookup(after, L"After").result, 0);
}

// ----- OE mode ---------------------------------------------------------------------

TEST_F(DataSources, OEModeReadsNothing) {
    kel::test::setFamilyConnection(L"OrbisProfiles2015.1", missingDatabase());
    KelDataSourcesUtilities::setOEMode(true);
    KelDataSourcesUtilities sources =
        fromFile(configuration(dataSource(L"Projects", L"x64", missingDatabase())));
    kel::test::DebugOutputCapture output;
    expectNotFound(lookup(sources, L"Projects"));
    expectNotFound(lookup(sources, L"OrbisProfiles2015.1"));
    EXPECT_EQ(output.lines().size(), 2u);
    KelDataSourcesUtilities::setOEMode(false);
    EXPECT_EQ(lookup(sources, L"Projects").result, 1);
    EXPECT_EQ(lookup(sources, L"OrbisProfiles2015.1").result, 1);
}

TEST_F(DataSources, OEModeKeepsWhatWasReadBefore) {
    KelDataSourcesUtilities sources =
        fromFile(configuration(dataSource(L"Projects", L"x64", missingDatabase())));
    EXPECT_EQ(lookup(sources, L"Projects").result, 1);
    KelDataSourcesUtilities::setOEMode(true);
    EXPECT_EQ(lookup(sources, L"Projects").result, 1);
}

// ----- the product's section -------------------------------------------------------

TEST_F(DataSources, OnlyTheProductsSectionCounts) {
    const std::wstring ours = missingDatabase(L"ours.mdb");
    const std::string text =
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<Configuration>\n<Ferrix>\n" +
        dataSource(L"FerrixOnly", L"x64", missingDatabase()) + "\n</Ferrix>\n<Gantrix>\n" +
        dataSource(L"Projects", L"x64", ours) + "\n</Gantrix>\n<Other>\n" +
        dataSource(L"OtherOnly", L"x64", missingDatabase()) + "\n</Other>\n</Configuration>\n";
    KelDataSourcesUtilities sources = fromFile(text);
    expectFound(lookup(sources, L"Projects"), ours);
    expectNotFound(lookup(sources, L"FerrixOnly"));
    expectNotFound(lookup(sources, L"OtherOnly"));
}

TEST_F(DataSources, TheProductNameChoosesTheSection) {
    const std::wstring ferrix = missingDatabase(L"ferrix.mdb");
    const std::string text = "<?xml version=\"1.0\"?>\n<Gantrix>\n" +
                             dataSource(L"GantrixOnly", L"x64", missingDatabase()) +
                             "\n</Gantrix>\n<Ferrix>\n" + dataSource(L"Projects", L"x64", ferrix) +
                             "\n</Ferrix>\n";
    KelProductDefines::setGXProductName(L"Ferrix");
    KelDataSourcesUtilities sources = fromFile(text);
    expectFound(lookup(sources, L"Projects"), ferrix);
    expectNotFound(lookup(sources, L"GantrixOnly"));
}

TEST_F(DataSources, OnlyTheFirstSectionOfTheProductCounts) {
    const std::string text = "<?xml version=\"1.0\"?>\n<Gantrix>\n" +
                             dataSource(L"First", L"x64", missingDatabase()) +
                             "\n</Gantrix>\n<Gantrix>\n" +
                             dataSource(L"Second", L"x64", missingDatabase()) + "\n</Gantrix>\n";
    KelDataSourcesUtilities sources = fromFile(text);
    EXPECT_EQ(lookup(sources, L"First").result, 1);
    EXPECT_EQ(lookup(sources, L"Second").result, 0);
}

TEST_F(DataSources, ProductTagWithAttributesIsNotTheTag) {
    KelDataSourcesUtilities sources =
        fromFile("<?xml version=\"1.0\"?>\n<Gantrix version=\"2\">\n" +
                 dataSource(L"Projects", L"x64", missingDatabase()) + "\n</Gantrix>\n");
    expectNotFound(lookup(sources, L"Projects"));
    expectFound(lookup(sources, L"OrbisProfiles2015.1"), L"");
}

TEST_F(DataSources, FileWithoutTheProductTagsGivesOnlyTheFamilyWideEntries) {
    KelDataSourcesUtilities sources =
        fromFile("<?xml version=\"1.0\"?>\n<Sources>\n" +
                 dataSource(L"Projects", L"x64", missingDatabase()) + "\n</Sources>\n");
    expectNotFound(lookup(sources, L"Projects"));
    expectFound(lookup(sources, L"OrbisProfiles2015.1"), L"");
}

TEST_F(DataSources, FileWithoutTheClosingTagGivesNothing) {
    KelDataSourcesUtilities sources =
        fromFile("<?xml version=\"1.0\"?>\n<Gantrix>\n" +
                 dataSource(L"Projects", L"x64", missingDatabase()) + "\n");
    expectNotFound(lookup(sources, L"Projects"));
}

TEST_F(DataSources, MissingFileGivesOnlyTheFamilyWideEntries) {
    KelDataSourcesUtilities sources(testPath(L"no such file.xml").c_str());
    expectFound(lookup(sources, L"OrbisProfiles2015.1"), L"");
    expectFound(lookup(sources, L"VyrMapping2015.1"), L"");
    expectNotFound(lookup(sources, L"Projects"));
}

TEST_F(DataSources, EmptyFileGivesOnlyTheFamilyWideEntries) {
    KelDataSourcesUtilities sources = fromFile("");
    expectFound(lookup(sources, L"VyrMapping2015.1"), L"");
    expectNotFound(lookup(sources, L"Projects"));
}

// ----- the file's encoding and layout ----------------------------------------------

TEST_F(DataSources, Utf8WithoutByteOrderMark) {
    const std::wstring value = dbqConnection(kDefaultDriver, L"C:\\Daten\\Tr\u00e4ger \u6e2c.mdb");
    KelDataSourcesUtilities sources =
        fromFile(configuration(dataSource(L"Tr\u00e4ger", L"x64", value)));
    expectFound(lookup(sources, L"TR\u00e4GER"), value);
}

TEST_F(DataSources, Utf8WithByteOrderMark) {
    const std::wstring value = dbqConnection(kDefaultDriver, L"C:\\Daten\\Tr\u00e4ger.mdb");
    KelDataSourcesUtilities sources =
        fromFile("\xEF\xBB\xBF" + configuration(dataSource(L"Tr\u00e4ger", L"x64", value)));
    expectFound(lookup(sources, L"Tr\u00e4ger"), value);
}

TEST_F(DataSources, Utf16WithByteOrderMark) {
    const std::wstring value = dbqConnection(kDefaultDriver, L"C:\\Daten\\Tr\u00e4ger.mdb");
    const std::string utf8 = configuration(dataSource(L"Tr\u00e4ger", L"x64", value));
    // The text is ASCII apart from the one Latin-1 character: UTF-16LE by hand.
    std::string utf16 = "\xFF\xFE";
    for (size_t i = 0; i < utf8.size(); ++i) {
        unsigned int c = static_cast<unsigned char>(utf8[i]);
        if (c == 0xC3) {
            c = 0xC0 | (static_cast<unsigned char>(utf8[++i]) & 0x3F);
        }
        utf16 += static_cast<char>(c);
        utf16 += '\0';
    }
    KelDataSourcesUtilities sources = fromFile(utf16);
    expectFound(lookup(sources, L"Tr\u00e4ger"), value);
}

TEST_F(DataSources, FileWithoutXmlDeclarationIsNotRead) {
    // The UTF-8 reading takes the text as wide only after the "<?" of a
    // declaration; without one the file yields nothing usable.
    KelDataSourcesUtilities sources = fromFile(
        "<Gantrix>\n" + dataSource(L"Projects", L"x64", missingDatabase()) + "\n</Gantrix>\n");
    expectNotFound(lookup(sources, L"Projects"));
    expectFound(lookup(sources, L"OrbisProfiles2015.1"), L"");
}

TEST_F(DataSources, CrlfLineEnds) {
    const std::wstring first = missingDatabase(L"first.mdb");
    const std::wstring second = missingDatabase(L"second.mdb");
    const std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n<Gantrix>\r\n  " +
                             dataSource(L"First", L"x64", first) + "\r\n  " +
                             dataSource(L"Second", L"x86", second) + "\r\n</Gantrix>\r\n";
    KelDataSourcesUtilities sources = fromFile(text);
    expectFound(lookup(sources, L"First", L"x64"), first);
    expectFound(lookup(sources, L"Second", L"x86"), second);
}

TEST_F(DataSources, ElementSpreadOverLines) {
    const std::wstring value = missingDatabase();
    const std::string text =
        "<?xml version=\"1.0\"?>\r\n<Gantrix>\r\n\t<DataSource\r\n\t\tName=\"Projects\"\r\n"
        "\t\tPlatform=\"x64\"\r\n\t\tValue=\"" +
        kel::test::utf8(value) + "\"\r\n\t/>\r\n</Gantrix>\r\n";
    KelDataSourcesUtilities sources = fromFile(text);
    expectFound(lookup(sources, L"Projects"), value);
}

TEST_F(DataSources, SeveralElementsOnOneLine) {
    const std::wstring a = missingDatabase(L"a.mdb");
    const std::wstring b = missingDatabase(L"b.mdb");
    const std::wstring c = missingDatabase(L"c.mdb");
    KelDataSourcesUtilities sources =
        fromFile(configuration(dataSource(L"A", L"x64", a) + dataSource(L"B", L"x64", b) + " " +
                               dataSource(L"C", L"x64", c)));
    expectFound(lookup(sources, L"A"), a);
    expectFound(lookup(sources, L"B"), b);
    expectFound(lookup(sources, L"C"), c);
}

TEST_F(DataSources, AttributesInAnyOrder) {
    const std::wstring value = missingDatabase();
    KelDataSourcesUtilities sources =
        fromFile(configuration("<DataSource Value=\"" + kel::test::utf8(value) +
                               "\" Platform=\"x86\" Name=\"Projects\" />"));
    expectFound(lookup(sources, L"Projects", L"x86"), value);
}

TEST_F(DataSources, ElementsInsideAContainerElement) {
    const std::wstring a = missingDatabase(L"a.mdb");
    const std::wstring b = missingDatabase(L"b.mdb");
    KelDataSourcesUtilities sources =
        fromFile(configuration("  <DataSources>\n    " + dataSource(L"A", L"x64", a) + "\n    " +
                               dataSource(L"B", L"x64", b) + "\n  </DataSources>\n"));
    expectFound(lookup(sources, L"A"), a);
    expectFound(lookup(sources, L"B"), b);
}

TEST_F(DataSources, TruncatedElementEndsTheScan) {
    const std::wstring first = missingDatabase(L"first.mdb");
    KelDataSourcesUtilities sources =
        fromFile(configuration(dataSource(L"First", L"x64", first) +
                               "\n<DataSource Name=\"Cut\" Platform=\"x64\" Value=\"" +
                               kel::test::utf8(missingDatabase()) + "\"\n"));
    expectFound(lookup(sources, L"First"), first);
    expectNotFound(lookup(sources, L"Cut"));
}

TEST_F(DataSources, AnElementEndAfterTheSectionDoesNotCount) {
    const std::string text =
        "<?xml version=\"1.0\"?>\n<Gantrix>\n<DataSource Name=\"Cut\" "
        "Platform=\"x64\" Value=\"v\"\n</Gantrix>\n<Other/>\n";
    KelDataSourcesUtilities sources = fromFile(text);
    expectNotFound(lookup(sources, L"Cut"));
}

// ----- the plain text scan ---------------------------------------------------------

TEST_F(DataSources, EntitiesAreNotDecoded) {
    KelDataSourcesUtilities sources = fromFile(configuration(
        "<DataSource Name=\"R&amp;D\" Platform=\"x64\" Value=\"DSN=a&amp;b;PWD=&quot;\"/>"));
    expectFound(lookup(sources, L"R&amp;D"), L"DSN=a&amp;b;PWD=&quot;");
    expectNotFound(lookup(sources, L"R&D"));
}

TEST_F(DataSources, AnAttributeNameInsideAnotherAttributeIsFoundThere) {
    KelDataSourcesUtilities sources = fromFile(configuration(
        "<DataSource Name=\"PlatformTools\" Platform=\"x64\" Value=\"DSN=tools\"/>\n"
        "<DataSource Value=\"Server=s;UserName=u\" Name=\"Shop\" Platform=\"x64\"/>\n"));
    // "Platform" first occurs inside the name: the platform is the text
    // between the name's closing quote and the platform's opening quote.
    expectFound(lookup(sources, L"PlatformTools", L" Platform="), L"DSN=tools");
    expectNotFound(lookup(sources, L"PlatformTools", L"x64"));
    // "Name" first occurs inside the value.
    expectFound(lookup(sources, L" Name=", L"x64"), L"Server=s;UserName=u");
    expectNotFound(lookup(sources, L"Shop", L"x64"));
}

TEST_F(DataSources, AMissingAttributeGivesAnEmptyValue) {
    KelDataSourcesUtilities sources =
        fromFile(configuration("<DataSource Name=\"Orphan\" Value=\"DSN=a\"/>\n"
                               "<DataSource Name=\"Bare\" Platform=\"x64\"/>\n"));
    expectFound(lookup(sources, L"Orphan", L""), L"DSN=a");
    expectFound(lookup(sources, L"Bare", L"x64"), L"");
}

TEST_F(DataSources, AMissingQuoteGivesAnEmptyValue) {
    KelDataSourcesUtilities sources =
        fromFile(configuration("<DataSource Name=\"Open\" Platform=\"x64\" Value=\"DSN=a/>\n"));
    expectFound(lookup(sources, L"Open", L"x64"), L"");
}

TEST_F(DataSources, SingleQuotesAreNotQuotes) {
    KelDataSourcesUtilities sources =
        fromFile(configuration("<DataSource Name='Single' Platform=\"x64\" Value=\"DSN=a\"/>\n"));
    // The name is the first double-quoted text after "Name".
    expectFound(lookup(sources, L"x64", L"x64"), L"DSN=a");
    expectNotFound(lookup(sources, L"Single", L"x64"));
}

TEST_F(DataSources, CommentsAreNotSkipped) {
    KelDataSourcesUtilities sources = fromFile(
        configuration("<!-- <DataSource Name=\"Old\" Platform=\"x64\" Value=\"DSN=old\"/> -->\n"));
    expectFound(lookup(sources, L"Old"), L"DSN=old");
}

TEST_F(DataSources, AnEmptyElementIsAnEntryWithoutNameOrPlatform) {
    KelDataSourcesUtilities sources = fromFile(configuration("<DataSource/>\n"));
    expectFound(lookup(sources, L"", L""), L"");
}

// ----- connection tests ------------------------------------------------------------

TEST_F(DataSources, ConnectsToASQLiteDatabase) {
    KEL_REQUIRE_TEST_DRIVERS();
    const std::wstring database = kel::test::sqliteDatabase(L"catalogue.sqlite");
    EXPECT_EQ(
        KelDataSourcesUtilities::testConnection(kel::test::sqliteConnection(database).c_str()), 1);
}

TEST_F(DataSources, TheSQLiteDriverDoesNotReadDbq) {
    KEL_REQUIRE_TEST_DRIVERS();
    // The SQLite driver takes its file from "Database="; without it the
    // whole string names the file, in a folder that does not exist, so it
    // fails although the file after "DBQ=" exists.
    const std::wstring database = kel::test::sqliteDatabase(L"catalogue.sqlite");
    EXPECT_EQ(
        KelDataSourcesUtilities::testConnection(dbqConnection(kAlternateDriver, database).c_str()),
        -1);
}

TEST_F(DataSources, AMissingDatabaseFileGivesZero) {
    KEL_REQUIRE_TEST_DRIVERS();
    const std::wstring missing = testPath(L"missing.mdb");
    EXPECT_EQ(
        KelDataSourcesUtilities::testConnection(dbqConnection(kDefaultDriver, missing).c_str()), 0);
    EXPECT_FALSE(kel::test::fileExists(missing));
}

TEST_F(DataSources, AFileThatIsNoDatabaseGivesMinusOne) {
    KEL_REQUIRE_TEST_DRIVERS();
    const std::wstring junk = kel::test::junkFile(L"profiles.mdb");
    EXPECT_EQ(KelDataSourcesUtilities::testConnection(dbqConnection(kDefaultDriver, junk).c_str()),
              -1);
}

TEST_F(DataSources, AFailureWithoutAFileMarkerGivesMinusOne) {
    KEL_REQUIRE_TEST_DRIVERS();
    EXPECT_EQ(KelDataSourcesUtilities::testConnection(
                  (std::wstring(L"DRIVER={") + kDefaultDriver + L"};UID=;PWD=").c_str()),
              -1);
    EXPECT_EQ(KelDataSourcesUtilities::testConnection(L""), -1);
}

TEST_F(DataSources, AnUnknownDriverFailsAndTheFileDecides) {
    const std::wstring junk = kel::test::junkFile(L"profiles.mdb");
    EXPECT_EQ(KelDataSourcesUtilities::testConnection(
                  dbqConnection(L"No Such Driver", testPath(L"missing.mdb")).c_str()),
              0);
    EXPECT_EQ(
        KelDataSourcesUtilities::testConnection(dbqConnection(L"No Such Driver", junk).c_str()),
        -1);
}

TEST_F(DataSources, AFilePatternThatMatchesCountsAsAnExistingFile) {
    kel::test::junkFile(L"profiles.mdb");
    EXPECT_EQ(KelDataSourcesUtilities::testConnection(
                  dbqConnection(L"No Such Driver", testPath(L"*.mdb")).c_str()),
              -1);
    EXPECT_EQ(KelDataSourcesUtilities::testConnection(
                  dbqConnection(L"No Such Driver", testPath(L"*.accdb")).c_str()),
              0);
}

TEST_F(DataSources, TheEnvironmentServesEveryTest) {
    KEL_REQUIRE_TEST_DRIVERS();
    const std::wstring database = kel::test::sqliteDatabase(L"catalogue.sqlite");
    const std::wstring missing = dbqConnection(kDefaultDriver, testPath(L"missing.mdb"));
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(
            KelDataSourcesUtilities::testConnection(kel::test::sqliteConnection(database).c_str()),
            1);
        EXPECT_EQ(KelDataSourcesUtilities::testConnection(missing.c_str()), 0);
    }
}

// ----- the driver --------------------------------------------------------------------

TEST_F(DataSources, BothDriversAreInstalled) {
    KEL_REQUIRE_TEST_DRIVERS();
    EXPECT_EQ(KelDataSourcesUtilities::readInstalledOdbcDrivers(), 1);
    EXPECT_EQ(KelDataSourcesUtilities::defaultODBCDriverIsInstalled(), 1);
}

TEST_F(DataSources, TheDefaultDriverNamesNewStrings) {
    KEL_REQUIRE_TEST_DRIVERS();
    KelString driver;
    EXPECT_EQ(KelDataSourcesUtilities::getOdbcDriverName(driver), 1);
    EXPECT_EQ(text(driver), kDefaultDriver);
    KelString connection;
    EXPECT_EQ(KelDataSourcesUtilities::getConnectionStringForFile(L"C:\\db.mdb", connection), 1);
    EXPECT_EQ(text(connection),
              L"DRIVER={Microsoft Access Driver (*.mdb, *.accdb)};UID=;PWD=;DBQ=C:\\db.mdb");
}

TEST_F(DataSources, ReplacingInAnEmptyStringDoesNothing) {
    KelString connection;
    EXPECT_EQ(KelDataSourcesUtilities::replaceAlternateDriver(connection), 0);
    EXPECT_EQ(text(connection), L"");
}

TEST_F(DataSources, TheAlternateDriverIsReplacedByTheDefaultOne) {
    KEL_REQUIRE_TEST_DRIVERS();
    const std::wstring file = testPath(L"missing.mdb");
    KelString connection(dbqConnection(kAlternateDriver, file).c_str());
    EXPECT_EQ(KelDataSourcesUtilities::replaceAlternateDriver(connection), 1);
    EXPECT_EQ(text(connection), dbqConnection(kDefaultDriver, file));

    KelString twice(
        (std::wstring(L"DRIVER={Pelion ODBC Driver};DESCRIPTION=Pelion ODBC Driver;DBQ=") + file)
            .c_str());
    EXPECT_EQ(KelDataSourcesUtilities::replaceAlternateDriver(twice), 2);
    EXPECT_EQ(text(twice),
              L"DRIVER={Microsoft Access Driver (*.mdb, *.accdb)};DESCRIPTION=Microsoft "
              L"Access Driver (*.mdb, *.accdb);DBQ=" +
                  file);
}

TEST_F(DataSources, AStringNamingTheDefaultDriverStaysAsItIs) {
    KEL_REQUIRE_TEST_DRIVERS();
    const std::wstring original = dbqConnection(kDefaultDriver, testPath(L"missing.mdb"));
    KelString connection(original.c_str());
    EXPECT_EQ(KelDataSourcesUtilities::replaceAlternateDriver(connection), 0);
    EXPECT_EQ(text(connection), original);
}

TEST_F(DataSources, AWorkingAlternateStringIsRewrittenAllTheSame) {
    KEL_REQUIRE_TEST_DRIVERS();
    const std::wstring database = kel::test::sqliteDatabase(L"catalogue.sqlite");
    KelString connection(kel::test::sqliteConnection(database).c_str());
    EXPECT_EQ(KelDataSourcesUtilities::replaceAlternateDriver(connection), 1);
    EXPECT_EQ(text(connection), std::wstring(L"DRIVER={") + kDefaultDriver + L"};Database=" +
                                    kel::test::driverPath(database));
}

TEST_F(DataSources, AFailureNamingNoInstalledDriverRemovesNothing) {
    KEL_REQUIRE_TEST_DRIVERS();
    const std::wstring original = dbqConnection(L"No Such Driver", kel::test::junkFile(L"a.mdb"));
    KelString connection(original.c_str());
    EXPECT_EQ(KelDataSourcesUtilities::replaceAlternateDriver(connection), 0);
    EXPECT_EQ(text(connection), original);
    EXPECT_EQ(KelDataSourcesUtilities::defaultODBCDriverIsInstalled(), 1);
}

TEST_F(DataSources, WithNothingReadTheDefaultDriverCountsAsUsedEverywhere) {
    KEL_REQUIRE_TEST_DRIVERS();
    // A new path drops what was read; the check reads nothing itself.
    KelDataSourcesUtilities sources = fromFile(configuration(""));
    EXPECT_EQ(KelDataSourcesUtilities::defaultDriverIsUsedInAllDataSources(), 1);
    EXPECT_EQ(lookup(sources, L"OrbisProfiles2015.1").result, 1);
    EXPECT_EQ(KelDataSourcesUtilities::defaultDriverIsUsedInAllDataSources(), 1);
}
