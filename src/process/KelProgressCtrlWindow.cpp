#include <kel/KelProgressCtrl.h>

#include <cwchar>

#include "platform/secure_zero.h"
#include "process/ui_backend.h"

namespace {

void freeTitle(wchar_t*& title) {
    if (title == nullptr)
        return;
    kel::detail::secureZero(title, (std::wcslen(title) + 1) * sizeof(wchar_t));
    delete[] title;
    title = nullptr;
}

wchar_t* copyOf(const wchar_t* text) {
    if (text == nullptr)
        return nullptr;
    const size_t length = std::wcslen(text);
    wchar_t* copy = new wchar_t[length + 1];
    std::wmemcpy(copy, text, length + 1);
    return copy;
}

}  // namespace

KelProgressCtrlWindow::KelProgressCtrlWindow()
    : m_on(0), m_title(nullptr), m_percent(0), m_active(0) {}

KelProgressCtrlWindow::KelProgressCtrlWindow(const KelProgressCtrlWindow& other)
    : m_on(other.m_on),
      m_title(copyOf(other.m_title)),
      m_percent(other.m_percent),
      m_active(other.m_active) {}

KelProgressCtrlWindow& KelProgressCtrlWindow::operator=(const KelProgressCtrlWindow& other) {
    if (this == &other)
        return *this;
    m_on = other.m_on;
    storeTitle(other.m_title);
    m_percent = other.m_percent;
    m_active = other.m_active;
    return *this;
}

KelProgressCtrlWindow::~KelProgressCtrlWindow() {
    freeTitle(m_title);
}

void KelProgressCtrlWindow::storeTitle(const wchar_t* title) {
    wchar_t* copy = copyOf(title);  // before freeing: `title` may be our own
    freeTitle(m_title);
    m_title = copy;
}

int KelProgressCtrlWindow::activate(KelString title) {
    reset();
    storeTitle(title.getStringW());
    namespace ui = kel::detail::ui;
    if (ui::createProgressDialog()) {
        ui::setProgressTitle(m_title);
        m_active = 1;
    } else {
        m_active = 0;
    }
    return m_active;
}

int KelProgressCtrlWindow::reset() {
    if (m_active)
        kel::detail::ui::destroyProgressDialog();
    m_percent = 0;
    m_active = 0;
    return 1;
}

int KelProgressCtrlWindow::setTitle(const KelString& title) {
    storeTitle(title.getStringW());
    if (m_active)
        kel::detail::ui::setProgressTitle(m_title);
    return m_active;
}

int KelProgressCtrlWindow::getTitle(KelString& title) const {
    title = m_title != nullptr ? m_title : L"";
    return m_active;
}

int KelProgressCtrlWindow::setPercentage(int percent, int force) {
    if (percent < 0 || percent > 100)
        return 0;
    // Progress never goes back unless forced; an unchanged value is no news.
    if ((percent < m_percent && !force) || percent == m_percent)
        return 0;
    m_percent = percent;
    if (m_active)
        kel::detail::ui::setProgressPercent(percent);
    return m_active;
}

int KelProgressCtrlWindow::getPercentage(int& percent) const {
    percent = m_percent;
    return m_active;
}

int KelProgressCtrlWindow::isActive() const {
    return m_active;
}

int KelProgressCtrlWindow::getActivity() const {
    return m_active;
}

void KelProgressCtrlWindow::setActivity(int active) {
    m_active = active;
}

int KelProgressCtrlWindow::getOn() const {
    return m_on;
}

void KelProgressCtrlWindow::switchOn() {
    m_on = 1;
}

void KelProgressCtrlWindow::switchOff() {
    m_on = 0;
}
