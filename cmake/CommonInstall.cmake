# What users get: the library, its public headers, the tools, and the files by which CMake and pkg-config find them.
# Everything finds everything else relative to itself, so that an installed tree can be moved.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Common)

install(TARGETS Common EXPORT CommonTargets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
foreach(header IN LISTS COMMON_PUBLIC_HEADERS)
    get_filename_component(folder ${header} DIRECTORY)
    install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${folder})
endforeach()
install(FILES ${COMMON_WINDOWS_RUNTIME} DESTINATION ${CMAKE_INSTALL_BINDIR})

install(EXPORT CommonTargets NAMESPACE Common:: DESTINATION ${package_dir})
configure_package_config_file(cmake/CommonConfig.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/CommonConfig.cmake
    INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/CommonConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/CommonConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/CommonConfigVersion.cmake
    DESTINATION ${package_dir})

# the way from the folder of common.pc back to the prefix
file(RELATIVE_PATH COMMON_PC_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(cmake/common.pc.in ${CMAKE_CURRENT_BINARY_DIR}/common.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/common.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
