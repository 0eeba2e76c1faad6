// Data sources: connection strings by name and platform from the
// family-wide store key and the installation's configuration file, the
// ODBC driver they name, and connection tests.

#include <kel/KelDataSourcesUtilities.h>

#include <kel/KelFileAccess.h>
#include <kel/KelProductDefines.h>
#include <kel/KelRegistry.h>

#include <string>

#include "environment/data_sources.h"
#include "environment/odbc.h"
#include "platform/debug_output.h"

using kel::detail::kAlternateOdbcDriver;
using kel::detail::kDefaultOdbcDriver;

namespace {

// The installer's driver list is read into a buffer of this many
// characters, and each name is kept to at most as many.
constexpr unsigned short kDriverListCharacters = 2000;

// What surrounds a driver name in the installer's list.
constexpr wchar_t kDriverNameBlanks[] = L"\t\n ";

// The marker before the database file in a connection string.
constexpr wchar_t kFileMarker[] = L"DBQ=";

constexpr wchar_t kConnectionTemplate[] = L"DRIVER={%s};UID=;PWD=;DBQ=%s";

constexpr wchar_t kNotFound[] = L"\n Connection string not found for datasource ";

KelString configurationPath(const KelString& configurationFile) {
    if (!configurationFile.isEmpty())
        return configurationFile;
    return KelRegistry::getPathData(false) + KelString(kel::detail::kConfigurationFileSuffix);
}

// The configuration file's text, read as UTF-8 through KelFileAccess; empty
// when the file does not open or is empty.
KelString configurationText(const KelString& path) {
    KelString text;
    KelFileAccess file(path, L"r", KelFileAccess::encodeUTF8);
    if (!file.isOpen())
        return text;
    const long length = file.getFileLength();
    if (length > 0)
        file.readFile(text, static_cast<size_t>(length));
    file.close();
    return text;
}

}  // namespace

KelArray<KelDataSource, KelArrayObjectCopyReallocator<KelDataSource>>
    KelDataSourcesUtilities::m_DataSources;
KelArray<KelString> KelDataSourcesUtilities::m_InstalledOdbcDrivers;
void* KelDataSourcesUtilities::m_hEnvironment = nullptr;
KelString* KelDataSourcesUtilities::m_pDatabaseConfigurationFilePath = nullptr;
bool KelDataSourcesUtilities::m_bIsOEMode = false;

KelDataSourcesUtilities::KelDataSourcesUtilities(KelString configurationFile) {
    const KelString path = configurationPath(configurationFile);
    // Created once and kept for the life of the process, as the lists are.
    if (m_pDatabaseConfigurationFilePath == nullptr)
        m_pDatabaseConfigurationFilePath = new KelString();
    // Compared without case even where file names have it: deliberate, the
    // cache follows the path as the installation's hosts spell it.
    if (KelString::compareNoCase(*m_pDatabaseConfigurationFilePath, path) != 0)
        m_DataSources = KelArray<KelDataSource, KelArrayObjectCopyReallocator<KelDataSource>>();
    *m_pDatabaseConfigurationFilePath = path;
}

KelDataSourcesUtilities::~KelDataSourcesUtilities() = default;

int KelDataSourcesUtilities::getConnectionString(KelString name, KelString& connectionString,
                                                 KelString platform) {
    if (m_DataSources.isEmpty())
        readConnectionStrings();
    const KelDataSource wanted(name, KelString(), platform);
    for (long i = 0; i < m_DataSources.length(); ++i) {
        if (m_DataSources[i] == wanted) {
            connectionString = m_DataSources[i].connectionString;
            return 1;
        }
    }
    connectionString.empty();
    kel::detail::debugOutput((KelString(kNotFound) + name).getStringW());
    return 0;
}

int KelDataSourcesUtilities::readConnectionStrings() {
    if (m_bIsOEMode)
        return 0;
    // The family-wide entries first: for the same name and platform they
    // win over the file's.
    for (const wchar_t* familyName :
         {kel::detail::kFamilyProfilesSource, kel::detail::kFamilyMappingSource}) {
        KelString connection = KelRegistry::getDatabaseConnectionsString(familyName);
        replaceAlternateDriver(connection);
        m_DataSources.append(KelDataSource(familyName, connection, kel::detail::kFamilyPlatform));
    }
    const KelString path = m_pDatabaseConfigurationFilePath != nullptr
                               ? *m_pDatabaseConfigurationFilePath
                               : KelString();
    const KelString text = configurationText(path);
    for (const kel::detail::ScannedDataSource& scanned :
         kel::detail::scanDataSources(text, KelProductDefines::getGXProductName())) {
        KelString connection = scanned.connectionString;
        replaceAlternateDriver(connection);
        m_DataSources.append(KelDataSource(scanned.name, connection, scanned.platform));
    }
    return 1;
}

int KelDataSourcesUtilities::splitConnectionString(KelString connection, KelString& head,
                                                   KelString& file) {
    const KelString marker(kFileMarker);
    const int at = connection.find(marker);
    if (at < 0) {
        head.empty();
        file.empty();
        return 0;
    }
    head = connection.left(at + marker.length());
    file = connection.mid(at + marker.length());
    return 1;
}

int KelDataSourcesUtilities::readInstalledOdbcDrivers() {
    if (m_InstalledOdbcDrivers.isEmpty()) {
        const KelString blanks(kDriverNameBlanks);
        for (const std::wstring& name :
             kel::detail::odbcInstalledDriverNames(kDriverListCharacters)) {
            KelString driver(name.substr(0, kDriverListCharacters).c_str());
            driver.TrimLeft(blanks);
            driver.TrimRight(blanks);
            m_InstalledOdbcDrivers.append(driver);
        }
    }
    return m_InstalledOdbcDrivers.isEmpty() ? 0 : 1;
}

int KelDataSourcesUtilities::defaultODBCDriverIsInstalled() {
    readInstalledOdbcDrivers();
    if (m_InstalledOdbcDrivers.isEmpty())
        return 0;
    const KelString defaultDriver(kDefaultOdbcDriver);
    for (long i = 0; i < m_InstalledOdbcDrivers.length(); ++i) {
        if (m_InstalledOdbcDrivers[i] == defaultDriver)
            return 1;
    }
    return -1;
}

int KelDataSourcesUtilities::defaultDriverIsUsedInAllDataSources() {
    const int installed = defaultODBCDriverIsInstalled();
    if (installed == 0)
        return 0;
    const KelString alternateDriver(kAlternateOdbcDriver);
    for (long i = 0; i < m_DataSources.length(); ++i) {
        if (m_DataSources[i].connectionString.find(alternateDriver) >= 0)
            return 0;
    }
    return installed;
}

int KelDataSourcesUtilities::getOdbcDriverName(KelString& driver) {
    driver = defaultODBCDriverIsInstalled() == -1 ? kAlternateOdbcDriver : kDefaultOdbcDriver;
    return 1;
}

int KelDataSourcesUtilities::getConnectionStringForFile(KelString file, KelString& connection) {
    KelString driver;
    getOdbcDriverName(driver);
    connection.format(kConnectionTemplate, driver.getStringW(), file.getStringW());
    return 1;
}

int KelDataSourcesUtilities::replaceAlternateDriver(KelString& connection) {
    if (connection.isEmpty())
        return 0;
    if (testConnection(connection) == -1) {
        // The driver named in the string cannot open a file that exists:
        // it counts as not installed for the rest of the process.
        readInstalledOdbcDrivers();
        for (long i = 0; i < m_InstalledOdbcDrivers.length(); ++i) {
            if (connection.find(m_InstalledOdbcDrivers[i]) >= 0) {
                m_InstalledOdbcDrivers.removeAt(i);
                break;
            }
        }
    }
    const KelString defaultDriver(kDefaultOdbcDriver);
    const KelString alternateDriver(kAlternateOdbcDriver);
    if (defaultODBCDriverIsInstalled() == -1)
        return connection.replace(defaultDriver, alternateDriver);
    return connection.replace(alternateDriver, defaultDriver);
}

int KelDataSourcesUtilities::testConnection(KelString connection) {
    if (!Valid() && !AllocEnv())
        return 0;
    switch (kel::detail::odbcConnect(Handle(), connection.getStringW())) {
        case kel::detail::OdbcConnectResult::Connected:
            return 1;
        case kel::detail::OdbcConnectResult::NoConnectionHandle:
            return -1;
        case kel::detail::OdbcConnectResult::Failed:
            break;
    }
    KelString head;
    KelString file;
    if (!splitConnectionString(connection, head, file))
        return -1;
    return kelFileExists(file) ? -1 : 0;
}

void KelDataSourcesUtilities::setOEMode(bool oeMode) {
    m_bIsOEMode = oeMode;
}

bool KelDataSourcesUtilities::isOEMode() {
    return m_bIsOEMode;
}

bool KelDataSourcesUtilities::AllocEnv() {
    if (m_hEnvironment != nullptr)
        return false;
    m_hEnvironment = kel::detail::odbcCreateEnvironment();
    return m_hEnvironment != nullptr;
}

bool KelDataSourcesUtilities::FreeHandle() {
    if (m_hEnvironment == nullptr)
        return false;
    kel::detail::odbcFreeEnvironment(m_hEnvironment);
    m_hEnvironment = nullptr;
    return true;
}

bool KelDataSourcesUtilities::Valid() {
    return m_hEnvironment != nullptr;
}

void* KelDataSourcesUtilities::Handle() {
    return m_hEnvironment;
}

// ----- the library's own view of the process-wide state ---------------------

namespace kel::detail {

const KelArray<KelDataSource, KelArrayObjectCopyReallocator<KelDataSource>>&
DataSourcesAccess::dataSources() {
    if (KelDataSourcesUtilities::m_DataSources.isEmpty())
        KelDataSourcesUtilities::readConnectionStrings();
    return KelDataSourcesUtilities::m_DataSources;
}

const KelArray<KelString>& DataSourcesAccess::installedDrivers() {
    KelDataSourcesUtilities::readInstalledOdbcDrivers();
    return KelDataSourcesUtilities::m_InstalledOdbcDrivers;
}

KelString DataSourcesAccess::configurationFilePath() {
    const KelString* path = KelDataSourcesUtilities::m_pDatabaseConfigurationFilePath;
    return path != nullptr ? *path : KelString();
}

}  // namespace kel::detail
