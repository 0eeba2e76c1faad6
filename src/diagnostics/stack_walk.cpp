// What both halves of the stack walker share: symbol type texts, the
// demangling of C++ names and the copying of texts into frame records.

#include "diagnostics/stack_walk.h"

#include <cxxabi.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace kel::detail {

const char* symbolTypeText(unsigned long type) {
    static const char* const kTexts[] = {"-nosymbols-", "COFF", "CV",  "PDB",    "-exported-",
                                         "-deferred-",  "SYM",  "DIA", "Virtual"};
    return type < sizeof kTexts / sizeof kTexts[0] ? kTexts[type] : "";
}

void copyField(char (&field)[KelStackWalker::kMaxNameLength], const char* text) {
    if (text == nullptr) {
        field[0] = '\0';
        return;
    }
    const size_t length = std::min(std::strlen(text), sizeof field - 1);
    std::memcpy(field, text, length);
    field[length] = '\0';
}

std::vector<std::string> splitSearchPath(const std::string& paths) {
    std::vector<std::string> directories;
    size_t start = 0;
    while (start <= paths.size()) {
        size_t end = paths.find(';', start);
        if (end == std::string::npos)
            end = paths.size();
        if (end > start)
            directories.push_back(paths.substr(start, end - start));
        start = end + 1;
    }
    return directories;
}

namespace {

bool startsWith(const std::string& text, size_t at, const char* prefix) {
    return text.compare(at, std::strlen(prefix), prefix) == 0;
}

bool isIdentifierChar(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_';
}

// Past the name of an operator that starts at `at` ("operator<<",
// "operator()", "operator new[]", "operator unsigned int"), so that its
// brackets and blanks are not taken for the structure of the name.
size_t skipOperator(const std::string& text, size_t at) {
    size_t i = at + std::strlen("operator");
    if (i < text.size() && text[i] == ' ') {
        // A word operator or a conversion: words, blanks, "[]", "*", "&".
        while (i < text.size() && (isIdentifierChar(text[i]) || text[i] == ' ' || text[i] == '[' ||
                                   text[i] == ']' || text[i] == '*' || text[i] == '&')) {
            ++i;
        }
        return i;
    }
    if (startsWith(text, i, "()"))
        return i + 2;
    while (i < text.size() && std::strchr("<>=!+-*/%^&|~,[]", text[i]) != nullptr)
        ++i;
    return i;
}

// The position of the "(" that opens the parameter list of a demangled
// function name, or npos when the name has none.
size_t parameterListStart(const std::string& text) {
    size_t close = text.find_last_of(')');
    if (close == std::string::npos)
        return std::string::npos;
    // After the list only qualifiers may follow: " const", " volatile", "&".
    for (size_t i = close + 1; i < text.size(); ++i) {
        if (!isIdentifierChar(text[i]) && text[i] != ' ' && text[i] != '&')
            return std::string::npos;
    }
    int depth = 0;
    for (size_t i = close + 1; i-- > 0;) {
        if (text[i] == ')')
            ++depth;
        else if (text[i] == '(' && --depth == 0)
            return i;
    }
    return std::string::npos;
}

// Drops a leading return type ("void f<int>" gives "f<int>"): everything
// up to the last blank outside brackets.
std::string withoutReturnType(const std::string& name) {
    int angles = 0;
    int parens = 0;
    size_t cut = std::string::npos;
    for (size_t i = 0; i < name.size(); ++i) {
        if (startsWith(name, i, "operator") && (i == 0 || !isIdentifierChar(name[i - 1]))) {
            i = skipOperator(name, i) - 1;
            continue;
        }
        switch (name[i]) {
            case '<':
                ++angles;
                break;
            case '>':
                --angles;
                break;
            case '(':
                ++parens;
                break;
            case ')':
                --parens;
                break;
            case ' ':
                if (angles == 0 && parens == 0)
                    cut = i;
                break;
            default:
                break;
        }
    }
    return cut == std::string::npos ? name : name.substr(cut + 1);
}

}  // namespace

bool demangleSymbol(const char* symbol, std::string& nameOnly, std::string& full) {
    if (symbol == nullptr || std::strncmp(symbol, "_Z", 2) != 0)
        return false;
    int status = 0;
    char* demangled = abi::__cxa_demangle(symbol, nullptr, nullptr, &status);
    if (demangled == nullptr || status != 0) {
        std::free(demangled);
        return false;
    }
    full = demangled;
    std::free(demangled);

    // A compiler's partial copy of a function ("f(int) [clone .cold]") is
    // named after the function.
    std::string text = full;
    const size_t clone = text.find(" [clone ");
    if (clone != std::string::npos)
        text.erase(clone);
    const size_t open = parameterListStart(text);
    nameOnly = open == std::string::npos ? text : withoutReturnType(text.substr(0, open));
    return true;
}

}  // namespace kel::detail
