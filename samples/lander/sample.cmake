# What differs between systems has a source for each.
if(WIN32)
    target_sources(lander PRIVATE lander/Windows/Terminal.cpp)
else()
    target_sources(lander PRIVATE lander/Posix/Terminal.cpp)
endif()

# The assets become one archive beside the program. Where the packer is a program of another system that cannot be run
# here, the game gets them as a directory: it finds either.
file(GLOB_RECURSE assets CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/lander/assets/*)
set(packed ${CMAKE_CURRENT_BINARY_DIR}/lander.packed)
add_custom_command(OUTPUT ${packed}
    COMMAND ${CMAKE_COMMAND} -DPACKED=${packed} -DASSETS=${CMAKE_CURRENT_SOURCE_DIR}/lander/assets
        -DEMULATOR=${CMAKE_CROSSCOMPILING_EMULATOR} -DPACKER=$<TARGET_FILE:vqarc>
        -P ${CMAKE_CURRENT_SOURCE_DIR}/lander/pack.cmake
    WORKING_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}
    DEPENDS vqarc ${assets} lander/pack.cmake
    COMMENT "Packing lander.arc" VERBATIM)
add_custom_target(lander-assets ALL DEPENDS ${packed})
add_dependencies(lander lander-assets)
