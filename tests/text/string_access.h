// Test access to KelString's private state (the library befriends this
// struct for its own tests).

#ifndef KEL_TESTS_TEXT_STRING_ACCESS_H
#define KEL_TESTS_TEXT_STRING_ACCESS_H

#include <kel/KelString.h>

namespace kel::detail {

struct StringAccess {
    using CharArray = KelString::CharArray;

    static const KelStringRepr* rep(const KelString& s) { return s.m_rep; }
    static const KelStringRepr* emptyRep() { return KelString::m_repEmpty; }
    static int refCount(const KelString& s) { return s.m_rep->m_refCount; }
    static int refCount(const KelStringRepr* rep) { return rep->m_refCount; }
    static const char* cache(const KelString& s) { return s.m_charCache; }
    static bool initialized() { return KelString::m_bIsInitialized; }

    static bool findThreadId(unsigned long id, long& slot) {
        return KelString::findThreadId(id, slot);
    }
    static wchar_t* tempBufferWide() { return KelString::getTempBufferWide(); }
    static char* tempBuffer() { return KelString::getTempBuffer(); }
    static void resetTempBuffer() { KelString::resetTempBuffer(); }
    static void resetTempBufferWide() { KelString::resetTempBufferWide(); }

    static KelString fromArray(const CharArray& chars, int first, int last) {
        return KelString(chars, first, last);
    }
};

}  // namespace kel::detail

#endif  // KEL_TESTS_TEXT_STRING_ACCESS_H
