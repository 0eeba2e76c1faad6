// The configuration store: three hives of keys and typed values.
//
// One interface, two halves. On Windows it is the system registry
// (hive_store_win32.cpp, advapi32). Elsewhere every hive is a SQLite file
// with the registry's semantics (hive_store_posix.cpp): key paths are
// "\"-separated, key and value names compare without case and keep the case
// they were created with, the empty value name is the default value,
// creating a key creates its missing parents, opening a missing key fails,
// and a query into a buffer that is too small reports "more data".
//
// Results are Windows error codes (0 for success). Access rights and value
// types carry the values Windows gives them, so the Windows half passes
// them on unchanged.
//
//   HiveKeyHolder key;
//   if (createKey(Hive::User, L"Software\\Norvane\\Test", kKeyAllAccess, key.key) == 0)
//       setValue(key.key, L"Count", kRegDword, &count, sizeof count);

#ifndef KEL_ENVIRONMENT_HIVE_STORE_H
#define KEL_ENVIRONMENT_HIVE_STORE_H

#include <string>
#include <string_view>
#include <vector>

#include "platform/last_error.h"

namespace kel::detail {

enum class Hive { Machine, User, Classes };

// Access rights.
constexpr unsigned long kKeyQueryValue = 0x0001;
constexpr unsigned long kKeySetValue = 0x0002;
constexpr unsigned long kKeyCreateSubKey = 0x0004;
constexpr unsigned long kKeyEnumerateSubKeys = 0x0008;
constexpr unsigned long kKeyNotify = 0x0010;
constexpr unsigned long kKeyCreateLink = 0x0020;
constexpr unsigned long kKeyWow64_64Key = 0x0100;
constexpr unsigned long kKeyWow64_32Key = 0x0200;
constexpr unsigned long kDelete = 0x00010000;
constexpr unsigned long kReadControl = 0x00020000;
constexpr unsigned long kWriteDac = 0x00040000;
constexpr unsigned long kWriteOwner = 0x00080000;
constexpr unsigned long kKeyRead =
    kReadControl | kKeyQueryValue | kKeyEnumerateSubKeys | kKeyNotify;
constexpr unsigned long kKeyWrite = kReadControl | kKeySetValue | kKeyCreateSubKey;
constexpr unsigned long kKeyAllAccess = 0x000F003F;

// The rights that change a hive: refused where the hive is read-only.
constexpr unsigned long kKeyWriteRights =
    kKeySetValue | kKeyCreateSubKey | kKeyCreateLink | kDelete | kWriteDac | kWriteOwner;

// Value types.
constexpr unsigned long kRegNone = 0;
constexpr unsigned long kRegSz = 1;
constexpr unsigned long kRegExpandSz = 2;
constexpr unsigned long kRegBinary = 3;
constexpr unsigned long kRegDword = 4;
constexpr unsigned long kRegDwordBigEndian = 5;
constexpr unsigned long kRegLink = 6;
constexpr unsigned long kRegMultiSz = 7;
constexpr unsigned long kRegQword = 11;

// Results beyond those of last_error.h.
constexpr unsigned long kErrorBadPathname = 161;
constexpr unsigned long kErrorBadDb = 1009;
constexpr unsigned long kErrorKeyDeleted = 1018;

// The longest key name (one path component) and value name, in characters.
constexpr size_t kMaxKeyNameLength = 255;
constexpr size_t kMaxValueNameLength = 16383;

// An open key; each system half defines it.
struct HiveKey;

// Opens an existing key. `access` may carry kKeyWow64_32Key, which selects
// the 32-bit view of the machine hive. The empty path is the hive's root.
unsigned long openKey(Hive hive, std::wstring_view path, unsigned long access, HiveKey*& key);

// Opens a key, creating it and its missing parents first (non-volatile, no
// class, default security). `created`, when not null, tells whether the
// key was new.
unsigned long createKey(Hive hive, std::wstring_view path, unsigned long access, HiveKey*& key,
                        bool* created = nullptr);

// Reads a value. `type` and `size` may be null. `size` holds the capacity of
// `data` in bytes and receives the size of the value; with a null `data`
// only the size is reported. A value larger than the capacity gives
// kErrorMoreData and leaves `data` untouched.
unsigned long queryValue(HiveKey* key, std::wstring_view name, unsigned long* type, void* data,
                         unsigned long* size);

// Opens `path`, reads `name` as queryValue does and closes the key again, in
// one step. `keyOpened` tells whether the key could be opened; when it could
// not, the result is the reason.
unsigned long readValue(Hive hive, std::wstring_view path, unsigned long access,
                        std::wstring_view name, unsigned long* type, void* data,
                        unsigned long* size, bool& keyOpened);

// Creates or replaces a value.
unsigned long setValue(HiveKey* key, std::wstring_view name, unsigned long type, const void* data,
                       unsigned long size);

// Removes a value; kErrorFileNotFound when there is none.
unsigned long deleteValue(HiveKey* key, std::wstring_view name);

// Removes a key with all its values and sub-keys. `view` is 0 or
// kKeyWow64_32Key. The root of a hive cannot be removed.
unsigned long deleteTree(Hive hive, std::wstring_view path, unsigned long view);

// The names of the key's direct sub-keys, in the order the system keeps
// them (sorted without case on both systems).
unsigned long enumSubKeys(HiveKey* key, std::vector<std::wstring>& names);

struct HiveValue {
    std::wstring name;
    unsigned long type = kRegNone;
    std::vector<unsigned char> data;
};

// The key's values, in the order they were created.
unsigned long enumValues(HiveKey* key, std::vector<HiveValue>& values);

// Releases an open key; a null key is ignored.
void closeKey(HiveKey* key);

// Closes the key it holds when it goes out of scope.
struct HiveKeyHolder {
    HiveKeyHolder() = default;
    HiveKeyHolder(const HiveKeyHolder&) = delete;
    HiveKeyHolder& operator=(const HiveKeyHolder&) = delete;
    ~HiveKeyHolder() { closeKey(key); }
    HiveKey* key = nullptr;
};

// Where a hive is kept, for messages such as those of the kel tool.
struct HiveFileReport {
    // The hive's file, absolute ("/home/ada/.config/kel/registry/user.db");
    // empty on Windows, where the hives are the system registry.
    std::string path;
    // How a relative KEL_REGISTRY_DIR was made absolute
    // ("KEL_REGISTRY_DIR \"reg\" taken as /home/ada/reg"); empty otherwise.
    std::string origin;
    // Why the file cannot be read now (or, with `writing`, changed), in the
    // system's words where it gives them ("Permission denied", "the file
    // does not exist"); empty when nothing in the file system stands in the
    // way.
    std::string problem;
};

// The file of `hive` as the store finds it now, and what stands in the way
// of reading it or, with `writing`, of changing it.
HiveFileReport reportHiveFile(Hive hive, bool writing);

// Text values are stored as UTF-16 code units, in the byte order of the
// machine, as the Windows registry stores them.
std::vector<unsigned char> textToValueData(std::wstring_view text, bool terminate);
// The text of a value's data, up to its first zero unit or its end.
std::wstring valueDataToText(const void* data, size_t size);

}  // namespace kel::detail

#endif  // KEL_ENVIRONMENT_HIVE_STORE_H
