// Why the last archive operation of this thread failed, for the kel tool's
// error lines ("kel unzip: cannot extract a.txt: the CRC-32 does not
// match"). The archive classes return only true or false; they leave the
// reason here as they fail.
//
//   if (!zip.UnzipFile(folder)) std::puts(kel::detail::zipFailure().c_str());

#ifndef KEL_FILES_ZIP_FAILURE_H
#define KEL_FILES_ZIP_FAILURE_H

#include <string>

namespace kel::detail {

// The reason of this thread's last failure; empty when the last operation
// that records one succeeded.
const std::string& zipFailure();

// Records `reason` and returns false, for `return failWith("...")`.
bool failWith(std::string reason);

// Records the system's reason (the thread's last error) after `what`:
// "cannot create the file: access denied".
bool failWithSystemError(const std::string& what);

// Forgets the last reason.
void clearZipFailure();

}  // namespace kel::detail

#endif  // KEL_FILES_ZIP_FAILURE_H
