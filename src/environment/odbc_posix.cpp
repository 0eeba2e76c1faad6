// ODBC on POSIX: unixODBC's driver manager (libodbc) and installer
// (libodbcinst). Its SQLWCHAR is a 16-bit unit while wchar_t has 32 bits.

// clang-format off
#include <sql.h>
#include <sqlext.h>
#include <odbcinst.h>
// clang-format on

#include "environment/odbc_calls.inc"
