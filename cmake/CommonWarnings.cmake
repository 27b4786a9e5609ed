# common_options(TARGET): the warnings, the code generation and the sanitizers that hold for all of our own code.
function(common_options target)
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Woverloaded-virtual
        -Wformat=2 -Wno-format-nonliteral -Werror)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
        target_compile_options(${target} PRIVATE -Wno-restrict) # wrong about "text" + std::string when it optimises
    endif()
    if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        # an empty format says nothing wrong, and assignment of an object to itself is something to test
        target_compile_options(${target} PRIVATE -Wno-format-zero-length -Wno-self-assign-overloaded)
    endif()
    if(CMAKE_SIZEOF_VOID_P EQUAL 4)
        target_compile_options(${target} PRIVATE -msse2 -mfpmath=sse)
        target_compile_definitions(${target} PRIVATE _FILE_OFFSET_BITS=64) # large files and inodes are met here too
    endif()
    if(COMMON_SANITIZE)
        target_compile_options(${target} PRIVATE -fsanitize=${COMMON_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
        target_link_options(${target} PRIVATE -fsanitize=${COMMON_SANITIZE})
    endif()
    if(MINGW)
        target_compile_definitions(${target} PRIVATE __USE_MINGW_ANSI_STDIO=1)
    endif()
endfunction()
