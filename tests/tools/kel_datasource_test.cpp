// "kel datasource" as administrators and support staff run it: the built
// tool as a separate process, with the data-source tests' ODBC drivers
// (both of them) and a configuration store of the test's own.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <string>
#include <vector>

#include "KelDataSource_test_support.h"
#include "run_program.h"

using kel::test::dbqConnection;
using kel::test::kAlternateDriver;
using kel::test::kDefaultDriver;
using kel::test::utf8;

namespace {

const bool kDrivers = kel::test::useTestDrivers(kel::test::TestDrivers::Both);

struct Result {
    int exitCode = -1;
    std::string out;
    std::string err;
};

// Console output ends its lines with CRLF on Windows.
std::string withoutCarriageReturns(const std::string& text) {
    std::string result;
    for (char c : text) {
        if (c != '\r')
            result += c;
    }
    return result;
}

Result datasource(const std::vector<std::wstring>& arguments) {
    std::vector<std::wstring> words = {L"datasource"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    const kel::test::ProgramResult run = kel::test::runProgram(kel::test::kelTool(), words);
    return {run.exitCode, withoutCarriageReturns(run.out), withoutCarriageReturns(run.err)};
}

bool startsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

// Exactly one line.
bool oneLine(const std::string& text) {
    return !text.empty() && text.find('\n') == text.size() - 1;
}

class KelDataSourceTool : public ::testing::Test {
protected:
    void SetUp() override { kel::test::removeStoreValues(); }
    void TearDown() override { kel::test::removeStoreValues(); }

    // A configuration file with two data sources naming the alternate
    // driver, for database files that do not exist. (The SQLite driver
    // fails quietly; the mdbtools driver would write to stderr.)
    static std::wstring writeConfiguration(const std::wstring& path) {
        const std::wstring named = dbqConnection(kAlternateDriver, missing());
        kel::test::writeBytes(path, kel::test::configuration(
                                        kel::test::dataSource(L"Projects", L"x64", named) + "\n" +
                                        kel::test::dataSource(L"Catalogue", L"x86", named) + "\n"));
        return path;
    }

    static std::wstring missing() { return kel::test::testPath(L"missing.mdb"); }

    // What "list" prints for that file: the family-wide entries first, and
    // every string rewritten to the default driver, which is installed.
    static std::string listed(const std::string& profiles = "") {
        const std::string named = utf8(dbqConnection(kDefaultDriver, missing()));
        return "x64\tOrbisProfiles2015.1\t" + profiles +
               "\nx64\tVyrMapping2015.1\t\nx64\tProjects\t" + named + "\nx86\tCatalogue\t" + named +
               "\n";
    }
};

}  // namespace

// ----- arguments ---------------------------------------------------------------------

TEST_F(KelDataSourceTool, HelpPrintsTheUsage) {
    const Result r = datasource({L"--help"});
    EXPECT_EQ(r.exitCode, 0);
    EXPECT_TRUE(startsWith(r.out, "usage: kel datasource list [FILE]\n")) << r.out;
    EXPECT_EQ(r.err, "");
}

TEST_F(KelDataSourceTool, BadArgumentsPrintTheUsageWithExitCode2) {
    const std::vector<std::vector<std::wstring>> bad = {
        {},
        {L"frobnicate"},
        {L"list", L"a.xml", L"b.xml"},
        {L"get"},
        {L"get", L"Projects", L"x64", L"more"},
        {L"drivers", L"all"},
        {L"test"},
        {L"test", L"DSN=a", L"DSN=b"},
    };
    for (const std::vector<std::wstring>& arguments : bad) {
        const Result r = datasource(arguments);
        EXPECT_EQ(r.exitCode, 2) << arguments.size();
        EXPECT_TRUE(startsWith(r.err, "usage: kel datasource")) << r.err;
        EXPECT_EQ(r.out, "");
    }
}

// ----- list ------------------------------------------------------------------------------

TEST_F(KelDataSourceTool, ListShowsEveryDataSourceOfAFile) {
    KEL_REQUIRE_TEST_DRIVERS();
    const std::wstring file = writeConfiguration(kel::test::testPath(L"sources.xml"));
    const Result r = datasource({L"list", file});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out, listed());
}

TEST_F(KelDataSourceTool, ListReadsTheInstallationsFileAndTheStore) {
    KEL_REQUIRE_TEST_DRIVERS();
    const std::wstring folder = kel::test::testPath(L"data");
    kel::test::setDataFolder(folder);
    writeConfiguration(folder + L"/Configuration/DatabaseConfiguration.xml");
    const std::wstring profiles = dbqConnection(kDefaultDriver, kel::test::testPath(L"p.mdb"));
    kel::test::setFamilyConnection(L"OrbisProfiles2015.1", profiles);
    const Result r = datasource({L"list"});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out, listed(utf8(profiles)));
}

TEST_F(KelDataSourceTool, ListWithoutADataFolderFails) {
    const Result r = datasource({L"list"});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_TRUE(oneLine(r.err)) << r.err;
    EXPECT_TRUE(startsWith(r.err,
                           "kel datasource: no data folder is set (value DataPath under "
                           "Software\\Norvane\\Gantrix\\2015.1\\Environment"))
        << r.err;
}

TEST_F(KelDataSourceTool, ListOfAMissingFileFailsNamingTheFile) {
    const std::wstring file = kel::test::testPath(L"none.xml");
    const Result r = datasource({L"list", file});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_TRUE(oneLine(r.err)) << r.err;
    EXPECT_TRUE(startsWith(r.err, "kel datasource: cannot read " + utf8(file) + ": ")) << r.err;
}

// ----- get -------------------------------------------------------------------------------

TEST_F(KelDataSourceTool, GetPrintsOneConnectionString) {
    KEL_REQUIRE_TEST_DRIVERS();
    const std::wstring folder = kel::test::testPath(L"data");
    kel::test::setDataFolder(folder);
    writeConfiguration(folder + L"/Configuration/DatabaseConfiguration.xml");
    const std::string named = utf8(dbqConnection(kDefaultDriver, missing())) + "\n";

    Result r = datasource({L"get", L"projects"});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out, named);

    r = datasource({L"get", L"Catalogue", L"X86"});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out, named);

    r = datasource({L"get", L"VyrMapping2015.1"});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out, "\n");
}

TEST_F(KelDataSourceTool, GetOfAMissingDataSourceFails) {
    KEL_REQUIRE_TEST_DRIVERS();
    const std::wstring folder = kel::test::testPath(L"data");
    kel::test::setDataFolder(folder);
    writeConfiguration(folder + L"/Configuration/DatabaseConfiguration.xml");
    const Result r = datasource({L"get", L"Catalogue"});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "");
    EXPECT_TRUE(oneLine(r.err)) << r.err;
    EXPECT_TRUE(startsWith(r.err, "kel datasource: no data source Catalogue for platform x64 in " +
                                      utf8(folder) + "\\Configuration\\DatabaseConfiguration.xml"))
        << r.err;
}

// ----- drivers ---------------------------------------------------------------------------

TEST_F(KelDataSourceTool, DriversListsTheInstalledDriversAndTheOneUsed) {
    KEL_REQUIRE_TEST_DRIVERS();
    const Result r = datasource({L"drivers"});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out,
              "Installed ODBC drivers:\n"
              "  Microsoft Access Driver (*.mdb, *.accdb) (the default driver)\n"
              "  Pelion ODBC Driver (the alternate driver)\n"
              "New connection strings name: Microsoft Access Driver (*.mdb, *.accdb) (the default "
              "driver is installed)\n");
}

// ----- test ------------------------------------------------------------------------------

TEST_F(KelDataSourceTool, TestConnects) {
    KEL_REQUIRE_TEST_DRIVERS();
    const std::wstring database = kel::test::sqliteDatabase(L"catalogue.sqlite");
    const Result r = datasource({L"test", kel::test::sqliteConnection(database)});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out, "connected\n");
}

TEST_F(KelDataSourceTool, TestOfAMissingFile) {
    KEL_REQUIRE_TEST_DRIVERS();
    const Result r = datasource({L"test", dbqConnection(kDefaultDriver, missing())});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out,
              "not connected (0): the database file " + utf8(missing()) + " does not exist\n");
}

TEST_F(KelDataSourceTool, TestOfAFileThatIsNoDatabase) {
    KEL_REQUIRE_TEST_DRIVERS();
    const std::wstring junk = kel::test::junkFile(L"profiles.mdb");
    const Result r = datasource({L"test", dbqConnection(kDefaultDriver, junk)});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out, "not connected (-1): the connection failed although the database file " +
                         utf8(junk) + " exists\n");
}

TEST_F(KelDataSourceTool, TestOfAStringWithoutAFile) {
    const Result r = datasource({L"test", L"DRIVER={No Such Driver};Database=x"});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.out,
              "not connected (-1): the connection failed and the string names no "
              "database file (no \"DBQ=\")\n");
}
