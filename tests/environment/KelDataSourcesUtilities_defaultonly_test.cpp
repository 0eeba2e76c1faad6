// KelDataSourcesUtilities with only the default driver installed.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <string>

#include "KelDataSource_test_support.h"

using kel::test::dbqConnection;
using kel::test::kAlternateDriver;
using kel::test::kDefaultDriver;

namespace {

const bool kDrivers = kel::test::useTestDrivers(kel::test::TestDrivers::DefaultOnly);

std::wstring text(const KelString& s) {
    return s.getStringW();
}

std::wstring driverName() {
    KelString driver;
    EXPECT_EQ(KelDataSourcesUtilities::getOdbcDriverName(driver), 1);
    return text(driver);
}

}  // namespace

TEST(DefaultDriverAlone, IsInstalledAndNamesNewStrings) {
    KEL_REQUIRE_TEST_DRIVERS();
    EXPECT_EQ(KelDataSourcesUtilities::defaultODBCDriverIsInstalled(), 1);
    EXPECT_EQ(driverName(), kDefaultDriver);
    KelString connection;
    EXPECT_EQ(KelDataSourcesUtilities::getConnectionStringForFile(L"C:\\db.mdb", connection), 1);
    EXPECT_EQ(text(connection),
              L"DRIVER={Microsoft Access Driver (*.mdb, *.accdb)};UID=;PWD=;DBQ=C:\\db.mdb");
}

TEST(DefaultDriverAlone, ARemovedDriverComesBackWhenTheEmptyListIsReadAgain) {
    KEL_REQUIRE_TEST_DRIVERS();
    const std::wstring original = dbqConnection(kDefaultDriver, kel::test::junkFile(L"a.mdb"));
    KelString connection(original.c_str());
    // The test fails on an existing file and the one driver is removed; the
    // list, now empty, is read again at once and brings it back.
    EXPECT_EQ(KelDataSourcesUtilities::replaceAlternateDriver(connection), 0);
    EXPECT_EQ(text(connection), original);
    EXPECT_EQ(KelDataSourcesUtilities::defaultODBCDriverIsInstalled(), 1);
    EXPECT_EQ(driverName(), kDefaultDriver);
}

TEST(DefaultDriverAlone, AnAlternateStringIsRewrittenToTheDefaultDriver) {
    KEL_REQUIRE_TEST_DRIVERS();
    const std::wstring missing = kel::test::testPath(L"missing.mdb");
    KelString connection(dbqConnection(kAlternateDriver, missing).c_str());
    EXPECT_EQ(KelDataSourcesUtilities::replaceAlternateDriver(connection), 1);
    EXPECT_EQ(text(connection), dbqConnection(kDefaultDriver, missing));
}

TEST(DefaultDriverAlone, ConnectionTestsDependOnTheFile) {
    KEL_REQUIRE_TEST_DRIVERS();
    EXPECT_EQ(KelDataSourcesUtilities::testConnection(
                  dbqConnection(kDefaultDriver, kel::test::testPath(L"missing.mdb")).c_str()),
              0);
    EXPECT_EQ(KelDataSourcesUtilities::testConnection(
                  dbqConnection(kDefaultDriver, kel::test::junkFile(L"j.mdb")).c_str()),
              -1);
    // The alternate driver is not installed: nothing connects to SQLite.
    EXPECT_EQ(KelDataSourcesUtilities::testConnection(
                  kel::test::sqliteConnection(kel::test::sqliteDatabase(L"c.sqlite")).c_str()),
              -1);
}
