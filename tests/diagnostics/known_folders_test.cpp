// Where the diagnostics go by default: the documents folder and the
// default log file, looked up from the environment on every call.

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "diagnostics_test_support.h"
#include "platform/known_folders.h"
#include "support/isolation.h"
#include "support/system.h"

#if defined(_WIN32)
// clang-format off
#include <windows.h>  // first: shlobj.h relies on its types
#include <shlobj.h>
// clang-format on
#else
#include <pwd.h>
#include <unistd.h>
#endif

namespace {

namespace fs = std::filesystem;
using kel::detail::defaultLogFile;
using kel::detail::documentsFolder;

#if !defined(_WIN32)

// ----- POSIX: the XDG folders ----------------------------------------------------

class KnownFoldersPosix : public ::testing::Test {
protected:
    void SetUp() override { m_home = kel::test::tempDir() + "/home"; }

    void userDirs(const std::string& content) {
        kel::test::writeFile(fs::path(kel::test::tempDir()) / "config" / "user-dirs.dirs", content);
    }

    static std::string documents() { return fs::path(documentsFolder()).u8string(); }

    std::string m_home;
};

TEST_F(KnownFoldersPosix, TheHomeWhenNothingElseIsThere) {
    EXPECT_EQ(documents(), m_home);
}

TEST_F(KnownFoldersPosix, DocumentsInTheHomeWhenItExists) {
    fs::create_directories(m_home + "/Documents");
    EXPECT_EQ(documents(), m_home + "/Documents");
    fs::remove(m_home + "/Documents");
    kel::test::writeFile(m_home + "/Documents", "a file, not a folder");
    EXPECT_EQ(documents(), m_home);
}

TEST_F(KnownFoldersPosix, UserDirsWithHomeRelativeAndAbsolutePaths) {
    userDirs("XDG_DESKTOP_DIR=\"$HOME/Desktop\"\nXDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\n");
    EXPECT_EQ(documents(), m_home + "/Dokumente");
    userDirs("  XDG_DOCUMENTS_DIR=\"/srv/shared docs/\"\n");
    EXPECT_EQ(documents(), "/srv/shared docs");
    userDirs("XDG_DOCUMENTS_DIR=\"$HOME\"\n");
    EXPECT_EQ(documents(), m_home);
    userDirs("XDG_DOCUMENTS_DIR=\"$HOME/\"\n");
    EXPECT_EQ(documents(), m_home);
}

TEST_F(KnownFoldersPosix, UserDirsEscapesCommentsAndTheLastAssignment) {
    userDirs(
        "# XDG_DOCUMENTS_DIR=\"$HOME/commented\"\n"
        "XDG_DOCUMENTS_DIR=\"$HOME/first\"\n"
        "XDG_DOCUMENTS_DIR=\"$HOME/a \\\"quoted\\\" \\$name\"\n");
    EXPECT_EQ(documents(), m_home + "/a \"quoted\" $name");
}

TEST_F(KnownFoldersPosix, MalformedUserDirsLinesAreIgnored) {
    fs::create_directories(m_home + "/Documents");
    userDirs(
        "XDG_DOCUMENTS_DIR=$HOME/unquoted\n"
        "XDG_DOCUMENTS_DIR=\"relative/path\"\n"
        "XDG_DOCUMENTS_DIR=\"$HOMEWORK\"\n"
        "XDG_DOCUMENTS_DIR=\"$HOME/unterminated\n"
        "XDG_DOCUMENTS_DIRX=\"$HOME/other\"\n");
    EXPECT_EQ(documents(), m_home + "/Documents");
}

TEST_F(KnownFoldersPosix, UserDirsComesFromXdgConfigHomeOrTheHomesConfig) {
    const std::string other = kel::test::tempDir() + "/other-config";
    fs::create_directories(other);
    kel::test::writeFile(other + "/user-dirs.dirs", "XDG_DOCUMENTS_DIR=\"$HOME/from-other\"\n");
    kel::test::setEnv("XDG_CONFIG_HOME", other.c_str());
    EXPECT_EQ(documents(), m_home + "/from-other");
    fs::create_directories(m_home + "/.config");
    kel::test::writeFile(m_home + "/.config/user-dirs.dirs",
                         "XDG_DOCUMENTS_DIR=\"$HOME/from-home\"\n");
    kel::test::setEnv("XDG_CONFIG_HOME", nullptr);
    EXPECT_EQ(documents(), m_home + "/from-home");
    kel::test::setEnv("XDG_CONFIG_HOME", "relative");
    EXPECT_EQ(documents(), m_home + "/from-home");
}

TEST_F(KnownFoldersPosix, TheDocumentsFolderIsNeverCreated) {
    userDirs("XDG_DOCUMENTS_DIR=\"$HOME/Missing\"\n");
    EXPECT_EQ(documents(), m_home + "/Missing");
    EXPECT_FALSE(fs::exists(m_home + "/Missing"));
}

TEST_F(KnownFoldersPosix, WithoutHomeThePasswordDatabaseNamesIt) {
    kel::test::setEnv("HOME", nullptr);
    const passwd* entry = ::getpwuid(::getuid());
    ASSERT_NE(entry, nullptr);
    std::string expected = entry->pw_dir;
    while (expected.size() > 1 && expected.back() == '/')
        expected.pop_back();
    if (fs::is_directory(expected + "/Documents"))
        expected += "/Documents";
    const std::string found = documents();
    kel::test::setEnv("HOME", m_home.c_str());
    // The test's config folder has no user-dirs file.
    EXPECT_EQ(found, expected);
}

TEST_F(KnownFoldersPosix, DefaultLogFileBelowXdgStateHome) {
    const std::string state = kel::test::tempDir() + "/state";
    kel::test::setEnv("XDG_STATE_HOME", state.c_str());
    EXPECT_EQ(fs::path(defaultLogFile(L"Gantrix", false)).u8string(), state + "/kel/Gantrix.log");
    EXPECT_FALSE(fs::exists(state));
    EXPECT_EQ(fs::path(defaultLogFile(L"Steelworks", true)).u8string(),
              state + "/kel/Steelworks.log");
    EXPECT_TRUE(fs::is_directory(state + "/kel"));
    EXPECT_EQ(fs::status(state).permissions() & fs::perms::all, fs::perms::owner_all);
    EXPECT_EQ(fs::status(state + "/kel").permissions() & fs::perms::all, fs::perms::owner_all);
    kel::test::setEnv("XDG_STATE_HOME", nullptr);
}

TEST_F(KnownFoldersPosix, DefaultLogFileBelowTheHomeWithoutAnAbsoluteXdgStateHome) {
    kel::test::setEnv("XDG_STATE_HOME", "relative");
    EXPECT_EQ(fs::path(defaultLogFile(L"Gantrix", true)).u8string(),
              m_home + "/.local/state/kel/Gantrix.log");
    EXPECT_TRUE(fs::is_directory(m_home + "/.local/state/kel"));
    EXPECT_FALSE(fs::exists("relative"));
    kel::test::setEnv("XDG_STATE_HOME", nullptr);
}

TEST_F(KnownFoldersPosix, AnExistingLogFolderIsKept) {
    fs::create_directories(m_home + "/.local/state/kel");
    fs::permissions(m_home + "/.local/state/kel", fs::perms::owner_all | fs::perms::group_read,
                    fs::perm_options::replace);
    defaultLogFile(L"Gantrix", true);
    EXPECT_EQ(fs::status(m_home + "/.local/state/kel").permissions() & fs::perms::all,
              fs::perms::owner_all | fs::perms::group_read);
}

#else

// ----- Windows: the shell's folder -----------------------------------------------

TEST(KnownFoldersWindows, TheShellsPersonalFolderAndTheRootOfDriveC) {
    wchar_t buffer[MAX_PATH] = {};
    ASSERT_TRUE(SUCCEEDED(
        ::SHGetFolderPathW(nullptr, CSIDL_PERSONAL, nullptr, SHGFP_TYPE_CURRENT, buffer)));
    EXPECT_EQ(documentsFolder(), std::wstring(buffer));
    EXPECT_EQ(defaultLogFile(L"Gantrix", true), L"c:\\Gantrix.log");
}

#endif

}  // namespace
