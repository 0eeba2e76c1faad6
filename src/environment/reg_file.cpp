#include "environment/reg_file.h"

#include <algorithm>
#include <cstring>
#include <cwctype>

#include "environment/hive_store.h"
#include "platform/code_page.h"
#include "platform/utf.h"

namespace kel::detail {

const wchar_t kRegFileHeader[] = L"Windows Registry Editor Version 5.00";
const wchar_t kRegFileHeader4[] = L"REGEDIT4";

namespace {

// Hex data is wrapped, as the editor wraps it, after the first byte that
// brings the line (counted in UTF-16 units, with its comma) to this length.
constexpr size_t kWrapColumn = 77;

// ----- decoding -------------------------------------------------------------------

// True when the first line with text of the narrow file `bytes` is
// "REGEDIT4".
bool startsWithRegedit4(std::string_view bytes) {
    const size_t first = bytes.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos || bytes.compare(first, 8, "REGEDIT4") != 0)
        return false;
    const size_t end = bytes.find_first_not_of(" \t", first + 8);
    return end == std::string_view::npos || bytes[end] == '\r' || bytes[end] == '\n';
}

// UTF-16LE with a byte-order mark, UTF-8 with one, a "REGEDIT4" file in the
// narrow code page, anything else as UTF-8.
std::wstring decodeFile(std::string_view bytes) {
    if (bytes.size() >= 2 && static_cast<unsigned char>(bytes[0]) == 0xFF &&
        static_cast<unsigned char>(bytes[1]) == 0xFE) {
        Utf16String units;
        units.reserve(bytes.size() / 2);
        for (size_t i = 2; i + 1 < bytes.size(); i += 2)
            units.push_back(
                static_cast<unsigned short>(static_cast<unsigned char>(bytes[i]) |
                                            static_cast<unsigned char>(bytes[i + 1]) << 8));
        return utf16ToWide(units.data(), units.size());
    }
    if (bytes.size() >= 3 && bytes.substr(0, 3) == "\xEF\xBB\xBF")
        return utf8ToWide(bytes.substr(3));
    if (startsWithRegedit4(bytes))
        return toWide(bytes, kCodePageAcp);
    return utf8ToWide(bytes);
}

bool isTextType(unsigned long type) {
    return type == kRegSz || type == kRegExpandSz || type == kRegMultiSz;
}

std::vector<std::wstring> splitLines(const std::wstring& text) {
    std::vector<std::wstring> lines;
    size_t start = 0;
    for (size_t i = 0; i <= text.size(); ++i) {
        if (i < text.size() && text[i] != L'\r' && text[i] != L'\n')
            continue;
        lines.push_back(text.substr(start, i - start));
        if (i + 1 < text.size() && text[i] == L'\r' && text[i + 1] == L'\n')
            ++i;
        start = i + 1;
    }
    return lines;
}

bool isBlank(wchar_t c) {
    return c == L' ' || c == L'\t';
}

std::wstring trimmed(std::wstring_view text) {
    size_t first = 0;
    size_t last = text.size();
    while (first < last && isBlank(text[first]))
        ++first;
    while (last > first && isBlank(text[last - 1]))
        --last;
    return std::wstring(text.substr(first, last - first));
}

bool startsWithNoCase(std::wstring_view text, std::wstring_view prefix) {
    if (text.size() < prefix.size())
        return false;
    for (size_t i = 0; i < prefix.size(); ++i) {
        if (std::towlower(text[i]) != std::towlower(prefix[i]))
            return false;
    }
    return true;
}

int hexDigit(wchar_t c) {
    if (c >= L'0' && c <= L'9')
        return c - L'0';
    if (c >= L'a' && c <= L'f')
        return c - L'a' + 10;
    if (c >= L'A' && c <= L'F')
        return c - L'A' + 10;
    return -1;
}

// ----- the parser -------------------------------------------------------------------

class Parser {
public:
    Parser(RegFile& file, std::wstring& error) : m_file(file), m_error(error) {}

    bool parse(const std::wstring& text) {
        const std::vector<std::wstring> lines = splitLines(text);
        size_t index = 0;
        while (index < lines.size() && trimmed(lines[index]).empty())
            ++index;
        const std::wstring header = index < lines.size() ? trimmed(lines[index]) : L"";
        if (header != kRegFileHeader && header != kRegFileHeader4)
            return fail(index + 1, L"not a registry file (the first line must be \"" +
                                       std::wstring(kRegFileHeader) + L"\" or \"" +
                                       kRegFileHeader4 + L"\")");
        m_narrow = header == kRegFileHeader4;
        for (++index; index < lines.size(); ++index) {
            m_line = index + 1;
            std::wstring line = trimmed(lines[index]);
            // Hex data continues on the next line after a final "\"; comment
            // lines in between are skipped.
            while (!line.empty() && line.back() == L'\\' && line[0] != L'[' && line[0] != L';' &&
                   index + 1 < lines.size()) {
                line.pop_back();
                std::wstring next = trimmed(lines[++index]);
                while (!next.empty() && next[0] == L';' && index + 1 < lines.size())
                    next = trimmed(lines[++index]);
                if (!next.empty() && next[0] == L';')
                    next.clear();
                line += next;
            }
            if (!parseLine(line))
                return false;
        }
        return true;
    }

private:
    bool fail(size_t line, const std::wstring& message) {
        m_error = L"line " + std::to_wstring(line) + L": " + message;
        return false;
    }
    bool fail(const std::wstring& message) { return fail(m_line, message); }

    bool parseLine(const std::wstring& line) {
        if (line.empty() || line[0] == L';')
            return true;
        if (line[0] == L'[')
            return parseKey(line);
        if (line[0] == L'"' || line[0] == L'@')
            return parseValue(line);
        return fail(L"expected [key], \"name\"=data or @=data");
    }

    bool parseKey(const std::wstring& line) {
        if (line.back() != L']')
            return fail(L"a key line must end with ]");
        RegFileKey key;
        std::wstring path = line.substr(1, line.size() - 2);
        if (!path.empty() && path[0] == L'-') {
            key.remove = true;
            path.erase(0, 1);
        }
        if (path.empty() || path[0] == L'\\')
            return fail(L"missing key name");
        key.path = path;
        m_file.keys.push_back(std::move(key));
        return true;
    }

    bool parseValue(const std::wstring& line) {
        if (m_file.keys.empty())
            return fail(L"a value before the first [key]");
        if (m_file.keys.back().remove)
            return fail(L"a value under a key that is being deleted");
        RegFileValue value;
        size_t pos = 0;
        if (line[0] == L'@') {
            pos = 1;
        } else if (!parseQuoted(line, pos, value.name)) {
            return false;
        }
        while (pos < line.size() && isBlank(line[pos]))
            ++pos;
        if (pos >= line.size() || line[pos] != L'=')
            return fail(L"expected = after the value name");
        ++pos;
        while (pos < line.size() && isBlank(line[pos]))
            ++pos;
        if (!parseData(std::wstring_view(line).substr(pos), value))
            return false;
        m_file.keys.back().values.push_back(std::move(value));
        return true;
    }

    // A "quoted" text at `pos` with \\ and \" escapes; `pos` ends after it.
    bool parseQuoted(const std::wstring& line, size_t& pos, std::wstring& text) {
        text.clear();
        for (pos = 1; pos < line.size(); ++pos) {
            const wchar_t c = line[pos];
            if (c == L'"') {
                ++pos;
                return true;
            }
            if (c == L'\\' && pos + 1 < line.size() &&
                (line[pos + 1] == L'\\' || line[pos + 1] == L'"')) {
                text += line[++pos];
                continue;
            }
            text += c;
        }
        return fail(L"missing closing quote");
    }

    bool parseData(std::wstring_view data, RegFileValue& value) {
        if (data == L"-") {
            value.remove = true;
            return true;
        }
        if (!data.empty() && data[0] == L'"') {
            const std::wstring line(data);
            size_t pos = 0;
            std::wstring text;
            if (!parseQuoted(line, pos, text))
                return false;
            if (!withoutComment(std::wstring_view(line).substr(pos)).empty())
                return fail(L"unexpected text after the closing quote");
            value.type = kRegSz;
            value.data = textToValueData(text, true);
            return true;
        }
        if (startsWithNoCase(data, L"dword:"))
            return parseDword(withoutComment(data.substr(6)), value);
        if (startsWithNoCase(data, L"hex:")) {
            value.type = kRegBinary;
            return parseBytes(withoutComment(data.substr(4)), value.data);
        }
        if (startsWithNoCase(data, L"hex(")) {
            const size_t close = data.find(L"):");
            if (close == std::wstring_view::npos || close == 4 || close > 12)
                return fail(L"expected hex(<type>):");
            unsigned long type = 0;
            for (wchar_t c : data.substr(4, close - 4)) {
                if (hexDigit(c) < 0)
                    return fail(L"bad value type in hex(<type>):");
                type = type * 16 + static_cast<unsigned long>(hexDigit(c));
            }
            if (type > 0xFFFFFFFFul)
                return fail(L"bad value type in hex(<type>):");
            value.type = type;
            if (!parseBytes(withoutComment(data.substr(close + 2)), value.data))
                return false;
            // A "REGEDIT4" file holds text data in the narrow code page.
            if (m_narrow && isTextType(type)) {
                const std::string narrow(value.data.begin(), value.data.end());
                value.data = textToValueData(toWide(narrow, kCodePageAcp), false);
            }
            return true;
        }
        return fail(L"unknown data (expected \"text\", dword:, hex: or hex(<type>):)");
    }

    bool parseDword(std::wstring_view digits, RegFileValue& value) {
        const std::wstring text = trimmed(digits);
        if (text.empty() || text.size() > 8)
            return fail(L"dword: needs 1 to 8 hexadecimal digits");
        unsigned long number = 0;
        for (wchar_t c : text) {
            if (hexDigit(c) < 0)
                return fail(L"dword: needs 1 to 8 hexadecimal digits");
            number = number * 16 + static_cast<unsigned long>(hexDigit(c));
        }
        value.type = kRegDword;
        for (int shift = 0; shift < 32; shift += 8)
            value.data.push_back(static_cast<unsigned char>((number >> shift) & 0xFF));
        return true;
    }

    // Comma-separated bytes of one or two hexadecimal digits each; none at
    // all is an empty value.
    bool parseBytes(std::wstring_view list, std::vector<unsigned char>& bytes) {
        const std::wstring text = trimmed(list);
        if (text.empty())
            return true;
        size_t start = 0;
        while (start <= text.size()) {
            size_t end = text.find(L',', start);
            if (end == std::wstring::npos)
                end = text.size();
            const std::wstring item = trimmed(std::wstring_view(text).substr(start, end - start));
            if (item.empty() || item.size() > 2 || hexDigit(item[0]) < 0 ||
                (item.size() == 2 && hexDigit(item[1]) < 0))
                return fail(L"bad byte \"" + item + L"\" in hex data");
            bytes.push_back(static_cast<unsigned char>(
                item.size() == 1 ? hexDigit(item[0]) : hexDigit(item[0]) * 16 + hexDigit(item[1])));
            start = end + 1;
        }
        return true;
    }

    // The text before a ";" comment, without blanks around it.
    static std::wstring withoutComment(std::wstring_view text) {
        return trimmed(text.substr(0, std::min(text.size(), text.find(L';'))));
    }

    RegFile& m_file;
    std::wstring& m_error;
    size_t m_line = 1;
    bool m_narrow = false;  // a "REGEDIT4" file
};

// ----- formatting -------------------------------------------------------------------

std::wstring quoted(std::wstring_view text) {
    std::wstring result = L"\"";
    for (wchar_t c : text) {
        if (c == L'\\' || c == L'"')
            result += L'\\';
        result += c;
    }
    result += L'"';
    return result;
}

// Text data that a "quoted" value gives back: with its terminating zero, or
// without one as the library writes text, and with no zero, carriage
// return or line feed inside, which would end the text or the line. Tabs
// and other control characters stay in the quotes as they are, as the
// editor writes them.
bool writableAsText(const std::vector<unsigned char>& data, std::wstring& text) {
    if (data.size() % 2 != 0)
        return false;
    text = valueDataToText(data.data(), data.size());
    if (text.find_first_of(L"\r\n") != std::wstring::npos)
        return false;
    return data == textToValueData(text, true) || data == textToValueData(text, false);
}

size_t utf16Units(std::wstring_view text) {
    return wideToUtf16(text.data(), text.size()).size();
}

std::wstring hexData(std::wstring line, const std::vector<unsigned char>& data) {
    static const wchar_t digits[] = L"0123456789abcdef";
    size_t column = utf16Units(line);
    for (size_t i = 0; i < data.size(); ++i) {
        line += digits[data[i] >> 4];
        line += digits[data[i] & 15];
        if (i + 1 == data.size())
            break;
        line += L',';
        column += 3;
        if (column >= kWrapColumn) {
            line += L"\\\r\n  ";
            column = 2;
        }
    }
    return line;
}

}  // namespace

bool parseRegFile(std::string_view bytes, RegFile& file, std::wstring& error) {
    file.keys.clear();
    error.clear();
    return Parser(file, error).parse(decodeFile(bytes));
}

std::wstring formatRegValue(const RegFileValue& value) {
    std::wstring line = value.name.empty() ? L"@" : quoted(value.name);
    line += L'=';
    if (value.remove)
        return line + L'-';
    std::wstring text;
    if (value.type == kRegSz && writableAsText(value.data, text))
        return line + quoted(text);
    if (value.type == kRegDword && value.data.size() == 4) {
        wchar_t number[16];
        const unsigned long n = value.data[0] | value.data[1] << 8 | value.data[2] << 16 |
                                static_cast<unsigned long>(value.data[3]) << 24;
        std::swprintf(number, 16, L"dword:%08lx", n);
        return line + number;
    }
    if (value.type == kRegBinary)
        return hexData(line + L"hex:", value.data);
    wchar_t prefix[24];
    std::swprintf(prefix, 24, L"hex(%lx):", value.type);
    return hexData(line + prefix, value.data);
}

std::wstring formatRegFile(const RegFile& file) {
    std::wstring text = std::wstring(kRegFileHeader) + L"\r\n";
    for (const RegFileKey& key : file.keys) {
        text += L"\r\n[";
        text += key.remove ? L"-" + key.path : key.path;
        text += L"]\r\n";
        for (const RegFileValue& value : key.values)
            text += formatRegValue(value) + L"\r\n";
    }
    return text + L"\r\n";
}

std::string encodeUtf16Le(std::wstring_view text) {
    const Utf16String units = wideToUtf16(text.data(), text.size());
    std::string bytes = "\xFF\xFE";
    bytes.reserve(2 + units.size() * 2);
    for (unsigned short unit : units) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    return bytes;
}

}  // namespace kel::detail
