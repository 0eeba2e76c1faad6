// The last-error value on Windows is the system's own, so that the host's
// GetLastError sees what the library set and the other way round.

#include <windows.h>

#include <kel/KelPlatform.h>

#include "platform/last_error.h"

namespace kel::detail {

unsigned long lastError() {
    return ::GetLastError();
}

void setLastError(unsigned long code) {
    ::SetLastError(code);
}

}  // namespace kel::detail

unsigned long kelGetLastError() {
    return ::GetLastError();
}

void kelSetLastError(unsigned long code) {
    ::SetLastError(code);
}
