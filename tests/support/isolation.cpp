#include "support/isolation.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>

#if defined(_WIN32)
#include <windows.h>
#else
#include <unistd.h>
#endif

namespace fs = std::filesystem;

namespace kel::test {

namespace {

std::string g_tempDir;

std::string uniqueName() {
    std::random_device device;
    std::mt19937_64 generator(device());
    return "kel-test-" + std::to_string(generator());
}

class IsolationListener : public ::testing::EmptyTestEventListener {
    void OnTestStart(const ::testing::TestInfo&) override {
        const fs::path dir = fs::temp_directory_path() / uniqueName();
        fs::create_directories(dir / "home");
        fs::create_directories(dir / "config");
        fs::create_directories(dir / "data");
        fs::create_directories(dir / "cache");
        fs::create_directories(dir / "runtime");
        fs::create_directories(dir / "registry");
        fs::permissions(dir / "runtime", fs::perms::owner_all, fs::perm_options::replace);
        g_tempDir = dir.string();
        fs::current_path(dir);
        setEnv("HOME", (dir / "home").string().c_str());
        setEnv("XDG_CONFIG_HOME", (dir / "config").string().c_str());
        setEnv("XDG_DATA_HOME", (dir / "data").string().c_str());
        setEnv("XDG_CACHE_HOME", (dir / "cache").string().c_str());
        setEnv("XDG_RUNTIME_DIR", (dir / "runtime").string().c_str());
        setEnv("KEL_REGISTRY_DIR", (dir / "registry").string().c_str());
#if defined(_WIN32)
        setEnv("USERPROFILE", (dir / "home").string().c_str());
        setEnv("APPDATA", (dir / "config").string().c_str());
        setEnv("LOCALAPPDATA", (dir / "data").string().c_str());
#endif
    }

    void OnTestEnd(const ::testing::TestInfo&) override {
        std::error_code ignored;
        fs::current_path(fs::temp_directory_path(), ignored);
        fs::remove_all(g_tempDir, ignored);
    }
};

}  // namespace

const std::string& tempDir() {
    return g_tempDir;
}

std::wstring tempDirW() {
    return fs::path(g_tempDir).wstring();
}

void setEnv(const char* name, const char* value) {
#if defined(_WIN32)
    _putenv_s(name, value != nullptr ? value : "");
#else
    if (value != nullptr) {
        ::setenv(name, value, 1);
    } else {
        ::unsetenv(name);
    }
#endif
}

std::string selfPath() {
#if defined(_WIN32)
    char buffer[MAX_PATH * 4];
    const DWORD n = GetModuleFileNameA(nullptr, buffer, sizeof buffer);
    return std::string(buffer, n);
#else
    return fs::read_symlink("/proc/self/exe").string();
#endif
}

void installIsolation() {
#if !defined(_WIN32)
    // No test shows a window on the developer's desktop: without a display
    // the library's message boxes are one line on stderr. The window tests
    // start an X server of their own and point DISPLAY at it.
    setEnv("DISPLAY", nullptr);
    setEnv("WAYLAND_DISPLAY", nullptr);
#endif
    ::testing::UnitTest::GetInstance()->listeners().Append(new IsolationListener);
}

}  // namespace kel::test
