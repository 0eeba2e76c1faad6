// KelErrorTracer: errors with their call stacks, reported at the end of a
// command through the quick logger and a message box.

#include <kel/KelErrorTracer.h>

#include <kel/KelPerfMonitor.h>
#include <kel/KelProductDefines.h>
#include <kel/KelRegistry.h>

#include "platform/message_box.h"

// In this order: the instance's constructor empties the two lists, which
// must exist by then.
KelArray<KelString> KelErrorTracer::m_arrErrors;
KelArray<KelString> KelErrorTracer::m_arrErrorsInfo;
KelStackWalker* KelErrorTracer::m_pStackWalker = nullptr;
KelErrorTracer* KelErrorTracer::m_pInstance = new KelErrorTracer;

namespace {

const wchar_t kDefaultSymbolPaths[] = L"C:\\;";

// Empties a list and gives its storage back.
void clear(KelArray<KelString>& list) {
    list.setLogicalLength(0);
    list.setPhysicalLength(0);
}

}  // namespace

// Deliberate: the settings are not read here but by the first call that
// needs them. The instance is built while the library loads, and a read
// then would open the configuration store's files inside the start-up of
// every process that loads the library (before the host has named its
// product, and before a host or test has set up the store it wants).
KelErrorTracer::KelErrorTracer()
    : m_bEnabled(false),
      m_strDbgHelpPath(KelStackWalker::defaultLibraryPath()),
      m_strSymbolPaths(kDefaultSymbolPaths),
      m_bSettingsRead(false) {
    clear(m_arrErrors);
    clear(m_arrErrorsInfo);
}

KelErrorTracer::KelErrorTracer(const KelErrorTracer& other) : m_bSettingsRead(true) {
    other.readSettings();
    m_bEnabled = other.m_bEnabled;
    m_strDbgHelpPath = other.m_strDbgHelpPath;
    m_strSymbolPaths = other.m_strSymbolPaths;
}

KelErrorTracer& KelErrorTracer::operator=(const KelErrorTracer& other) {
    other.readSettings();
    m_bEnabled = other.m_bEnabled;
    m_strDbgHelpPath = other.m_strDbgHelpPath;
    m_strSymbolPaths = other.m_strSymbolPaths;
    m_bSettingsRead = true;
    return *this;
}

KelErrorTracer::~KelErrorTracer() = default;

KelErrorTracer* KelErrorTracer::GetInstance() {
    return m_pInstance;
}

void KelErrorTracer::readSettings() const {
    if (!m_bSettingsRead)
        const_cast<KelErrorTracer*>(this)->Reinitialize();
}

void KelErrorTracer::Reinitialize() {
    m_bSettingsRead = true;
    const KelString key = KelRegistry::getRegPathErrorTracer();
    int enabled = 0;
    m_bEnabled = KelRegistry::getRegValueCurrentUser(key, L"EnableErrorTracer", enabled, 0) == 1 &&
                 enabled != 0;
    KelString value;
    m_strDbgHelpPath = KelStackWalker::defaultLibraryPath();
    if (KelRegistry::getRegValueCurrentUser(key, L"DbgHelpFullPath", value, 0) == 1)
        m_strDbgHelpPath = value;
    m_strSymbolPaths = kDefaultSymbolPaths;
    if (KelRegistry::getRegValueCurrentUser(key, L"SymbolPaths", value, 0) == 1)
        m_strSymbolPaths = value;
    clear(m_arrErrors);
    clear(m_arrErrorsInfo);
}

bool KelErrorTracer::IsTraceEnabled() {
    readSettings();
    return m_bEnabled;
}

const KelString& KelErrorTracer::getDbgHelpPath() const {
    readSettings();
    return m_strDbgHelpPath;
}

const KelString& KelErrorTracer::getSymbolPaths() const {
    readSettings();
    return m_strSymbolPaths;
}

void KelErrorTracer::AddError(KelString text) {
    readSettings();
    if (!m_bEnabled)
        return;
    m_arrErrors.append(text);
    if (m_pStackWalker == nullptr)
        m_pStackWalker = new KelStackWalker(m_strDbgHelpPath, m_strSymbolPaths);
    if (m_pStackWalker->ShowCallstack() == 1)
        m_arrErrorsInfo.append(m_pStackWalker->getCallstackText());
    else
        m_arrErrorsInfo.append(KelString());
}

void KelErrorTracer::DumpErrors() {
    const long count = m_arrErrors.length();
    if (count <= 0)
        return;
    KelString message;
    message.format(
        L"The last command has caused %d errors.\nFor more detailed informations please see the "
        L"KelErrorTracer file from 'My Documents' folder.\n\nErrors:\n",
        static_cast<int>(count));
    const bool withStacks = m_arrErrorsInfo.length() == count;
    {
        QuickLogger report(L"KelErrorTracer", false);
        for (long i = 0; i < count; ++i) {
            const KelString& error = m_arrErrors[i];
            message.format(L"%s%d: %s\n", message.getStringW(), static_cast<int>(i + 1),
                           error.getStringW());
            report.Write(error.getStringW(), false);
            report.Write(L"\n", false);
            if (withStacks) {
                report.Write(m_arrErrorsInfo[i].getStringW(), false);
                report.Write(L"\n\n\n", false);
            }
        }
    }  // the report is closed before the box appears
    KelString caption;
    caption.format(L"%s - Error tracer", KelProductDefines::getGXProductName());
    kel::detail::showMessageBox(nullptr, message.getStringW(), caption.getStringW(),
                                MB_ICONINFORMATION);
    clear(m_arrErrors);
    clear(m_arrErrorsInfo);
}
