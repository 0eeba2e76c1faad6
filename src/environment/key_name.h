// Key and value names as the configuration store compares them.
//
// Names compare without case over all of Unicode's simple case folding
// (platform/case_fold.h), the same in every process whatever its locale, so
// that every process sharing a hive file agrees. A folded name holds each
// character's case key: the capital letter for the scripts that have one
// ("Software" folds to "SOFTWARE", "\u0219" to "\u0218"), so that names
// written by earlier versions of the store, which folded Latin, Greek,
// Cyrillic and Armenian letters to their capitals, keep their folded form.
//
//   foldName(L"Software\\Norvane") == L"SOFTWARE\\NORVANE"

#ifndef KEL_ENVIRONMENT_KEY_NAME_H
#define KEL_ENVIRONMENT_KEY_NAME_H

#include <string>
#include <string_view>
#include <vector>

namespace kel::detail {

// The case key of one character; a surrogate code unit stays as it is.
wchar_t foldCharacter(wchar_t c);

// Every character folded (a surrogate pair as the character it encodes).
std::wstring foldName(std::wstring_view name);

// Splits a key path at "\" into its key names. A doubled or trailing
// separator adds no name; the empty path is the root and gives no names.
// Returns 0, kErrorBadPathname (161) for a path that starts with a
// separator, or kErrorInvalidParameter (87) for a name longer than 255
// characters.
unsigned long splitKeyPath(std::wstring_view path, std::vector<std::wstring>& names);

// The names of a key path folded and joined by "\" in one text, the form in
// which paths are compared; with `wow32`, in the 32-bit view (see below).
// Returns what splitKeyPath returns.
unsigned long foldKeyPath(std::wstring_view path, bool wow32, std::wstring& folded);

// The 32-bit view of the machine hive, as 64-bit Windows keeps it:
// "Software\X" becomes "Software\WOW6432Node\X" (and "Software" itself
// "Software\WOW6432Node"); other paths, and paths already in the 32-bit
// tree, are unchanged.
void mapToWow32View(std::vector<std::wstring>& names);

}  // namespace kel::detail

#endif  // KEL_ENVIRONMENT_KEY_NAME_H
