kel_add_fuzzer(pe_version_fuzz SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/pe_version_fuzz.cpp)
