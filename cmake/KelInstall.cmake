# Install rules: headers, the library, a CMake package (kel::kel) and kel.pc.

include(CMakePackageConfigHelpers)

set(KEL_INSTALL_CMAKEDIR "${CMAKE_INSTALL_LIBDIR}/cmake/kel")

install(TARGETS kel
    EXPORT kelTargets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/kel"
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
    FILES_MATCHING PATTERN "*.h")
install(FILES "${PROJECT_BINARY_DIR}/include/kel/KelVersion.h"
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kel)

install(EXPORT kelTargets
    NAMESPACE kel::
    DESTINATION ${KEL_INSTALL_CMAKEDIR})

configure_package_config_file(
    "${PROJECT_SOURCE_DIR}/cmake/kelConfig.cmake.in"
    "${PROJECT_BINARY_DIR}/kelConfig.cmake"
    INSTALL_DESTINATION ${KEL_INSTALL_CMAKEDIR})

write_basic_package_version_file(
    "${PROJECT_BINARY_DIR}/kelConfigVersion.cmake"
    VERSION ${PROJECT_VERSION}
    COMPATIBILITY SameMajorVersion)

install(FILES
    "${PROJECT_BINARY_DIR}/kelConfig.cmake"
    "${PROJECT_BINARY_DIR}/kelConfigVersion.cmake"
    DESTINATION ${KEL_INSTALL_CMAKEDIR})

# pkg-config: paths relative to the prefix so that a relocated install still works.
set(KEL_PC_LIBS_PRIVATE "")
foreach(_lib IN LISTS KEL_PKGCONFIG_PRIVATE_LIBS)
    string(APPEND KEL_PC_LIBS_PRIVATE " ${_lib}")
endforeach()
file(RELATIVE_PATH KEL_PC_PREFIX_FROM_PCDIR
    "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
string(REGEX REPLACE "/$" "" KEL_PC_PREFIX_FROM_PCDIR "${KEL_PC_PREFIX_FROM_PCDIR}")
configure_file("${PROJECT_SOURCE_DIR}/cmake/kel.pc.in" "${PROJECT_BINARY_DIR}/kel.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/kel.pc" DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
