#pragma once

/// Marks what leaves the dynamic library: exported while the library itself is built, imported by everybody else.
///
/// Everything that does not carry this mark stays inside the library.
#if defined(_WIN32)
#    if defined(COMMON_BUILDING_LIBRARY)
#        define COMMON_API __declspec(dllexport)
#    else
#        define COMMON_API __declspec(dllimport)
#    endif
#else
#    define COMMON_API __attribute__((visibility("default")))
#endif

/// Marks a function whose format string and arguments the compiler checks as those of printf.
///
/// @param nFormat  position of the format argument, counted from 1; a member function's object is argument 1
/// @param nFirst   position of the first checked argument, 0 for a function that takes a va_list
#if defined(__MINGW32__)
#    define COMMON_PRINTF_FORMAT(nFormat, nFirst) __attribute__((format(gnu_printf, nFormat, nFirst)))
#elif defined(__GNUC__)
#    define COMMON_PRINTF_FORMAT(nFormat, nFirst) __attribute__((format(printf, nFormat, nFirst)))
#else
#    define COMMON_PRINTF_FORMAT(nFormat, nFirst)
#endif
