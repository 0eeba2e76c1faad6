// Demonstration: data sources read from a configuration file the section
// writes, the ODBC drivers the system has, and a connection test against a
// SQLite database, all in a temporary folder that is removed afterwards.

#include <kel/Kel.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "command.h"
#include "environment/data_sources.h"
#include "platform/utf.h"

namespace kel::tool {

namespace {

namespace fs = std::filesystem;

// A temporary folder for the section's files, which is also the
// configuration store's folder where the store is made of files.
class DemoFolder {
public:
    DemoFolder() : m_folder("datasources") {}

    std::wstring path(const char* name) const {
        return KelString((m_folder.path() / name).string().c_str()).getStringW();
    }

private:
    DemoStoreFolder m_folder;
};

std::wstring w(const KelString& text) {
    return text.getStringW();
}

std::wstring connectionFor(const std::wstring& driver, const std::wstring& file) {
    return L"DRIVER={" + driver + L"};UID=;PWD=;DBQ=" + file;
}

void writeConfiguration(const DemoFolder& folder, const std::wstring& file) {
    const std::string projects =
        kel::detail::wideToUtf8(connectionFor(L"Pelion ODBC Driver", folder.path("projects.mdb")));
    const std::string text =
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
        "<DatabaseConfiguration>\n"
        "  <Gantrix>\n"
        "    <DataSource Name=\"Projects\" Platform=\"x64\" Value=\"" +
        projects +
        "\"/>\n"
        "    <DataSource Name=\"Projects\" Platform=\"x86\" Value=\"DSN=Projects32\"/>\n"
        "    <DataSource Name=\"OrbisProfiles2015.1\" Platform=\"x64\" "
        "Value=\"DSN=FromTheFile\"/>\n"
        "  </Gantrix>\n"
        "  <Ferrix>\n"
        "    <DataSource Name=\"Bridges\" Platform=\"x64\" Value=\"DSN=Bridges\"/>\n"
        "  </Ferrix>\n"
        "</DatabaseConfiguration>\n";
    std::ofstream(fs::path(file), std::ios::binary) << text;
}

void showLookup(KelDataSourcesUtilities& sources, const wchar_t* name, const wchar_t* platform) {
    KelString connection;
    const int found = sources.getConnectionString(name, connection, platform);
    line(L"getConnectionString(\"" + std::wstring(name) + L"\", \"" + platform + L"\") -> " +
         std::to_wstring(found) + L", \"" + w(connection) + L"\"");
}

void showLookups(const DemoFolder& folder) {
    const std::wstring file = folder.path("DatabaseConfiguration.xml");
    writeConfiguration(folder, file);
    line(L"Configuration file " + file + L":");
    line("  <Gantrix>: Projects (x64, x86), OrbisProfiles2015.1; <Ferrix>: Bridges");
#if defined(_WIN32)
    line(
        "Family-wide entries: whatever HKCU/HKLM\\Software\\Norvane\\Pelion\\DatabaseConnections "
        "holds (the demonstration leaves the registry alone)");
#else
    KelRegistry::setRegValueCurrentUser(L"Software\\Norvane\\Pelion\\DatabaseConnections",
                                        L"OrbisProfiles2015.1", KelString(L"DSN=FromTheStore"));
    line("Family-wide entry OrbisProfiles2015.1 in the store: \"DSN=FromTheStore\"");
#endif
    KelDataSourcesUtilities sources(file.c_str());
    showLookup(sources, L"projects", L"X64");
    showLookup(sources, L"Projects", L"x86");
    showLookup(sources, L"OrbisProfiles2015.1", L"x64");
    showLookup(sources, L"VyrMapping2015.1", L"x64");
    showLookup(sources, L"Bridges", L"x64");
    line("  (the family-wide entries come first and win; Bridges is another product's)");

    KelString head;
    KelString database;
    KelDataSourcesUtilities::splitConnectionString(L"DRIVER={x};DBQ=C:\\a.mdb", head, database);
    line(L"splitConnectionString(\"DRIVER={x};DBQ=C:\\a.mdb\") -> \"" + w(head) + L"\" + \"" +
         w(database) + L"\"");
}

// The name of an installed SQLite driver ("SQLite3" preferred), or empty.
std::wstring sqliteDriver() {
    const auto& drivers = kel::detail::DataSourcesAccess::installedDrivers();
    std::wstring found;
    for (long i = 0; i < drivers.length(); ++i) {
        const std::wstring name = w(drivers[i]);
        if (name.find(L"SQLite3") != std::wstring::npos)
            return name;
        if (found.empty() && name.find(L"SQLite") != std::wstring::npos)
            found = name;
    }
    return found;
}

void showTest(const std::wstring& connection) {
    const int result = KelDataSourcesUtilities::testConnection(connection.c_str());
    const wchar_t* meaning = result == 1   ? L"connected"
                             : result == 0 ? L"failed, and the file after DBQ= does not exist"
                                           : L"failed, although the file after DBQ= exists";
    line(L"testConnection(\"" + connection + L"\")");
    line(L"  -> " + std::to_wstring(result) + L" (" + meaning + L")");
}

void showDrivers(const DemoFolder& folder) {
    line("");
    const auto& drivers = kel::detail::DataSourcesAccess::installedDrivers();
    std::wstring names;
    for (long i = 0; i < drivers.length(); ++i)
        names += (i == 0 ? L"" : L", ") + w(drivers[i]);
    line(L"Installed ODBC drivers: " + (names.empty() ? std::wstring(L"none") : names));
    line("defaultODBCDriverIsInstalled()    -> " +
         std::to_string(KelDataSourcesUtilities::defaultODBCDriverIsInstalled()) +
         " (1 yes, -1 other drivers only, 0 none)");
    KelString driver;
    KelDataSourcesUtilities::getOdbcDriverName(driver);
    line(L"getOdbcDriverName()               -> \"" + w(driver) + L"\"");
    KelString forFile;
    KelDataSourcesUtilities::getConnectionStringForFile(L"C:\\Data\\parts.mdb", forFile);
    line(L"getConnectionStringForFile(\"C:\\Data\\parts.mdb\")");
    line(L"  -> \"" + w(forFile) + L"\"");

    if (drivers.isEmpty()) {
        line("No ODBC driver is installed: the connection test is left out.");
        return;
    }
    const std::wstring sqlite = sqliteDriver();
    if (sqlite.empty()) {
        line("No SQLite ODBC driver is installed: the connection test is left out.");
        return;
    }
    const std::wstring database = folder.path("catalogue.sqlite");
    const std::wstring connection = L"DRIVER={" + sqlite + L"};Database=" + database;
    showTest(connection);
    line(L"  (the driver created the SQLite database: " +
         std::wstring(fs::exists(fs::path(database)) ? L"yes" : L"no") + L")");
    showTest(connectionFor(sqlite, folder.path("missing.mdb")));
    showTest(connectionFor(sqlite, database));
}

void showDataSources() {
    DemoFolder folder;
    showLookups(folder);
    showDrivers(folder);
}

const DemoSection dataSources(48, "Data sources: configuration file, ODBC drivers, connections",
                              showDataSources);

}  // namespace

}  // namespace kel::tool
