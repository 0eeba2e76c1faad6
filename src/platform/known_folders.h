// Where the library's diagnostics go by default: the user's documents
// folder (the error tracer's report, the quick logger's files) and the
// default file of the static log writers.
//
//   std::wstring folder = documentsFolder();                  // "/home/ann/Documents"
//   std::wstring log = defaultLogFile(L"Gantrix", true);       // ".../state/kel/Gantrix.log"
//
// Nothing here is cached: each call looks at the environment (or asks the
// system) again, so a host that changes HOME or its user-dirs file sees the
// change with the next log it starts.

#ifndef KEL_PLATFORM_KNOWN_FOLDERS_H
#define KEL_PLATFORM_KNOWN_FOLDERS_H

#include <string>

namespace kel::detail {

// The user's documents folder, without a trailing separator; empty when the
// system names none. Windows: the personal folder of the shell
// (SHGetFolderPathW with the process's token). Elsewhere: XDG_DOCUMENTS_DIR
// from ${XDG_CONFIG_HOME:-$HOME/.config}/user-dirs.dirs, else
// $HOME/Documents when it exists, else $HOME. The folder is never created.
std::wstring documentsFolder();

// The log file of the static log writers for `product`. Windows: "c:\" +
// product + ".log". Elsewhere: ${XDG_STATE_HOME:-$HOME/.local/state}/kel/
// + product + ".log"; with `createFolder` the folder is created (mode 0700
// for each level made) when it is missing. Empty when no home is known.
std::wstring defaultLogFile(const std::wstring& product, bool createFolder);

}  // namespace kel::detail

#endif  // KEL_PLATFORM_KNOWN_FOLDERS_H
