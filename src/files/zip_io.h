// File access for minizip by wide path.
//
// minizip opens archives through a table of file functions. This table
// takes the archive's name as a zero-terminated wide path (either
// separator), so names outside the narrow code page work on every system.
//
//   zlib_filefunc64_def io = nativeFileFunctions();
//   unzFile zip = unzOpen2_64(path.c_str(), &io);   // path: std::wstring

#ifndef KEL_FILES_ZIP_IO_H
#define KEL_FILES_ZIP_IO_H

#include <minizip/ioapi.h>

namespace kel::detail {

zlib_filefunc64_def nativeFileFunctions();

}  // namespace kel::detail

#endif  // KEL_FILES_ZIP_IO_H
