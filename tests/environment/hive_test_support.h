// Helpers for the tests of the configuration store: values put into and
// read from a hive directly, below the typed access under test.

#ifndef KEL_TESTS_ENVIRONMENT_HIVE_TEST_SUPPORT_H
#define KEL_TESTS_ENVIRONMENT_HIVE_TEST_SUPPORT_H

#include <cstdint>
#include <string>
#include <vector>

#include "environment/hive_store.h"

namespace kel::test {

using detail::Hive;

// Creates the key (and its parents) and sets one value; fails the test on error.
void putValue(Hive hive, const std::wstring& path, const std::wstring& name, unsigned long type,
              const std::vector<unsigned char>& data, unsigned long view = 0);
// Text with its terminating zero, as the system's tools write it; `terminate`
// false stores it without, as the library does.
void putText(Hive hive, const std::wstring& path, const std::wstring& name,
             const std::wstring& text, unsigned long view = 0, bool terminate = true);
void putDword(Hive hive, const std::wstring& path, const std::wstring& name, uint32_t value,
              unsigned long view = 0);
void putQword(Hive hive, const std::wstring& path, const std::wstring& name, uint64_t value);

// A value's type and bytes; false when it cannot be read.
bool getValue(Hive hive, const std::wstring& path, const std::wstring& name, unsigned long& type,
              std::vector<unsigned char>& data, unsigned long view = 0);

bool keyExists(Hive hive, const std::wstring& path, unsigned long view = 0);

// Removes the key tree when it exists.
void removeTree(Hive hive, const std::wstring& path, unsigned long view = 0);

// Removes the trees the tests write to from every hive, so that a test on
// a system registry starts from nothing as it does on hive files.
void removeTestTrees();

std::vector<unsigned char> bytesOf(uint64_t value, size_t count);

}  // namespace kel::test

#endif  // KEL_TESTS_ENVIRONMENT_HIVE_TEST_SUPPORT_H
