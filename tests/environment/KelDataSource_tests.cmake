# The data sources' tests, with real ODBC drivers: Debian's mdbtools driver
# registered as "Microsoft Access Driver (*.mdb, *.accdb)" and its SQLite
# driver as "Pelion ODBC Driver", in private odbcinst.ini files, one folder
# per set of drivers. unixODBC reads the file named by ODBCSYSINI once per
# process, so each set has test programs of its own. A Windows build runs
# the same drivers under Wine, whose odbc32 passes connections on to the
# build machine's unixODBC.

file(GLOB _kel_mdb_odbc_driver /usr/lib/*/odbc/libmdbodbc.so /usr/lib/odbc/libmdbodbc.so)
file(GLOB _kel_sqlite_odbc_driver
    /usr/lib/*/odbc/libsqlite3odbc.so /usr/lib/odbc/libsqlite3odbc.so)
# Cached, so that the test programs of other folders (the kel tool's) see them too.
set(_kel_mdb "")
set(_kel_sqlite "")
if(_kel_mdb_odbc_driver)
    list(GET _kel_mdb_odbc_driver 0 _kel_mdb)
endif()
if(_kel_sqlite_odbc_driver)
    list(GET _kel_sqlite_odbc_driver 0 _kel_sqlite)
endif()
set(KEL_TEST_MDB_ODBC_DRIVER "${_kel_mdb}" CACHE INTERNAL "")
set(KEL_TEST_SQLITE_ODBC_DRIVER "${_kel_sqlite}" CACHE INTERNAL "")

set(KEL_TEST_ODBC_DIR "${CMAKE_CURRENT_BINARY_DIR}/odbc" CACHE INTERNAL "")
set(_kel_default_entry "")
set(_kel_alternate_entry "")
if(KEL_TEST_MDB_ODBC_DRIVER)
    set(_kel_default_entry
        "[Microsoft Access Driver (*.mdb, *.accdb)]\nDescription=mdbtools\nDriver=${KEL_TEST_MDB_ODBC_DRIVER}\n\n")
endif()
if(KEL_TEST_SQLITE_ODBC_DRIVER)
    set(_kel_alternate_entry
        "[Pelion ODBC Driver]\nDescription=SQLite 3\nDriver=${KEL_TEST_SQLITE_ODBC_DRIVER}\n\n")
endif()
file(WRITE "${KEL_TEST_ODBC_DIR}/both/odbcinst.ini" "${_kel_default_entry}${_kel_alternate_entry}")
file(WRITE "${KEL_TEST_ODBC_DIR}/none/odbcinst.ini" "")
file(WRITE "${KEL_TEST_ODBC_DIR}/alternate/odbcinst.ini" "${_kel_alternate_entry}")
file(WRITE "${KEL_TEST_ODBC_DIR}/default/odbcinst.ini" "${_kel_default_entry}")

# kel_use_test_drivers(<test> <both|none|alternate|default>): the test
# program works with that set of drivers (KelDataSource_test_support.h).
function(kel_use_test_drivers name drivers)
    target_sources(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/environment/KelDataSource_test_support.cpp)
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests/environment)
    target_compile_definitions(${name} PRIVATE
        KEL_TEST_ODBC_DIR="${KEL_TEST_ODBC_DIR}"
        KEL_TEST_MDB_ODBC_DRIVER="${KEL_TEST_MDB_ODBC_DRIVER}"
        KEL_TEST_SQLITE_ODBC_DRIVER="${KEL_TEST_SQLITE_ODBC_DRIVER}")
    # Under Wine the variable has to reach the driver manager from outside.
    set_property(TEST ${name} APPEND PROPERTY ENVIRONMENT "ODBCSYSINI=${KEL_TEST_ODBC_DIR}/${drivers}")
    if(WIN32)
        # The driver list and the values the tests write are in the system
        # registry, shared with the store's tests.
        set_tests_properties(${name} PROPERTIES RESOURCE_LOCK system_registry)
    else()
        target_link_libraries(${name} PRIVATE SQLite::SQLite3)
    endif()
endfunction()

kel_add_test(KelDataSource_test SOURCES KelDataSource_test.cpp)
kel_add_test(KelDataSourcesUtilities_test SOURCES KelDataSourcesUtilities_test.cpp)
kel_use_test_drivers(KelDataSourcesUtilities_test both)
kel_add_test(KelDataSourcesUtilities_internal_test INTERNAL
    SOURCES KelDataSourcesUtilities_internal_test.cpp)
kel_use_test_drivers(KelDataSourcesUtilities_internal_test both)
kel_add_test(KelDataSourcesUtilities_replacement_test
    SOURCES KelDataSourcesUtilities_replacement_test.cpp)
kel_use_test_drivers(KelDataSourcesUtilities_replacement_test both)
kel_add_test(KelDataSourcesUtilities_nodrivers_test SOURCES KelDataSourcesUtilities_nodrivers_test.cpp)
kel_use_test_drivers(KelDataSourcesUtilities_nodrivers_test none)
kel_add_test(KelDataSourcesUtilities_alternate_test SOURCES KelDataSourcesUtilities_alternate_test.cpp)
kel_use_test_drivers(KelDataSourcesUtilities_alternate_test alternate)
kel_add_test(KelDataSourcesUtilities_defaultonly_test
    SOURCES KelDataSourcesUtilities_defaultonly_test.cpp)
kel_use_test_drivers(KelDataSourcesUtilities_defaultonly_test default)
