# The compiler's runtime as DLLs, beside our programs: an exception crosses the border between two modules only when
# both use the same runtime. COMMON_WINDOWS_RUNTIME lists the files.
set(COMMON_WINDOWS_RUNTIME)
if(MINGW)
    foreach(dll libstdc++-6.dll libgcc_s_dw2-1.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
        execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${dll}
            OUTPUT_VARIABLE path OUTPUT_STRIP_TRAILING_WHITESPACE)
        if(IS_ABSOLUTE "${path}")
            file(REAL_PATH "${path}" path)
            list(APPEND COMMON_WINDOWS_RUNTIME "${path}")
        endif()
    endforeach()
    file(COPY ${COMMON_WINDOWS_RUNTIME} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
endif()
