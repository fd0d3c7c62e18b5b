# Installation: the shared object, exactly the public headers, the CMake package, the pkg-config file and
# the pages for users. Everything belongs to a component: runtime, development, tools, documentation.
include(CMakePackageConfigHelpers)

# The library refuses another release of ICU, whose functions bear that release in their names.
string(REGEX MATCH "^[0-9]+" KELINFRA_ICU_MAJOR "${ICU_VERSION}")
math(EXPR KELINFRA_ICU_NEXT "${KELINFRA_ICU_MAJOR} + 1")

# kelinfra_configure_pkg_config(<library folder> <file>)
#
# The pkg-config file finds its prefix from its own place, so an installed tree may be moved. How
# many folders up that is depends on the library folder (lib, lib64, lib/x86_64-linux-gnu). Folders
# given as absolute paths stay where they are.
function(kelinfra_configure_pkg_config libdir file)
    if(IS_ABSOLUTE "${libdir}")
        set(KELINFRA_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
    else()
        file(RELATIVE_PATH up "/${libdir}/pkgconfig" "/")
        string(REGEX REPLACE "/$" "" up "${up}")
        set(KELINFRA_PC_PREFIX "\${pcfiledir}/${up}")
    endif()
    set(KELINFRA_PC_LIBDIR "${libdir}")
    set(KELINFRA_PC_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}")
    foreach(folder KELINFRA_PC_LIBDIR KELINFRA_PC_INCLUDEDIR)
        cmake_path(IS_ABSOLUTE ${folder} absolute)
        if(NOT absolute)
            string(PREPEND ${folder} "\${prefix}/")
        endif()
    endforeach()
    configure_file(${PROJECT_SOURCE_DIR}/cmake/kelinfra.pc.in ${file} @ONLY)
endfunction()

# kelinfra_install_library(<library folder> <prefix of component names> [EXCLUDE_FROM_ALL])
#
# What has its place below the library folder, or names it, for one such folder.
function(kelinfra_install_library libdir components)
    set(work ${PROJECT_BINARY_DIR}/${components}install)
    install(TARGETS kelinfra EXPORT ${components}kelinfraTargets
        LIBRARY DESTINATION ${libdir}
            COMPONENT ${components}runtime NAMELINK_COMPONENT ${components}development ${ARGN}
        FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
            COMPONENT ${components}development ${ARGN})
    set(package_dir ${libdir}/cmake/kelinfra)
    install(EXPORT ${components}kelinfraTargets NAMESPACE kelinfra:: FILE kelinfraTargets.cmake
        DESTINATION ${package_dir} COMPONENT ${components}development ${ARGN})
    configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/kelinfraConfig.cmake.in
        ${work}/kelinfraConfig.cmake
        INSTALL_DESTINATION ${package_dir}
        NO_SET_AND_CHECK_MACRO)
    write_basic_package_version_file(${work}/kelinfraConfigVersion.cmake COMPATIBILITY SameMajorVersion)
    install(FILES ${work}/kelinfraConfig.cmake ${work}/kelinfraConfigVersion.cmake
        DESTINATION ${package_dir} COMPONENT ${components}development ${ARGN})
    kelinfra_configure_pkg_config("${libdir}" ${work}/kelinfra.pc)
    install(FILES ${work}/kelinfra.pc
        DESTINATION ${libdir}/pkgconfig COMPONENT ${components}development ${ARGN})
    # Why: with the library, as the file bears its whole version, and core files are looked at where no
    # program is built. gdb trusts what is in its own folder; for any other library it looks beside that.
    set(printers_dir ${libdir})
    if(components STREQUAL "debian_" OR CMAKE_INSTALL_PREFIX STREQUAL "/usr")
        cmake_path(ABSOLUTE_PATH libdir BASE_DIRECTORY /usr OUTPUT_VARIABLE installed)
        set(printers_dir ${CMAKE_INSTALL_DATADIR}/gdb/auto-load${installed})
    endif()
    install(FILES ${PROJECT_SOURCE_DIR}/gdb/kelinfra-gdb.py
        DESTINATION ${printers_dir} RENAME libkelinfra.so.${PROJECT_VERSION}-gdb.py
        COMPONENT ${components}runtime ${ARGN})
endfunction()

kelinfra_install_library("${CMAKE_INSTALL_LIBDIR}" "")

foreach(page building debugging diagnostics performance properties-format text threads wire-formats)
    install(FILES ${PROJECT_SOURCE_DIR}/docs/${page}.md
        DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs COMPONENT documentation)
endforeach()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs/plots
    DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs COMPONENT documentation)
# Why: as a source, since a product has a trace facility of its own. A library would be one more interface
# to keep.
install(FILES ${PROJECT_SOURCE_DIR}/examples/trace-host/kelTraceHost.cpp
    DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples/trace-host COMPONENT documentation)
install(FILES ${PROJECT_SOURCE_DIR}/CHANGELOG.md ${PROJECT_SOURCE_DIR}/SECURITY.md
    DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT documentation)
