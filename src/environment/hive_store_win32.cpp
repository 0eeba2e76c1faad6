// The configuration store on Windows: the system registry through advapi32.
// Access rights, value types and results are the system's own, so each
// operation passes them through.

#include <windows.h>

#include <new>
#include <string>
#include <vector>

#include "environment/hive_store.h"

namespace kel::detail {

struct HiveKey {
    HKEY handle = nullptr;
};

namespace {

HKEY rootOf(Hive hive) {
    switch (hive) {
        case Hive::Machine:
            return HKEY_LOCAL_MACHINE;
        case Hive::User:
            return HKEY_CURRENT_USER;
        case Hive::Classes:
            return HKEY_CLASSES_ROOT;
    }
    return HKEY_CURRENT_USER;
}

// The registry functions take zero-terminated text.
std::wstring terminated(std::wstring_view text) {
    return std::wstring(text);
}

unsigned long wrap(HKEY handle, HiveKey*& key) {
    key = new (std::nothrow) HiveKey{handle};
    if (key != nullptr)
        return kErrorSuccess;
    RegCloseKey(handle);
    return kErrorNotEnoughMemory;
}

unsigned long keyInfo(HKEY handle, DWORD* subKeys, DWORD* maxSubKeyLength, DWORD* values,
                      DWORD* maxValueNameLength, DWORD* maxValueLength) {
    return static_cast<unsigned long>(
        RegQueryInfoKeyW(handle, nullptr, nullptr, nullptr, subKeys, maxSubKeyLength, nullptr,
                         values, maxValueNameLength, maxValueLength, nullptr, nullptr));
}

bool isTextType(unsigned long type) {
    return type == kRegSz || type == kRegExpandSz || type == kRegMultiSz;
}

}  // namespace

unsigned long openKey(Hive hive, std::wstring_view path, unsigned long access, HiveKey*& key) {
    key = nullptr;
    HKEY handle = nullptr;
    const LSTATUS status =
        RegOpenKeyExW(rootOf(hive), terminated(path).c_str(), 0, access, &handle);
    return status == ERROR_SUCCESS ? wrap(handle, key) : static_cast<unsigned long>(status);
}

unsigned long createKey(Hive hive, std::wstring_view path, unsigned long access, HiveKey*& key,
                        bool* created) {
    key = nullptr;
    if (created != nullptr)
        *created = false;
    HKEY handle = nullptr;
    DWORD disposition = 0;
    const LSTATUS status =
        RegCreateKeyExW(rootOf(hive), terminated(path).c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                        access, nullptr, &handle, &disposition);
    if (status != ERROR_SUCCESS)
        return static_cast<unsigned long>(status);
    if (created != nullptr)
        *created = disposition == REG_CREATED_NEW_KEY;
    return wrap(handle, key);
}

unsigned long queryValue(HiveKey* key, std::wstring_view name, unsigned long* type, void* data,
                         unsigned long* size) {
    if (key == nullptr)
        return kErrorInvalidHandle;
    DWORD valueType = 0;
    DWORD valueSize = size != nullptr ? *size : 0;
    const LSTATUS status =
        RegQueryValueExW(key->handle, terminated(name).c_str(), nullptr, &valueType,
                         static_cast<BYTE*>(data), size != nullptr ? &valueSize : nullptr);
    if (type != nullptr && (status == ERROR_SUCCESS || status == ERROR_MORE_DATA))
        *type = valueType;
    if (size != nullptr && (status == ERROR_SUCCESS || status == ERROR_MORE_DATA))
        *size = valueSize;
    return static_cast<unsigned long>(status);
}

unsigned long readValue(Hive hive, std::wstring_view path, unsigned long access,
                        std::wstring_view name, unsigned long* type, void* data,
                        unsigned long* size, bool& keyOpened) {
    HiveKeyHolder key;
    const unsigned long status = openKey(hive, path, access, key.key);
    keyOpened = status == kErrorSuccess;
    return keyOpened ? queryValue(key.key, name, type, data, size) : status;
}

unsigned long setValue(HiveKey* key, std::wstring_view name, unsigned long type, const void* data,
                       unsigned long size) {
    if (key == nullptr)
        return kErrorInvalidHandle;
    // For text whose last character is not zero the system also stores the
    // character after the data when that one is zero, taking it for a
    // terminator the caller forgot. The store keeps exactly the bytes it is
    // given, so the data goes in a copy followed by a character that is not
    // zero.
    std::vector<unsigned char> copy;
    if (isTextType(type) && data != nullptr && size >= sizeof(wchar_t)) {
        const auto* bytes = static_cast<const unsigned char*>(data);
        copy.assign(bytes, bytes + size);
        copy.resize(size + 2 * sizeof(wchar_t), 0xFF);
        data = copy.data();
    }
    return static_cast<unsigned long>(RegSetValueExW(key->handle, terminated(name).c_str(), 0, type,
                                                     static_cast<const BYTE*>(data), size));
}

unsigned long deleteValue(HiveKey* key, std::wstring_view name) {
    if (key == nullptr)
        return kErrorInvalidHandle;
    return static_cast<unsigned long>(RegDeleteValueW(key->handle, terminated(name).c_str()));
}

unsigned long deleteTree(Hive hive, std::wstring_view path, unsigned long view) {
    const std::wstring subKey = terminated(path);
    if (subKey.find_first_not_of(L'\\') == std::wstring::npos)
        return kErrorAccessDenied;
    const REGSAM viewFlag = view & kKeyWow64_32Key;
    HKEY handle = nullptr;
    LSTATUS status = RegOpenKeyExW(rootOf(hive), subKey.c_str(), 0,
                                   KEY_READ | KEY_SET_VALUE | DELETE | viewFlag, &handle);
    if (status != ERROR_SUCCESS)
        return static_cast<unsigned long>(status);
    // Empties the key, then removes the key itself, in the chosen view.
    status = RegDeleteTreeW(handle, nullptr);
    RegCloseKey(handle);
    if (status == ERROR_SUCCESS)
        status = RegDeleteKeyExW(rootOf(hive), subKey.c_str(), viewFlag, 0);
    return static_cast<unsigned long>(status);
}

unsigned long enumSubKeys(HiveKey* key, std::vector<std::wstring>& names) {
    names.clear();
    if (key == nullptr)
        return kErrorInvalidHandle;
    DWORD count = 0;
    DWORD longest = 0;
    unsigned long status = keyInfo(key->handle, &count, &longest, nullptr, nullptr, nullptr);
    std::wstring name(longest + 1, L'\0');
    for (DWORD index = 0; status == kErrorSuccess; ++index) {
        DWORD length = static_cast<DWORD>(name.size());
        status = static_cast<unsigned long>(RegEnumKeyExW(key->handle, index, name.data(), &length,
                                                          nullptr, nullptr, nullptr, nullptr));
        if (status == kErrorMoreData) {
            // A longer name was added meanwhile: try this index again.
            name.resize(name.size() * 2);
            status = kErrorSuccess;
            --index;
        } else if (status == kErrorSuccess) {
            names.emplace_back(name.data(), length);
        }
    }
    return status == kErrorNoMoreItems ? kErrorSuccess : status;
}

unsigned long enumValues(HiveKey* key, std::vector<HiveValue>& values) {
    values.clear();
    if (key == nullptr)
        return kErrorInvalidHandle;
    DWORD count = 0;
    DWORD longestName = 0;
    DWORD largest = 0;
    unsigned long status = keyInfo(key->handle, nullptr, nullptr, &count, &longestName, &largest);
    std::wstring name(longestName + 1, L'\0');
    std::vector<unsigned char> data(largest > 0 ? largest : 1);
    for (DWORD index = 0; status == kErrorSuccess; ++index) {
        DWORD nameLength = static_cast<DWORD>(name.size());
        DWORD size = static_cast<DWORD>(data.size());
        DWORD type = 0;
        status = static_cast<unsigned long>(RegEnumValueW(
            key->handle, index, name.data(), &nameLength, nullptr, &type, data.data(), &size));
        if (status == kErrorMoreData) {
            name.resize(name.size() * 2);
            data.resize(size > data.size() ? size : data.size() * 2);
            status = kErrorSuccess;
            --index;
        } else if (status == kErrorSuccess) {
            HiveValue value;
            value.name.assign(name.data(), nameLength);
            value.type = type;
            value.data.assign(data.begin(), data.begin() + size);
            values.push_back(std::move(value));
        }
    }
    return status == kErrorNoMoreItems ? kErrorSuccess : status;
}

void closeKey(HiveKey* key) {
    if (key == nullptr)
        return;
    RegCloseKey(key->handle);
    delete key;
}

// The hives are the system registry's: no file of the library's own.
HiveFileReport reportHiveFile(Hive, bool) {
    return HiveFileReport();
}

}  // namespace kel::detail
