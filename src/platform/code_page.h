// Narrow/wide conversion with Windows code-page numbers.
//
// The two conversion functions behave like MultiByteToWideChar and
// WideCharToMultiByte with flags 0: a source length of -1 converts up to and
// including the terminator, a capacity of 0 measures, a result that does not
// fit gives 0 with last error 122. Code page 0 is the process's narrow code
// page (UTF-8 on POSIX unless KEL_ACP says otherwise, the system's ANSI
// code page on Windows).
//
//   wchar_t buffer[64];
//   int n = multiByteToWide(kCodePageAcp, "abc", -1, buffer, 64);  // 4

#ifndef KEL_PLATFORM_CODE_PAGE_H
#define KEL_PLATFORM_CODE_PAGE_H

#include <string>
#include <string_view>

namespace kel::detail {

constexpr unsigned int kCodePageAcp = 0;
constexpr unsigned int kCodePageOem = 1;
constexpr unsigned int kCodePageThreadAcp = 3;
constexpr unsigned int kCodePageUtf8 = 65001;

// The code page number that code page 0 stands for.
unsigned int narrowCodePage();

// Code page 0, 1 and 3 resolved to the narrow code page; others unchanged.
unsigned int resolveCodePage(unsigned int codePage);

// True when conversions with `codePage` are available on this system.
bool isCodePageSupported(unsigned int codePage);

// Narrow to wide. Invalid bytes become U+FFFD (on Windows, for the
// code pages other than UTF-8, what the system gives: the code page's own
// default character, such as U+30FB for 932). Returns the number of wide
// characters written (or needed when `capacity` is 0), 0 on failure with
// the last error set: 87 for a bad argument or unknown code page, 122 when
// the result does not fit.
int multiByteToWide(unsigned int codePage, const char* source, int sourceLength, wchar_t* target,
                    int capacity);

// Wide to narrow. A character the code page cannot represent becomes
// `defaultChar` (when null: "?" for code pages other than UTF-8, the
// encoded U+FFFD for UTF-8), never a look-alike ("best fit");
// `usedDefault`, when not null, tells whether that happened. Results and
// failures as multiByteToWide.
int wideToMultiByte(unsigned int codePage, const wchar_t* source, int sourceLength, char* target,
                    int capacity, const char* defaultChar, bool* usedDefault);

// Whole-string conveniences built on the two above.
std::wstring toWide(std::string_view text, unsigned int codePage = kCodePageAcp);
std::string toNarrow(std::wstring_view text, unsigned int codePage = kCodePageAcp);

// The system half: conversion of a non-UTF-8 code page. Each returns the
// count the whole input needs and writes what fits; `ok` is false when the
// code page is unknown. UTF-8 never reaches these.
namespace system {
size_t toWide(unsigned int codePage, const char* source, size_t length, wchar_t* target,
              size_t capacity, bool& ok);
size_t toNarrow(unsigned int codePage, const wchar_t* source, size_t length, char* target,
                size_t capacity, const char* defaultChar, bool* usedDefault, bool& ok);
unsigned int narrowCodePage();
bool isSupported(unsigned int codePage);
}  // namespace system

}  // namespace kel::detail

#endif  // KEL_PLATFORM_CODE_PAGE_H
