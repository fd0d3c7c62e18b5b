# Flags of this project's own targets. They sit on interface targets that are never installed, so a
# program that uses the library inherits none of them.
include(CheckCXXCompilerFlag)
include(CheckLinkerFlag)

add_library(kelinfra_warnings INTERFACE)
target_compile_options(kelinfra_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion
    $<$<BOOL:${KELINFRA_WERROR}>:-Werror>)

# What distributions set for a shared object that handles data from the network. Sanitizers bring
# checks of their own, which FORTIFY would hide.
add_library(kelinfra_hardening INTERFACE)
set(optimised $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)
set(hardening_flags -fstack-protector-strong -fstack-clash-protection)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
    list(APPEND hardening_flags -fcf-protection=full)
elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64|arm64")
    list(APPEND hardening_flags -mbranch-protection=standard)
endif()
foreach(flag IN LISTS hardening_flags)
    string(MAKE_C_IDENTIFIER "KELINFRA_HAS${flag}" known)
    check_cxx_compiler_flag(${flag} ${known})
    if(${known})
        target_compile_options(kelinfra_hardening INTERFACE $<${optimised}:${flag}>)
    endif()
endforeach()
if(NOT KELINFRA_SANITIZE)
    target_compile_options(kelinfra_hardening INTERFACE
        $<${optimised}:-U_FORTIFY_SOURCE> $<${optimised}:-D_FORTIFY_SOURCE=3>)
endif()
target_compile_definitions(kelinfra_hardening INTERFACE $<$<CONFIG:Debug>:_GLIBCXX_ASSERTIONS>)
target_link_options(kelinfra_hardening INTERFACE
    -Wl,-z,relro,-z,now,-z,noexecstack,-z,separate-code,--as-needed)

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
if(KELINFRA_CONDITIONS)
    target_compile_options(kelinfra_instrumentation INTERFACE
        -fprofile-instr-generate -fcoverage-mapping -fcoverage-mcdc -fprofile-update=atomic)
    target_link_options(kelinfra_instrumentation INTERFACE -fprofile-instr-generate)
endif()

# The bytes of an optimised library tell neither where nor when it was built: the same sources and tools
# give the same file. Debug information names the sources below a folder that stands for theirs, and
# __DATE__ and __TIME__ are refused. Reports of sanitizers show paths that exist.
set(KELINFRA_SOURCE_NAME /usr/src/${PROJECT_NAME}-${PROJECT_VERSION})
add_library(kelinfra_reproducible INTERFACE)
if(NOT KELINFRA_SANITIZE AND NOT KELINFRA_COVERAGE)
    cmake_path(IS_PREFIX PROJECT_SOURCE_DIR "${CMAKE_BINARY_DIR}" built_inside)
    if(NOT built_inside)
        target_compile_options(kelinfra_reproducible INTERFACE
            $<${optimised}:-ffile-prefix-map=${CMAKE_BINARY_DIR}=${KELINFRA_SOURCE_NAME}/build>)
    endif()
    target_compile_options(kelinfra_reproducible INTERFACE
        $<${optimised}:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=${KELINFRA_SOURCE_NAME}>
        $<${optimised}:-Wdate-time>)
endif()

# Everything that a target of this project compiles with.
add_library(kelinfra_build INTERFACE)
target_compile_features(kelinfra_build INTERFACE cxx_std_17)
target_link_libraries(kelinfra_build INTERFACE
    kelinfra_warnings kelinfra_hardening kelinfra_instrumentation)

# The same without optimisation: for code that runs briefly and takes long to compile, as tests do.
add_library(kelinfra_quick_build INTERFACE)
target_compile_features(kelinfra_quick_build INTERFACE cxx_std_17)
target_compile_options(kelinfra_quick_build INTERFACE -O0)
target_link_options(kelinfra_quick_build INTERFACE -Wl,--as-needed)
target_link_libraries(kelinfra_quick_build INTERFACE kelinfra_warnings kelinfra_instrumentation)

# kelinfra_mark_for_cet(<shared library>)
#
# Lets the linker mark the library for indirect-branch tracking and shadow stacks in optimised
# builds. The mark holds for a whole file, so every linked object must carry it. The C library's
# crti.o and crtn.o may not; they only serve the sections .init and .fini, which C++ does not use
# (its initialisers stand in .init_array), so the library is linked without them. The linker
# refuses any other unmarked object, so the mark cannot be wrong.
function(kelinfra_mark_for_cet target)
    if(NOT CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64" OR KELINFRA_SANITIZE OR KELINFRA_COVERAGE
            OR KELINFRA_CONDITIONS)
        return()
    endif()
    check_linker_flag(CXX "LINKER:-z,cet-report=none" KELINFRA_LINKER_KNOWS_CET)
    foreach(name crtbeginS.o crtendS.o)
        execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}
            OUTPUT_VARIABLE file OUTPUT_STRIP_TRAILING_WHITESPACE)
        if(NOT KELINFRA_LINKER_KNOWS_CET OR NOT IS_ABSOLUTE "${file}")
            return()
        endif()
        list(APPEND files ${file})
    endforeach()
    # crtendS.o ends the table of unwind information, so what libgcc adds to the file comes before.
    list(INSERT files 1 gcc)
    target_link_options(${target} PRIVATE
        $<${optimised}:-nostartfiles> $<${optimised}:LINKER:-z,cet-report=error>)
    target_link_libraries(${target} PRIVATE "$<${optimised}:${files}>")
endfunction()
