// The ODBC driver manager and its installer, as the data sources use them.
//
// One interface, two halves that differ only in how they reach the system's
// ODBC headers: unixODBC's libodbc and libodbcinst on POSIX
// (odbc_posix.cpp), odbc32 and odbccp32 on Windows (odbc_win32.cpp). The
// calls themselves are shared (odbc_calls.inc). The driver manager's wide
// text (SQLWCHAR) is UTF-16 on both systems, so the library's wide text is
// converted at this boundary where wchar_t is 32 bits wide.
//
//   void* environment = odbcCreateEnvironment();
//   if (environment && odbcConnect(environment, L"DRIVER={...};...") ==
//   OdbcConnectResult::Connected)

#ifndef KEL_ENVIRONMENT_ODBC_H
#define KEL_ENVIRONMENT_ODBC_H

#include <cstddef>
#include <string>
#include <vector>

#include "platform/utf.h"

namespace kel::detail {

// The capacity of the buffer the connection is completed into, in characters.
constexpr short kCompletedConnectionCharacters = 512;

// Allocates an environment handle (an SQLHENV) and asks for ODBC 3
// behaviour on it. Null when either step fails; a handle allocated before
// the failure is freed again.
void* odbcCreateEnvironment();

// Frees an environment handle from odbcCreateEnvironment; false for null
// or when the driver manager refuses.
bool odbcFreeEnvironment(void* environment);

enum class OdbcConnectResult {
    Connected,           // connected, and disconnected again
    Failed,              // the driver manager or the driver refused
    NoConnectionHandle,  // no connection handle could be allocated
};

// Allocates a connection handle on `environment`, connects with
// `connectionString` without prompting (SQLDriverConnectW, completing into
// a buffer of kCompletedConnectionCharacters), disconnects after a success
// and frees the handle in every case.
OdbcConnectResult odbcConnect(void* environment, const wchar_t* connectionString);

// The installed drivers' names as the installer lists them
// (SQLGetInstalledDriversW into a buffer of `capacity` characters), in its
// order and unchanged. Empty when the installer reports failure.
std::vector<std::wstring> odbcInstalledDriverNames(unsigned short capacity);

// The names in an installer's driver list: zero-terminated texts one after
// the other, ended by an empty one or by the end of the buffer.
std::vector<std::wstring> odbcDriverNames(const unsigned short* buffer, size_t capacity);

// Wide text as the driver manager's UTF-16 and back: a character beyond
// U+FFFF is a surrogate pair there.
Utf16String odbcText(const wchar_t* text);
std::wstring odbcWideText(const unsigned short* text, size_t length);

}  // namespace kel::detail

#endif  // KEL_ENVIRONMENT_ODBC_H
