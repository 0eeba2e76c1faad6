// Helpers for the tests of the data sources: real ODBC drivers under the
// library's two driver names, configuration files, database files and the
// values the data sources read from the configuration store.
//
// Each test program works with one set of drivers for its whole life:
// unixODBC reads its driver list (the odbcinst.ini in the folder named by
// ODBCSYSINI) once per process. The build writes one folder per set, with
// Debian's mdbtools driver as "Microsoft Access Driver (*.mdb, *.accdb)"
// and its SQLite driver as "Pelion ODBC Driver". A program names its set
// once, at namespace scope:
//
//   const bool kDrivers = kel::test::useTestDrivers(kel::test::TestDrivers::Both);
//
//   TEST(Connections, OpenSQLiteDatabase) {
//       KEL_REQUIRE_TEST_DRIVERS();
//       EXPECT_EQ(KelDataSourcesUtilities::testConnection(
//                     kel::test::sqliteConnection(kel::test::sqliteDatabase(L"a.db")).c_str()), 1);
//   }
//
// On POSIX the program points ODBCSYSINI at its set before its first ODBC
// call. A Windows build reaches the same drivers under Wine, whose odbc32
// hands connections to the build machine's unixODBC: there ODBCSYSINI must
// come from outside (CTest sets it), and the program registers its set's
// names where the Windows installer lists drivers. On Windows itself the
// tests that need the drivers skip.

#ifndef KEL_TESTS_ENVIRONMENT_KELDATASOURCE_TEST_SUPPORT_H
#define KEL_TESTS_ENVIRONMENT_KELDATASOURCE_TEST_SUPPORT_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/system.h"

namespace kel::test {

constexpr wchar_t kDefaultDriver[] = L"Microsoft Access Driver (*.mdb, *.accdb)";
constexpr wchar_t kAlternateDriver[] = L"Pelion ODBC Driver";
constexpr wchar_t kNotFoundMessage[] = L"\n Connection string not found for datasource ";

enum class TestDrivers {
    Both,           // the default and the alternate driver, in this order
    None,           // no driver at all
    AlternateOnly,  // "Pelion ODBC Driver" alone
    DefaultOnly,    // "Microsoft Access Driver (*.mdb, *.accdb)" alone
};

// Arranges `drivers` for the whole test program (before its first test).
// Returns true, so that it can initialise a namespace-scope constant.
bool useTestDrivers(TestDrivers drivers);

// Empty when the program's drivers are in place; otherwise why they are not.
std::string testDriversMissing();

// The names of the program's drivers, in the order the system lists them.
std::vector<std::wstring> testDriverNames();

// ----- files -------------------------------------------------------------

// `name` inside the current test's own folder, with "/" between folders on
// every system. Deliberate: the SQLite driver takes a connection string
// without "Database=" as the name of its file, and creates that file in
// the current folder unless the name holds a "/" (whose folder does not
// exist); with "/" its DBQ strings fail on Windows as they do elsewhere.
std::wstring testPath(const std::wstring& name);
// Writes `bytes` to `path`, creating the folders it needs.
void writeBytes(const std::wstring& path, const std::string& bytes);
bool fileExists(const std::wstring& path);
// A file of the test's folder that exists but is no database.
std::wstring junkFile(const std::wstring& name);
// A SQLite database in the test's folder: with a table on POSIX; an empty
// file on Windows, which SQLite opens as an empty database.
std::wstring sqliteDatabase(const std::wstring& name);
// `path` as the ODBC driver sees it: the build machine's own name of the
// file under Wine, `path` itself elsewhere.
std::wstring driverPath(const std::wstring& path);

// Connection strings: "DRIVER={<driver>};UID=;PWD=;DBQ=<file>", and the
// SQLite driver's own form "DRIVER={Pelion ODBC Driver};Database=<file>"
// (the SQLite driver takes its file from "Database=" only).
std::wstring dbqConnection(const std::wstring& driver, const std::wstring& file);
std::wstring sqliteConnection(const std::wstring& database);

// One "<DataSource .../>" element with the attributes in the order Name,
// Platform, Value.
std::string dataSource(const std::wstring& name, const std::wstring& platform,
                       const std::wstring& value);
// A configuration file's text: the XML declaration, then `body` inside the
// product's tags, lines ended by "\n".
std::string configuration(const std::string& body, const std::string& product = "Gantrix");

// ----- the configuration store ---------------------------------------------

// DataPath of the product's environment key in the user hive.
void setDataFolder(const std::wstring& folder);
// A family-wide connection string (Software\Norvane\Pelion\DatabaseConnections).
void setFamilyConnection(const std::wstring& name, const std::wstring& connection);
// Removes what the tests write to the store where it is the system's
// registry (elsewhere every test has hive files of its own).
void removeStoreValues();

// ----- the debug output ------------------------------------------------------

// Collects what the library writes to the debug output while it lives.
class DebugOutputCapture {
public:
    DebugOutputCapture();
    ~DebugOutputCapture();
    DebugOutputCapture(const DebugOutputCapture&) = delete;
    DebugOutputCapture& operator=(const DebugOutputCapture&) = delete;

    const std::vector<std::wstring>& lines() const { return m_lines; }

private:
    static void collect(const wchar_t* text, void* context);
    std::vector<std::wstring> m_lines;
};

}  // namespace kel::test

// Skips the current test, with the reason printed, when the program's ODBC
// drivers are not in place.
#define KEL_REQUIRE_TEST_DRIVERS()                                               \
    do {                                                                         \
        const std::string missing_ = ::kel::test::testDriversMissing();          \
        if (!missing_.empty())                                                   \
            GTEST_SKIP() << "the test's ODBC drivers are missing: " << missing_; \
    } while (false)

#endif  // KEL_TESTS_ENVIRONMENT_KELDATASOURCE_TEST_SUPPORT_H
