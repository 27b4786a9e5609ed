# cmake -DPACKED=... -DASSETS=... -DEMULATOR=... -DPACKER=... -P pack.cmake: packs the directory ASSETS into lander.arc
# in the current directory.
get_filename_component(here . ABSOLUTE)
file(RELATIVE_PATH assets ${here} ${ASSETS})
# an emulator may leave helpers behind, which must not hold on to our output
execute_process(COMMAND ${EMULATOR} ${PACKER} create lander.arc ${assets}/ RESULT_VARIABLE result
    OUTPUT_FILE ${PACKED}.log ERROR_FILE ${PACKED}.log)
if(NOT result EQUAL 0 AND NOT EMULATOR)
    message(FATAL_ERROR "lander.arc could not be packed: see ${PACKED}.log")
elseif(NOT result EQUAL 0)
    message(WARNING "lander.arc could not be packed (see ${PACKED}.log): the game gets its assets loose")
    file(COPY ${ASSETS}/ DESTINATION lander)
endif()
file(TOUCH ${PACKED})
