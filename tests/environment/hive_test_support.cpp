#include "hive_test_support.h"

#include <gtest/gtest.h>

namespace kel::test {

void putValue(Hive hive, const std::wstring& path, const std::wstring& name, unsigned long type,
              const std::vector<unsigned char>& data, unsigned long view) {
    detail::HiveKeyHolder key;
    ASSERT_EQ(detail::createKey(hive, path, detail::kKeyAllAccess | view, key.key), 0u)
        << std::string(path.begin(), path.end());
    ASSERT_EQ(
        detail::setValue(key.key, name, type, data.data(), static_cast<unsigned long>(data.size())),
        0u);
}

void putText(Hive hive, const std::wstring& path, const std::wstring& name,
             const std::wstring& text, unsigned long view, bool terminate) {
    putValue(hive, path, name, detail::kRegSz, detail::textToValueData(text, terminate), view);
}

std::vector<unsigned char> bytesOf(uint64_t value, size_t count) {
    std::vector<unsigned char> bytes;
    for (size_t i = 0; i < count; ++i)
        bytes.push_back(static_cast<unsigned char>(value >> (8 * i)));
    return bytes;
}

void putDword(Hive hive, const std::wstring& path, const std::wstring& name, uint32_t value,
              unsigned long view) {
    putValue(hive, path, name, detail::kRegDword, bytesOf(value, 4), view);
}

void putQword(Hive hive, const std::wstring& path, const std::wstring& name, uint64_t value) {
    putValue(hive, path, name, detail::kRegQword, bytesOf(value, 8));
}

bool getValue(Hive hive, const std::wstring& path, const std::wstring& name, unsigned long& type,
              std::vector<unsigned char>& data, unsigned long view) {
    detail::HiveKeyHolder key;
    if (detail::openKey(hive, path, detail::kKeyRead | view, key.key) != 0)
        return false;
    unsigned long size = 0;
    if (detail::queryValue(key.key, name, &type, nullptr, &size) != 0)
        return false;
    data.assign(size, 0);
    return detail::queryValue(key.key, name, &type, data.data(), &size) == 0;
}

bool keyExists(Hive hive, const std::wstring& path, unsigned long view) {
    detail::HiveKeyHolder key;
    return detail::openKey(hive, path, detail::kKeyRead | view, key.key) == 0;
}

void removeTree(Hive hive, const std::wstring& path, unsigned long view) {
    if (keyExists(hive, path, view)) {
        EXPECT_EQ(detail::deleteTree(hive, path, view), 0u);
    }
}

void removeTestTrees() {
    for (Hive hive : {Hive::Machine, Hive::User, Hive::Classes}) {
        removeTree(hive, L"Software\\Norvane");
        removeTree(hive, L"Software\\KelTest");
        removeTree(hive, L"KelTest");
    }
    removeTree(Hive::Machine, L"Software\\Norvane", detail::kKeyWow64_32Key);
    removeTree(Hive::Machine, L"Software\\KelTest", detail::kKeyWow64_32Key);
}

}  // namespace kel::test
