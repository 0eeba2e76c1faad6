// The calling thread's last-error value and the Windows error codes the
// library reports through it.

#ifndef KEL_PLATFORM_LAST_ERROR_H
#define KEL_PLATFORM_LAST_ERROR_H

namespace kel::detail {

constexpr unsigned long kErrorSuccess = 0;
constexpr unsigned long kErrorFileNotFound = 2;
constexpr unsigned long kErrorPathNotFound = 3;
constexpr unsigned long kErrorAccessDenied = 5;
constexpr unsigned long kErrorInvalidHandle = 6;
constexpr unsigned long kErrorNotEnoughMemory = 8;
constexpr unsigned long kErrorFileExists = 80;
constexpr unsigned long kErrorInvalidParameter = 87;
constexpr unsigned long kErrorInsufficientBuffer = 122;
constexpr unsigned long kErrorAlreadyExists = 183;
constexpr unsigned long kErrorBadPipe = 230;
constexpr unsigned long kErrorNoData = 232;
constexpr unsigned long kErrorPipeNotConnected = 233;
constexpr unsigned long kErrorMoreData = 234;
constexpr unsigned long kErrorNoMoreItems = 259;
constexpr unsigned long kErrorPipeConnected = 535;
constexpr unsigned long kErrorDllInitFailed = 1114;

unsigned long lastError();
void setLastError(unsigned long code);

}  // namespace kel::detail

#endif  // KEL_PLATFORM_LAST_ERROR_H
