# `cpack` in a build makes the packages. On Debian and its kin: libcommon, libcommon-dev, libcommon-tools, libcommon-doc,
# and a package with the symbols for debuggers beside each of those with machine code; the preset "package" is the build
# for them. For Windows: a zip with everything, from "package-windows-x64" and "package-windows-x86".
set(CPACK_PACKAGE_NAME common)
set(CPACK_PACKAGE_VENDOR "The Common project")
set(CPACK_PACKAGE_CONTACT "The Common project <common@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/packages)
set(CPACK_VERBATIM_VARIABLES ON)

if(WIN32)
    set(CPACK_GENERATOR ZIP)
    set(CPACK_STRIP_FILES ON)
    math(EXPR bits "8 * ${CMAKE_SIZEOF_VOID_P}")
    string(REPLACE 32 86 bits ${bits})
    set(CPACK_PACKAGE_FILE_NAME common-${PROJECT_VERSION}-windows-x${bits})
    include(CPack)
    return()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL library development tools documentation)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# What the machine code needs is read out of it; the tools find the library in the package of its own.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_DEBUGINFO_PACKAGE ON)

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libcommon)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION
    "The dynamic library: strings, paths, files and archives, streams with versions, properties that save themselves, logging, mail slots, pipes, threads, timers, profilers, a console and a load guard.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libcommon-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libcommon (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "libcommon-doc, libcommon-dbgsym")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "For development: the headers, what CMake and pkg-config need to find the library, and what debuggers need to show its values.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME libcommon-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "libcommon (>= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION
    "The tools: programs that make and check archives, show what programs report, show and change property files, and show what the profiler measures.")

set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_NAME libcommon-doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DOCUMENTATION_DEBUGINFO_PACKAGE OFF)
set(CPACK_COMPONENT_DOCUMENTATION_DESCRIPTION
    "The documents: the guides, and the reference of all classes and functions.")

include(CPack)
