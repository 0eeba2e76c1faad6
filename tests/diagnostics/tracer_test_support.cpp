#include "tracer_test_support.h"

#include <kel/Kel.h>

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "environment/hive_store.h"
#include "support/isolation.h"

#if defined(_WIN32)
// clang-format off
#include <windows.h>  // first: shlobj.h relies on its types
#include <shlobj.h>
// clang-format on
#endif

namespace fs = std::filesystem;

namespace kel::test {

fs::path documents() {
#if defined(_WIN32)
    wchar_t buffer[MAX_PATH] = {};
    ::SHGetFolderPathW(nullptr, CSIDL_PERSONAL, nullptr, SHGFP_TYPE_CURRENT, buffer);
    return fs::path(buffer);
#else
    return fs::path(tempDir()) / "home" / "Documents";
#endif
}

std::vector<fs::path> reports() {
    std::vector<fs::path> found;
    std::error_code error;
    for (fs::directory_iterator it(documents(), error), end; !error && it != end;
         it.increment(error)) {
        if (it->path().filename().string().rfind("KelErrorTracer - ", 0) == 0)
            found.push_back(it->path());
    }
    return found;
}

void removeReports() {
    std::error_code ignored;
    for (const fs::path& report : reports())
        fs::remove(report, ignored);
}

std::string contents(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    std::string plain;
    for (size_t i = 0; i < text.size(); ++i) {
        if (!(text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n'))
            plain += text[i];
    }
    return plain;
}

void removeSettings() {
    kel::detail::deleteTree(kel::detail::Hive::User,
                            KelRegistry::getRegPathErrorTracer().getStringW(), 0);
}

void setValue(const wchar_t* name, int value) {
    ASSERT_EQ(
        KelRegistry::setRegValueCurrentUser(KelRegistry::getRegPathErrorTracer(), name, value), 1);
}

void setValue(const wchar_t* name, const std::wstring& value) {
    ASSERT_EQ(KelRegistry::setRegValueCurrentUser(KelRegistry::getRegPathErrorTracer(), name,
                                                  KelString(value.c_str())),
              1);
}

}  // namespace kel::test
