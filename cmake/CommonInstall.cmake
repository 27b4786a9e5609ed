# What users get: the library, its public headers, the tools, and the files by which CMake, pkg-config and debuggers find
# them. Everything finds everything else relative to itself, so that an installed tree can be moved. The components are
# the packages that cmake/CommonPackage.cmake makes.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Common)

install(TARGETS Common EXPORT CommonTargets
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT library
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
foreach(header IN LISTS COMMON_PUBLIC_HEADERS)
    get_filename_component(folder ${header} DIRECTORY)
    install(FILES ${header} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${folder} COMPONENT development)
endforeach()
install(FILES ${COMMON_WINDOWS_RUNTIME} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT library)
foreach(dll IN LISTS COMMON_WINDOWS_RUNTIME)
    # CMake strips what it has built alone
    get_filename_component(dll ${dll} NAME)
    install(CODE "if(CMAKE_INSTALL_DO_STRIP)
        execute_process(COMMAND \"${CMAKE_STRIP}\" \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/${dll}\")
    endif()" COMPONENT library)
endforeach()

install(EXPORT CommonTargets NAMESPACE Common:: DESTINATION ${package_dir} COMPONENT development)
configure_package_config_file(cmake/CommonConfig.cmake.in ${CMAKE_CURRENT_BINARY_DIR}/CommonConfig.cmake
    INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/CommonConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/CommonConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/CommonConfigVersion.cmake
    DESTINATION ${package_dir} COMPONENT development)

# the way from the folder of common.pc back to the prefix
file(RELATIVE_PATH COMMON_PC_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(cmake/common.pc.in ${CMAKE_CURRENT_BINARY_DIR}/common.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/common.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

# What debuggers need to show values: gdb takes its file by itself from the second place, where its name says which
# library it is for.
install(FILES debuggers/common-gdb.py debuggers/common.natvis DESTINATION ${CMAKE_INSTALL_DATADIR}/common
    COMPONENT development)
if(NOT WIN32)
    install(FILES debuggers/common-gdb.py COMPONENT development
        DESTINATION ${CMAKE_INSTALL_DATADIR}/gdb/auto-load${CMAKE_INSTALL_FULL_LIBDIR}
        RENAME libCommon.so.${PROJECT_VERSION}-gdb.py)
endif()

# The guides, and the reference where it is built; what complains about an undocumented name makes it.
set(doc_dir ${CMAKE_INSTALL_DATADIR}/doc/libcommon-doc)
if(WIN32)
    set(doc_dir ${CMAKE_INSTALL_DATADIR}/doc/common)
endif()
install(FILES README.md CONTRIBUTING.md DESTINATION ${doc_dir} COMPONENT documentation)
install(DIRECTORY docs/ DESTINATION ${doc_dir}/docs COMPONENT documentation PATTERN Doxyfile EXCLUDE)
if(COMMON_BUILD_REFERENCE)
    file(GLOB_RECURSE documented CONFIGURE_DEPENDS Common/*.h docs/*)
    set(reference_stamp ${CMAKE_CURRENT_BINARY_DIR}/reference/made)
    add_custom_command(OUTPUT ${reference_stamp}
        COMMAND tests/support/check-docs ${CMAKE_CURRENT_BINARY_DIR}/reference
        COMMAND ${CMAKE_COMMAND} -E touch ${reference_stamp}
        DEPENDS ${documented} README.md CONTRIBUTING.md tests/support/check-docs
        WORKING_DIRECTORY ${PROJECT_SOURCE_DIR} COMMENT "Making the reference")
    add_custom_target(CommonReference ALL DEPENDS ${reference_stamp})
    install(DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/reference/html DESTINATION ${doc_dir} COMPONENT documentation)
endif()

include(cmake/CommonPackage.cmake)
