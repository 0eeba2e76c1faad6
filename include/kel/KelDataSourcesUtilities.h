/// @file KelDataSourcesUtilities.h
/// Connection strings of the installation's data sources, the ODBC driver they
/// use, and connection tests.
///
/// @code
///   // <data folder>\Configuration\DatabaseConfiguration.xml:
///   KelDataSourcesUtilities sources(L"");
///   KelString connection;
///   if (sources.getConnectionString(L"OrbisProfiles2015.1", connection, L"x64") &&
///       KelDataSourcesUtilities::testConnection(connection) == 1) { ... }
///
///   KelString forFile;
///   KelDataSourcesUtilities::getConnectionStringForFile(L"C:\\Data\\parts.mdb", forFile);
///   // "DRIVER={Microsoft Access Driver (*.mdb, *.accdb)};UID=;PWD=;DBQ=C:\Data\parts.mdb"
/// @endcode
///
/// The data sources come from two places. First the two family-wide entries
/// "OrbisProfiles2015.1" and "VyrMapping2015.1", platform "x64", whose
/// connection strings are stored under "Software\Norvane\Pelion\DatabaseConnections"
/// in the configuration store (KelRegistry::getDatabaseConnectionsString).
/// Then the installation's configuration file, read as UTF-8 text:
///
/// @code{.xml}
///   <?xml version="1.0" encoding="utf-8"?>
///   <Gantrix>
///     <DataSource Name="Projects" Platform="x64" Value="DRIVER={...};UID=;PWD=;DBQ=C:\p.mdb"/>
///   </Gantrix>
/// @endcode
///
/// Only the section between the first "<" + product name + ">" and the next
/// "</" + product name + ">" counts (the product name of KelProductDefines).
/// Each "<DataSource" up to the next "/>" is one data source; its "Name",
/// "Value" (the connection string) and "Platform" are the texts between the
/// two double quotes that follow each attribute name. The file is scanned as
/// plain text, not parsed as XML: there is no entity decoding, and an
/// attribute name that also occurs earlier in the element (inside another
/// attribute's name or value) is found there. A missing attribute or quote
/// gives an empty value. Because the family-wide entries come first, they
/// win over a file entry with the same name and platform.
///
/// Two ODBC drivers are supported: the default one, "Microsoft Access Driver
/// (*.mdb, *.accdb)", and the alternate one, "Pelion ODBC Driver". Every
/// connection string read is rewritten to the driver that is installed (see
/// replaceAlternateDriver).
///
/// The list of data sources, the list of installed drivers, the ODBC
/// environment and the OE-mode flag are process-wide and unlocked: the first
/// reading is meant to happen on one thread before others use the class.
/// Results are ints: 1 yes, 0 no or absent, -1 present but unusable; nothing
/// throws. The only text the class reports goes to the debug output (see
/// getConnectionString).

#ifndef KEL_KELDATASOURCESUTILITIES_H
#define KEL_KELDATASOURCESUTILITIES_H

#include <kel/KelArray.h>
#include <kel/KelDataSource.h>
#include <kel/KelExport.h>
#include <kel/KelString.h>

namespace kel::detail {
struct DataSourcesAccess;
}

/// @copydoc KelDataSourcesUtilities.h
class KEL_API KelDataSourcesUtilities {
public:
    /// Sets the path of the configuration file for the whole process. A
    /// non-empty `configurationFile` is the file's full path; an empty one
    /// means the data folder (KelRegistry::getPathData(false)) followed by
    /// "\Configuration\DatabaseConfiguration.xml". When the path differs,
    /// without regard to case, from the one set before, the data sources
    /// read so far are dropped and the next lookup reads them again; a path
    /// that differs only in case keeps them (even where file names are
    /// case-sensitive).
    KelDataSourcesUtilities(KelString configurationFile = KelString());
    /// Leaves the process-wide state (data sources, drivers, ODBC
    /// environment, configuration file path) as it is.
    virtual ~KelDataSourcesUtilities();

    /// The connection string of the first data source whose name and
    /// platform equal `name` and `platform` without regard to case: 1 with
    /// `connectionString` set to it. When none matches: 0, `connectionString`
    /// emptied, and "\n Connection string not found for datasource " followed
    /// by `name` written to the debug output. Reads the data sources first
    /// when none have been read (none are while OE mode is on). The two
    /// family-wide entries always exist once the data sources have been
    /// read, with an empty connection string when the store has none.
    int getConnectionString(KelString name, KelString& connectionString, KelString platform);

    /// Splits `connection` at its first "DBQ=" (case-sensitive): `head` gets
    /// everything up to and including "DBQ=", `file` the rest (possibly
    /// empty); returns 1. Without "DBQ=": returns 0 with both emptied.
    /// "DRIVER={x};DBQ=C:\a.mdb" gives "DRIVER={x};DBQ=" and "C:\a.mdb".
    static int splitConnectionString(KelString connection, KelString& head, KelString& file);

    /// Fills the process's list of installed ODBC drivers from the system
    /// when the list is empty (a list that has been emptied is read again).
    /// Names are stripped of tab, line feed and space at both ends. Returns
    /// 1 when the list holds at least one driver afterwards, 0 when the
    /// system reports none.
    static int readInstalledOdbcDrivers();

    /// 0 when no ODBC driver is installed (the list is empty); 1 when one
    /// installed driver is named exactly "Microsoft Access Driver (*.mdb,
    /// *.accdb)"; -1 otherwise.
    static int defaultODBCDriverIsInstalled();

    /// 0 when defaultODBCDriverIsInstalled gives 0, or when the connection
    /// string of any data source read so far contains "Pelion ODBC Driver";
    /// otherwise the value of defaultODBCDriverIsInstalled (1 or -1). Looks
    /// only at the data sources already read and never reads them.
    static int defaultDriverIsUsedInAllDataSources();

    /// "Microsoft Access Driver (*.mdb, *.accdb)", or "Pelion ODBC Driver"
    /// when defaultODBCDriverIsInstalled gives -1. So with no drivers at all
    /// the default driver's name comes back. Always returns 1.
    static int getOdbcDriverName(KelString& driver);

    /// `connection` = "DRIVER={<getOdbcDriverName>};UID=;PWD=;DBQ=<file>".
    /// Always returns 1.
    static int getConnectionStringForFile(KelString file, KelString& connection);

    /// Rewrites `connection` to the driver that is installed and returns the
    /// number of replacements. An empty string: 0, nothing else happens.
    /// Otherwise the connection is tested first (testConnection); when that
    /// gives -1 (it failed although its database file exists), the first
    /// installed driver whose name occurs in the string is removed from the
    /// process's list of installed drivers, so that for the rest of the
    /// process it counts as not installed (until the list runs empty and is
    /// read again). Then, when defaultODBCDriverIsInstalled gives -1, every
    /// "Microsoft Access Driver (*.mdb, *.accdb)" is replaced by "Pelion ODBC
    /// Driver"; otherwise every "Pelion ODBC Driver" by "Microsoft Access
    /// Driver (*.mdb, *.accdb)".
    static int replaceAlternateDriver(KelString& connection);

    /// Opens and closes an ODBC connection with `connection`, without
    /// prompting. 1: connected. 0: the connection failed and the database
    /// file named after "DBQ=" does not exist, or the ODBC environment could
    /// not be set up. -1: the connection failed although the file exists
    /// (kelFileExists, so a pattern that matches a file counts), or the
    /// string has no "DBQ=", or no connection handle could be had. The ODBC
    /// environment (ODBC 3) is set up by the first call and kept for the
    /// process; the connection handle is freed every time.
    static int testConnection(KelString connection);

    /// The process-wide OE-mode flag, off at start. While it is on no data
    /// source is ever read, so getConnectionString finds nothing; data
    /// sources read before stay.
    static void setOEMode(bool oeMode);
    /// @copydoc setOEMode
    static bool isOEMode();

private:
    friend struct kel::detail::DataSourcesAccess;

    /// Appends the family-wide entries and the configuration file's data
    /// sources to m_DataSources. 0 at once in OE mode, else 1.
    static int readConnectionStrings();

    /// Allocates the shared ODBC environment (ODBC 3) when none exists:
    /// false when one existed or setting it up failed.
    static bool AllocEnv();
    /// Frees the shared environment: false when none existed.
    static bool FreeHandle();
    /// Whether the shared environment exists, and its handle (an SQLHENV).
    static bool Valid();
    static void* Handle();

    /// The data sources read so far; empty until the first lookup.
    static KelArray<KelDataSource, KelArrayObjectCopyReallocator<KelDataSource>> m_DataSources;
    /// The installed ODBC drivers' names; read from the system whenever it
    /// is empty.
    static KelArray<KelString> m_InstalledOdbcDrivers;
    /// The ODBC environment handle (an SQLHENV), null until the first
    /// connection test.
    static void* m_hEnvironment;
    /// The configuration file's path; created by the first constructor.
    static KelString* m_pDatabaseConfigurationFilePath;
    static bool m_bIsOEMode;
};

#endif  // KEL_KELDATASOURCESUTILITIES_H
