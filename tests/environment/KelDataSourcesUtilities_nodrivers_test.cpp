// KelDataSourcesUtilities on a system that reports no ODBC driver at all.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <string>

#include "KelDataSource_test_support.h"

using kel::test::dbqConnection;
using kel::test::kAlternateDriver;
using kel::test::kDefaultDriver;

namespace {

const bool kDrivers = kel::test::useTestDrivers(kel::test::TestDrivers::None);

std::wstring text(const KelString& s) {
    return s.getStringW();
}

class NoDrivers : public ::testing::Test {
protected:
    void SetUp() override { kel::test::removeStoreValues(); }
    void TearDown() override { kel::test::removeStoreValues(); }
};

}  // namespace

TEST_F(NoDrivers, NoDriverIsInstalled) {
    KEL_REQUIRE_TEST_DRIVERS();
    EXPECT_EQ(KelDataSourcesUtilities::readInstalledOdbcDrivers(), 0);
    EXPECT_EQ(KelDataSourcesUtilities::defaultODBCDriverIsInstalled(), 0);
    EXPECT_EQ(KelDataSourcesUtilities::defaultDriverIsUsedInAllDataSources(), 0);
}

TEST_F(NoDrivers, TheDefaultDriverStillNamesNewStrings) {
    KEL_REQUIRE_TEST_DRIVERS();
    KelString driver;
    EXPECT_EQ(KelDataSourcesUtilities::getOdbcDriverName(driver), 1);
    EXPECT_EQ(text(driver), kDefaultDriver);
    KelString connection;
    EXPECT_EQ(KelDataSourcesUtilities::getConnectionStringForFile(L"C:\\db.mdb", connection), 1);
    EXPECT_EQ(text(connection),
              L"DRIVER={Microsoft Access Driver (*.mdb, *.accdb)};UID=;PWD=;DBQ=C:\\db.mdb");
}

TEST_F(NoDrivers, TheAlternateDriverIsReplacedByTheDefaultOne) {
    KEL_REQUIRE_TEST_DRIVERS();
    const std::wstring missing = kel::test::testPath(L"missing.mdb");
    KelString connection(dbqConnection(kAlternateDriver, missing).c_str());
    EXPECT_EQ(KelDataSourcesUtilities::replaceAlternateDriver(connection), 1);
    EXPECT_EQ(text(connection), dbqConnection(kDefaultDriver, missing));
    // A failure on an existing file finds no installed driver to remove.
    const std::wstring junk = kel::test::junkFile(L"j.mdb");
    KelString failing(dbqConnection(kAlternateDriver, junk).c_str());
    EXPECT_EQ(KelDataSourcesUtilities::replaceAlternateDriver(failing), 1);
    EXPECT_EQ(text(failing), dbqConnection(kDefaultDriver, junk));
}

TEST_F(NoDrivers, NothingConnects) {
    KEL_REQUIRE_TEST_DRIVERS();
    EXPECT_EQ(KelDataSourcesUtilities::testConnection(
                  kel::test::sqliteConnection(kel::test::sqliteDatabase(L"c.sqlite")).c_str()),
              -1);
    EXPECT_EQ(KelDataSourcesUtilities::testConnection(
                  dbqConnection(kDefaultDriver, kel::test::testPath(L"missing.mdb")).c_str()),
              0);
    EXPECT_EQ(KelDataSourcesUtilities::testConnection(
                  dbqConnection(kDefaultDriver, kel::test::junkFile(L"j.mdb")).c_str()),
              -1);
}

TEST_F(NoDrivers, DataSourcesAreReadAndNameTheDefaultDriver) {
    KEL_REQUIRE_TEST_DRIVERS();
    const std::wstring missing = kel::test::testPath(L"missing.mdb");
    kel::test::setFamilyConnection(L"OrbisProfiles2015.1",
                                   dbqConnection(kAlternateDriver, missing));
    const std::wstring path = kel::test::testPath(L"DatabaseConfiguration.xml");
    kel::test::writeBytes(path,
                          kel::test::configuration(kel::test::dataSource(
                              L"Projects", L"x64", dbqConnection(kAlternateDriver, missing))));
    KelDataSourcesUtilities sources(path.c_str());
    KelString connection;
    EXPECT_EQ(sources.getConnectionString(L"Projects", connection, L"x64"), 1);
    EXPECT_EQ(text(connection), dbqConnection(kDefaultDriver, missing));
    EXPECT_EQ(sources.getConnectionString(L"OrbisProfiles2015.1", connection, L"x64"), 1);
    EXPECT_EQ(text(connection), dbqConnection(kDefaultDriver, missing));
    EXPECT_EQ(KelDataSourcesUtilities::defaultDriverIsUsedInAllDataSources(), 0);
}
