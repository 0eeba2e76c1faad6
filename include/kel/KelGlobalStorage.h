/// @file KelGlobalStorage.h
/// A slot the application's modules share.
///
/// @code
///   KelGlobalStorage::g_pQuillSupportPaths = &supportPaths;  // set by the host
/// @endcode

#ifndef KEL_KELGLOBALSTORAGE_H
#define KEL_KELGLOBALSTORAGE_H

#include <kel/KelExport.h>

class KelString;

/// @copydoc KelGlobalStorage.h
class KEL_API KelGlobalStorage {
public:
    /// Do nothing: the class has no instance data (assignment returns this
    /// object).
    KelGlobalStorage();
    /// @copydoc KelGlobalStorage
    KelGlobalStorage& operator=(const KelGlobalStorage& other);

    /// The host platform's support-file search paths. Null when the library
    /// is loaded; the library itself never sets or reads it.
    static KelString* g_pQuillSupportPaths;
};

#endif  // KEL_KELGLOBALSTORAGE_H
