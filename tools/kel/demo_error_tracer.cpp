// Demonstration: the error tracer switched on in settings of the
// demonstration's own, two errors reported from nested functions, the box
// that announces them and the report in the documents folder (removed
// again afterwards).

#include <kel/Kel.h>

#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <string>

#include "command.h"
#include "environment/hive_store.h"
#include "platform/known_folders.h"
#include "platform/path.h"

#if defined(_MSC_VER)
#define DEMO_NOINLINE __declspec(noinline)
#else
#define DEMO_NOINLINE __attribute__((noinline))
#endif

namespace kel::tool {

namespace {

namespace fs = std::filesystem;

// The tracer's settings under a release of the demonstration's own
// ("...\Gantrix\KelDemo\Settings\ErrorTracer"), in a store of its own where
// the store is a file (KEL_REGISTRY_DIR); the key, the folder and the
// product's release are put back afterwards.
class DemoSettings {
public:
    DemoSettings()
        : m_release(KelProductDefines::getGXRelease()), m_folder(std::in_place, "tracer") {
        KelProductDefines::setGXRelease(L"KelDemo");
        KelRegistry::setRegistryPathes();
    }
    ~DemoSettings() {
        detail::deleteTree(detail::Hive::User, L"Software\\Norvane\\Gantrix\\KelDemo", 0);
        KelProductDefines::setGXRelease(m_release.c_str());
        KelRegistry::setRegistryPathes();
        m_folder.reset();  // the user's own store again, for the tracer's settings
        KelErrorTracer::GetInstance()->Reinitialize();
    }
    DemoSettings(const DemoSettings&) = delete;
    DemoSettings& operator=(const DemoSettings&) = delete;

private:
    std::wstring m_release;
    std::optional<DemoStoreFolder> m_folder;
};

DEMO_NOINLINE void checkProfile() {
    KelErrorTracer::GetInstance()->AddError(L"Beam B12: profile HEA 210 is not in the catalogue");
}

DEMO_NOINLINE void checkBeam() {
    checkProfile();
}

DEMO_NOINLINE void checkPlate() {
    KelErrorTracer::GetInstance()->AddError(L"Plate P3: thickness 0 mm");
}

DEMO_NOINLINE void checkModel() {
    checkBeam();
    checkPlate();
}

int showBox(HWND, const wchar_t* text, const wchar_t* caption, unsigned int, void*) {
    line(L"message box \"" + std::wstring(caption) + L"\":");
    std::wstring rest = text;
    for (size_t end; (end = rest.find(L'\n')) != std::wstring::npos; rest.erase(0, end + 1))
        line(L"  | " + rest.substr(0, end));
    if (!rest.empty())
        line(L"  | " + rest);
    return IDOK;
}

std::set<fs::path> reportsIn(const fs::path& folder) {
    std::set<fs::path> found;
    std::error_code error;
    for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
        if (it->path().filename().string().rfind("KelErrorTracer - ", 0) == 0)
            found.insert(it->path());
    }
    return found;
}

void showReport(const fs::path& folder, const std::set<fs::path>& before) {
    for (const fs::path& report : reportsIn(folder)) {
        if (before.count(report) != 0)
            continue;
        line(L"the report: " + detail::fromNativePath(report.native()));
        std::ifstream in(report);
        int shown = 0;
        for (std::string text; std::getline(in, text) && shown < 14; ++shown)
            line("  | " + text);
        line("  | ...");
        in.close();
        std::error_code ignored;
        fs::remove(report, ignored);
        line("  (removed again)");
        return;
    }
    line(L"no report was written: no documents folder (" + detail::documentsFolder() + L")");
}

void showErrorTracer() {
    DemoSettings settings;
    KelErrorTracer* tracer = KelErrorTracer::GetInstance();
    const KelString key = KelRegistry::getRegPathErrorTracer();
    KelRegistry::setRegValueCurrentUser(key, L"EnableErrorTracer", 1);
    tracer->Reinitialize();
    line(L"\"EnableErrorTracer\" = 1 under " + std::wstring(key.getStringW()));
    line(std::string("Reinitialize()      -> IsTraceEnabled() = ") +
         (tracer->IsTraceEnabled() ? "true" : "false"));
    line(L"                       debug-help library \"" +
         std::wstring(tracer->getDbgHelpPath().getStringW()) + L"\", symbol paths \"" +
         tracer->getSymbolPaths().getStringW() + L"\"");
    checkModel();
    line("AddError from checkProfile (called by checkBeam) and from checkPlate");
    line("                    -> " + std::to_string(KelErrorTracer::m_arrErrors.length()) +
         " errors, stack texts of " + std::to_string(KelErrorTracer::m_arrErrorsInfo[0].length()) +
         " and " + std::to_string(KelErrorTracer::m_arrErrorsInfo[1].length()) + " characters");
    line("DumpErrors():");
    const fs::path folder(detail::toNativePath(detail::documentsFolder()));
    const std::set<fs::path> before = reportsIn(folder);
    kelSetMessageBoxHandler(showBox, nullptr);
    tracer->DumpErrors();
    kelSetMessageBoxHandler(nullptr, nullptr);
    showReport(folder, before);
}

const DemoSection errorTracer(62, "Error tracer", showErrorTracer);

}  // namespace

}  // namespace kel::tool
