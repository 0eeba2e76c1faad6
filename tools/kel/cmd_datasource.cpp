// "kel datasource": the installation's data sources and ODBC drivers as the
// library sees them, for administrators and support staff.
//
//   kel datasource list [FILE]              every data source: platform, name, connection string
//   kel datasource get NAME [PLATFORM]      one connection string (platform x64 by default)
//   kel datasource drivers                  the installed ODBC drivers, and the one the library
//   uses kel datasource test CONNECTION-STRING   opens and closes a connection
//
// Without FILE the installation's configuration file is read: the data
// folder (DataPath) followed by \Configuration\DatabaseConfiguration.xml.
// Connection strings are shown after the library has rewritten them to the
// installed driver, which tests each of them first.

#include <kel/Kel.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "command.h"
#include "environment/data_sources.h"

namespace kel::tool {

namespace {

constexpr char kUsage[] =
    "usage: kel datasource list [FILE]\n"
    "       kel datasource get NAME [PLATFORM]\n"
    "       kel datasource drivers\n"
    "       kel datasource test CONNECTION-STRING\n"
    "\n"
    "  list     every data source the library sees, one per line: platform, name and\n"
    "           connection string, separated by tabs (the family-wide entries first)\n"
    "  get      the connection string of one data source (platform x64 by default)\n"
    "  drivers  the installed ODBC drivers, and the driver new connection strings name\n"
    "  test     opens and closes an ODBC connection; exit code 0 when it connected\n"
    "\n"
    "Without FILE, list and get read the installation's configuration file: the data\n"
    "folder (DataPath) followed by \\Configuration\\DatabaseConfiguration.xml.\n";

int usage() {
    return usageError(kUsage);
}

std::string narrow(const KelString& text) {
    return text.getStringA();
}

KelString wide(const std::string& argument) {
    return KelString(argument.c_str());
}

int fail(const std::string& message) {
    std::fprintf(stderr, "kel datasource: %s\n", message.c_str());
    return 1;
}

// The installation's configuration file, or an empty text with `why` set
// when there is no data folder.
KelString installationFile(std::string& why) {
    const KelString folder = KelRegistry::getPathData(false);
    if (folder.isEmpty()) {
        why = "no data folder is set (value DataPath under " +
              narrow(KelRegistry::getRegPathEnvironment()) +
              " in the user or the machine hive); name the configuration file";
        return KelString();
    }
    return folder + KelString(kel::detail::kConfigurationFileSuffix);
}

int runList(const std::vector<std::string>& arguments) {
    if (arguments.size() > 2)
        return usage();
    KelString path;
    if (arguments.size() == 2) {
        path = wide(arguments[1]);
    } else {
        std::string why;
        path = installationFile(why);
        if (path.isEmpty())
            return fail(why);
    }
    FILE* file = nullptr;
    const int error = kelfopen(&file, path, L"r");
    if (error != 0)
        return fail("cannot read " + narrow(path) + ": " + std::strerror(error));
    kelfclose(file);

    const KelDataSourcesUtilities sources(path);
    const auto& list = kel::detail::DataSourcesAccess::dataSources();
    for (long i = 0; i < list.length(); ++i) {
        std::printf("%s\t%s\t%s\n", narrow(list[i].platform).c_str(), narrow(list[i].name).c_str(),
                    narrow(list[i].connectionString).c_str());
    }
    return 0;
}

int runGet(const std::vector<std::string>& arguments) {
    if (arguments.size() < 2 || arguments.size() > 3)
        return usage();
    const KelString name = wide(arguments[1]);
    const KelString platform = wide(arguments.size() == 3 ? arguments[2] : "x64");
    KelDataSourcesUtilities sources(L"");
    KelString connection;
    if (!sources.getConnectionString(name, connection, platform)) {
        return fail("no data source " + arguments[1] + " for platform " + narrow(platform) +
                    " in " + narrow(kel::detail::DataSourcesAccess::configurationFilePath()) +
                    " or the family-wide connections");
    }
    std::printf("%s\n", narrow(connection).c_str());
    return 0;
}

int runDrivers(const std::vector<std::string>& arguments) {
    if (arguments.size() != 1)
        return usage();
    const auto& drivers = kel::detail::DataSourcesAccess::installedDrivers();
    const KelString defaultDriver(kel::detail::kDefaultOdbcDriver);
    const KelString alternateDriver(kel::detail::kAlternateOdbcDriver);
    if (drivers.isEmpty()) {
        std::printf("Installed ODBC drivers: none\n");
    } else {
        std::printf("Installed ODBC drivers:\n");
        for (long i = 0; i < drivers.length(); ++i) {
            const char* role = drivers[i] == defaultDriver     ? " (the default driver)"
                               : drivers[i] == alternateDriver ? " (the alternate driver)"
                                                               : "";
            std::printf("  %s%s\n", narrow(drivers[i]).c_str(), role);
        }
    }
    KelString used;
    KelDataSourcesUtilities::getOdbcDriverName(used);
    const int installed = KelDataSourcesUtilities::defaultODBCDriverIsInstalled();
    const char* why = installed == 1   ? "the default driver is installed"
                      : installed == 0 ? "no ODBC driver is installed"
                                       : "the default driver is not installed";
    std::printf("New connection strings name: %s (%s)\n", narrow(used).c_str(), why);
    return 0;
}

int runTest(const std::vector<std::string>& arguments) {
    if (arguments.size() != 2)
        return usage();
    const KelString connection = wide(arguments[1]);
    const int result = KelDataSourcesUtilities::testConnection(connection);
    if (result == 1) {
        std::printf("connected\n");
        return 0;
    }
    KelString head;
    KelString file;
    const bool named = KelDataSourcesUtilities::splitConnectionString(connection, head, file) == 1;
    std::string reason;
    if (result == 0) {
        reason = named && !kelFileExists(file)
                     ? "the database file " + narrow(file) + " does not exist"
                     : std::string("the ODBC environment could not be set up");
    } else {
        reason =
            named ? "the connection failed although the database file " + narrow(file) + " exists"
                  : std::string(
                        "the connection failed and the string names no database "
                        "file (no \"DBQ=\")");
    }
    std::printf("not connected (%d): %s\n", result, reason.c_str());
    return 1;
}

int runDataSource(const std::vector<std::string>& arguments) {
    if (arguments.empty())
        return usage();
    const std::string& action = arguments[0];
    if (action == "list")
        return runList(arguments);
    if (action == "get")
        return runGet(arguments);
    if (action == "drivers")
        return runDrivers(arguments);
    if (action == "test")
        return runTest(arguments);
    return usage();
}

const Command dataSourceCommand(
    "datasource", "the installation's data sources, ODBC drivers and connection tests", kUsage,
    runDataSource);

}  // namespace

}  // namespace kel::tool
