#include <kel/KelLogfile.h>
#include <kel/KelProductDefines.h>

#include <string>

#include "diagnostics/file_version.h"
#include "diagnostics/log_stream.h"
#include "diagnostics/module_list.h"
#include "platform/known_folders.h"

namespace {

constexpr int kNameLength = 255;

// Set until the first logToFile of the process, which empties its file.
int g_firstLogToFile = 1;

// The file of a static writer: the given name, or the product's default log
// (whose folder is created where the system needs one).
std::wstring staticTarget(const KelString& fileName) {
    if (!fileName.isEmpty())
        return fileName.getStringW();
    return kel::detail::defaultLogFile(KelProductDefines::getGXProductName(), true);
}

}  // namespace

int KelLogfile::doLogging = 0;

KelLogfile::KelLogfile() : KelLogfile(KelString(L"Ferrolab.LOG")) {}

KelLogfile::KelLogfile(const KelString& name)
    : m_fileName(name.left(kNameLength)), m_pFile(nullptr), m_nReserved(0) {}

KelLogfile::KelLogfile(const KelLogfile& other) = default;

KelLogfile& KelLogfile::operator=(const KelLogfile& other) = default;

KelLogfile::~KelLogfile() {
    if (doLogging != 0 && m_pFile != nullptr)
        kel::detail::closeLog(m_pFile);
}

int KelLogfile::reset() {
    if (doLogging == 0)
        return 0;
    assertClose();
    m_pFile = kel::detail::openLog(m_fileName.getStringW(), L"w");
    if (m_pFile == nullptr)
        return 0;
    kel::detail::closeLog(m_pFile);
    m_pFile = nullptr;
    return 1;
}

int KelLogfile::appendWithSave(const KelString& text) {
    if (doLogging == 0)
        return 0;
    m_pFile = kel::detail::openLog(m_fileName.getStringW(), L"a+");
    if (m_pFile == nullptr)
        return 0;
    const int count = kel::detail::printLog(m_pFile, L"%s", text.getStringW());
    kel::detail::closeLog(m_pFile);
    m_pFile = nullptr;
    return count > 0 ? 1 : 0;
}

int KelLogfile::assertClose() {
    if (doLogging == 0 || m_pFile == nullptr)
        return 0;
    kel::detail::closeLog(m_pFile);
    m_pFile = nullptr;
    return 1;
}

void KelLogfile::setLogStatus(int status) {
    doLogging = status;
}

int KelLogfile::getLogStatus() {
    return doLogging;
}

void KelLogfile::logToFile(const KelString& fileName, const KelString& text) {
    const std::wstring target = staticTarget(fileName);
    if (g_firstLogToFile != 0) {
        g_firstLogToFile = 0;
        kel::detail::truncateLeavingOpen(target);
    }
    // The open is not checked: a log that cannot be opened is skipped
    // silently.
    std::FILE* stream = kel::detail::openLog(target, L"a+");
    kel::detail::printLog(stream, L"\n%s", text.getStringW());
    kel::detail::closeLog(stream);
}

void KelLogfile::listModules(const KelString& fileName) {
    kel::detail::writeModuleListing(staticTarget(fileName));
}

int KelLogfile::GetFileVersion(KelString& fileName, KelString& version) {
    kel::detail::FileVersion found;
    int error = 0;
    const std::wstring queried = fileName.getStringW();
    if (kel::detail::readFileVersion(queried, found, error) != kel::detail::VersionLookup::Found)
        return 0;
    version = kel::detail::formatFileVersion(found).c_str();
    fileName = queried.c_str();
    return 1;
}

void KelOutputDebugString(const KelString&) {
    // Deliberately empty: the hook stays for callers that keep it in their
    // code.
}
