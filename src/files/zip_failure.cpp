#include "files/zip_failure.h"

#include <utility>

#include "platform/last_error.h"
#include "platform/per_thread.h"

namespace kel::detail {

namespace {

// The calling thread's reason for its last failure.
std::string& threadReason() {
    return perThread<std::string, struct ZipFailureReason>();
}

const char* systemReason(unsigned long code) {
    switch (code) {
        case kErrorFileNotFound:
            return "file not found";
        case kErrorPathNotFound:
            return "path not found";
        case kErrorAccessDenied:
            return "access denied";
        case 19:
            return "the medium is write-protected";
        case 112:
            return "the disk is full";
        case 206:
            return "the file name is too long";
        default:
            return nullptr;
    }
}

}  // namespace

const std::string& zipFailure() {
    return threadReason();
}

bool failWith(std::string reason) {
    threadReason() = std::move(reason);
    return false;
}

bool failWithSystemError(const std::string& what) {
    const unsigned long code = lastError();
    const char* reason = systemReason(code);
    return failWith(what + ": " +
                    (reason != nullptr ? reason : "system error " + std::to_string(code)));
}

void clearZipFailure() {
    threadReason().clear();
}

}  // namespace kel::detail
