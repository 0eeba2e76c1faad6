// Demonstration: log files, the module listing, file versions, object
// tracking, the performance monitor and the quick logger. The log files go
// to a temporary folder that is removed afterwards; the quick log goes to
// the user's documents folder, where the library puts it, and is removed
// again.

#include <kel/Kel.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "command.h"
#include "platform/known_folders.h"
#include "platform/path.h"

namespace kel::tool {

namespace {

namespace fs = std::filesystem;

std::string contents(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// A file's text on one line, line ends shown as \n.
std::string shownOnOneLine(const std::string& text) {
    std::string shown;
    for (char c : text) {
        if (c == '\n')
            shown += "\\n";
        else if (c != '\r')
            shown += c;
    }
    return "\"" + shown + "\"";
}

KelString wide(const fs::path& path) {
    return KelString(kel::detail::fromNativePath(path.native()).c_str());
}

void showLogs(const fs::path& folder) {
    KelLogfile::setLogStatus(1);
    KelLogfile log(wide(folder / "app.log"));
    log.appendWithSave(KelString(L"opened"));
    log.appendWithSave(KelString(L" and closed"));
    line("KelLogfile::appendWithSave twice     -> app.log " +
         shownOnOneLine(contents(folder / "app.log")));
    KelLogfile::logToFile(wide(folder / "run.log"), KelString(L"first entry"));
    KelLogfile::logToFile(wide(folder / "run.log"), KelString(L"second entry"));
    line("KelLogfile::logToFile twice          -> run.log " +
         shownOnOneLine(contents(folder / "run.log")));
    KelLogfile::setLogStatus(0);
    line("with logging off, appendWithSave     -> " +
         std::to_string(log.appendWithSave(KelString(L"lost"))));
}

void showListing(const fs::path& folder) {
    KelLogfile::listModules(wide(folder / "modules.log"));
    std::ifstream in(folder / "modules.log");
    std::vector<std::string> lines;
    for (std::string text; std::getline(in, text);)
        lines.push_back(text);
    line("KelLogfile::listModules(modules.log), the first lines:");
    for (size_t i = 0; i < lines.size() && i < 9; ++i)
        line("  " + lines[i]);
    if (lines.size() > 9)
        line("  ... " + std::to_string(lines.size() - 4) + " modules in all");
}

void showVersion() {
    // The C library's file is a shared object with a version in its name on
    // Linux; kernel32.dll has a version resource on Windows.
    const std::vector<std::wstring> candidates = {L"/lib/x86_64-linux-gnu/libz.so.1",
                                                  L"/usr/lib/x86_64-linux-gnu/libz.so.1",
                                                  L"C:\\Windows\\System32\\kernel32.dll"};
    for (const std::wstring& candidate : candidates) {
        KelString name(candidate.c_str());
        KelString version;
        if (KelLogfile::GetFileVersion(name, version) == 1) {
            line(L"KelLogfile::GetFileVersion(" + candidate + L") -> " + version.getStringW());
            return;
        }
    }
}

std::vector<std::wstring> g_debugLines;

void collect(const wchar_t* text, void*) {
    g_debugLines.push_back(text);
}

void showTracking() {
    int beam = 0;
    int plate = 0;
    g_debugLines.clear();
    kelSetDebugOutputHandler(collect, nullptr);
    KelDebugInterfaces::setCurrentContextInitiator(&beam);
    KelDebugInterfaces::objectConstructed(KelString(L"Beam"), &beam);
    KelDebugInterfaces::objectConstructed(KelString(L"Plate"), &plate);
    KelDebugInterfaces::objectDestroied(KelString(L"Beam"), &beam);
    KelDebugInterfaces::showResults(&beam);
    KelDebugInterfaces::contextInitiatorEnd(&beam);
    KelDebugInterfaces::clearAllDebugInfo(nullptr);
    kelSetDebugOutputHandler(nullptr, nullptr);
    if (g_debugLines.empty()) {
        line("object tracking is off (KEL_OBJECT_TRACKING=1 turns it on): nothing recorded");
        return;
    }
    line("object tracking is on; showResults wrote to the debug output:");
    for (const std::wstring& piece : g_debugLines)
        line(L"  " + piece.substr(1));
}

int showBox(HWND, const wchar_t* text, const wchar_t* caption, unsigned int, void*) {
    line(L"message box \"" + std::wstring(caption) + L"\": " + text);
    return IDOK;
}

void showPerformance(const fs::path& folder) {
    KelLogfile::setLogStatus(1);
    KelPerfMonitor perf(wide(folder / "perf.log"));
    perf.start(KelString(L"sum"));
    volatile double sum = 0;
    for (int i = 0; i < 20000000; ++i)
        sum = sum + i * 0.5;
    perf.end(KelString(L"sum"));
    kelSetMessageBoxHandler(showBox, nullptr);
    perf.endWithMessageBox(KelString(L"sum"));
    kelSetMessageBoxHandler(nullptr, nullptr);
    KelLogfile::setLogStatus(0);
    line("KelPerfMonitor start, end, endWithMessageBox -> perf.log (one line):");
    line("  " + contents(folder / "perf.log"));
}

void showQuickLogger() {
    const std::wstring name = L"kel demo " + std::to_wstring(std::random_device()());
    {
        QuickLogger log(name.c_str(), false);
        log.Write(L"the first entry", true);
        log.Write(L", continued", false);
    }
    const std::wstring documents = kel::detail::documentsFolder();
    const fs::path folder(kel::detail::toNativePath(documents));
    std::error_code error;
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
        const std::wstring file = kel::detail::fromNativePath(it->path().filename().native());
        if (file.compare(0, name.size() + 3, name + L" - ") != 0)
            continue;
        line(L"QuickLogger wrote \"" + file + L"\" in " + documents + L":");
        line("  " + shownOnOneLine(contents(it->path())));
        std::error_code ignored;
        fs::remove(it->path(), ignored);
        line("  (removed again)");
        return;
    }
    line(L"QuickLogger found no documents folder to write to: " + documents);
}

void showDiagnostics() {
    std::error_code ignored;
    const fs::path folder = fs::temp_directory_path() /
                            ("kel-demo-diagnostics-" + std::to_string(std::random_device()()));
    fs::create_directories(folder);
    showLogs(folder);
    line("");
    showListing(folder);
    showVersion();
    line("");
    showTracking();
    line("");
    showPerformance(folder);
    line("");
    showQuickLogger();
    fs::remove_all(folder, ignored);
}

const DemoSection diagnostics(60, "Diagnostics", showDiagnostics);

}  // namespace

}  // namespace kel::tool
