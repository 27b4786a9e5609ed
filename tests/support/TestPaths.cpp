#include <tests/support/TestPaths.h>

#include <tests/support/ChildProcess.h>

#include <string>

std::filesystem::path GetTestPath(std::string_view sName)
{
    const auto oDrive = std::filesystem::path(ThisProgram()).root_name();
    return std::filesystem::path(oDrive.string() + COMMON_TEST_SOURCE_DIR) / sName;
}

std::filesystem::path GetGoldenPath(std::string_view sName)
{
    return GetTestPath("golden") / sName;
}
