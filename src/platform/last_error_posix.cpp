#include <kel/KelPlatform.h>

#include "platform/last_error.h"

namespace kel::detail {

namespace {
thread_local unsigned long t_lastError = kErrorSuccess;
}

unsigned long lastError() {
    return t_lastError;
}

void setLastError(unsigned long code) {
    t_lastError = code;
}

}  // namespace kel::detail

unsigned long kelGetLastError() {
    return kel::detail::lastError();
}

void kelSetLastError(unsigned long code) {
    kel::detail::setLastError(code);
}
