// OrbisException: an error code whose handling shows its message box.

#include <kel/OrbisException.h>

#include <kel/KelMessage.h>

OrbisException::OrbisException() : m_iErrorCode(0) {}

OrbisException::OrbisException(int code) : m_iErrorCode(code) {}

OrbisException::OrbisException(const OrbisException& other) : m_iErrorCode(other.m_iErrorCode) {}

OrbisException& OrbisException::operator=(const OrbisException& other) {
    m_iErrorCode = other.m_iErrorCode;
    return *this;
}

OrbisException::~OrbisException() = default;

void OrbisException::handleMe() {
    // Deliberate: the code 199 never shows a box.
    if (m_iErrorCode == kSilentCode)
        return;
    KelMessage::messageBox(m_iErrorCode);
}

int OrbisException::getErrorCode() const {
    return m_iErrorCode;
}
