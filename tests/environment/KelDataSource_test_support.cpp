#include "KelDataSource_test_support.h"

#include <kel/Kel.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "support/isolation.h"
#include "support/system.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <sqlite3.h>
#endif

namespace fs = std::filesystem;

namespace kel::test {

namespace {

TestDrivers g_drivers = TestDrivers::Both;

const char* folderOf(TestDrivers drivers) {
    switch (drivers) {
        case TestDrivers::Both:
            return "both";
        case TestDrivers::None:
            return "none";
        case TestDrivers::AlternateOnly:
            return "alternate";
        case TestDrivers::DefaultOnly:
            return "default";
    }
    return "";
}

bool usesDefault(TestDrivers drivers) {
    return drivers == TestDrivers::Both || drivers == TestDrivers::DefaultOnly;
}

bool usesAlternate(TestDrivers drivers) {
    return drivers == TestDrivers::Both || drivers == TestDrivers::AlternateOnly;
}

// The folder of the program's odbcinst.ini, as the build wrote it.
std::string driverFolder() {
    return std::string(KEL_TEST_ODBC_DIR) + "/" + folderOf(g_drivers);
}

#if defined(_WIN32)

// Where the Windows installer (odbccp32) lists the installed drivers.
constexpr wchar_t kOdbcDriversKey[] = L"Software\\ODBC\\ODBCINST.INI\\ODBC Drivers";

void registerDriverNames(const std::vector<std::wstring>& names) {
    ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, kOdbcDriversKey);
    HKEY key = nullptr;
    if (::RegCreateKeyExW(HKEY_LOCAL_MACHINE, kOdbcDriversKey, 0, nullptr, 0, KEY_ALL_ACCESS,
                          nullptr, &key, nullptr) != ERROR_SUCCESS)
        return;
    const wchar_t installed[] = L"Installed";
    for (const std::wstring& name : names) {
        ::RegSetValueExW(key, name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(installed),
                         sizeof installed);
    }
    ::RegCloseKey(key);
}

#endif

class DriversEnvironment : public ::testing::Environment {
public:
    void SetUp() override {
#if defined(_WIN32)
        if (runningUnderWine())
            registerDriverNames(testDriverNames());
#else
        setEnv("ODBCSYSINI", driverFolder().c_str());
        setEnv("ODBCINSTINI", nullptr);
#endif
    }

    void TearDown() override {
#if defined(_WIN32)
        if (runningUnderWine())
            ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, kOdbcDriversKey);
#endif
    }
};

}  // namespace

bool useTestDrivers(TestDrivers drivers) {
    g_drivers = drivers;
    ::testing::AddGlobalTestEnvironment(new DriversEnvironment);
    return true;
}

std::vector<std::wstring> testDriverNames() {
    std::vector<std::wstring> names;
    if (usesDefault(g_drivers))
        names.push_back(kDefaultDriver);
    if (usesAlternate(g_drivers))
        names.push_back(kAlternateDriver);
    return names;
}

std::string testDriversMissing() {
    if (usesDefault(g_drivers) && std::string(KEL_TEST_MDB_ODBC_DRIVER).empty())
        return "the mdbtools ODBC driver (Debian's odbc-mdbtools) was not found by the build";
    if (usesAlternate(g_drivers) && std::string(KEL_TEST_SQLITE_ODBC_DRIVER).empty())
        return "the SQLite ODBC driver (Debian's libsqliteodbc) was not found by the build";
#if defined(_WIN32)
    if (!runningUnderWine())
        return "the tests reach the build machine's unixODBC drivers through Wine's odbc32; "
               "on Windows itself they are not installed";
    const char* folder = std::getenv("ODBCSYSINI");
    if (folder == nullptr || driverFolder() != folder)
        return "ODBCSYSINI must name " + driverFolder() + " before Wine starts (CTest sets it)";
#endif
    return std::string();
}

// ----- files -------------------------------------------------------------

std::wstring testPath(const std::wstring& name) {
    return (fs::path(tempDirW()) / fs::path(name)).generic_wstring();
}

void writeBytes(const std::wstring& path, const std::string& bytes) {
    const fs::path file(path);
    if (file.has_parent_path())
        fs::create_directories(file.parent_path());
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

bool fileExists(const std::wstring& path) {
    std::error_code ignored;
    return fs::exists(fs::path(path), ignored);
}

std::wstring junkFile(const std::wstring& name) {
    const std::wstring path = testPath(name);
    writeBytes(path, "This is a text file, not a database.\n");
    return path;
}

std::wstring sqliteDatabase(const std::wstring& name) {
    const std::wstring path = testPath(name);
#if defined(_WIN32)
    writeBytes(path, std::string());
#else
    sqlite3* db = nullptr;
    if (sqlite3_open(utf8(path).c_str(), &db) == SQLITE_OK) {
        sqlite3_exec(db,
                     "CREATE TABLE profiles(name TEXT, height REAL);"
                     "INSERT INTO profiles VALUES('HEA 200', 190.0);",
                     nullptr, nullptr, nullptr);
    }
    sqlite3_close(db);
#endif
    return path;
}

std::wstring driverPath(const std::wstring& path) {
#if defined(_WIN32)
    if (!runningUnderWine())
        return path;
    using UnixName = char*(CDECL*)(LPCWSTR);
    const auto unixName = reinterpret_cast<UnixName>(reinterpret_cast<void*>(
        ::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name")));
    if (unixName == nullptr)
        return path;
    char* name = unixName(path.c_str());
    if (name == nullptr)
        return path;
    const int length = ::MultiByteToWideChar(CP_UTF8, 0, name, -1, nullptr, 0);
    std::wstring result(length > 0 ? static_cast<size_t>(length - 1) : 0, L'\0');
    if (length > 1)
        ::MultiByteToWideChar(CP_UTF8, 0, name, -1, result.data(), length);
    ::HeapFree(::GetProcessHeap(), 0, name);
    return result;
#else
    return path;
#endif
}

std::wstring dbqConnection(const std::wstring& driver, const std::wstring& file) {
    return L"DRIVER={" + driver + L"};UID=;PWD=;DBQ=" + file;
}

std::wstring sqliteConnection(const std::wstring& database) {
    return std::wstring(L"DRIVER={") + kAlternateDriver + L"};Database=" + driverPath(database);
}

std::string dataSource(const std::wstring& name, const std::wstring& platform,
                       const std::wstring& value) {
    return "<DataSource Name=\"" + utf8(name) + "\" Platform=\"" + utf8(platform) + "\" Value=\"" +
           utf8(value) + "\"/>";
}

std::string configuration(const std::string& body, const std::string& product) {
    return "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<" + product + ">\n" + body + "</" +
           product + ">\n";
}

// ----- the configuration store ---------------------------------------------

void setDataFolder(const std::wstring& folder) {
    KelRegistry::setRegValueCurrentUser(KelRegistry::getRegPathEnvironment(), L"DataPath",
                                        KelString(folder.c_str()));
}

void setFamilyConnection(const std::wstring& name, const std::wstring& connection) {
    KelRegistry::setRegValueCurrentUser(L"Software\\Norvane\\Pelion\\DatabaseConnections",
                                        name.c_str(), KelString(connection.c_str()));
}

void removeStoreValues() {
#if defined(_WIN32)
    ::RegDeleteTreeW(HKEY_CURRENT_USER, L"Software\\Norvane");
#endif
}

// ----- the debug output ------------------------------------------------------

DebugOutputCapture::DebugOutputCapture() {
    kelSetDebugOutputHandler(&DebugOutputCapture::collect, this);
}

DebugOutputCapture::~DebugOutputCapture() {
    kelSetDebugOutputHandler(nullptr, nullptr);
}

void DebugOutputCapture::collect(const wchar_t* text, void* context) {
    static_cast<DebugOutputCapture*>(context)->m_lines.push_back(text);
}

}  // namespace kel::test
