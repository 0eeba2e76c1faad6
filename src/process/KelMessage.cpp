#include <kel/KelMessage.h>
#include <kel/KelProductDefines.h>
#include <kel/KelPromptsProxy.h>

#include "platform/message_box.h"

HWND KelMessage::m_CadHWND = nullptr;
int KelMessage::m_propertySheetIsOpen = 0;

namespace {

// The caption of every prompt-based box.
constexpr const wchar_t* kCaptionSection = L"GUI";
constexpr long kCaptionNumber = 14200;

constexpr unsigned int kInformation = MB_ICONINFORMATION;
constexpr unsigned int kYesNo = MB_YESNO | MB_ICONINFORMATION;

KelString prompt(const KelString& section, long number) {
    KelPromptsProxy* prompts = KelPromptsProxy::getInstance();
    return prompts != nullptr ? prompts->getPrompt(section, number) : KelString();
}

int show(const KelString& text, const KelString& caption, unsigned int style, HWND owner) {
    return kel::detail::showMessageBox(owner, text.getStringW(), caption.getStringW(), style);
}

// A box whose text came from the caller or a prompt, captioned with the
// "GUI" 14200 prompt. The caller has checked showMessage().
int showWithPromptCaption(const KelString& text, unsigned int style, HWND owner) {
    return show(text, prompt(KelString(kCaptionSection), kCaptionNumber), style, owner);
}

HWND ownerOr(HWND owner) {
    return owner != nullptr ? owner : KelMessage::m_CadHWND;
}

}  // namespace

bool KelMessage::showMessage() {
    const KelPromptsProxy* prompts = KelPromptsProxy::getInstance();
    return m_propertySheetIsOpen == 0 && prompts != nullptr && prompts->canReadPrompts();
}

void KelMessage::setCadHWND(HWND hwnd) {
    m_CadHWND = hwnd;
}

void KelMessage::propertySheetOpen(int open) {
    m_propertySheetIsOpen = open;
}

int KelMessage::isPropertySheetOpen() {
    return m_propertySheetIsOpen;
}

void KelMessage::messageBox(const KelString& text, HWND owner) {
    if (showMessage())
        showWithPromptCaption(text, kInformation, ownerOr(owner));
}

void KelMessage::printError(const KelString& text) {
    messageBox(text, static_cast<HWND>(nullptr));
}

void KelMessage::messageBox(const KelString& section, int number) {
    if (showMessage())
        showWithPromptCaption(prompt(section, number), kInformation, m_CadHWND);
}

void KelMessage::messageBox(int number) {
    if (showMessage())
        showWithPromptCaption(prompt(KelString(kCaptionSection), number),
                              kInformation | MB_SETFOREGROUND | MB_TOPMOST, m_CadHWND);
}

void KelMessage::messageBox(int number, KelStringClassArray lines) {
    if (!showMessage())
        return;
    KelString text = prompt(KelString(kCaptionSection), number);
    for (long i = 0; i < lines.length(); ++i) {
        text += KelString(L"\n");
        text += lines[i];
    }
    showWithPromptCaption(text, kInformation, m_CadHWND);
}

int KelMessage::messageBoxYesNo(int number, HWND owner) {
    if (!showMessage())
        return 0;
    const KelString text = prompt(KelString(kCaptionSection), number);
    return showWithPromptCaption(text, kYesNo, ownerOr(owner)) == IDYES ? 1 : 0;
}

int KelMessage::messageBoxYesNo(const KelString& text) {
    if (!showMessage())
        return 0;
    return showWithPromptCaption(text, kYesNo, m_CadHWND) == IDYES ? 1 : 0;
}

int KelMessage::messageBox(const KelString& text, const KelString& caption, unsigned int style) {
    return show(text, caption, style, m_CadHWND);
}

int KelMessage::messageBox(const KelString& text, const KelString& caption, unsigned int style,
                           HWND owner) {
    return show(text, caption, style, owner);
}

int KelWinMessage::messageBox(const KelString& text) {
    return show(text, KelString(KelProductDefines::getGXProductName()), kInformation, nullptr);
}
