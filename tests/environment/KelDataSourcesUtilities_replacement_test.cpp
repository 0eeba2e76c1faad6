// A driver that cannot open a database file that exists loses its place in
// the installed-driver list for the rest of the process. The whole story
// runs in this program of its own, with both drivers installed.

#include <gtest/gtest.h>

#include <kel/Kel.h>

#include <string>

#include "KelDataSource_test_support.h"

using kel::test::dbqConnection;
using kel::test::kAlternateDriver;
using kel::test::kDefaultDriver;

namespace {

const bool kDrivers = kel::test::useTestDrivers(kel::test::TestDrivers::Both);

std::wstring text(const KelString& s) {
    return s.getStringW();
}

std::wstring lookup(KelDataSourcesUtilities& sources, const wchar_t* name) {
    KelString connection;
    EXPECT_EQ(sources.getConnectionString(name, connection, L"x64"), 1) << name;
    return text(connection);
}

std::wstring driverName() {
    KelString driver;
    EXPECT_EQ(KelDataSourcesUtilities::getOdbcDriverName(driver), 1);
    return text(driver);
}

}  // namespace

TEST(Replacement, DriversFailingOnExistingFilesGiveWayUntilTheListRunsEmpty) {
    KEL_REQUIRE_TEST_DRIVERS();
    kel::test::removeStoreValues();
    const std::wstring junk = kel::test::junkFile(L"profiles.mdb");
    const std::wstring missing = kel::test::testPath(L"missing.mdb");
    const std::wstring path = kel::test::testPath(L"DatabaseConfiguration.xml");
    kel::test::writeBytes(
        path,
        kel::test::configuration(
            kel::test::dataSource(L"Profiles", L"x64", dbqConnection(kDefaultDriver, junk)) + "\n" +
            kel::test::dataSource(L"Projects", L"x64", dbqConnection(kDefaultDriver, missing)) +
            "\n"));

    {
        SCOPED_TRACE("before anything is read the default driver is installed");
        EXPECT_EQ(KelDataSourcesUtilities::defaultODBCDriverIsInstalled(), 1);
        EXPECT_EQ(driverName(), kDefaultDriver);
        KelDataSourcesUtilities sources(path.c_str());
        EXPECT_EQ(KelDataSourcesUtilities::defaultDriverIsUsedInAllDataSources(), 1);
    }
    {
        SCOPED_TRACE("the default driver fails on an existing file while the file is read");
        KelDataSourcesUtilities sources(path.c_str());
        EXPECT_EQ(lookup(sources, L"Profiles"), dbqConnection(kAlternateDriver, junk));
        // Read after the driver lost its place: rewritten although its own
        // test only found the file missing.
        EXPECT_EQ(lookup(sources, L"Projects"), dbqConnection(kAlternateDriver, missing));
        EXPECT_EQ(KelDataSourcesUtilities::defaultDriverIsUsedInAllDataSources(), 0);
    }
    {
        SCOPED_TRACE("for the rest of the process the alternate driver is used");
        EXPECT_EQ(KelDataSourcesUtilities::defaultODBCDriverIsInstalled(), -1);
        EXPECT_EQ(KelDataSourcesUtilities::readInstalledOdbcDrivers(), 1);
        EXPECT_EQ(driverName(), kAlternateDriver);
        KelString connection;
        EXPECT_EQ(KelDataSourcesUtilities::getConnectionStringForFile(L"C:\\db.mdb", connection),
                  1);
        EXPECT_EQ(text(connection), L"DRIVER={Pelion ODBC Driver};UID=;PWD=;DBQ=C:\\db.mdb");
        KelString named(dbqConnection(kDefaultDriver, missing).c_str());
        EXPECT_EQ(KelDataSourcesUtilities::replaceAlternateDriver(named), 1);
        EXPECT_EQ(text(named), dbqConnection(kAlternateDriver, missing));
    }
    {
        SCOPED_TRACE("the alternate driver fails too: the empty list is read again");
        // The SQLite driver reads no DBQ: it fails although the file exists.
        KelString connection(dbqConnection(kAlternateDriver, junk).c_str());
        EXPECT_EQ(KelDataSourcesUtilities::replaceAlternateDriver(connection), 1);
        EXPECT_EQ(text(connection), dbqConnection(kDefaultDriver, junk));
        EXPECT_EQ(KelDataSourcesUtilities::defaultODBCDriverIsInstalled(), 1);
        EXPECT_EQ(driverName(), kDefaultDriver);
    }
    kel::test::removeStoreValues();
}
