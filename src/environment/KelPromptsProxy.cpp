#include <kel/KelPromptsProxy.h>

#include <new>

// Created when the library is loaded and never destroyed while it stays
// loaded: message boxes may fetch prompts until the very end.
KelPromptsProxy* KelPromptsProxy::m_pInstance = new (std::nothrow) KelPromptsProxy;

KelPromptsProxy* KelPromptsProxy::getInstance() {
    return m_pInstance;
}

KelPromptsProxy::KelPromptsProxy()
    : m_pGetPrompt(nullptr), m_pSetPromptsDbIdx(nullptr), m_pResetPromptsCache(nullptr) {}

KelPromptsProxy::KelPromptsProxy(const KelPromptsProxy& other)
    : m_pGetPrompt(other.m_pGetPrompt),
      m_pSetPromptsDbIdx(other.m_pSetPromptsDbIdx),
      m_pResetPromptsCache(other.m_pResetPromptsCache) {}

KelPromptsProxy& KelPromptsProxy::operator=(const KelPromptsProxy& other) {
    m_pGetPrompt = other.m_pGetPrompt;
    m_pSetPromptsDbIdx = other.m_pSetPromptsDbIdx;
    m_pResetPromptsCache = other.m_pResetPromptsCache;
    return *this;
}

KelPromptsProxy::~KelPromptsProxy() = default;

void KelPromptsProxy::setFunctions(KelGetPromptFunction getPrompt,
                                   KelSetPromptsDbIdxFunction setPromptsDbIdx,
                                   KelResetPromptsCacheFunction resetPromptsCache) {
    m_pGetPrompt = getPrompt;
    m_pSetPromptsDbIdx = setPromptsDbIdx;
    m_pResetPromptsCache = resetPromptsCache;
}

bool KelPromptsProxy::canReadPrompts() const {
    return m_pGetPrompt != nullptr;
}

KelString KelPromptsProxy::getPrompt(const KelString& key, long number) {
    return m_pGetPrompt != nullptr ? m_pGetPrompt(key, number) : KelString();
}

int KelPromptsProxy::findPrompt(KelString& text, const KelString& key, long number) {
    // What the host's getter answers when it has no text: "%s Prompt-%d" (the
    // number is a long here, hence %ld).
    KelString notFound;
    notFound.format(L"%s Prompt-%ld", key.getStringW(), number);
    text = getPrompt(key, number);
    return text == notFound ? 0 : 1;
}

void KelPromptsProxy::setPromptsDbIdx(unsigned long index) {
    if (m_pSetPromptsDbIdx != nullptr)
        m_pSetPromptsDbIdx(index);
}

void KelPromptsProxy::resetPromptsCache() {
    if (m_pResetPromptsCache != nullptr)
        m_pResetPromptsCache();
}
