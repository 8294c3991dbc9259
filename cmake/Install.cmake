# `cmake --install`: the library, its public headers, and the files with which find_package(activeset)
# provides the target activeset::activeset.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/activeset)

# The static library contains the private BLAS, too.
get_target_property(private_blas activeset_blas IMPORTED_LOCATION)
set(static_library ${PROJECT_BINARY_DIR}/package/libactiveset.a)
add_custom_command(
    OUTPUT ${static_library}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/package
    COMMAND ${CMAKE_COMMAND} -E rm -f ${static_library}
    COMMAND printf "create ${static_library}\\naddlib $<TARGET_FILE:activeset_static>\\naddlib ${private_blas}\\nsave\\nend\\n" | ${CMAKE_AR} -M
    DEPENDS activeset_static activeset_blas_archive
    COMMENT "Joining the static library and its BLAS"
    VERBATIM)
add_custom_target(activeset_static_package ALL DEPENDS ${static_library})
install(FILES ${static_library} DESTINATION ${CMAKE_INSTALL_LIBDIR})
# The path from the file to the prefix is relative, so that the prefix can be moved.
file(RELATIVE_PATH ACTIVESET_PC_PREFIX ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" ACTIVESET_PC_PREFIX ${ACTIVESET_PC_PREFIX})
configure_file(${CMAKE_CURRENT_LIST_DIR}/activeset.pc.in ${PROJECT_BINARY_DIR}/activeset.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/activeset.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(
    TARGETS activeset
    EXPORT activesetTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
if(TARGET activeset_cli)
    # The tool finds the library relative to itself, so that the prefix can be moved.
    file(RELATIVE_PATH libdir ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    set_target_properties(activeset_cli PROPERTIES INSTALL_RPATH "$ORIGIN/${libdir}")
endif()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/activeset DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/NOTICE
        DESTINATION ${CMAKE_INSTALL_DOCDIR})

install(EXPORT activesetTargets NAMESPACE activeset:: DESTINATION ${package_dir})
configure_package_config_file(
    ${CMAKE_CURRENT_LIST_DIR}/activesetConfig.cmake.in ${PROJECT_BINARY_DIR}/activesetConfig.cmake
    INSTALL_DESTINATION ${package_dir})
# Before 1.0 a new minor version may change the interface.
write_basic_package_version_file(
    ${PROJECT_BINARY_DIR}/activesetConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/activesetConfig.cmake
              ${PROJECT_BINARY_DIR}/activesetConfigVersion.cmake
        DESTINATION ${package_dir})
