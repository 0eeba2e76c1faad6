kel_add_fuzzer(reg_file_fuzz SOURCES ${CMAKE_CURRENT_SOURCE_DIR}/reg_file_fuzz.cpp)
