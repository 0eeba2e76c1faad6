#include <windows.h>

#include "platform/clock.h"

namespace kel::detail {

void systemTimeNow(SYSTEMTIME& now) {
    ::GetSystemTime(&now);
}

void localTimeNow(SYSTEMTIME& now) {
    ::GetLocalTime(&now);
}

}  // namespace kel::detail
