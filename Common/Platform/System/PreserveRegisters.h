#pragma once

// Functions that leave every register of their caller as it was, so that they can be called from anywhere at next to
// no price. They use general registers only, call nothing but functions of their kind, and are left alone by
// sanitizers, whose calls would use the others.
//
// COMMON_PRESERVE_REGISTERS stands before such a function, COMMON_GENERAL_REGISTERS before an inline function that is
// used in one. COMMON_KEEP_ARGUMENT(argument) ends one that takes an argument: clang counts the register of its first
// argument to what it may change. On processors without such a convention, and with other compilers, they are
// ordinary functions.
#if !defined(__i386__) && !defined(__x86_64__)
#    define COMMON_PRESERVE_REGISTERS
#    define COMMON_GENERAL_REGISTERS
#elif defined(__clang__)
#    define COMMON_PRESERVE_REGISTERS                                                                                  \
        __attribute__((no_caller_saved_registers, disable_sanitizer_instrumentation,                                   \
                       no_sanitize("address", "undefined", "coverage")))
#    define COMMON_GENERAL_REGISTERS                                                                                   \
        __attribute__((always_inline, disable_sanitizer_instrumentation,                                               \
                       no_sanitize("address", "undefined", "coverage")))
#elif defined(__GNUC__)
#    define COMMON_PRESERVE_REGISTERS                                                                                  \
        __attribute__((no_caller_saved_registers, target("general-regs-only"), no_sanitize("address", "undefined")))
#    define COMMON_GENERAL_REGISTERS __attribute__((always_inline, target("general-regs-only")))
#else
#    define COMMON_PRESERVE_REGISTERS
#    define COMMON_GENERAL_REGISTERS
#endif

#if defined(__clang__) && defined(__x86_64__) && defined(_WIN32)
#    define COMMON_KEEP_ARGUMENT(argument) __asm__ volatile("" : : "c"(argument))
#elif defined(__clang__) && defined(__x86_64__)
#    define COMMON_KEEP_ARGUMENT(argument) __asm__ volatile("" : : "D"(argument))
#else
#    define COMMON_KEEP_ARGUMENT(argument) static_cast<void>(argument)
#endif
