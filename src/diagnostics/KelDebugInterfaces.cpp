#include <kel/KelDebugInterfaces.h>
#include <kel/KelLogfile.h>
#include <kel/KelPlatform.h>

#include <cstdint>
#include <string>

#include "diagnostics/log_stream.h"
#include "text/runtime_services.h"

namespace {

// Read once, as the library loads: a developer turns tracking on for a whole
// run with KEL_OBJECT_TRACKING=1; nothing in the library turns it on.
int trackingRequested() {
    std::string value;
    return kel::detail::services::environmentValue("KEL_OBJECT_TRACKING", value) && value == "1"
               ? 1
               : 0;
}

// One piece of showResults' text: to the (empty) hook of the log family and
// to the debug output, where a developer who turned tracking on sees it.
void emit(const std::wstring& text) {
    KelOutputDebugString(KelString(text.c_str()));
    kelOutputDebugString(text.c_str());
}

}  // namespace

KelArray<void*> KelDebugInterfaces::m_ContextInitiators;
KelArray<KelDebugInterfaces::DebugInfo> KelDebugInterfaces::m_Info;
int KelDebugInterfaces::m_bTrackingOn = trackingRequested();

void KelDebugInterfaces::setCurrentContextInitiator(void* ctx) {
    if (m_bTrackingOn == 0)
        return;
    m_ContextInitiators.append(ctx);
}

void KelDebugInterfaces::contextInitiatorEnd(void* ctx) {
    if (m_bTrackingOn == 0 || m_ContextInitiators.length() <= 0)
        return;
    if (m_ContextInitiators.last() == ctx)
        m_ContextInitiators.removeLast();
}

void KelDebugInterfaces::objectConstructed(const KelString& name, void* obj) {
    if (m_bTrackingOn == 0)
        return;
    DebugInfo info;
    info.m_pContextInitiator =
        m_ContextInitiators.length() > 0 ? m_ContextInitiators.last() : nullptr;
    info.m_ClassName = name;
    info.m_pObject = obj;
    info.m_bDestroyed = 0;
    m_Info.append(info);
}

void KelDebugInterfaces::objectDestroied(const KelString& name, void* obj) {
    if (m_bTrackingOn == 0)
        return;
    KelString className(name);
    const int index = getIndexAt(className, obj);
    if (index >= 0)
        m_Info[index].m_bDestroyed = 1;
}

void KelDebugInterfaces::clearAllDebugInfo(void* ctx) {
    if (m_bTrackingOn == 0)
        return;
    if (ctx == nullptr) {
        m_Info = KelArray<DebugInfo>();
        return;
    }
    for (long i = m_Info.length() - 1; i >= 0; --i) {
        if (m_Info[i].m_pContextInitiator == ctx)
            m_Info.removeAt(i);
    }
}

void KelDebugInterfaces::showResults(void* ctx) {
    if (m_bTrackingOn == 0)
        return;
    int reported = 0;
    for (long i = 0; i < m_Info.length(); ++i) {
        const DebugInfo& info = m_Info[i];
        if (info.m_bDestroyed != 0 || (ctx != nullptr && info.m_pContextInitiator != ctx))
            continue;
        if (reported == 0)
            emit(L"\n Coclasses not destructed:");
        const auto address =
            static_cast<unsigned int>(reinterpret_cast<uintptr_t>(info.m_pObject) & 0xFFFFFFFFu);
        emit(kel::detail::formatText(L"\n %d [%d] %08x %s", static_cast<int>(i), reported, address,
                                     info.m_ClassName.getStringW()));
        ++reported;
    }
}

int KelDebugInterfaces::entriesNumber() {
    return static_cast<int>(m_Info.length());
}

int KelDebugInterfaces::getIndexAt(KelString& name, void* obj) {
    for (long i = 0; i < m_Info.length(); ++i) {
        const DebugInfo& info = m_Info[i];
        if (info.m_pObject == obj && info.m_bDestroyed == 0 && info.m_ClassName == name) {
            return static_cast<int>(i);
        }
    }
    return -1;
}
