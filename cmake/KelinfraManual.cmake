# The manual: target `manual` makes HTML from the public headers, the guide and the documents, with Doxygen and
# Python. With KELINFRA_MANUAL it is built with everything else, installed, and packaged.
find_program(KELINFRA_DOXYGEN doxygen)
find_package(Python3 COMPONENTS Interpreter)
mark_as_advanced(KELINFRA_DOXYGEN)
if(NOT KELINFRA_DOXYGEN OR NOT Python3_Interpreter_FOUND)
    if(KELINFRA_MANUAL)
        message(FATAL_ERROR "KELINFRA_MANUAL needs doxygen and python3, of which one is missing")
    endif()
    add_custom_target(manual
        COMMAND ${CMAKE_COMMAND} -E echo "The manual needs doxygen and python3, of which one is missing."
        COMMAND ${CMAKE_COMMAND} -E false VERBATIM)
    return()
endif()

file(GLOB_RECURSE inputs CONFIGURE_DEPENDS
    ${PROJECT_SOURCE_DIR}/docs/*.md ${PROJECT_SOURCE_DIR}/docs/*.svg ${PROJECT_SOURCE_DIR}/docs/*.dox
    ${PROJECT_SOURCE_DIR}/docs/manual/* ${PROJECT_SOURCE_DIR}/examples/guide/*
    ${PROJECT_SOURCE_DIR}/include/infra/*.h ${PROJECT_SOURCE_DIR}/src/infra/util/*.h
    ${PROJECT_SOURCE_DIR}/scripts/lib_manual/*.py)
add_custom_command(OUTPUT ${PROJECT_BINARY_DIR}/manual/html/index.html
    COMMAND ${Python3_EXECUTABLE} -X utf8 -B ${PROJECT_SOURCE_DIR}/scripts/lib_manual build
        --version ${PROJECT_VERSION} ${PROJECT_BINARY_DIR}/manual
    DEPENDS ${inputs} ${PROJECT_SOURCE_DIR}/docs/Doxyfile.in ${PROJECT_SOURCE_DIR}/tests/install/publicHeaders.txt
    COMMENT "Making the manual in manual/html"
    VERBATIM)
if(KELINFRA_MANUAL)
    set(all ALL)
endif()
add_custom_target(manual ${all} DEPENDS ${PROJECT_BINARY_DIR}/manual/html/index.html)

if(KELINFRA_MANUAL AND KELINFRA_INSTALL)
    install(DIRECTORY ${PROJECT_BINARY_DIR}/manual/html
        DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)
endif()
