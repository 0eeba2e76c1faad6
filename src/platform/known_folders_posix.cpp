// The known folders on POSIX: the XDG base and user directories.

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "platform/known_folders.h"
#include "platform/path.h"

namespace kel::detail {

namespace {

std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? std::string(value) : std::string();
}

std::string homeDirectory() {
    std::string home = environment("HOME");
    if (!home.empty())
        return home;
    std::vector<char> buffer(16384);
    passwd entry = {};
    passwd* found = nullptr;
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 &&
        found != nullptr && found->pw_dir != nullptr) {
        home = found->pw_dir;
    }
    return home;
}

// An XDG base directory: the variable when it holds an absolute path (the
// XDG rules ignore relative ones), else the fallback below the home.
std::string baseDirectory(const char* variable, const char* belowHome) {
    const std::string value = environment(variable);
    if (!value.empty() && value[0] == '/')
        return value;
    const std::string home = homeDirectory();
    return home.empty() ? std::string() : home + belowHome;
}

std::string withoutTrailingSlashes(std::string path) {
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

bool isDirectory(const std::string& path) {
    struct stat info = {};
    return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

// The quoted value of one "NAME=\"...\"" line, with the shell escapes that
// xdg-user-dirs writes undone. False when the line is not of that form.
bool quotedValue(const std::string& line, size_t start, std::string& value) {
    if (start >= line.size() || line[start] != '"')
        return false;
    value.clear();
    for (size_t i = start + 1; i < line.size(); ++i) {
        const char c = line[i];
        if (c == '"')
            return true;
        if (c == '\\' && i + 1 < line.size())
            value += line[++i];
        else
            value += c;
    }
    return false;
}

// XDG_DOCUMENTS_DIR from user-dirs.dirs: "$HOME/..." or an absolute path;
// the last valid assignment counts, as when the shell reads the file.
std::string documentsFromUserDirs(const std::string& home) {
    const std::string config = baseDirectory("XDG_CONFIG_HOME", "/.config");
    if (config.empty())
        return std::string();
    std::FILE* file = std::fopen((config + "/user-dirs.dirs").c_str(), "r");
    if (file == nullptr)
        return std::string();
    static const std::string kName = "XDG_DOCUMENTS_DIR=";
    std::string result;
    std::string line;
    for (int c = 0; c != EOF;) {
        c = std::fgetc(file);
        if (c != '\n' && c != EOF) {
            line += static_cast<char>(c);
            continue;
        }
        const size_t first = line.find_first_not_of(" \t");
        std::string value;
        if (first != std::string::npos && line.compare(first, kName.size(), kName) == 0 &&
            quotedValue(line, first + kName.size(), value)) {
            if (value.compare(0, 5, "$HOME") == 0 && (value.size() == 5 || value[5] == '/')) {
                if (!home.empty())
                    result = home + value.substr(5);
            } else if (!value.empty() && value[0] == '/') {
                result = value;
            }
        }
        line.clear();
    }
    std::fclose(file);
    return result;
}

// mkdir -p, each level made with mode 0700.
bool createFolders(const std::string& path) {
    for (size_t slash = path.find('/', 1);; slash = path.find('/', slash + 1)) {
        const std::string part = path.substr(0, slash);
        if (!part.empty() && ::mkdir(part.c_str(), 0700) != 0 && errno != EEXIST)
            return false;
        if (slash == std::string::npos)
            return isDirectory(path);
    }
}

}  // namespace

std::wstring documentsFolder() {
    const std::string home = withoutTrailingSlashes(homeDirectory());
    std::string folder = documentsFromUserDirs(home);
    if (folder.empty() && !home.empty())
        folder = isDirectory(home + "/Documents") ? home + "/Documents" : home;
    return fromNativePath(withoutTrailingSlashes(folder));
}

std::wstring defaultLogFile(const std::wstring& product, bool createFolder) {
    const std::string state = baseDirectory("XDG_STATE_HOME", "/.local/state");
    if (state.empty())
        return std::wstring();
    const std::string folder = withoutTrailingSlashes(state) + "/kel";
    if (createFolder)
        createFolders(folder);
    return fromNativePath(folder) + L"/" + product + L".log";
}

}  // namespace kel::detail
