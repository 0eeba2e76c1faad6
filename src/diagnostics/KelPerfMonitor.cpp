#include <kel/KelPerfMonitor.h>
#include <kel/KelProductDefines.h>

#include <ctime>
#include <string>

#include "diagnostics/log_stream.h"
#include "platform/message_box.h"

namespace {

// The C runtime's processor clock in milliseconds: CLOCKS_PER_SEC is 1000
// on Windows and a million on POSIX systems.
int clockMilliseconds() {
    return static_cast<int>(static_cast<long long>(std::clock()) * 1000 / CLOCKS_PER_SEC);
}

}  // namespace

KelPerfMonitor::KelPerfMonitor() : KelPerfMonitor(KelString(L"FerrolabPerf.LOG")) {}

KelPerfMonitor::KelPerfMonitor(const KelString& fileName)
    : KelLogfile(fileName), m_nStartTicks(0), m_nEndTicks(0) {}

// The entries carry no line break on purpose: consecutive entries follow
// each other on one line of the log, which is the output readers expect.
void KelPerfMonitor::start(const KelString& label) {
    m_nStartTicks = clockMilliseconds();
    appendWithSave(
        kel::detail::formatText(L"Start = %s : %d", label.getStringW(), m_nStartTicks).c_str());
}

void KelPerfMonitor::end(const KelString& label) {
    m_nEndTicks = clockMilliseconds();
    appendWithSave(kel::detail::formatText(L"End = %s : %d -> %d (Diff = %d)", label.getStringW(),
                                           m_nStartTicks, m_nEndTicks, m_nEndTicks - m_nStartTicks)
                       .c_str());
}

void KelPerfMonitor::endWithMessageBox(const KelString& label) {
    end(label);
    const std::wstring text =
        kel::detail::formatText(L"%s : %d -> %d (Diff = %d)", label.getStringW(), m_nStartTicks,
                                m_nEndTicks, m_nEndTicks - m_nStartTicks);
    kel::detail::showMessageBox(nullptr, text.c_str(), KelProductDefines::getGXProductName(),
                                MB_OK | MB_ICONINFORMATION);
}
