#include "virtual_display.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <thread>

#include "support/isolation.h"

namespace kel::test {

namespace {

// Starts `command` (searched on PATH) with /dev/null as its standard input
// and error, its standard output on `outFd` (-1: /dev/null), and `keepFd`,
// when given, as its descriptor 3. The test's own descriptors are made with
// O_CLOEXEC, so nothing else leaks into the child. Returns the child's id,
// or -1.
pid_t spawn(const std::vector<std::string>& command, int outFd, int keepFd = -1) {
    std::vector<char*> argv;
    for (const std::string& part : command)
        argv.push_back(const_cast<char*>(part.c_str()));
    argv.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    if (outFd >= 0)
        posix_spawn_file_actions_adddup2(&actions, outFd, 1);
    else
        posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    if (keepFd >= 0)
        posix_spawn_file_actions_adddup2(&actions, keepFd, 3);
    pid_t pid = -1;
    if (posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ) != 0)
        pid = -1;
    posix_spawn_file_actions_destroy(&actions);
    return pid;
}

}  // namespace

bool haveProgram(const std::string& program) {
    const char* path = std::getenv("PATH");
    std::stringstream dirs(path != nullptr ? path : "/usr/bin:/bin");
    std::string dir;
    while (std::getline(dirs, dir, ':')) {
        if (!dir.empty() && access((dir + "/" + program).c_str(), X_OK) == 0)
            return true;
    }
    return false;
}

int run(const std::vector<std::string>& command, std::string* out) {
    int fds[2] = {-1, -1};
    if (out != nullptr && pipe2(fds, O_CLOEXEC) != 0)
        return -1;
    const pid_t pid = spawn(command, out != nullptr ? fds[1] : -1);
    if (out != nullptr) {
        close(fds[1]);
        out->clear();
        char buffer[4096];
        ssize_t n;
        while ((n = read(fds[0], buffer, sizeof buffer)) > 0)
            out->append(buffer, static_cast<size_t>(n));
        close(fds[0]);
    }
    if (pid < 0)
        return -1;
    int status = 0;
    if (waitpid(pid, &status, 0) != pid || !WIFEXITED(status))
        return -1;
    return WEXITSTATUS(status);
}

VirtualDisplay::~VirtualDisplay() {
    stop();
}

bool VirtualDisplay::start(std::string& reason) {
    if (!haveProgram("Xvfb")) {
        reason = "Xvfb is not installed (Debian package xvfb)";
        return false;
    }
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) != 0) {
        reason = "no pipe for Xvfb's display number";
        return false;
    }
    // Xvfb picks a free display number and writes it to the descriptor.
    m_pid = spawn(
        {"Xvfb", "-displayfd", "3", "-screen", "0", "1024x768x24", "-nolisten", "tcp", "-noreset"},
        -1, fds[1]);
    close(fds[1]);
    std::string number;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (m_pid > 0 && number.find('\n') == std::string::npos &&
           std::chrono::steady_clock::now() < deadline) {
        pollfd p = {fds[0], POLLIN, 0};
        if (poll(&p, 1, 100) <= 0)
            continue;
        char c;
        if (read(fds[0], &c, 1) != 1)
            break;
        number += c;
    }
    close(fds[0]);
    if (number.find('\n') == std::string::npos) {
        stop();
        reason = "Xvfb did not start";
        return false;
    }
    number.pop_back();
    m_name = ":" + number;
    setEnv("DISPLAY", m_name.c_str());
    setEnv("WAYLAND_DISPLAY", nullptr);
    return true;
}

void VirtualDisplay::stop() {
    if (m_pid > 0) {
        kill(m_pid, SIGTERM);
        int status;
        waitpid(m_pid, &status, 0);
        m_pid = -1;
    }
    if (!m_name.empty()) {
        setEnv("DISPLAY", nullptr);
        m_name.clear();
    }
}

unsigned long findWindow(const std::string& name, double seconds) {
    const auto deadline = std::chrono::steady_clock::now() +
                          std::chrono::milliseconds(static_cast<long>(seconds * 1000));
    for (;;) {
        std::string out;
        if (run({"xdotool", "search", "--onlyvisible", "--name", name}, &out) == 0 && !out.empty())
            return std::stoul(out);
        if (std::chrono::steady_clock::now() >= deadline)
            return 0;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
}

bool windowVisible(const std::string& name) {
    return findWindow(name, 0) != 0;
}

bool pressKeys(const std::string& name, const std::vector<std::string>& keys, double seconds) {
    const unsigned long id = findWindow(name, seconds);
    if (id == 0)
        return false;
    const std::string window = std::to_string(id);
    // Give GTK a moment to finish showing the box before typing into it.
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    if (run({"xdotool", "windowfocus", "--sync", window}) != 0)
        return false;
    for (const std::string& key : keys) {
        if (run({"xdotool", "key", "--clearmodifiers", key}) != 0)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(150));
    }
    return true;
}

bool screenshot(unsigned long id, const std::string& path) {
    return run({"import", "-window", std::to_string(id), path}) == 0;
}

std::string pixel(const std::string& path, int x, int y) {
    std::string out;
    const std::string format = "%[pixel:p{" + std::to_string(x) + "," + std::to_string(y) + "}]";
    if (run({"convert", path, "-format", format, "info:"}, &out) != 0)
        return std::string();
    return out;
}

}  // namespace kel::test
