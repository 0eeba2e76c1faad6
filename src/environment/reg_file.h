// Registry files: the text format of the Windows registry editor, in which
// settings move between installations.
//
//   Windows Registry Editor Version 5.00
//
//   [HKEY_CURRENT_USER\Software\Norvane\Gantrix\2015.1\Environment]
//   "DataPath"="C:\\Gantrix\\Data"
//   "Language"=dword:00000407
//   "Limits"=hex(b):00,10,00,00,00,00,00,00
//
// Text values are written "quoted" with \\ and \" escaped; 32-bit numbers as
// dword:; everything else as hex: (binary) or hex(<type>): with the data's
// bytes. Files are read as UTF-16LE with a byte-order mark or as UTF-8 (with
// or without one), and written as UTF-16LE with a byte-order mark and CRLF
// line ends, as the Windows editor writes them.

#ifndef KEL_ENVIRONMENT_REG_FILE_H
#define KEL_ENVIRONMENT_REG_FILE_H

#include <string>
#include <string_view>
#include <vector>

namespace kel::detail {

struct RegFileValue {
    std::wstring name;    // empty for the default value, written @
    bool remove = false;  // "name"=- : delete the value
    unsigned long type = 0;
    std::vector<unsigned char> data;
};

struct RegFileKey {
    std::wstring path;    // the full path, root name first, as written
    bool remove = false;  // [-path] : delete the key and everything below it
    std::vector<RegFileValue> values;
};

struct RegFile {
    std::vector<RegFileKey> keys;
};

// The first line of every registry file.
extern const wchar_t kRegFileHeader[];

// Reads a whole file's bytes. On failure returns false and describes the
// first problem (with its line number) in `error`; `file` is then
// incomplete and must not be applied.
bool parseRegFile(std::string_view bytes, RegFile& file, std::wstring& error);

// The file's text: header, then each key with its values, CRLF line ends.
std::wstring formatRegFile(const RegFile& file);

// The text as UTF-16LE bytes with a byte-order mark.
std::string encodeUtf16Le(std::wstring_view text);

// One value's line (without line end), as formatRegFile writes it.
std::wstring formatRegValue(const RegFileValue& value);

}  // namespace kel::detail

#endif  // KEL_ENVIRONMENT_REG_FILE_H
