/// @file KelStd.h
/// Kel's types meeting the C++ standard library.
///
/// Conversions between KelString and std::wstring, std::wstring_view and
/// UTF-8 std::string; begin/end for KelArray and KelStringClassArray, so
/// that range-for works on them; and std::hash<KelString>, so that a
/// KelString can key an unordered container. Nothing here changes the
/// classes themselves.
///
/// @code
///   KelString name = kel::fromUtf8("Träger HEA 200");
///   std::string bytes = kel::toUtf8(name);
///   for (const KelString& profile : profiles) std::wcout << kel::toWStringView(profile);
///   std::unordered_set<KelString> seen;
/// @endcode

#ifndef KEL_KELSTD_H
#define KEL_KELSTD_H

#include <kel/KelArray.h>
#include <kel/KelExport.h>
#include <kel/KelString.h>
#include <kel/KelStringClassArray.h>

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

/// Encodes `length` wide characters as UTF-8 into `out` (at most `capacity`
/// bytes, no terminator added) and returns the number of bytes the whole
/// text needs; call with capacity 0 (and `out` null) to measure. A character
/// without an encoding (an unpaired surrogate) becomes U+FFFD.
KEL_API size_t kelWideToUtf8(const wchar_t* text, size_t length, char* out, size_t capacity);

/// Decodes `length` bytes of UTF-8 into `out` (at most `capacity` wide
/// characters, no terminator added) and returns the number of characters
/// the whole text needs. Each invalid byte sequence becomes U+FFFD. Where
/// wchar_t is 16 bits wide, characters beyond U+FFFF take two.
KEL_API size_t kelUtf8ToWide(const char* text, size_t length, wchar_t* out, size_t capacity);

/// The standard library's view of kel's types (see KelStd.h).
namespace kel {

/// The characters of `text` as a view; valid while `text` lives unchanged.
inline std::wstring_view toWStringView(const KelString& text) {
    return std::wstring_view(text.getStringW(), static_cast<size_t>(text.length()));
}

/// A copy of the characters of `text`.
inline std::wstring toWString(const KelString& text) {
    return std::wstring(toWStringView(text));
}

/// A KelString holding the characters of `text`. A KelString ends at its
/// first NUL character, so an embedded NUL ends the copy there.
inline KelString toKelString(std::wstring_view text) {
    return KelString(std::wstring(text).c_str());
}

/// The text as UTF-8 bytes, whatever the process's narrow code page is
/// (getStringA gives the narrow code page's bytes instead).
inline std::string toUtf8(const KelString& text) {
    const std::wstring_view wide = toWStringView(text);
    std::string bytes(kelWideToUtf8(wide.data(), wide.size(), nullptr, 0), '\0');
    kelWideToUtf8(wide.data(), wide.size(), bytes.data(), bytes.size());
    return bytes;
}

/// A KelString from UTF-8 bytes; invalid sequences become U+FFFD, and the
/// text ends at its first NUL.
inline KelString fromUtf8(std::string_view bytes) {
    std::wstring wide(kelUtf8ToWide(bytes.data(), bytes.size(), nullptr, 0), L'\0');
    kelUtf8ToWide(bytes.data(), bytes.size(), wide.data(), wide.size());
    return KelString(wide.c_str());
}

}  // namespace kel

/// Range-for over the logical length of an array. The arrays' own length
/// may be -1 after removeLast on an empty array; that is an empty range here.
///@{
template <typename T, typename R, typename M>
T* begin(KelArray<T, R, M>& array) {
    return array.getData();
}
template <typename T, typename R, typename M>
T* end(KelArray<T, R, M>& array) {
    return array.length() > 0 ? array.getData() + array.length() : array.getData();
}
template <typename T, typename R, typename M>
const T* begin(const KelArray<T, R, M>& array) {
    return array.getData();
}
template <typename T, typename R, typename M>
const T* end(const KelArray<T, R, M>& array) {
    return array.length() > 0 ? array.getData() + array.length() : array.getData();
}

inline KelString* begin(KelStringClassArray& array) {
    return array.length() > 0 ? &array[0] : nullptr;
}
inline KelString* end(KelStringClassArray& array) {
    return array.length() > 0 ? &array[0] + array.length() : nullptr;
}
inline const KelString* begin(const KelStringClassArray& array) {
    return array.length() > 0 ? &array[0] : nullptr;
}
inline const KelString* end(const KelStringClassArray& array) {
    return array.length() > 0 ? &array[0] + array.length() : nullptr;
}
///@}

namespace std {
/// Hashes the characters, so that equal texts (operator==) hash alike.
template <>
struct hash<KelString> {
    /// The hash of the characters of `text`, as std::hash<std::wstring_view>
    /// gives it.
    size_t operator()(const KelString& text) const noexcept {
        return hash<wstring_view>()(kel::toWStringView(text));
    }
};
}  // namespace std

#endif  // KEL_KELSTD_H
