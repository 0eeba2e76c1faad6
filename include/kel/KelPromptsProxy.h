/// @file KelPromptsProxy.h
/// The door through which the library fetches the texts the user sees from the
/// host application's prompts database.
///
/// @code
///   KelPromptsProxy::getInstance()->setFunctions(hostGetPrompt, hostSelectDb, hostResetCache);
///   KelString caption;
///   if (KelPromptsProxy::getInstance()->findPrompt(caption, L"GUI", 14200)) { ... }
/// @endcode
///
/// The host plugs in its three functions once at start-up, before other
/// threads fetch prompts; nothing is locked. Until then every lookup yields
/// the empty text.

#ifndef KEL_KELPROMPTSPROXY_H
#define KEL_KELPROMPTSPROXY_H

#include <kel/KelExport.h>
#include <kel/KelString.h>

/// Returns the text for a key and number. When it has no text it returns
/// the key, a blank, "Prompt-" and the number: L"GUI Prompt-14200".
typedef KelString (*KelGetPromptFunction)(const KelString& key, long number);
/// Selects the prompts database that the getter reads.
typedef void (*KelSetPromptsDbIdxFunction)(unsigned long index);
/// Empties the host's prompt cache.
typedef void (*KelResetPromptsCacheFunction)();

/// @copydoc KelPromptsProxy.h
class KEL_API KelPromptsProxy {
public:
    /// The one instance, created when the library is loaded (null only if
    /// that failed) and never destroyed while it stays loaded.
    static KelPromptsProxy* getInstance();

    /// Copy the three function pointers.
    KelPromptsProxy(const KelPromptsProxy& other);
    /// @copydoc KelPromptsProxy(const KelPromptsProxy&)
    KelPromptsProxy& operator=(const KelPromptsProxy& other);

    /// Stores the getter, the database selector and the cache reset; any of
    /// them may be null. May be called again to replace them.
    void setFunctions(KelGetPromptFunction getPrompt, KelSetPromptsDbIdxFunction setPromptsDbIdx,
                      KelResetPromptsCacheFunction resetPromptsCache);

    /// True when a getter is set.
    bool canReadPrompts() const;

    /// The getter's text for `key` and `number`; the empty text without one.
    KelString getPrompt(const KelString& key, long number);

    /// Sets `text` to getPrompt(key, number) and returns 1 unless that text is
    /// exactly the not-found form "<key> Prompt-<number>", in which case it
    /// returns 0 (`text` keeps the not-found form). Without a getter `text`
    /// becomes empty and the result is 1.
    int findPrompt(KelString& text, const KelString& key, long number);

    /// Calls the database selector with `index`; does nothing without one.
    void setPromptsDbIdx(unsigned long index);

    /// Calls the cache reset; does nothing without one.
    void resetPromptsCache();

    /// The process-wide instance that getInstance returns.
    static KelPromptsProxy* m_pInstance;

private:
    KelPromptsProxy();
    virtual ~KelPromptsProxy();

    KelGetPromptFunction m_pGetPrompt;
    KelSetPromptsDbIdxFunction m_pSetPromptsDbIdx;
    KelResetPromptsCacheFunction m_pResetPromptsCache;
};

#endif  // KEL_KELPROMPTSPROXY_H
