# Checks what the linker made of the library: cmake -DLIBRARY=<file> -DVERSION=<version> -DNM=<nm>
# -DREADELF=<readelf> -P kelSharedObject.cmake. Stops at the first broken promise.
cmake_minimum_required(VERSION 3.25)

function(output_of variable)
    execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE text ERROR_VARIABLE problem RESULT_VARIABLE code
        COMMAND_ECHO NONE)
    if(NOT code EQUAL 0 OR text STREQUAL "")
        message(FATAL_ERROR "${ARGN} gave nothing to look at (${code}): ${problem}")
    endif()
    set(${variable} "${text}" PARENT_SCOPE)
endfunction()

function(require text pattern claim)
    if(NOT text MATCHES "${pattern}")
        message(FATAL_ERROR "${claim}: nothing matches ${pattern} in\n${text}")
    endif()
endfunction()

foreach(input LIBRARY NM READELF)
    if("${${input}}" STREQUAL "" OR NOT EXISTS "${${input}}")
        message(FATAL_ERROR "${input} is not there: '${${input}}'")
    endif()
endforeach()

# Names.
get_filename_component(real_file "${LIBRARY}" REALPATH)
get_filename_component(real_name "${real_file}" NAME)
if(NOT real_name STREQUAL "libkelinfra.so.${VERSION}")
    message(FATAL_ERROR "The real name is ${real_name}")
endif()
output_of(dynamic ${READELF} --dynamic --wide ${LIBRARY})
require("${dynamic}" "SONAME[^\n]*\\[libkelinfra\\.so\\.1\\]" "The SONAME")

# Hardening.
output_of(segments ${READELF} --program-headers --wide ${LIBRARY})
require("${segments}" "GNU_RELRO" "Relocations are read-only after loading")
require("${dynamic}" "BIND_NOW|FLAGS_1[^\n]*NOW" "All symbols are bound at load")
require("${dynamic}" "FLAGS_1[^\n]*NODELETE" "It stays in the process: threads come back into it")
require("${segments}" "GNU_STACK[^\n]* RW +0x" "The stack is not executable")
if(dynamic MATCHES "TEXTREL|RPATH|RUNPATH")
    message(FATAL_ERROR "Text relocations or a search path:\n${dynamic}")
endif()

# Exports.
output_of(symbols ${NM} --dynamic --defined-only --demangle ${LIBRARY})
string(REGEX REPLACE ";" "," symbols "${symbols}")
string(REPLACE "\n" ";" lines "${symbols}")
set(exported 0)
foreach(line IN LISTS lines)
    if(line STREQUAL "")
        continue()
    endif()
    string(REGEX REPLACE "^[0-9a-f]+ " "" symbol "${line}")
    string(REGEX REPLACE "@@?KELINFRA_1\\.0$" "" symbol "${symbol}")
    if(symbol STREQUAL "A KELINFRA_1.0")
        continue()
    endif()
    if(NOT symbol MATCHES "^[A-Za-z] ((typeinfo for |typeinfo name for |vtable for )?nx::|thread_run_stub$)")
        message(FATAL_ERROR "Exports a foreign name: ${line}")
    endif()
    if(symbol MATCHES "nx::oss::detail")
        message(FATAL_ERROR "Exports an internal name: ${line}")
    endif()
    math(EXPR exported "${exported} + 1")
endforeach()
if(exported LESS 100)
    message(FATAL_ERROR "Only ${exported} exported names: the list was not read")
endif()
foreach(name "nx::oss::Message::toString" "typeinfo for nx::oss::IOException"
        "typeinfo for nx::util::PropertiesException" "vtable for nx::oss::BaseException"
        "vtable for nx::oss::SizeableBuffer<char, 1026ul>" "vtable for nx::oss::SizeableBuffer<char, 512ul>"
        "vtable for nx::oss::DefaultAlternateBuffer<char>" "nx::oss::DebugBuffer::instance_")
    string(FIND "${symbols}" "${name}" position)
    if(position EQUAL -1)
        message(FATAL_ERROR "Does not export ${name}")
    endif()
endforeach()

# The trace facility is the host's: imported weakly, never provided.
output_of(imports ${NM} --dynamic --undefined-only ${LIBRARY})
foreach(name trcGetCompFlag trcEntry trcExit)
    require("${imports}" " w ${name}" "Imports ${name} weakly")
endforeach()
if(imports MATCHES "__cxa_thread_atexit")
    message(FATAL_ERROR "Has thread-local objects with destructors: the C library ends the process when "
        "there is no memory to register one")
endif()
message(STATUS "${exported} exported names, all of them public")
