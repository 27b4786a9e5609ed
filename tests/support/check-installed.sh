# What the checks of the packages share: the counts, and the first program of the README. Read with "." by plain sh, where
# repo is the repository.

passed=0 failed=0
said=$(mktemp)

# expect WHAT COMMAND...: the command succeeds; its output is shown when it does not
expect()
{
    what=$1
    shift
    if "$@" >"$said" 2>&1; then
        passed=$((passed + 1))
    else
        failed=$((failed + 1))
        printf '%s failed:\n' "$what"
        cat "$said"
    fi
}

version=$(sed -n 's/^project(Common VERSION \([0-9.]*\).*/\1/p' "$repo/CMakeLists.txt")

# readme_block KIND: the first block of that kind in the README
readme_block() { awk -v start="\`\`\`$1" '$0 == "```" && on { exit } on { print } $0 == start { on = 1 }' "$repo/README.md"; }

# first_program FOLDER EXPECTED: makes the folder with the first program, as a project of CMake, and the file of what it
# prints
first_program()
{
    mkdir "$1"
    readme_block cpp >"$1/main.cpp"
    readme_block text >"$2"
    [ -s "$1/main.cpp" ] && [ -s "$2" ] || { echo "the README holds no first program"; exit 1; }
    cat >"$1/CMakeLists.txt" <<END_OF_FILE
cmake_minimum_required(VERSION 3.22)
project(First LANGUAGES CXX)
find_package(Common ${version%.*} REQUIRED)
add_executable(first main.cpp)
target_link_libraries(first PRIVATE Common::Common)
END_OF_FILE
}
