/// @file KelRegistry.h
/// The product's configuration keys and typed access to the configuration
/// store.
///
/// @code
///   KelString dataPath = KelRegistry::getPathData();          // user hive first
///   KelRegistry::setData(L"Numbering", L"Prefix", KelString(L"B-"));
///   int columns = 0;
///   if (KelRegistry::getData(L"Grid", L"Columns", columns)) { ... }
/// @endcode
///
/// The store is the system registry on Windows. Elsewhere it is one SQLite
/// file per hive with the registry's semantics: machine.db, user.db and
/// classes.db in the directory named by the environment variable
/// KEL_REGISTRY_DIR, or else /etc/kel/registry/ for the machine and classes
/// hives and ${XDG_CONFIG_HOME:-$HOME/.config}/kel/registry/ for the user
/// hive. Keys are "\"-separated paths relative to a hive; key and value
/// names are case-insensitive.
///
/// Every operation is static and opens, uses and closes its own key, so
/// calls may come from any thread. No operation throws: an int result is 1
/// for success and 0 for failure, and a failed read leaves its output as it
/// was (except where noted).

#ifndef KEL_KELREGISTRY_H
#define KEL_KELREGISTRY_H

#include <kel/KelExport.h>
#include <kel/KelString.h>

/// @copydoc KelRegistry.h
class KEL_API KelRegistry {
public:
    /// The capacity of each key-path buffer in characters, terminator included.
    static constexpr int kBufferSize = 260;

    /// Does nothing: the class has only static members.
    KelRegistry();
    /// Does nothing and returns this object.
    KelRegistry& operator=(const KelRegistry& other);

    // ----- the key table ----------------------------------------------------
    /// @class KelRegistry
    /// @par The key table
    /// Key paths relative to a hive root, derived from the product path of
    /// KelProductDefines. Each getter returns a new string with the entry's
    /// current text. Until setRegistryPathes runs they hold the paths of the
    /// initial product, "Software\Norvane\Gantrix\2015.1...".

    /// Rebuilds the sixteen product-dependent entries from the current product
    /// path, in this order: Environment, Data, the product key itself,
    /// LoadedAddins, Wizards, Dialogs, ProjectData, DataBase, ManualLabels,
    /// ProjectExplorer Structures and WorkPlanes, DetailStylesManager,
    /// JointsCommentField, Bom, ErrorTracer, NETAddins. The two
    /// ManagementTools entries and the three value names are never rebuilt.
    /// The library never calls this itself; the host calls it after changing
    /// the product name or release. An entry whose new path would not fit in
    /// 260 characters is reported to the invalid-parameter handler and keeps
    /// its previous text.
    static void setRegistryPathes();

    /// "Software\" + product path + "\Environment".
    static const KelString getRegPathEnvironment();
    /// "Software\" + product path + "\Data".
    static const KelString getRegPathData();
    /// "Software\" + product path.
    static const KelString getRegPathGX();
    /// "Software\" + product path + "\LoadedAddins" (note the lower-case "i").
    static const KelString getRegPathLoadedAddIns();
    /// "Software\" + product path + "\Settings\Wizards\" (trailing separator).
    static const KelString getRegPathWizards();
    /// "Software\" + product path + "\Settings\Dialogs\" (trailing separator).
    static const KelString getRegPathDialogs();
    /// "Software\" + product path + "\ProjectData".
    static const KelString getRegPathProjectData();
    /// "Software\" + product path + "\DataBase".
    static const KelString getRegPathDatabase();
    /// "Software\" + product path + "\Settings\ManualLabels".
    static const KelString getRegPathManualLabels();
    /// "Software\" + product path + "\Settings\ProjectExplorer\Structures".
    static const KelString getRegPathProjectExplorerStructures();
    /// "Software\" + product path + "\Settings\ProjectExplorer\WorkPlanes".
    static const KelString getRegPathProjectExplorerWorkplanes();
    /// "Software\" + product path + "\Settings\DetailStylesManager\" (trailing
    /// separator).
    static const KelString getRegPathDSM();
    /// "Software\" + product path + "\Settings\JointsCommentField\" (trailing
    /// separator).
    static const KelString getRegPathJointsCommentField();
    /// "Software\" + product path + "\Settings\Bom".
    static const KelString getRegPathBom();
    /// "Software\" + product path + "\Settings\ErrorTracer".
    static const KelString getRegPathErrorTracer();
    /// "Software\" + product path + "\NETAddins".
    static const KelString getRegPathNETAddins();
    /// Always "Software\Norvane\Gantrix\2015.1\ManagementTools", whatever the
    /// product: never rebuilt.
    static const KelString getRegPathLiveUpdate();
    /// The same key as getRegPathLiveUpdate, never rebuilt either.
    static const KelString getRegPathMT();
    /// The value names "DBConnect", "DriverDescription" and "ListOfAttributes",
    /// one for each getter.
    static const KelString getDBConnect();
    /// @copydoc getDBConnect
    static const KelString getDriverDescription();
    /// @copydoc getDBConnect
    static const KelString getListOfAttributes();

    // ----- primitive access ---------------------------------------------------
    /// @class KelRegistry
    /// @par Primitive access
    /// `key` is a key path relative to the hive, `name` a value name (empty
    /// for the key's default value). A nonzero `create` creates a missing
    /// key; `wow32` selects the 32-bit view of the machine hive, where
    /// "Software\X" is "Software\WOW6432Node\X".

    /// Reads text from the machine hive (at most 4096 bytes of UTF-16 data).
    /// Returns 1 if the value was read. Afterwards, whether or not anything
    /// was read, a `value` of two or more characters ending in "\" loses that
    /// one character. A missing key is created when `create` is nonzero (the
    /// result is still 0).
    static int getRegValue(const KelString& key, const KelString& name, KelString& value,
                           int create = 0, bool wow32 = false);
    /// Reads a 32-bit number from the machine hive; `value` is untouched when
    /// nothing was read.
    static int getRegValue(const KelString& key, const KelString& name, unsigned long& value,
                           int create = 0, bool wow32 = false);

    /// Reads text (at most 4096 bytes), a 32-bit or a 64-bit number from the
    /// user hive. Returns 1 if read; `value` is untouched otherwise.
    static int getRegValueCurrentUser(const KelString& key, const KelString& name, KelString& value,
                                      int create = 0);
    /// @copydoc getRegValueCurrentUser(const KelString&, const KelString&, KelString&, int)
    static int getRegValueCurrentUser(const KelString& key, const KelString& name, int& value,
                                      int create = 0);
    /// @copydoc getRegValueCurrentUser(const KelString&, const KelString&, KelString&, int)
    static int getRegValueCurrentUser(const KelString& key, const KelString& name, long long& value,
                                      int create = 0);

    /// Writes text (REG_SZ, stored without a terminating zero), a 32-bit
    /// (REG_DWORD) or a 64-bit number (REG_QWORD) to the user hive, creating
    /// the key when needed. Returns 1 if written.
    static int setRegValueCurrentUser(const KelString& key, const KelString& name,
                                      const KelString& value);
    /// @copydoc setRegValueCurrentUser(const KelString&, const KelString&, const KelString&)
    static int setRegValueCurrentUser(const KelString& key, const KelString& name,
                                      const int& value);
    /// @copydoc setRegValueCurrentUser(const KelString&, const KelString&, const KelString&)
    static int setRegValueCurrentUser(const KelString& key, const KelString& name,
                                      const long long& value);

    /// Reads text from the classes hive into a 2048-byte buffer. Returns 1
    /// when the key opened, even when the value is missing (`value` is then
    /// empty); 0 when it did not, leaving `value` untouched. The key is
    /// opened with full access rights although it is only read: deliberate,
    /// so where the classes hive is read-only this fails.
    static int getRegValueClassesRoot(KelString key, const KelString& name, KelString& value);

    // ----- per-product data ---------------------------------------------------
    /// @class KelRegistry
    /// @par Per-product data
    /// Values under getRegPathData() + "\" + subKey, kept in the user hive.
    /// Reading creates the sub-key when it is missing.

    /// Reads text or a 32-bit number, as getRegValueCurrentUser with `create`
    /// 1: returns 1 if read; `value` is untouched otherwise.
    static int getData(const KelString& subKey, const KelString& name, KelString& value);
    /// @copydoc getData(const KelString&, const KelString&, KelString&)
    static int getData(const KelString& subKey, const KelString& name, int& value);
    /// Writes text (REG_SZ) or a 32-bit number (REG_DWORD), as
    /// setRegValueCurrentUser: returns 1 if written.
    static int setData(const KelString& subKey, const KelString& name, const KelString& value);
    /// @copydoc setData(const KelString&, const KelString&, const KelString&)
    static int setData(const KelString& subKey, const KelString& name, const int& value);

    // ----- installation folders -----------------------------------------------
    /// @class KelRegistry
    /// @par Installation folders
    /// Values under the environment path; a result of two or more characters
    /// ending in "\" loses that character (after the machine-hive read has
    /// already dropped one).

    /// "BinPath" (getPathBinary), "JointDevPath" (getPathJointDev),
    /// "NCDevPath" (getPathNCDev) and "DevBinPath" (getPathBinDev) from the
    /// machine hive; empty when missing.
    static KelString getPathBinary(bool wow32 = false);
    /// @copydoc getPathBinary
    static KelString getPathJointDev(bool wow32 = false);
    /// @copydoc getPathBinary
    static KelString getPathNCDev(bool wow32 = false);
    /// @copydoc getPathBinary
    static KelString getPathBinDev(bool wow32 = false);
    /// "DataPath" from the user hive, or from the machine hive when the user
    /// hive has none. A present but empty user value gives the empty text.
    static KelString getPathData(bool wow32 = false);
    /// getPathData(false) followed by "\Shared\Support" (getPathSupport),
    /// "\Shared\Support\symbols" (getPathDwgSymbols),
    /// "\Shared\Support\Prototypes\" (getPathPrototypes) and
    /// "\User2\Support\Prototypes\" (getPathUserPrototypes); the suffix
    /// alone when there is no data folder.
    static KelString getPathSupport();
    /// @copydoc getPathSupport
    static KelString getPathDwgSymbols();
    /// @copydoc getPathSupport
    static KelString getPathPrototypes();
    /// @copydoc getPathSupport
    static KelString getPathUserPrototypes();

    // ----- language -------------------------------------------------------------

    /// The "Language" number under the environment path, from the user hive,
    /// else the machine hive, else 9.
    static unsigned long getCurrentCultureId();
    /// The primary language of the culture: 1029 gives 5, 1031 gives 7, 1036
    /// and 3084 give 12, 1040 gives 16, 1043 gives 19, 1045 gives 21, 1049
    /// gives 25, anything else 9.
    static unsigned long getCurrentLanguage();

    // ----- database connections ---------------------------------------------------

    /// The text of value `name` under "Software\Norvane\Pelion\DatabaseConnections"
    /// in the user hive (even when empty), else in the machine hive, else the
    /// empty text.
    static KelString getDatabaseConnectionsString(KelString name);

private:
    static wchar_t RegPathEnvironment[kBufferSize];
    static wchar_t RegPathData[kBufferSize];
    static wchar_t RegPathGX[kBufferSize];
    static wchar_t RegPathLoadedAddIns[kBufferSize];
    static wchar_t RegPathWizards[kBufferSize];
    static wchar_t RegPathDialogs[kBufferSize];
    static wchar_t RegPathProjectData[kBufferSize];
    static wchar_t RegPathDatabase[kBufferSize];
    static wchar_t RegPathManualLabels[kBufferSize];
    static wchar_t RegPathProjectExplorerStructures[kBufferSize];
    static wchar_t RegPathProjectExplorerWorkplanes[kBufferSize];
    static wchar_t RegPathDSM[kBufferSize];
    static wchar_t RegPathJointsCommentField[kBufferSize];
    static wchar_t RegPathBom[kBufferSize];
    static wchar_t RegPathErrorTracer[kBufferSize];
    static wchar_t RegPathNETAddins[kBufferSize];
    static wchar_t RegPathLiveUpdate[kBufferSize];
    static wchar_t RegPathMT[kBufferSize];
    static wchar_t DBConnect[kBufferSize];
    static wchar_t DriverDescription[kBufferSize];
    static wchar_t ListOfAttributes[kBufferSize];
};

#endif  // KEL_KELREGISTRY_H
