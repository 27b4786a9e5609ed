#pragma once

/// @file
/// Whether this program is watched by a sanitizer, which puts functions and memory of its own in place of the system's.

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#    define TEST_HAS_SANITIZER 1
#elif defined(__has_feature)
#    if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#        define TEST_HAS_SANITIZER 1
#    endif
#endif

#if defined(TEST_HAS_SANITIZER)
inline constexpr bool HAS_SANITIZER = true;
#else
inline constexpr bool HAS_SANITIZER = false;
#endif
