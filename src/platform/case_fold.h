// Comparing text without case, the same way in every process and locale:
// two characters are equal without case when Unicode's simple case folding
// maps them to the same character (so "Ș"/"ș", "Ǎ"/"ǎ", "Ἀ"/"ἀ", and
// "s"/"S"/"ſ" are equal; "ß" and "ss" are not, since that folding changes
// the length; "ı" (dotless i) and "I" are not either, as outside Turkish).
//
// The table comes from Unicode's data files (scripts/generate-case-fold.py,
// version in kCaseFoldingUnicodeVersion) and does not depend on the C
// library's locale, so processes that share stored names agree.
//
//   caseKey(U'ș') == caseKey(U'Ș')    // both U+0218
//   caseKeyText(L"Software") == caseKeyText(L"SOFTWARE")

#ifndef KEL_PLATFORM_CASE_FOLD_H
#define KEL_PLATFORM_CASE_FOLD_H

#include <string>
#include <string_view>

namespace kel::detail {

// The Unicode version of the case-folding data.
extern const char kCaseFoldingUnicodeVersion[];

// The character that stands for `c`'s class of characters equal without
// case: its simple upper-case form where that belongs to the class (so
// ASCII, Latin, Greek and Cyrillic letters give their capital), else the
// folded form. Characters outside every class, and values beyond U+10FFFF,
// give themselves. caseKey(caseKey(c)) == caseKey(c).
char32_t caseKey(char32_t c);

// caseKey of every character. Where wchar_t holds UTF-16, a surrogate pair
// is taken as the character it encodes and an unpaired surrogate as itself.
std::wstring caseKeyText(std::wstring_view text);

}  // namespace kel::detail

#endif  // KEL_PLATFORM_CASE_FOLD_H
