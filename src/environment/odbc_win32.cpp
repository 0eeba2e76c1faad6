// ODBC on Windows: the system's driver manager (odbc32) and installer
// (odbccp32). Their headers need <windows.h> first.

// clang-format off
#include <windows.h>
#include <sql.h>
#include <sqlext.h>
#include <odbcinst.h>
// clang-format on

#include "environment/odbc_calls.inc"
