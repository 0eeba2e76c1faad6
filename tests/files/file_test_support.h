// Helpers for the tests of the files subsystem: whole-file reads and
// writes, byte strings, and running the real tools the archives are
// checked against.

#ifndef KEL_TESTS_FILES_FILE_TEST_SUPPORT_H
#define KEL_TESTS_FILES_FILE_TEST_SUPPORT_H

#include <cstdint>
#include <ctime>
#include <string>
#include <vector>

namespace kel::test {

using Bytes = std::vector<unsigned char>;

// The test's temporary folder joined with `name`, as native and wide text.
std::string pathIn(const std::string& name);
std::wstring widePathIn(const std::string& name);

Bytes readAll(const std::string& path);
void writeAll(const std::string& path, const Bytes& bytes);
void writeText(const std::string& path, const std::string& text);
Bytes bytesOf(const std::string& text);

// The bytes a text-mode stream (a mode without "b") puts in a file for
// `bytes`: on Windows each line feed (a 0A byte, or with `unitSize` 2 a
// 0A 00 unit) comes after a carriage return; elsewhere nothing changes.
Bytes inTextMode(const Bytes& bytes, size_t unitSize = 1);

// The text a text-mode stream reads from a file holding `text`: on Windows
// each "\r\n" is one "\n"; elsewhere nothing changes.
std::wstring readInTextMode(const std::wstring& text);

// `text` in the narrow code page of this system (kel::test::narrowSample);
// false where the tests know no sample for that code page.
bool narrowText(const std::wstring& text, std::string& narrow);

// `count` pseudo-random bytes (a fixed seed per call site value).
Bytes randomBytes(size_t count, uint32_t seed);
// `count` bytes of text-like data: words and numbers on lines.
Bytes textBytes(size_t count, uint32_t seed);

// Runs a shell command; returns its exit status (-1 when it could not run).
// `output`, when not null, receives what it printed on stdout.
int run(const std::string& command, std::string* output = nullptr);

// The command quoted for the shell.
std::string quoted(const std::string& text);

// The last-write time of a file, 0 when it cannot be read.
time_t modificationTime(const std::string& path);

// A time on the local clock.
std::tm localTime(time_t when);

// UTF-8 and wide text (file names on POSIX are UTF-8).
std::string narrowPath(const std::wstring& path);
std::wstring widen(const std::string& utf8);

}  // namespace kel::test

#endif  // KEL_TESTS_FILES_FILE_TEST_SUPPORT_H
