// Building a KelString result in the calling thread's wide scratch buffer.
//
// The buffer holds 524,288 characters, terminator included. A result that
// does not fit is reported once through the invalid-parameter handler, as
// the runtime's bounded append would, and leaves the buffer emptied: the
// caller assigns that empty text.
//
//   ScratchText out(buffer, KelString::kTempBufferSize);
//   out.append(text, n);
//   assign(out.data(), out.length());   // "" when it did not fit

#ifndef KEL_TEXT_SCRATCH_TEXT_H
#define KEL_TEXT_SCRATCH_TEXT_H

#include <cstddef>
#include <cstring>

#include "platform/invalid_parameter.h"

namespace kel::detail {

class ScratchText {
public:
    ScratchText(wchar_t* buffer, size_t capacity) : m_buffer(buffer), m_capacity(capacity) {
        m_buffer[0] = L'\0';
    }

    // Appends `length` characters; false (reported) when they do not fit.
    bool append(const wchar_t* text, size_t length) {
        if (m_overflow)
            return false;
        if (length >= m_capacity - m_length) {
            m_overflow = true;
            m_length = 0;
            m_buffer[0] = L'\0';
            invalidParameter(L"(\"Buffer is too small\", 0)", "KelString");
            return false;
        }
        std::memcpy(m_buffer + m_length, text, length * sizeof(wchar_t));
        m_length += length;
        m_buffer[m_length] = L'\0';
        return true;
    }

    bool append(wchar_t c) { return append(&c, 1); }

    bool ok() const { return !m_overflow; }
    size_t length() const { return m_length; }
    wchar_t* data() { return m_buffer; }

private:
    wchar_t* m_buffer;
    size_t m_capacity;
    size_t m_length = 0;
    bool m_overflow = false;
};

}  // namespace kel::detail

#endif  // KEL_TEXT_SCRATCH_TEXT_H
