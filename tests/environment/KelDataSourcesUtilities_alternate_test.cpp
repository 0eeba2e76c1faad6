// KelDataSourcesUtilities with only the alternate driver installed.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <string>

#include "KelDataSource_test_support.h"

using kel::test::dbqConnection;
using kel::test::kAlternateDriver;
using kel::test::kDefaultDriver;

namespace {

const bool kDrivers = kel::test::useTestDrivers(kel::test::TestDrivers::AlternateOnly);

std::wstring text(const KelString& s) {
    return s.getStringW();
}

class AlternateDriverAlone : public ::testing::Test {
protected:
    void SetUp() override { kel::test::removeStoreValues(); }
    void TearDown() override { kel::test::removeStoreValues(); }
};

}  // namespace

TEST_F(AlternateDriverAlone, TheDefaultDriverIsMissing) {
    KEL_REQUIRE_TEST_DRIVERS();
    EXPECT_EQ(KelDataSourcesUtilities::readInstalledOdbcDrivers(), 1);
    EXPECT_EQ(KelDataSourcesUtilities::defaultODBCDriverIsInstalled(), -1);
    KelString driver;
    EXPECT_EQ(KelDataSourcesUtilities::getOdbcDriverName(driver), 1);
    EXPECT_EQ(text(driver), kAlternateDriver);
}

TEST_F(AlternateDriverAlone, NewStringsNameTheAlternateDriver) {
    KEL_REQUIRE_TEST_DRIVERS();
    KelString connection;
    EXPECT_EQ(KelDataSourcesUtilities::getConnectionStringForFile(L"C:\\db.mdb", connection), 1);
    EXPECT_EQ(text(connection), L"DRIVER={Pelion ODBC Driver};UID=;PWD=;DBQ=C:\\db.mdb");
}

TEST_F(AlternateDriverAlone, TheDefaultDriverIsReplacedByTheAlternateOne) {
    KEL_REQUIRE_TEST_DRIVERS();
    const std::wstring missing = kel::test::testPath(L"missing.mdb");
    KelString connection(dbqConnection(kDefaultDriver, missing).c_str());
    EXPECT_EQ(KelDataSourcesUtilities::replaceAlternateDriver(connection), 1);
    EXPECT_EQ(text(connection), dbqConnection(kAlternateDriver, missing));
    KelString alternate(dbqConnection(kAlternateDriver, missing).c_str());
    EXPECT_EQ(KelDataSourcesUtilities::replaceAlternateDriver(alternate), 0);
    EXPECT_EQ(text(alternate), dbqConnection(kAlternateDriver, missing));
}

TEST_F(AlternateDriverAlone, TheCheckOfTheDataSourcesReadsNothingItself) {
    KEL_REQUIRE_TEST_DRIVERS();
    const std::wstring missing = kel::test::testPath(L"missing.mdb");
    const std::wstring path = kel::test::testPath(L"DatabaseConfiguration.xml");
    kel::test::writeBytes(path, kel::test::configuration(kel::test::dataSource(
                                    L"Projects", L"x64", dbqConnection(kDefaultDriver, missing))));
    KelDataSourcesUtilities sources(path.c_str());
    // Nothing read yet: the installed list alone decides.
    EXPECT_EQ(KelDataSourcesUtilities::defaultDriverIsUsedInAllDataSources(), -1);
    KelString connection;
    EXPECT_EQ(sources.getConnectionString(L"Projects", connection, L"x64"), 1);
    EXPECT_EQ(text(connection), dbqConnection(kAlternateDriver, missing));
    EXPECT_EQ(KelDataSourcesUtilities::defaultDriverIsUsedInAllDataSources(), 0);
}

TEST_F(AlternateDriverAlone, ConnectsToASQLiteDatabase) {
    KEL_REQUIRE_TEST_DRIVERS();
    EXPECT_EQ(KelDataSourcesUtilities::testConnection(
                  kel::test::sqliteConnection(kel::test::sqliteDatabase(L"c.sqlite")).c_str()),
              1);
    // The default driver is not installed: the file alone decides.
    EXPECT_EQ(KelDataSourcesUtilities::testConnection(
                  dbqConnection(kDefaultDriver, kel::test::junkFile(L"j.mdb")).c_str()),
              -1);
}
