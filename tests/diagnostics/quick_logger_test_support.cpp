#include "quick_logger_test_support.h"

#include <regex>
#include <system_error>

#include "diagnostics_test_support.h"
#include "support/isolation.h"

#if defined(_WIN32)
// clang-format off
#include <windows.h>  // first: shlobj.h relies on its types
#include <shlobj.h>
// clang-format on
#endif

namespace fs = std::filesystem;

namespace kel::test {

namespace {

// A number as the logs write them: no leading zeros.
const char kNumber[] = "(0|[1-9][0-9]*)";

}  // namespace

fs::path documentsFolder() {
#if defined(_WIN32)
    wchar_t buffer[MAX_PATH] = {};
    if (FAILED(::SHGetFolderPathW(nullptr, CSIDL_PERSONAL, nullptr, SHGFP_TYPE_CURRENT, buffer)))
        return fs::path();
    return fs::path(buffer);
#else
    return fs::path(tempDir()) / "home";
#endif
}

std::wstring logName(const std::string& tag) {
    return L"kel-test-" + std::to_wstring(currentProcessId()) + L"-" +
           std::wstring(tag.begin(), tag.end());  // test names are ASCII
}

std::vector<fs::path> logsNamed(const fs::path& folder, const std::wstring& name) {
    std::vector<fs::path> found;
    std::error_code error;
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
        const std::string file = it->path().filename().u8string();
        const std::string prefix = utf8(name + L" - ");
        if (file.compare(0, prefix.size(), prefix) == 0)
            found.push_back(it->path());
    }
    return found;
}

void removeLogs(const std::wstring& name) {
    std::error_code ignored;
    for (const fs::path& log : logsNamed(documentsFolder(), name))
        fs::remove(log, ignored);
}

int64_t timeOfLogName(const fs::path& file, const std::wstring& name) {
    const std::string fileName = file.filename().u8string();
    const std::string prefix = utf8(name + L" - ");
    if (fileName.compare(0, prefix.size(), prefix) != 0)
        return -1;
    const std::string rest = fileName.substr(prefix.size());
    const std::string n = kNumber;
    std::smatch m;
    if (!std::regex_match(rest, m,
                          std::regex(n + "\\." + n + "\\." + n + " " + n + "\\." + n + "\\." + n +
                                     "\\." + n + "\\.txt"))) {
        return -1;
    }
    auto at = [&m](int i) { return std::stoi(m[i].str()); };
    return utcMilliseconds(at(1), at(2), at(3), at(4), at(5), at(6), at(7));
}

int64_t timeOfDay(const std::string& text) {
    const std::string n = kNumber;
    std::smatch m;
    if (!std::regex_match(text, m, std::regex(n + "\\." + n + "\\." + n + "\\." + n)))
        return -1;
    auto at = [&m](int i) { return static_cast<int64_t>(std::stoi(m[i].str())); };
    return ((at(1) * 60 + at(2)) * 60 + at(3)) * 1000 + at(4);
}

}  // namespace kel::test
