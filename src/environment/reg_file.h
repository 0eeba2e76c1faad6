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
// bytes, wrapped as the editor wraps them. Files are written as UTF-16LE
// with a byte-order mark and CRLF line ends, as the Windows editor writes
// them. They are read as UTF-16LE with a byte-order mark, as UTF-8 (with or
// without one), or, for the older "REGEDIT4" files, in the narrow code
// page, whose hex(1), hex(2) and hex(7) text data are narrow text too.
// Lines starting with ";" are comments, and so is the rest of a data line
// from a ";" after its data.

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

// The first line of every registry file: the current format, and the older
// one that is still read.
extern const wchar_t kRegFileHeader[];
extern const wchar_t kRegFileHeader4[];

// Reads a whole file's bytes. On failure returns false and describes the
// first problem (with its line number) in `error`; `file` is then
// incomplete and must not be applied. Text data of a "REGEDIT4" file comes
// back as UTF-16, as the current format holds it.
bool parseRegFile(std::string_view bytes, RegFile& file, std::wstring& error);

// The file's text: header, then each key with its values, CRLF line ends.
std::wstring formatRegFile(const RegFile& file);

// The text as UTF-16LE bytes with a byte-order mark.
std::string encodeUtf16Le(std::wstring_view text);

// One value's line (without line end), as formatRegFile writes it.
std::wstring formatRegValue(const RegFileValue& value);

}  // namespace kel::detail

#endif  // KEL_ENVIRONMENT_REG_FILE_H
