// "kel reg": queries and edits the configuration store, for installers and
// administrators, with the arguments of the Windows "reg" command.
//
//   kel reg query  <key> [/v <name> | /ve] [/s] [/reg:32 | /reg:64]
//   kel reg add    <key> [/v <name> | /ve] [/t <type>] [/s <separator>] [/d <data>] [/f]
//                  [/reg:32 | /reg:64]
//   kel reg delete <key> [/v <name> | /ve | /va] [/f] [/reg:32 | /reg:64]
//   kel reg export <key> <file> [/y] [/reg:32 | /reg:64]
//   kel reg import <file> [/reg:32 | /reg:64]
//
// A key is a root (HKLM, HKCU, HKCR or HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER,
// HKEY_CLASSES_ROOT) followed by "\" and a path. Options start with "/" or
// "-" and ignore case. Errors are one line on stderr and exit code 1; a
// registry file with an error changes nothing.

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <cwctype>
#include <string>
#include <utility>
#include <vector>

#include "command.h"
#include "environment/hive_store.h"
#include "environment/key_name.h"
#include "environment/reg_file.h"
#include "platform/code_page.h"

namespace kel::tool {

namespace {

using detail::Hive;
using detail::HiveKeyHolder;
using detail::HiveValue;

const char kUsage[] =
    "usage:\n"
    "  kel reg query  <key> [/v <name> | /ve] [/s] [/reg:32 | /reg:64]\n"
    "  kel reg add    <key> [/v <name> | /ve] [/t <type>] [/s <separator>] [/d <data>] [/f]\n"
    "                 [/reg:32 | /reg:64]\n"
    "  kel reg delete <key> [/v <name> | /ve | /va] [/f] [/reg:32 | /reg:64]\n"
    "  kel reg export <key> <file> [/y] [/reg:32 | /reg:64]\n"
    "  kel reg import <file> [/reg:32 | /reg:64]\n"
    "\n"
    "  <key>    HKLM, HKCU or HKCR (or HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER,\n"
    "           HKEY_CLASSES_ROOT), then \\ and the key's path\n"
    "  /v       the value's name            /ve  the key's default value\n"
    "  /va      every value of the key      /s   query: the whole tree below the key\n"
    "  /t       REG_SZ (default), REG_EXPAND_SZ, REG_MULTI_SZ, REG_DWORD, REG_QWORD, REG_BINARY\n"
    "  /s       add: the separator of REG_MULTI_SZ strings (default \\0)\n"
    "  /d       the data: text, a number (decimal or 0x hexadecimal), or hex digits\n"
    "  /f       add, delete: no question before overwriting or deleting\n"
    "  /y       export: overwrite the file without asking\n"
    "  /reg:32  the 32-bit view of HKLM (Software\\WOW6432Node)\n"
    "\n"
    "Hive files: $KEL_REGISTRY_DIR/{machine,user,classes}.db when set; else\n"
    "/etc/kel/registry/ (HKLM, HKCR) and ${XDG_CONFIG_HOME:-~/.config}/kel/registry/ (HKCU).\n";

// A failure that ends the command: one line on stderr, exit code 1.
struct Failure {
    std::string message;
};

std::wstring wide(const std::string& text) {
    return detail::toWide(text);
}

std::string narrow(const std::wstring& text) {
    return detail::toNarrow(text);
}

std::string storeError(unsigned long status) {
    switch (status) {
        case detail::kErrorFileNotFound:
        case detail::kErrorPathNotFound:
            return "The system was unable to find the specified registry key or value.";
        case detail::kErrorAccessDenied:
            return "Access is denied.";
        case detail::kErrorBadDb:
            return "The configuration registry database is corrupt (or is not a registry hive).";
        case detail::kErrorBadPathname:
        case detail::kErrorInvalidParameter:
            return "Invalid key name or value name.";
        case 170:
            return "The registry is busy; try again.";
        default:
            return "The registry reported error " + std::to_string(status) + ".";
    }
}

void check(unsigned long status) {
    if (status != detail::kErrorSuccess)
        throw Failure{storeError(status)};
}

bool equalsNoCase(const std::string& a, const char* b) {
    if (a.size() != std::strlen(b))
        return false;
    for (size_t i = 0; i < a.size(); ++i) {
        if (std::tolower(static_cast<unsigned char>(a[i])) !=
            std::tolower(static_cast<unsigned char>(b[i])))
            return false;
    }
    return true;
}

// ----- keys ---------------------------------------------------------------------------

struct RootName {
    const char* shortName;
    const char* longName;
    Hive hive;
};

const RootName kRoots[] = {
    {"HKLM", "HKEY_LOCAL_MACHINE", Hive::Machine},
    {"HKCU", "HKEY_CURRENT_USER", Hive::User},
    {"HKCR", "HKEY_CLASSES_ROOT", Hive::Classes},
};

struct KeyName {
    Hive hive = Hive::User;
    const char* root = "";
    std::wstring path;  // below the root, without a trailing separator

    std::wstring display() const { return wide(root) + (path.empty() ? L"" : L"\\" + path); }
    std::wstring child(const std::wstring& name) const {
        return path.empty() ? name : path + L"\\" + name;
    }
};

// "ROOT" or "ROOT\path"; false when the root is unknown or the path bad.
bool parseKeyName(const std::wstring& text, KeyName& key) {
    const size_t separator = text.find(L'\\');
    const std::string root = narrow(text.substr(0, separator));
    for (const RootName& candidate : kRoots) {
        if (!equalsNoCase(root, candidate.shortName) && !equalsNoCase(root, candidate.longName))
            continue;
        key.hive = candidate.hive;
        key.root = candidate.longName;
        key.path = separator == std::wstring::npos ? L"" : text.substr(separator + 1);
        while (!key.path.empty() && key.path.back() == L'\\')
            key.path.pop_back();
        std::vector<std::wstring> names;
        return detail::splitKeyPath(key.path, names) == detail::kErrorSuccess;
    }
    return false;
}

KeyName keyArgument(const std::string& text) {
    KeyName key;
    if (!parseKeyName(wide(text), key))
        throw Failure{"Invalid key name \"" + text +
                      "\": it must start with HKLM, HKCU or HKCR (or their long names)."};
    return key;
}

// ----- options ------------------------------------------------------------------------

struct Options {
    std::vector<std::string> positional;
    bool hasName = false;
    std::wstring name;
    bool defaultValue = false;  // /ve
    bool allValues = false;     // /va
    bool recursive = false;     // query /s
    bool hasType = false;
    std::string type = "REG_SZ";
    bool hasSeparator = false;
    std::wstring separator = L"\\0";
    bool hasData = false;
    std::wstring data;
    bool force = false;  // /f
    bool yes = false;    // /y
    unsigned long view = 0;
};

bool isOption(const std::string& argument) {
    return argument.size() >= 2 && (argument[0] == '/' || argument[0] == '-');
}

Options parseOptions(const std::string& operation, const std::vector<std::string>& arguments) {
    Options options;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (!isOption(argument)) {
            options.positional.push_back(argument);
            continue;
        }
        const std::string option = argument.substr(1);
        auto value = [&]() -> std::wstring {
            if (i + 1 >= arguments.size())
                throw Failure{"Option " + argument + " needs a value."};
            return wide(arguments[++i]);
        };
        if (equalsNoCase(option, "v")) {
            options.hasName = true;
            options.name = value();
        } else if (equalsNoCase(option, "ve")) {
            options.defaultValue = true;
        } else if (equalsNoCase(option, "va") && operation == "delete") {
            options.allValues = true;
        } else if (equalsNoCase(option, "s") && operation == "query") {
            options.recursive = true;
        } else if (equalsNoCase(option, "s") && operation == "add") {
            options.hasSeparator = true;
            options.separator = value();
        } else if (equalsNoCase(option, "t") && operation == "add") {
            options.hasType = true;
            options.type = narrow(value());
        } else if (equalsNoCase(option, "d") && operation == "add") {
            options.hasData = true;
            options.data = value();
        } else if (equalsNoCase(option, "f") && (operation == "add" || operation == "delete")) {
            options.force = true;
        } else if (equalsNoCase(option, "y") && operation == "export") {
            options.yes = true;
        } else if (equalsNoCase(option, "reg:32")) {
            options.view = detail::kKeyWow64_32Key;
        } else if (equalsNoCase(option, "reg:64")) {
            options.view = 0;
        } else if (operation == "export" || operation == "import") {
            // A file name such as /tmp/settings.reg.
            options.positional.push_back(argument);
        } else {
            throw Failure{"Invalid option " + argument + " for \"kel reg " + operation + "\"."};
        }
    }
    if (options.hasName + options.defaultValue + options.allValues > 1)
        throw Failure{"Give only one of /v, /ve and /va."};
    return options;
}

void expectPositional(const Options& options, size_t count, const char* what) {
    if (options.positional.size() != count)
        throw Failure{std::string("Expected ") + what + "."};
}

// Asks on stdout and reads the answer from stdin; anything but yes cancels.
bool confirm(const std::wstring& question) {
    std::printf("%s (Yes/No)? ", narrow(question).c_str());
    std::fflush(stdout);
    char answer[64];
    if (std::fgets(answer, sizeof answer, stdin) == nullptr)
        return false;
    return answer[0] == 'y' || answer[0] == 'Y';
}

void confirmOrCancel(bool skip, const std::wstring& question) {
    if (!skip && !confirm(question))
        throw Failure{"The operation was cancelled; nothing was changed."};
}

void completed() {
    std::printf("The operation completed successfully.\n");
}

// ----- values as text -------------------------------------------------------------------

struct TypeName {
    unsigned long type;
    const char* name;
};

const TypeName kTypeNames[] = {
    {detail::kRegNone, "REG_NONE"},
    {detail::kRegSz, "REG_SZ"},
    {detail::kRegExpandSz, "REG_EXPAND_SZ"},
    {detail::kRegBinary, "REG_BINARY"},
    {detail::kRegDword, "REG_DWORD"},
    {detail::kRegDwordBigEndian, "REG_DWORD_BIG_ENDIAN"},
    {detail::kRegLink, "REG_LINK"},
    {detail::kRegMultiSz, "REG_MULTI_SZ"},
    {8, "REG_RESOURCE_LIST"},
    {9, "REG_FULL_RESOURCE_DESCRIPTOR"},
    {10, "REG_RESOURCE_REQUIREMENTS_LIST"},
    {detail::kRegQword, "REG_QWORD"},
};

std::string typeName(unsigned long type) {
    for (const TypeName& entry : kTypeNames) {
        if (entry.type == type)
            return entry.name;
    }
    char text[24];
    std::snprintf(text, sizeof text, "0x%lx", type);
    return text;
}

unsigned long long littleEndian(const std::vector<unsigned char>& data) {
    unsigned long long number = 0;
    for (size_t i = data.size(); i-- > 0;)
        number = number << 8 | data[i];
    return number;
}

std::string hexBytes(const std::vector<unsigned char>& data) {
    std::string text;
    char byte[4];
    for (unsigned char c : data) {
        std::snprintf(byte, sizeof byte, "%02X", c);
        text += byte;
    }
    return text;
}

// The strings of REG_MULTI_SZ data.
std::vector<std::wstring> multiStrings(const std::vector<unsigned char>& data) {
    const size_t count = data.size() / 2;
    std::vector<std::wstring> strings;
    size_t start = 0;
    for (size_t i = 0; i <= count; ++i) {
        if (i < count && (data[2 * i] != 0 || data[2 * i + 1] != 0))
            continue;
        if (i > start)
            strings.push_back(detail::valueDataToText(data.data() + 2 * start, 2 * (i - start)));
        else if (i < count)
            break;  // an empty string ends the list
        start = i + 1;
    }
    return strings;
}

std::string displayData(const HiveValue& value) {
    switch (value.type) {
        case detail::kRegSz:
        case detail::kRegExpandSz:
            return narrow(detail::valueDataToText(value.data.data(), value.data.size()));
        case detail::kRegMultiSz: {
            std::wstring text;
            for (const std::wstring& s : multiStrings(value.data))
                text += (text.empty() ? L"" : L"\\0") + s;
            return narrow(text);
        }
        case detail::kRegDword:
        case detail::kRegQword:
            if (value.data.size() == (value.type == detail::kRegDword ? 4u : 8u)) {
                char text[24];
                std::snprintf(text, sizeof text, "0x%llx", littleEndian(value.data));
                return text;
            }
            return hexBytes(value.data);
        default:
            return hexBytes(value.data);
    }
}

std::string displayName(const std::wstring& name) {
    return name.empty() ? "(Default)" : narrow(name);
}

void printValue(const HiveValue& value) {
    std::printf("    %s    %s    %s\n", displayName(value.name).c_str(),
                typeName(value.type).c_str(), displayData(value).c_str());
}

// ----- query ------------------------------------------------------------------------------

void queryTree(const KeyName& key, unsigned long view) {
    HiveKeyHolder opened;
    check(detail::openKey(key.hive, key.path, detail::kKeyRead | view, opened.key));
    std::vector<HiveValue> values;
    std::vector<std::wstring> children;
    check(detail::enumValues(opened.key, values));
    check(detail::enumSubKeys(opened.key, children));
    std::printf("\n%s\n", narrow(key.display()).c_str());
    for (const HiveValue& value : values)
        printValue(value);
    for (const std::wstring& child : children) {
        KeyName sub = key;
        sub.path = key.child(child);
        queryTree(sub, view);
    }
}

int runQuery(const Options& options) {
    expectPositional(options, 1, "one key: kel reg query <key>");
    const KeyName key = keyArgument(options.positional[0]);
    if (options.recursive) {
        queryTree(key, options.view);
        std::printf("\n");
        return 0;
    }
    HiveKeyHolder opened;
    check(detail::openKey(key.hive, key.path, detail::kKeyRead | options.view, opened.key));
    std::vector<HiveValue> values;
    check(detail::enumValues(opened.key, values));
    if (options.hasName || options.defaultValue) {
        const std::wstring wanted = detail::foldName(options.name);
        for (const HiveValue& value : values) {
            if (detail::foldName(value.name) == wanted) {
                std::printf("\n%s\n", narrow(key.display()).c_str());
                printValue(value);
                std::printf("\n");
                return 0;
            }
        }
        throw Failure{storeError(detail::kErrorFileNotFound)};
    }
    std::vector<std::wstring> children;
    check(detail::enumSubKeys(opened.key, children));
    std::printf("\n%s\n", narrow(key.display()).c_str());
    for (const HiveValue& value : values)
        printValue(value);
    if (!children.empty())
        std::printf("\n");
    for (const std::wstring& child : children)
        std::printf("%s\\%s\n", narrow(key.display()).c_str(), narrow(child).c_str());
    std::printf("\n");
    return 0;
}

// ----- add ----------------------------------------------------------------------------------

bool parseNumber(const std::wstring& text, unsigned long long limit, unsigned long long& number) {
    const bool hex = text.size() > 2 && text[0] == L'0' && (text[1] == L'x' || text[1] == L'X');
    const std::wstring digits = hex ? text.substr(2) : text;
    if (digits.empty())
        return false;
    number = 0;
    for (wchar_t c : digits) {
        const int digit = std::iswdigit(c)           ? c - L'0'
                          : hex && std::iswxdigit(c) ? std::towlower(c) - L'a' + 10
                                                     : -1;
        if (digit < 0)
            return false;
        const unsigned long long base = hex ? 16 : 10;
        if (number > (limit - static_cast<unsigned long long>(digit)) / base)
            return false;
        number = number * base + static_cast<unsigned long long>(digit);
    }
    return true;
}

std::vector<unsigned char> numberData(const std::wstring& text, const char* type, size_t bytes) {
    unsigned long long number = 0;
    const unsigned long long limit = bytes == 4 ? 0xFFFFFFFFull : ~0ull;
    if (!parseNumber(text, limit, number))
        throw Failure{std::string("Invalid ") + type + " data \"" + narrow(text) +
                      "\": give a decimal or 0x hexadecimal number that fits."};
    std::vector<unsigned char> data;
    for (size_t i = 0; i < bytes; ++i)
        data.push_back(static_cast<unsigned char>(number >> (8 * i) & 0xFF));
    return data;
}

std::vector<unsigned char> binaryData(const std::wstring& text) {
    std::vector<unsigned char> data;
    if (text.size() % 2 != 0)
        throw Failure{"Invalid REG_BINARY data: give an even number of hexadecimal digits."};
    for (size_t i = 0; i < text.size(); i += 2) {
        if (!std::iswxdigit(text[i]) || !std::iswxdigit(text[i + 1]))
            throw Failure{"Invalid REG_BINARY data: give hexadecimal digits only."};
        data.push_back(static_cast<unsigned char>(std::stoul(text.substr(i, 2), nullptr, 16)));
    }
    return data;
}

std::vector<unsigned char> multiStringData(const std::wstring& text,
                                           const std::wstring& separator) {
    std::wstring joined;
    size_t start = 0;
    while (start <= text.size()) {
        size_t end = separator.empty() ? std::wstring::npos : text.find(separator, start);
        if (end == std::wstring::npos)
            end = text.size();
        if (end > start)
            joined += text.substr(start, end - start) + L'\0';
        start = end + separator.size();
        if (separator.empty())
            break;
    }
    joined += L'\0';
    return detail::textToValueData(joined, false);
}

HiveValue valueToAdd(const Options& options) {
    HiveValue value;
    value.name = options.name;
    const std::string& type = options.type;
    if (options.hasSeparator && !equalsNoCase(type, "REG_MULTI_SZ"))
        throw Failure{"/s is for REG_MULTI_SZ data only."};
    if (equalsNoCase(type, "REG_SZ") || equalsNoCase(type, "REG_EXPAND_SZ")) {
        value.type = equalsNoCase(type, "REG_SZ") ? detail::kRegSz : detail::kRegExpandSz;
        value.data = detail::textToValueData(options.data, true);
    } else if (equalsNoCase(type, "REG_MULTI_SZ")) {
        if (options.separator.size() > 1 && options.separator != L"\\0")
            throw Failure{"The /s separator must be one character."};
        value.type = detail::kRegMultiSz;
        value.data = multiStringData(options.data, options.separator);
    } else if (equalsNoCase(type, "REG_DWORD")) {
        value.type = detail::kRegDword;
        value.data = numberData(options.hasData ? options.data : L"0", "REG_DWORD", 4);
    } else if (equalsNoCase(type, "REG_QWORD")) {
        value.type = detail::kRegQword;
        value.data = numberData(options.hasData ? options.data : L"0", "REG_QWORD", 8);
    } else if (equalsNoCase(type, "REG_BINARY")) {
        value.type = detail::kRegBinary;
        value.data = binaryData(options.data);
    } else {
        throw Failure{"Unsupported type \"" + type +
                      "\": use REG_SZ, REG_EXPAND_SZ, REG_MULTI_SZ, REG_DWORD, REG_QWORD or "
                      "REG_BINARY."};
    }
    return value;
}

bool valueExists(detail::HiveKey* key, const std::wstring& name) {
    unsigned long size = 0;
    return detail::queryValue(key, name, nullptr, nullptr, &size) == detail::kErrorSuccess;
}

int runAdd(const Options& options) {
    expectPositional(options, 1, "one key: kel reg add <key> ...");
    const KeyName key = keyArgument(options.positional[0]);
    const bool setsValue =
        options.hasName || options.defaultValue || options.hasData || options.hasType;
    const HiveValue value = setsValue ? valueToAdd(options) : HiveValue();
    HiveKeyHolder opened;
    check(detail::createKey(key.hive, key.path, detail::kKeyAllAccess | options.view, opened.key));
    if (setsValue) {
        if (valueExists(opened.key, value.name))
            confirmOrCancel(options.force,
                            L"Value " + wide(displayName(value.name)) + L" exists, overwrite");
        check(detail::setValue(opened.key, value.name, value.type, value.data.data(),
                               static_cast<unsigned long>(value.data.size())));
    }
    completed();
    return 0;
}

// ----- delete ---------------------------------------------------------------------------------

int runDelete(const Options& options) {
    expectPositional(options, 1, "one key: kel reg delete <key> ...");
    const KeyName key = keyArgument(options.positional[0]);
    if (options.hasName || options.defaultValue || options.allValues) {
        HiveKeyHolder opened;
        check(
            detail::openKey(key.hive, key.path, detail::kKeyAllAccess | options.view, opened.key));
        std::vector<std::wstring> names;
        if (options.allValues) {
            std::vector<HiveValue> values;
            check(detail::enumValues(opened.key, values));
            for (const HiveValue& value : values)
                names.push_back(value.name);
        } else {
            if (!valueExists(opened.key, options.name))
                throw Failure{storeError(detail::kErrorFileNotFound)};
            names.push_back(options.name);
        }
        confirmOrCancel(options.force,
                        options.allValues
                            ? L"Delete all values under the registry key " + key.display()
                            : L"Delete the registry value " + wide(displayName(options.name)));
        for (const std::wstring& name : names)
            check(detail::deleteValue(opened.key, name));
        completed();
        return 0;
    }
    if (key.path.empty())
        throw Failure{"A whole root cannot be deleted."};
    {
        HiveKeyHolder exists;
        check(detail::openKey(key.hive, key.path, detail::kKeyRead | options.view, exists.key));
    }
    confirmOrCancel(options.force, L"Delete the registry key " + key.display());
    check(detail::deleteTree(key.hive, key.path, options.view));
    completed();
    return 0;
}

// ----- export and import -------------------------------------------------------------------------

void collect(const KeyName& key, unsigned long view, detail::RegFile& file) {
    HiveKeyHolder opened;
    check(detail::openKey(key.hive, key.path, detail::kKeyRead | view, opened.key));
    detail::RegFileKey entry;
    entry.path = key.display();
    std::vector<HiveValue> values;
    check(detail::enumValues(opened.key, values));
    for (HiveValue& value : values)
        entry.values.push_back({std::move(value.name), false, value.type, std::move(value.data)});
    file.keys.push_back(std::move(entry));
    std::vector<std::wstring> children;
    check(detail::enumSubKeys(opened.key, children));
    for (const std::wstring& child : children) {
        KeyName sub = key;
        sub.path = key.child(child);
        collect(sub, view, file);
    }
}

bool fileExists(const std::string& path) {
    FILE* file = std::fopen(path.c_str(), "rb");
    if (file != nullptr)
        std::fclose(file);
    return file != nullptr;
}

std::string readFile(const std::string& path) {
    FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr)
        throw Failure{"Cannot open \"" + path + "\": " + std::strerror(errno) + "."};
    std::string bytes;
    char buffer[65536];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, file)) > 0)
        bytes.append(buffer, n);
    const bool failed = std::ferror(file) != 0;
    std::fclose(file);
    if (failed)
        throw Failure{"Cannot read \"" + path + "\"."};
    return bytes;
}

void writeFile(const std::string& path, const std::string& bytes) {
    FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr)
        throw Failure{"Cannot create \"" + path + "\": " + std::strerror(errno) + "."};
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    if (std::fclose(file) != 0 || !written)
        throw Failure{"Cannot write \"" + path + "\"."};
}

int runExport(const Options& options) {
    expectPositional(options, 2, "a key and a file: kel reg export <key> <file>");
    const KeyName key = keyArgument(options.positional[0]);
    const std::string& path = options.positional[1];
    detail::RegFile file;
    collect(key, options.view, file);
    if (fileExists(path))
        confirmOrCancel(options.yes, L"File " + wide(path) + L" already exists. Overwrite");
    writeFile(path, detail::encodeUtf16Le(detail::formatRegFile(file)));
    completed();
    return 0;
}

// Every key of the file, checked before anything is changed.
std::vector<KeyName> importTargets(const detail::RegFile& file) {
    std::vector<KeyName> keys;
    for (const detail::RegFileKey& entry : file.keys) {
        KeyName key;
        if (!parseKeyName(entry.path, key))
            throw Failure{"Invalid key [" + narrow(entry.path) +
                          "] in the file: nothing was imported."};
        if (entry.remove && key.path.empty())
            throw Failure{"The file deletes a whole root: nothing was imported."};
        for (const detail::RegFileValue& value : entry.values) {
            if (value.name.size() > detail::kMaxValueNameLength)
                throw Failure{"A value name in [" + narrow(entry.path) +
                              "] is too long: nothing was imported."};
        }
        keys.push_back(key);
    }
    return keys;
}

void applyKey(const detail::RegFileKey& entry, const KeyName& key, unsigned long view) {
    if (entry.remove) {
        const unsigned long status = detail::deleteTree(key.hive, key.path, view);
        if (status != detail::kErrorFileNotFound)
            check(status);
        return;
    }
    HiveKeyHolder opened;
    check(detail::createKey(key.hive, key.path, detail::kKeyAllAccess | view, opened.key));
    for (const detail::RegFileValue& value : entry.values) {
        if (value.remove) {
            const unsigned long status = detail::deleteValue(opened.key, value.name);
            if (status != detail::kErrorFileNotFound)
                check(status);
            continue;
        }
        check(detail::setValue(opened.key, value.name, value.type, value.data.data(),
                               static_cast<unsigned long>(value.data.size())));
    }
}

int runImport(const Options& options) {
    expectPositional(options, 1, "one file: kel reg import <file>");
    const std::string& path = options.positional[0];
    detail::RegFile file;
    std::wstring error;
    if (!detail::parseRegFile(readFile(path), file, error))
        throw Failure{path + ": " + narrow(error) + "; nothing was imported."};
    const std::vector<KeyName> keys = importTargets(file);
    for (size_t i = 0; i < keys.size(); ++i)
        applyKey(file.keys[i], keys[i], options.view);
    completed();
    return 0;
}

// ----- dispatch -----------------------------------------------------------------------------

int runReg(const std::vector<std::string>& arguments) {
    if (!arguments.empty() && (arguments[0] == "/?" || arguments[0] == "-?" ||
                               arguments[0] == "-h" || arguments[0] == "--help")) {
        std::fputs(kUsage, stdout);
        return 0;
    }
    try {
        if (arguments.empty())
            throw Failure{
                "Missing operation: query, add, delete, export or import (see kel reg /?)."};
        std::string operation = arguments[0];
        for (char& c : operation)
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        using Runner = int (*)(const Options&);
        const std::pair<const char*, Runner> operations[] = {
            {"query", runQuery},   {"add", runAdd},       {"delete", runDelete},
            {"export", runExport}, {"import", runImport},
        };
        for (const auto& [name, run] : operations) {
            if (operation == name)
                return run(parseOptions(
                    operation, std::vector<std::string>(arguments.begin() + 1, arguments.end())));
        }
        throw Failure{"Unknown operation \"" + arguments[0] +
                      "\": use query, add, delete, export or import."};
    } catch (const Failure& failure) {
        std::fflush(stdout);
        std::fprintf(stderr, "kel reg: ERROR: %s\n", failure.message.c_str());
        return 1;
    }
}

const Command regCommand("reg", "query and edit the configuration store", runReg);

}  // namespace

}  // namespace kel::tool
