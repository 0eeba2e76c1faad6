// "kel reg": queries and edits the configuration store, for installers and
// administrators, with the arguments of the Windows "reg" command and its
// behaviour.
//
//   kel reg query  <key> [/v <name> | /ve] [/s] [/reg:32 | /reg:64]
//   kel reg add    <key> [/v <name> | /ve] [/t <type>] [/s <separator>] [/d <data>] [/f]
//                  [/reg:32 | /reg:64]
//   kel reg delete <key> [/v <name> | /ve | /va] [/f] [/reg:32 | /reg:64]
//   kel reg export <key> <file> [/y] [/reg:32 | /reg:64]
//   kel reg import <file> [/reg:32 | /reg:64]
//
// A key is a root (HKLM, HKCU, HKCR or HKEY_LOCAL_MACHINE, HKEY_CURRENT_USER,
// HKEY_CLASSES_ROOT), alone or followed by "\" and a path. Options start
// with "/" or "-", ignore case and may each be given once. A command line
// that is not a valid command prints its error and the usage on stderr
// (exit code 2); an error of the store or of a file is one line on stderr
// (exit code 1), which names the hive file and what stands in its way when
// the error concerns the file. A registry file is read and checked
// completely, and the keys it names checked for writing, before anything is
// changed.

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
    "           HKEY_CLASSES_ROOT), alone or followed by \\ and the key's path\n"
    "  /v       the value's name            /ve  the key's default value\n"
    "  /va      every value of the key\n"
    "  /s       query: the whole tree below the key (with /v or /ve: search it)\n"
    "  /t       REG_SZ (default), REG_EXPAND_SZ, REG_MULTI_SZ, REG_DWORD, REG_QWORD,\n"
    "           REG_BINARY, REG_NONE, REG_DWORD_BIG_ENDIAN, REG_DWORD_LITTLE_ENDIAN\n"
    "  /s       add: the separator of REG_MULTI_SZ strings (default \\0)\n"
    "  /d       the data: text, a number (decimal or 0x hexadecimal), or hex digits\n"
    "  /f       add, delete: no question before overwriting or deleting\n"
    "  /y       export: overwrite the file without asking\n"
    "  /reg:32  the 32-bit view of HKLM (Software\\WOW6432Node)\n"
    "\n"
    "add without /v or /ve sets the key's default value (an empty REG_SZ without /d).\n"
    "import reads the files of the Windows registry editor (\"Windows Registry Editor\n"
    "Version 5.00\" or \"REGEDIT4\"); a file with an error changes nothing.\n"
    "\n"
    "Hive files: $KEL_REGISTRY_DIR/{machine,user,classes}.db when set (a relative\n"
    "folder is taken from the current one); else /etc/kel/registry/ (HKLM, HKCR)\n"
    "and ${XDG_CONFIG_HOME:-~/.config}/kel/registry/ (HKCU). On Windows the hives\n"
    "are the system registry's.\n";

// A failure that ends the command: one line on stderr and exit code 1, or
// for a command line that is not a valid command, exit code 2 and the usage.
struct Failure {
    std::string message;
    bool badArguments = false;
};

Failure badArguments(const std::string& message) {
    return Failure{message, true};
}

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

// The hive the operation at hand works on, and whether it changes it: the
// errors that concern the hive's file name the file and what stands in its
// way.
struct HiveInUse {
    bool known = false;
    Hive hive = Hive::User;
    bool writing = false;
};

HiveInUse g_hiveInUse;

void usingHive(Hive hive, bool writing) {
    g_hiveInUse = HiveInUse{true, hive, writing};
}

// " Hive file /home/ada/.config/kel/registry/user.db: the file does not
// exist." for the store's errors about the file; empty for the others, and
// where the hives are the system registry.
std::string hiveFileDetail(unsigned long status) {
    if (!g_hiveInUse.known)
        return "";
    const bool notFound =
        status == detail::kErrorFileNotFound || status == detail::kErrorPathNotFound;
    // A key that is not there says nothing about the file, unless the file
    // itself is missing.
    const detail::HiveFileReport report =
        detail::reportHiveFile(g_hiveInUse.hive, g_hiveInUse.writing && !notFound);
    if (report.path.empty() || (notFound && report.problem.empty()))
        return "";
    std::string detail = " Hive file " + report.path;
    if (!report.origin.empty())
        detail += " (" + report.origin + ")";
    if (!report.problem.empty())
        detail += ": " + report.problem;
    return detail + ".";
}

void check(unsigned long status) {
    if (status != detail::kErrorSuccess)
        throw Failure{storeError(status) + hiveFileDetail(status)};
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

// "ROOT" or "ROOT\path" with at most one trailing separator, as reg takes
// them: a root followed by a separator alone ("HKCU\"), a key ending in two
// separators and a path starting with one are refused.
bool parseKeyName(const std::wstring& text, KeyName& key) {
    const size_t separator = text.find(L'\\');
    const std::string root = narrow(text.substr(0, separator));
    for (const RootName& candidate : kRoots) {
        if (!equalsNoCase(root, candidate.shortName) && !equalsNoCase(root, candidate.longName))
            continue;
        key.hive = candidate.hive;
        key.root = candidate.longName;
        key.path = separator == std::wstring::npos ? L"" : text.substr(separator + 1);
        if (separator != std::wstring::npos && key.path.empty())
            return false;
        if (!key.path.empty() && key.path.back() == L'\\')
            key.path.pop_back();
        if (separator != std::wstring::npos && (key.path.empty() || key.path.back() == L'\\'))
            return false;
        std::vector<std::wstring> names;
        return detail::splitKeyPath(key.path, names) == detail::kErrorSuccess;
    }
    return false;
}

KeyName keyArgument(const std::string& text) {
    KeyName key;
    if (!parseKeyName(wide(text), key))
        throw badArguments("Invalid key name \"" + text +
                           "\": it must start with HKLM, HKCU or HKCR (or their long names), "
                           "alone or followed by \\ and a path.");
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
    std::wstring separator;
    bool hasData = false;
    std::wstring data;
    bool force = false;  // /f
    bool yes = false;    // /y
    bool hasView = false;
    unsigned long view = 0;
};

bool isOption(const std::string& argument) {
    return argument.size() >= 2 && (argument[0] == '/' || argument[0] == '-');
}

// Sets a switch; a switch given twice makes the command invalid, as it
// does for reg.
void once(bool& given, const std::string& argument) {
    if (given)
        throw badArguments("Option " + argument + " is given twice.");
    given = true;
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
                throw badArguments("Option " + argument + " needs a value.");
            return wide(arguments[++i]);
        };
        if (equalsNoCase(option, "v")) {
            once(options.hasName, argument);
            options.name = value();
        } else if (equalsNoCase(option, "ve")) {
            once(options.defaultValue, argument);
        } else if (equalsNoCase(option, "va") && operation == "delete") {
            once(options.allValues, argument);
        } else if (equalsNoCase(option, "s") && operation == "query") {
            once(options.recursive, argument);
        } else if (equalsNoCase(option, "s") && operation == "add") {
            once(options.hasSeparator, argument);
            options.separator = value();
        } else if (equalsNoCase(option, "t") && operation == "add") {
            once(options.hasType, argument);
            options.type = narrow(value());
        } else if (equalsNoCase(option, "d") && operation == "add") {
            once(options.hasData, argument);
            options.data = value();
        } else if (equalsNoCase(option, "f") && (operation == "add" || operation == "delete")) {
            once(options.force, argument);
        } else if (equalsNoCase(option, "y") && operation == "export") {
            once(options.yes, argument);
        } else if (equalsNoCase(option, "reg:32") || equalsNoCase(option, "reg:64")) {
            once(options.hasView, argument);
            options.view = equalsNoCase(option, "reg:32") ? detail::kKeyWow64_32Key : 0;
        } else if (operation == "export" || operation == "import") {
            // A file name such as /tmp/settings.reg.
            options.positional.push_back(argument);
        } else {
            throw badArguments("Invalid option " + argument + " for \"kel reg " + operation +
                               "\".");
        }
    }
    if (options.hasName + options.defaultValue + options.allValues > 1)
        throw badArguments("Give only one of /v, /ve and /va.");
    return options;
}

void expectPositional(const Options& options, size_t count, const char* what) {
    if (options.positional.size() != count)
        throw badArguments(std::string("Expected ") + what + ".");
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
        case detail::kRegDwordBigEndian:
        case detail::kRegQword:
            // A big-endian number is shown as reg stores it: in the
            // machine's order.
            if (value.data.size() == (value.type == detail::kRegQword ? 8u : 4u)) {
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

// One value of an open key, as the store gives it; false when it has none
// of that name.
bool readOne(detail::HiveKey* key, const std::wstring& name, HiveValue& value) {
    unsigned long size = 0;
    unsigned long status = detail::queryValue(key, name, &value.type, nullptr, &size);
    if (status == detail::kErrorFileNotFound)
        return false;
    check(status);
    value.name = name;
    value.data.assign(size, 0);
    check(detail::queryValue(key, name, &value.type, value.data.data(), &size));
    value.data.resize(size);
    return true;
}

// A key, its values and the names of its sub-keys.
struct KeyContents {
    std::vector<HiveValue> values;
    std::vector<std::wstring> children;
};

KeyContents readKey(const KeyName& key, unsigned long view, HiveKeyHolder& opened) {
    check(detail::openKey(key.hive, key.path, detail::kKeyRead | view, opened.key));
    KeyContents contents;
    check(detail::enumValues(opened.key, contents.values));
    check(detail::enumSubKeys(opened.key, contents.children));
    return contents;
}

KeyName childOf(const KeyName& key, const std::wstring& child) {
    KeyName sub = key;
    sub.path = key.child(child);
    return sub;
}

// A key with /s: its name and values (the key queried itself only when it
// has values), a blank line, then each sub-key in the same way.
void queryTree(const KeyName& key, unsigned long view, bool below) {
    HiveKeyHolder opened;
    const KeyContents contents = readKey(key, view, opened);
    if (below || !contents.values.empty())
        std::printf("%s\n", narrow(key.display()).c_str());
    for (const HiveValue& value : contents.values)
        printValue(value);
    if (below || !contents.values.empty())
        std::printf("\n");
    for (const std::wstring& child : contents.children)
        queryTree(childOf(key, child), view, true);
}

// /v or /ve with /s: every key of the tree that has the value.
long searchTree(const KeyName& key, const std::wstring& name, unsigned long view) {
    HiveKeyHolder opened;
    check(detail::openKey(key.hive, key.path, detail::kKeyRead | view, opened.key));
    long found = 0;
    HiveValue value;
    if (readOne(opened.key, name, value)) {
        std::printf("%s\n", narrow(key.display()).c_str());
        printValue(value);
        std::printf("\n");
        ++found;
    }
    std::vector<std::wstring> children;
    check(detail::enumSubKeys(opened.key, children));
    for (const std::wstring& child : children)
        found += searchTree(childOf(key, child), name, view);
    return found;
}

int runQuery(const Options& options) {
    expectPositional(options, 1, "one key: kel reg query <key>");
    const KeyName key = keyArgument(options.positional[0]);
    usingHive(key.hive, false);
    const bool oneValue = options.hasName || options.defaultValue;
    if (oneValue && options.recursive) {
        {
            // The key searched must exist.
            HiveKeyHolder opened;
            check(detail::openKey(key.hive, key.path, detail::kKeyRead | options.view, opened.key));
        }
        std::printf("\n");
        const long found = searchTree(key, options.name, options.view);
        std::printf("End of search: %ld match(es) found.\n", found);
        return 0;
    }
    if (options.recursive) {
        {
            HiveKeyHolder opened;
            readKey(key, options.view, opened);
        }
        std::printf("\n");
        queryTree(key, options.view, false);
        return 0;
    }
    HiveKeyHolder opened;
    if (oneValue) {
        check(detail::openKey(key.hive, key.path, detail::kKeyRead | options.view, opened.key));
        HiveValue value;
        if (readOne(opened.key, options.name, value)) {
            std::printf("\n%s\n", narrow(key.display()).c_str());
            printValue(value);
            std::printf("\n");
            return 0;
        }
        if (!options.defaultValue)
            throw Failure{storeError(detail::kErrorFileNotFound)};
        // A key without a default value: reg says so, and succeeds.
        std::printf("\n%s\n    (Default)    REG_SZ    (value not set)\n",
                    narrow(key.display()).c_str());
        return 0;
    }
    const KeyContents contents = readKey(key, options.view, opened);
    std::printf("\n");
    if (!contents.values.empty()) {
        std::printf("%s\n", narrow(key.display()).c_str());
        for (const HiveValue& value : contents.values)
            printValue(value);
        std::printf("\n");
    }
    for (const std::wstring& child : contents.children)
        std::printf("%s\\%s\n", narrow(key.display()).c_str(), narrow(child).c_str());
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

std::vector<unsigned char> numberData(const std::wstring& text, const std::string& type,
                                      size_t bytes) {
    unsigned long long number = 0;
    const unsigned long long limit = bytes == 4 ? 0xFFFFFFFFull : ~0ull;
    if (!parseNumber(text, limit, number))
        throw badArguments("Invalid " + type + " data \"" + narrow(text) +
                           "\": give a decimal or 0x hexadecimal number that fits.");
    std::vector<unsigned char> data;
    for (size_t i = 0; i < bytes; ++i)
        data.push_back(static_cast<unsigned char>(number >> (8 * i) & 0xFF));
    return data;
}

int hexValue(wchar_t c) {
    if (c >= L'0' && c <= L'9')
        return c - L'0';
    if (c >= L'a' && c <= L'f')
        return c - L'a' + 10;
    if (c >= L'A' && c <= L'F')
        return c - L'A' + 10;
    return -1;
}

// Hex digits, two to a byte; an odd number of digits is read as reg reads
// it, the first digit alone making the first byte ("abc" is 0A BC).
std::vector<unsigned char> binaryData(const std::wstring& text) {
    std::vector<unsigned char> data;
    for (wchar_t c : text) {
        if (hexValue(c) < 0)
            throw badArguments("Invalid REG_BINARY data: give hexadecimal digits only.");
    }
    size_t i = 0;
    if (text.size() % 2 != 0)
        data.push_back(static_cast<unsigned char>(hexValue(text[i++])));
    for (; i < text.size(); i += 2)
        data.push_back(static_cast<unsigned char>(hexValue(text[i]) * 16 + hexValue(text[i + 1])));
    return data;
}

// The strings of /d, split at the separator ("\0" unless /s names one);
// an empty string inside the list is refused, as reg refuses it, and one
// separator at the end is allowed.
std::vector<unsigned char> multiStringData(const Options& options) {
    const std::wstring& text = options.data;
    const std::wstring separator = options.hasSeparator ? options.separator : L"\\0";
    std::vector<std::wstring> strings;
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find(separator, start);
        if (end == std::wstring::npos)
            end = text.size();
        if (end == start)
            throw badArguments(
                "Invalid REG_MULTI_SZ data: the strings of the list may not be empty.");
        strings.push_back(text.substr(start, end - start));
        start = end + separator.size();
    }
    std::wstring joined;
    for (const std::wstring& s : strings)
        joined += s + L'\0';
    joined += L'\0';
    if (strings.empty())
        joined = std::wstring(1, L'\0');
    return detail::textToValueData(joined, false);
}

HiveValue valueToAdd(const Options& options) {
    HiveValue value;
    value.name = options.name;
    const std::string& type = options.type;
    if (options.hasSeparator && !equalsNoCase(type, "REG_MULTI_SZ"))
        throw badArguments("/s is for REG_MULTI_SZ data only.");
    if (equalsNoCase(type, "REG_SZ") || equalsNoCase(type, "REG_EXPAND_SZ") ||
        equalsNoCase(type, "REG_NONE")) {
        // REG_NONE data is text, as reg stores it.
        value.type = equalsNoCase(type, "REG_SZ")          ? detail::kRegSz
                     : equalsNoCase(type, "REG_EXPAND_SZ") ? detail::kRegExpandSz
                                                           : detail::kRegNone;
        value.data = detail::textToValueData(options.data, true);
    } else if (equalsNoCase(type, "REG_MULTI_SZ")) {
        if (options.hasSeparator && options.separator.size() != 1)
            throw badArguments("The /s separator must be one character.");
        value.type = detail::kRegMultiSz;
        value.data = multiStringData(options);
    } else if (equalsNoCase(type, "REG_DWORD") || equalsNoCase(type, "REG_DWORD_LITTLE_ENDIAN") ||
               equalsNoCase(type, "REG_DWORD_BIG_ENDIAN")) {
        // Deliberate: a big-endian number is stored in the machine's order,
        // as reg stores it, only its type differs.
        value.type = equalsNoCase(type, "REG_DWORD_BIG_ENDIAN") ? detail::kRegDwordBigEndian
                                                                : detail::kRegDword;
        value.data = numberData(options.hasData ? options.data : L"0", type, 4);
    } else if (equalsNoCase(type, "REG_QWORD")) {
        value.type = detail::kRegQword;
        value.data = numberData(options.hasData ? options.data : L"0", type, 8);
    } else if (equalsNoCase(type, "REG_BINARY")) {
        value.type = detail::kRegBinary;
        value.data = binaryData(options.data);
    } else {
        throw badArguments("Unsupported type \"" + type +
                           "\": use REG_SZ, REG_EXPAND_SZ, REG_MULTI_SZ, REG_DWORD, REG_QWORD, "
                           "REG_BINARY, REG_NONE, REG_DWORD_BIG_ENDIAN or "
                           "REG_DWORD_LITTLE_ENDIAN.");
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
    usingHive(key.hive, true);
    // Without /v the value is the key's default one, as with /ve.
    const HiveValue value = valueToAdd(options);
    HiveKeyHolder opened;
    check(detail::createKey(key.hive, key.path, detail::kKeyAllAccess | options.view, opened.key));
    if (valueExists(opened.key, value.name))
        confirmOrCancel(options.force,
                        L"Value " + wide(displayName(value.name)) + L" exists, overwrite");
    check(detail::setValue(opened.key, value.name, value.type, value.data.data(),
                           static_cast<unsigned long>(value.data.size())));
    completed();
    return 0;
}

// ----- delete ---------------------------------------------------------------------------------

int runDelete(const Options& options) {
    expectPositional(options, 1, "one key: kel reg delete <key> ...");
    const KeyName key = keyArgument(options.positional[0]);
    usingHive(key.hive, true);
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
    const KeyContents contents = readKey(key, view, opened);
    detail::RegFileKey entry;
    entry.path = key.display();
    for (const HiveValue& value : contents.values)
        entry.values.push_back({value.name, false, value.type, value.data});
    file.keys.push_back(std::move(entry));
    for (const std::wstring& child : contents.children)
        collect(childOf(key, child), view, file);
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
    const int error = errno;
    std::fclose(file);
    if (failed)
        throw Failure{"Cannot read \"" + path + "\": " + std::strerror(error) + "."};
    return bytes;
}

void writeFile(const std::string& path, const std::string& bytes) {
    FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr)
        throw Failure{"Cannot create \"" + path + "\": " + std::strerror(errno) + "."};
    // The reason of the first call that fails: a full disk shows at the
    // latest when the stream's buffer is written out.
    int error = 0;
    if (std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size() || std::fflush(file) != 0)
        error = errno != 0 ? errno : EIO;
    if (std::fclose(file) != 0 && error == 0)
        error = errno != 0 ? errno : EIO;
    if (error != 0)
        throw Failure{"Cannot write \"" + path + "\": " + std::strerror(error) + "."};
}

int runExport(const Options& options) {
    expectPositional(options, 2, "a key and a file: kel reg export <key> <file>");
    const KeyName key = keyArgument(options.positional[0]);
    const std::string& path = options.positional[1];
    usingHive(key.hive, false);
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

// Whether `key` can be changed as the file asks: the key itself, or the
// nearest of its parents that exists, opens with the rights to write.
unsigned long writableForImport(const KeyName& key, bool remove, unsigned long view) {
    std::wstring path = key.path;
    for (;;) {
        HiveKeyHolder opened;
        const unsigned long rights =
            remove ? detail::kKeyRead | detail::kDelete | detail::kKeySetValue : detail::kKeyWrite;
        const unsigned long status = detail::openKey(key.hive, path, rights | view, opened.key);
        if (status != detail::kErrorFileNotFound || path.empty())
            return status;
        // A key to remove that is not there needs nothing.
        if (remove)
            return detail::kErrorSuccess;
        const size_t separator = path.find_last_of(L'\\');
        path = separator == std::wstring::npos ? L"" : path.substr(0, separator);
    }
}

void applyKey(const detail::RegFileKey& entry, const KeyName& key, unsigned long view) {
    usingHive(key.hive, true);
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
    for (size_t i = 0; i < keys.size(); ++i) {
        usingHive(keys[i].hive, true);
        const unsigned long status = writableForImport(keys[i], file.keys[i].remove, options.view);
        if (status != detail::kErrorSuccess)
            throw Failure{narrow(keys[i].display()) + ": " + storeError(status) +
                          hiveFileDetail(status) + " Nothing was imported."};
    }
    for (size_t i = 0; i < keys.size(); ++i)
        applyKey(file.keys[i], keys[i], options.view);
    completed();
    return 0;
}

// ----- dispatch -----------------------------------------------------------------------------

int runReg(const std::vector<std::string>& arguments) {
    // reg's own way of asking for help; --help and -h are the tool's.
    if (!arguments.empty() && (arguments[0] == "/?" || arguments[0] == "-?")) {
        std::fputs(kUsage, stdout);
        return 0;
    }
    try {
        if (arguments.empty())
            throw badArguments(
                "Missing operation: query, add, delete, export or import (see kel reg /?).");
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
        throw badArguments("Unknown operation \"" + arguments[0] +
                           "\": use query, add, delete, export or import.");
    } catch (const Failure& failure) {
        std::fflush(stdout);
        std::fprintf(stderr, "kel reg: ERROR: %s\n", failure.message.c_str());
        if (!failure.badArguments)
            return 1;
        return usageError(kUsage);
    }
}

const Command regCommand("reg", "query and edit the configuration store", kUsage, runReg);

}  // namespace

}  // namespace kel::tool
