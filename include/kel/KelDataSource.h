/// @file KelDataSource.h
/// One named data source: its name, the platform it is for and its ODBC
/// connection string.
///
/// @code
///   KelDataSource profiles(L"OrbisProfiles2015.1",
///                          L"DRIVER={Pelion ODBC Driver};UID=;PWD=;DBQ=C:\\Data\\profiles.mdb",
///                          L"x64");                     // name, connection string, platform
///   bool same = profiles == KelDataSource(L"orbisprofiles2015.1", L"", L"X64");  // true
/// @endcode
///
/// KelDataSourcesUtilities (KelDataSourcesUtilities.h) keeps the data
/// sources of the installation in a list of these.

#ifndef KEL_KELDATASOURCE_H
#define KEL_KELDATASOURCE_H

#include <kel/KelExport.h>
#include <kel/KelString.h>

/// @copydoc KelDataSource.h
class KEL_API KelDataSource {
public:
    /// All three fields empty.
    KelDataSource();
    /// Copies all three fields.
    KelDataSource(const KelDataSource& other);
    /// Note the order of the arguments: name, connection string, platform,
    /// which is not the order of the fields.
    KelDataSource(KelString name, KelString connectionString, KelString platform);
    virtual ~KelDataSource();

    /// Copies all three fields.
    KelDataSource& operator=(const KelDataSource& other);

    /// True when the names and the platforms are equal without regard to
    /// case. The connection strings do not take part: two entries for the
    /// same data source and platform are the same entry whatever they
    /// connect to.
    bool operator==(const KelDataSource& other) const;

    /// The data source's name, for example "OrbisProfiles2015.1".
    KelString name;
    /// The platform the entry is for, for example "x64".
    KelString platform;
    /// The ODBC connection string.
    KelString connectionString;
};

#endif  // KEL_KELDATASOURCE_H
