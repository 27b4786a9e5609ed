# check-formats: the compiler tells of a report whose format does not fit its arguments, and takes the others.
#
#     cmake -DCOMPILER=... -DROOT=REPOSITORY -DSOURCE=FILE-TO-WRITE -P check-formats.cmake

set(log [[_VQ_Log_Fn("file", "app", "", 1, 0, 0, 2, ]])
set(right [[Debug_Printf("%d of %s", 1, "text")]] [[Debug_Warning("%s", "text")]] [[Debug_Printf("text")]]
    "${log} \"%d of %s\", 1, \"text\")")
set(wrong [[Debug_Printf("%d", "text")]] [[Debug_Printf("%s")]] [[Debug_Warning("%s", 1)]]
    "${log} \"%s\", 1)" "${log} \"%d\")")

function(compile call result)
    file(WRITE ${SOURCE} "#include <Common/Debug/Log.h>\n\nvoid Report()\n{\n    ${call};\n}\n")
    execute_process(COMMAND ${COMPILER} -std=c++20 -fsyntax-only -Wformat -Werror=format -I${ROOT} ${SOURCE}
        RESULT_VARIABLE code ERROR_VARIABLE words)
    set(${result} ${code} PARENT_SCOPE)
    set(words "${words}" PARENT_SCOPE)
endfunction()

foreach(call IN LISTS right)
    compile("${call}" code)
    if(NOT code EQUAL 0)
        message(FATAL_ERROR "does not compile: ${call}\n${words}")
    endif()
endforeach()
foreach(call IN LISTS wrong)
    compile("${call}" code)
    if(code EQUAL 0 OR NOT words MATCHES "format")
        message(FATAL_ERROR "compiles, and should not: ${call}\n${words}")
    endif()
endforeach()
