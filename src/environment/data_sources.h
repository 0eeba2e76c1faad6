// Data sources: the configuration file's scan, and the library's own view
// of KelDataSourcesUtilities' process-wide lists for the kel tool and the
// tests.

#ifndef KEL_ENVIRONMENT_DATA_SOURCES_H
#define KEL_ENVIRONMENT_DATA_SOURCES_H

#include <kel/KelArray.h>
#include <kel/KelDataSource.h>
#include <kel/KelString.h>

#include <vector>

namespace kel::detail {

// The two driver names the library knows, and the family-wide entries.
constexpr wchar_t kDefaultOdbcDriver[] = L"Microsoft Access Driver (*.mdb, *.accdb)";
constexpr wchar_t kAlternateOdbcDriver[] = L"Pelion ODBC Driver";
constexpr wchar_t kFamilyProfilesSource[] = L"OrbisProfiles2015.1";
constexpr wchar_t kFamilyMappingSource[] = L"VyrMapping2015.1";
constexpr wchar_t kFamilyPlatform[] = L"x64";
// What follows the data folder in the default configuration path.
constexpr wchar_t kConfigurationFileSuffix[] = L"\\Configuration\\DatabaseConfiguration.xml";

// One "<DataSource" element as the scan reads it.
struct ScannedDataSource {
    KelString name;
    KelString connectionString;
    KelString platform;
};

// The data sources of `productName` in a configuration file's text, in the
// order they stand there: the elements from "<DataSource" to the next "/>"
// between the first "<" + productName + ">" and the next "</" +
// productName + ">". Nothing without both tags; an element without its
// "/>" ends the scan.
std::vector<ScannedDataSource> scanDataSources(const KelString& text, const KelString& productName);

// The text between the first two double quotes after the first occurrence
// of `attribute` in `element`; empty when the attribute or a quote is
// missing.
KelString scanAttribute(const KelString& element, const KelString& attribute);

// The process-wide state of KelDataSourcesUtilities, as the class keeps it.
struct DataSourcesAccess {
    // The data sources, read first (as a lookup does) when none have been.
    static const KelArray<KelDataSource, KelArrayObjectCopyReallocator<KelDataSource>>&
    dataSources();
    // The installed drivers, read first when the list is empty.
    static const KelArray<KelString>& installedDrivers();
    // The configuration file's path; empty before the first constructor.
    static KelString configurationFilePath();
};

}  // namespace kel::detail

#endif  // KEL_ENVIRONMENT_DATA_SOURCES_H
