# Flags of this project's own targets. They sit on interface targets that are never installed, so a
# program that uses the library inherits none of them.

add_library(kelinfra_warnings INTERFACE)
target_compile_options(kelinfra_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion
    $<$<BOOL:${KELINFRA_WERROR}>:-Werror>)

# What distributions set for a shared object that handles data from the network.
add_library(kelinfra_hardening INTERFACE)
target_compile_options(kelinfra_hardening INTERFACE
    $<$<CONFIG:Release,RelWithDebInfo>:-U_FORTIFY_SOURCE>
    $<$<CONFIG:Release,RelWithDebInfo>:-D_FORTIFY_SOURCE=3>
    $<$<CONFIG:Release,RelWithDebInfo>:-fstack-protector-strong>
    $<$<CONFIG:Release,RelWithDebInfo>:-fstack-clash-protection>
    $<$<CONFIG:Release,RelWithDebInfo>:-fcf-protection>)
target_link_options(kelinfra_hardening INTERFACE
    -Wl,-z,relro,-z,now,-z,noexecstack,--as-needed)

add_library(kelinfra_instrumentation INTERFACE)
if(KELINFRA_SANITIZE)
    target_compile_options(kelinfra_instrumentation INTERFACE
        -fsanitize=${KELINFRA_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(kelinfra_instrumentation INTERFACE -fsanitize=${KELINFRA_SANITIZE})
endif()
if(KELINFRA_BUILD_FUZZERS)
    if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
        message(FATAL_ERROR "KELINFRA_BUILD_FUZZERS needs clang, which brings libFuzzer")
    endif()
    # Counters that tell the fuzzer where an input went, without its main().
    target_compile_options(kelinfra_instrumentation INTERFACE -fsanitize=fuzzer-no-link)
    target_link_options(kelinfra_instrumentation INTERFACE -fsanitize=fuzzer-no-link)
endif()
if(KELINFRA_COVERAGE)
    target_compile_options(kelinfra_instrumentation INTERFACE --coverage -fprofile-update=atomic)
    target_link_options(kelinfra_instrumentation INTERFACE --coverage)
endif()

# Everything that a target of this project compiles with.
add_library(kelinfra_build INTERFACE)
target_compile_features(kelinfra_build INTERFACE cxx_std_17)
target_link_libraries(kelinfra_build INTERFACE
    kelinfra_warnings kelinfra_hardening kelinfra_instrumentation)
