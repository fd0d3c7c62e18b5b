# Run by CPack when everything is copied and nothing is packed yet: splits off debug information, adds what
# Debian wants in each package, compresses manual pages, writes the bill of materials.
include(${CPACK_KELINFRA_SOURCE_DIR}/packaging/common.cmake)
include(${CPACK_KELINFRA_SOURCE_DIR}/packaging/billOfMaterials.cmake)
set(root ${CPACK_TEMPORARY_DIRECTORY})

# programs_and_libraries(<variable>): what is staged and has machine code in it.
function(programs_and_libraries variable)
    file(GLOB_RECURSE files LIST_DIRECTORIES FALSE ${root}/*)
    set(found)
    foreach(file IN LISTS files)
        set(magic)
        if(NOT IS_SYMLINK "${file}")
            file(READ "${file}" magic LIMIT 4 HEX)
        endif()
        if(magic STREQUAL "7f454c46")
            list(APPEND found "${file}")
        endif()
    endforeach()
    set(${variable} "${found}" PARENT_SCOPE)
endfunction()

# strip(<file> [<folder for debug information>]): debuggers find it by the number of the build.
function(strip file)
    set(debug)
    if(ARGN)
        execute_process(COMMAND ${CPACK_KELINFRA_READELF} --notes "${file}" OUTPUT_VARIABLE notes
            COMMAND_ERROR_IS_FATAL ANY)
        if(NOT notes MATCHES "Build ID: ([0-9a-f][0-9a-f])([0-9a-f]+)")
            message(FATAL_ERROR "${file} has no build ID")
        endif()
        set(debug ${ARGN}/${CMAKE_MATCH_1}/${CMAKE_MATCH_2}.debug)
        file(MAKE_DIRECTORY ${ARGN}/${CMAKE_MATCH_1})
        run(${CPACK_KELINFRA_OBJCOPY} --only-keep-debug --compress-debug-sections "${file}" ${debug})
        file(CHMOD ${debug} PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
    endif()
    run(${CPACK_KELINFRA_STRIP} --remove-section=.comment --strip-unneeded "${file}")
    if(debug)
        run(${CPACK_KELINFRA_OBJCOPY} --add-gnu-debuglink=${debug} "${file}")
    endif()
endfunction()

# compress(<file>): without name and time, so that the same text gives the same bytes.
function(compress file)
    run(gzip --best --no-name --force "${file}")
endfunction()

# add_debian_documents(<folder of the package> <name of the package>)
function(add_debian_documents folder package)
    set(documents ${folder}/usr/share/doc/${package})
    file(MAKE_DIRECTORY ${documents})
    configure_file(${CPACK_KELINFRA_SOURCE_DIR}/packaging/copyright ${documents}/copyright COPYONLY)
    configure_file(${CPACK_KELINFRA_SOURCE_DIR}/CHANGELOG.md ${documents}/changelog COPYONLY)
    string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
    file(WRITE ${documents}/changelog.Debian
        "kelinfra (${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}) unstable; urgency=medium\n\n"
        "  * Packaged from the sources of ${CPACK_PACKAGE_VERSION}; changelog.gz says what is new.\n\n"
        " -- ${CPACK_PACKAGE_CONTACT}  ${date}\n")
    compress(${documents}/changelog)
    compress(${documents}/changelog.Debian)
    file(CHMOD ${documents}/copyright ${documents}/changelog.gz ${documents}/changelog.Debian.gz
        PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
endfunction()

# add_to_system_documents(<folder of the package>): Debian's lists of documents show the manual, if it was made.
function(add_to_system_documents folder)
    set(manual ${CPACK_KELINFRA_DOC_DIR}/html)
    if(NOT EXISTS ${folder}/usr/${manual}/index.html)
        return()
    endif()
    set(file ${folder}/usr/share/doc-base/libkelinfra-doc.libkelinfra)
    file(WRITE ${file}
        "Document: libkelinfra\nTitle: Manual of libkelinfra\nAuthor: ${CPACK_PACKAGE_CONTACT}\n"
        "Abstract: Guide, formats and reference of libkelinfra, a C++ library for\n"
        " settings, sockets, threads, text and diagnostics.\nSection: Programming/C++\n\n"
        "Format: HTML\nIndex: /usr/${manual}/index.html\nFiles: /usr/${manual}/*.html\n")
    file(CHMOD ${file} PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
endfunction()

function(stage_debian)
    programs_and_libraries(files)
    foreach(file IN LISTS files)
        # Debian's programs find libraries where all of them are.
        if(file MATCHES "/usr/bin/")
            file(RPATH_REMOVE FILE "${file}")
        endif()
        strip("${file}" ${root}/debian_debug/usr/lib/debug/.build-id)
    endforeach()
    file(GLOB pages ${root}/*/usr/share/man/man[1-9]/*.[1-9])
    foreach(page IN LISTS pages)
        compress("${page}")
    endforeach()
    foreach(component IN LISTS CPACK_COMPONENTS_ALL)
        string(TOUPPER ${component} key)
        add_debian_documents(${root}/${component} ${CPACK_DEBIAN_${key}_PACKAGE_NAME})
    endforeach()
    add_to_system_documents(${root}/documentation)
    kelinfra_bill_of_materials("${CPACK_COMPONENTS_ALL}" ${root}
        ${root}/documentation/usr/${CPACK_KELINFRA_DOC_DIR}/kelinfra.spdx.json)
endfunction()

function(stage_archive)
    programs_and_libraries(files)
    foreach(file IN LISTS files)
        strip("${file}")
    endforeach()
    kelinfra_bill_of_materials(. ${root} ${root}/${CPACK_KELINFRA_DOC_DIR}/kelinfra.spdx.json)
endfunction()

if(CPACK_GENERATOR STREQUAL "DEB")
    stage_debian()
else()
    stage_archive()
endif()
