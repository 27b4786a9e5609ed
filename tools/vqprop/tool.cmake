# JSON is read and written by the system's header-only library. Only its folder is shown to the compiler: the others
# beside it are not those of another target.
find_path(COMMON_JSON_DIR nlohmann/json.hpp REQUIRED PATHS /usr/include NO_CMAKE_FIND_ROOT_PATH)
file(MAKE_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR}/json)
file(CREATE_LINK ${COMMON_JSON_DIR}/nlohmann ${CMAKE_CURRENT_BINARY_DIR}/json/nlohmann SYMBOLIC)
target_include_directories(vqprop SYSTEM PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/json)
