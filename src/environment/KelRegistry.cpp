// Typed access to single values of the configuration store, and the
// questions built on it: installation folders, language, connection strings.

#include <kel/KelRegistry.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "environment/hive_store.h"

using kel::detail::Hive;
using kel::detail::HiveKeyHolder;

namespace {

// Text is read into a zero-filled buffer of this many bytes (2048 UTF-16
// units), in the classes hive into a smaller one.
constexpr unsigned long kTextBufferBytes = 4096;
constexpr unsigned long kClassesBufferBytes = 2048;

// The family-wide key of connection strings, not below the product key.
constexpr wchar_t kDatabaseConnectionsKey[] = L"Software\\Norvane\\Pelion\\DatabaseConnections";

// The fallback culture and language: English.
constexpr unsigned long kDefaultLanguage = 9;

std::wstring_view view(const KelString& text) {
    return std::wstring_view(text.getStringW(), static_cast<size_t>(text.length()));
}

unsigned long wow32View(bool wow32) {
    return wow32 ? kel::detail::kKeyWow64_32Key : 0;
}

// How one read opens its key: the hive, the rights to read with, and the
// rights to create a missing key with (when the caller asks for that).
struct ReadTarget {
    Hive hive;
    unsigned long readAccess;
    unsigned long createAccess;
    int create;
};

ReadTarget machineHive(int create, bool wow32) {
    return {Hive::Machine, kel::detail::kKeyRead | wow32View(wow32),
            kel::detail::kKeyAllAccess | wow32View(wow32), create};
}

ReadTarget userHive(int create) {
    return {Hive::User, kel::detail::kKeyRead, kel::detail::kKeyAllAccess, create};
}

// Opens `key` (creating it when asked and missing) and reads `name` into
// `buffer` of `size` bytes. True when the value was read.
bool readRaw(const ReadTarget& target, std::wstring_view key, std::wstring_view name, void* buffer,
             unsigned long size) {
    bool keyOpened = false;
    unsigned long length = size;
    const unsigned long status = kel::detail::readValue(target.hive, key, target.readAccess, name,
                                                        nullptr, buffer, &length, keyOpened);
    if (keyOpened || target.create == 0)
        return keyOpened && status == kel::detail::kErrorSuccess;
    HiveKeyHolder created;
    if (kel::detail::createKey(target.hive, key, target.createAccess, created.key) !=
        kel::detail::kErrorSuccess)
        return false;
    length = size;
    return kel::detail::queryValue(created.key, name, nullptr, buffer, &length) ==
           kel::detail::kErrorSuccess;
}

// Reads text into a zero-filled buffer of `capacity` bytes; the text ends at
// the first zero unit or at the end of the buffer.
bool readText(const ReadTarget& target, std::wstring_view key, std::wstring_view name,
              std::wstring& text) {
    unsigned char buffer[kTextBufferBytes] = {};
    if (!readRaw(target, key, name, buffer, kTextBufferBytes))
        return false;
    text = kel::detail::valueDataToText(buffer, kTextBufferBytes);
    return true;
}

// Reads a number of sizeof(Stored) bytes. A shorter value replaces only the
// bytes it has, as the store copies it over the number.
template <typename Stored, typename Number>
bool readNumber(const ReadTarget& target, std::wstring_view key, std::wstring_view name,
                Number& value) {
    Stored stored = static_cast<Stored>(value);
    if (!readRaw(target, key, name, &stored, sizeof stored))
        return false;
    value = static_cast<Number>(stored);
    return true;
}

// Opens `key` in the user hive for writing (creating it when that fails) and
// sets the value.
int writeUserValue(const KelString& key, const KelString& name, unsigned long type,
                   const void* data, unsigned long size) {
    HiveKeyHolder opened;
    if (kel::detail::openKey(Hive::User, view(key), kel::detail::kKeyWrite, opened.key) !=
            kel::detail::kErrorSuccess &&
        kel::detail::createKey(Hive::User, view(key), kel::detail::kKeyAllAccess, opened.key) !=
            kel::detail::kErrorSuccess)
        return 0;
    return kel::detail::setValue(opened.key, view(name), type, data, size) ==
                   kel::detail::kErrorSuccess
               ? 1
               : 0;
}

// A text of two or more characters ending in "\" loses that one character.
void dropTrailingSeparator(KelString& value) {
    const int length = value.length();
    if (length >= 2 && value[length - 1] == L'\\')
        value = value.left(length - 1);
}

KelString dataKey(const KelString& subKey) {
    return KelRegistry::getRegPathData() + L"\\" + subKey;
}

// An installation folder: the machine-hive text read (which already drops
// one trailing separator), then the rule once more. A path stored with two
// trailing separators so loses both: deliberate, hosts expect folders
// without one.
KelString machineFolder(const wchar_t* valueName, bool wow32) {
    KelString result;
    KelRegistry::getRegValue(KelRegistry::getRegPathEnvironment(), valueName, result, 0, wow32);
    dropTrailingSeparator(result);
    return result;
}

KelString withSuffix(const KelString& path, const wchar_t* suffix) {
    return path + suffix;
}

}  // namespace

// ----- primitive access ---------------------------------------------------------

int KelRegistry::getRegValue(const KelString& key, const KelString& name, KelString& value,
                             int create, bool wow32) {
    std::wstring text;
    const int result = readText(machineHive(create, wow32), view(key), view(name), text) ? 1 : 0;
    if (result == 1)
        value = text.c_str();
    // Applied to whatever `value` holds, even a text the caller passed in
    // when nothing was read: deliberate, callers pass paths through it.
    dropTrailingSeparator(value);
    return result;
}

int KelRegistry::getRegValue(const KelString& key, const KelString& name, unsigned long& value,
                             int create, bool wow32) {
    return readNumber<uint32_t>(machineHive(create, wow32), view(key), view(name), value) ? 1 : 0;
}

int KelRegistry::getRegValueCurrentUser(const KelString& key, const KelString& name,
                                        KelString& value, int create) {
    std::wstring text;
    if (!readText(userHive(create), view(key), view(name), text))
        return 0;
    value = text.c_str();
    return 1;
}

int KelRegistry::getRegValueCurrentUser(const KelString& key, const KelString& name, int& value,
                                        int create) {
    return readNumber<int32_t>(userHive(create), view(key), view(name), value) ? 1 : 0;
}

int KelRegistry::getRegValueCurrentUser(const KelString& key, const KelString& name,
                                        long long& value, int create) {
    return readNumber<int64_t>(userHive(create), view(key), view(name), value) ? 1 : 0;
}

int KelRegistry::setRegValueCurrentUser(const KelString& key, const KelString& name,
                                        const KelString& value) {
    // Twice the length in bytes: the terminating zero is not stored.
    const std::vector<unsigned char> data = kel::detail::textToValueData(view(value), false);
    return writeUserValue(key, name, kel::detail::kRegSz, data.data(),
                          static_cast<unsigned long>(data.size()));
}

int KelRegistry::setRegValueCurrentUser(const KelString& key, const KelString& name,
                                        const int& value) {
    const int32_t stored = value;
    return writeUserValue(key, name, kel::detail::kRegDword, &stored, sizeof stored);
}

int KelRegistry::setRegValueCurrentUser(const KelString& key, const KelString& name,
                                        const long long& value) {
    const int64_t stored = value;
    return writeUserValue(key, name, kel::detail::kRegQword, &stored, sizeof stored);
}

int KelRegistry::getRegValueClassesRoot(KelString key, const KelString& name, KelString& value) {
    // Full rights for a mere read: deliberate, so a read-only classes hive
    // refuses it as the system does.
    HiveKeyHolder opened;
    if (kel::detail::openKey(Hive::Classes, view(key), kel::detail::kKeyAllAccess, opened.key) !=
        kel::detail::kErrorSuccess)
        return 0;
    std::vector<unsigned char> buffer(kClassesBufferBytes, 0);
    unsigned long size = kClassesBufferBytes;
    const unsigned long status =
        kel::detail::queryValue(opened.key, view(name), nullptr, buffer.data(), &size);
    // The text ends after the bytes read; a missing or too large value
    // leaves the buffer zero, so `value` becomes empty and the result is
    // still 1.
    if (status != kel::detail::kErrorSuccess || size > kClassesBufferBytes)
        size = 0;
    value = kel::detail::valueDataToText(buffer.data(), size).c_str();
    return 1;
}

// ----- per-product data -----------------------------------------------------------

int KelRegistry::getData(const KelString& subKey, const KelString& name, KelString& value) {
    return getRegValueCurrentUser(dataKey(subKey), name, value, 1);
}

int KelRegistry::getData(const KelString& subKey, const KelString& name, int& value) {
    return getRegValueCurrentUser(dataKey(subKey), name, value, 1);
}

int KelRegistry::setData(const KelString& subKey, const KelString& name, const KelString& value) {
    return setRegValueCurrentUser(dataKey(subKey), name, value);
}

int KelRegistry::setData(const KelString& subKey, const KelString& name, const int& value) {
    return setRegValueCurrentUser(dataKey(subKey), name, value);
}

// ----- installation folders -------------------------------------------------------

KelString KelRegistry::getPathBinary(bool wow32) {
    return machineFolder(L"BinPath", wow32);
}

KelString KelRegistry::getPathJointDev(bool wow32) {
    return machineFolder(L"JointDevPath", wow32);
}

KelString KelRegistry::getPathNCDev(bool wow32) {
    return machineFolder(L"NCDevPath", wow32);
}

KelString KelRegistry::getPathBinDev(bool wow32) {
    return machineFolder(L"DevBinPath", wow32);
}

KelString KelRegistry::getPathData(bool wow32) {
    const KelString environment = getRegPathEnvironment();
    std::wstring text;
    KelString result;
    // The user's own data folder wins, even when it is empty.
    if (readText(userHive(0), view(environment), L"DataPath", text))
        result = text.c_str();
    else
        getRegValue(environment, L"DataPath", result, 0, wow32);
    dropTrailingSeparator(result);
    return result;
}

KelString KelRegistry::getPathSupport() {
    return withSuffix(getPathData(false), L"\\Shared\\Support");
}

KelString KelRegistry::getPathDwgSymbols() {
    return withSuffix(getPathData(false), L"\\Shared\\Support\\symbols");
}

KelString KelRegistry::getPathPrototypes() {
    return withSuffix(getPathData(false), L"\\Shared\\Support\\Prototypes\\");
}

KelString KelRegistry::getPathUserPrototypes() {
    return withSuffix(getPathData(false), L"\\User2\\Support\\Prototypes\\");
}

// ----- language ---------------------------------------------------------------------

unsigned long KelRegistry::getCurrentCultureId() {
    const KelString environment = getRegPathEnvironment();
    unsigned long culture = 0;
    if (readNumber<uint32_t>(userHive(0), view(environment), L"Language", culture) ||
        readNumber<uint32_t>(machineHive(0, false), view(environment), L"Language", culture))
        return culture;
    return kDefaultLanguage;
}

unsigned long KelRegistry::getCurrentLanguage() {
    switch (getCurrentCultureId()) {
        case 1029:  // Czech
            return 5;
        case 1031:  // German
            return 7;
        case 1036:  // French (France)
        case 3084:  // French (Canada)
            return 12;
        case 1040:  // Italian
            return 16;
        case 1043:  // Dutch
            return 19;
        case 1045:  // Polish
            return 21;
        case 1049:  // Russian
            return 25;
        default:
            return kDefaultLanguage;
    }
}

// ----- database connections -----------------------------------------------------------

KelString KelRegistry::getDatabaseConnectionsString(KelString name) {
    std::wstring text;
    if (readText(userHive(0), kDatabaseConnectionsKey, view(name), text))
        return text.c_str();
    if (readText(machineHive(0, false), kDatabaseConnectionsKey, view(name), text))
        return text.c_str();
    return KelString();
}
