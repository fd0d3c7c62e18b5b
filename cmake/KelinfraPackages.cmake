# Packages, with CPack: Debian packages, one for each component, and a relocatable archive. Included last,
# because a component is known only when something is installed for it, and without that it has no package.
#
#     install(... COMPONENT tools)     runtime, development, tools or documentation
#
# is all that a new file needs; its name then goes into packaging/files, which `scripts/packages --record`
# writes. What has its place below the library folder is installed in kelinfra_install_library().
set(KELINFRA_PACKAGE_MAINTAINER "libkelinfra maintainers <maintainers@libkelinfra.invalid>" CACHE STRING
    "Who the Debian packages say maintains them: Name <mail address>")
mark_as_advanced(KELINFRA_PACKAGE_MAINTAINER)

find_program(KELINFRA_DPKG dpkg-deb)
mark_as_advanced(KELINFRA_DPKG)
set(CPACK_GENERATOR TGZ)
if(KELINFRA_DPKG AND CMAKE_LIBRARY_ARCHITECTURE)
    list(PREPEND CPACK_GENERATOR DEB)
    kelinfra_install_library(lib/${CMAKE_LIBRARY_ARCHITECTURE} debian_ EXCLUDE_FROM_ALL)
    # Debug information is split off when the packages are made.
    install(FILES packaging/copyright
        DESTINATION share/doc/libkelinfra${PROJECT_VERSION_MAJOR}-dbgsym
        COMPONENT debian_debug EXCLUDE_FROM_ALL)
endif()

# What is packaged, and no more: `package` builds everything else as well.
add_custom_target(kelinfra_packaged)
get_property(folders DIRECTORY ${PROJECT_SOURCE_DIR} PROPERTY SUBDIRECTORIES)
foreach(folder IN ITEMS ${PROJECT_SOURCE_DIR}/tools ${PROJECT_SOURCE_DIR}/docs)
    if(folder IN_LIST folders)
        get_property(targets DIRECTORY ${folder} PROPERTY BUILDSYSTEM_TARGETS)
        list(APPEND packaged ${targets})
    endif()
endforeach()
add_dependencies(kelinfra_packaged kelinfra ${packaged})
if(KELINFRA_MANUAL)
    add_dependencies(kelinfra_packaged manual)
endif()
add_custom_target(kelinfra_packages
    COMMAND ${CMAKE_CPACK_COMMAND} --config ${PROJECT_BINARY_DIR}/CPackConfig.cmake
    WORKING_DIRECTORY ${PROJECT_BINARY_DIR}
    USES_TERMINAL VERBATIM)
add_dependencies(kelinfra_packages kelinfra_packaged)

# The sources as they are committed, with the same bytes wherever the archive is made.
add_custom_target(kelinfra_source_archive
    COMMAND ${PROJECT_SOURCE_DIR}/scripts/source-archive ${PROJECT_BINARY_DIR}
    VERBATIM)

set(CPACK_PACKAGE_NAME kelinfra)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_CONTACT "${KELINFRA_PACKAGE_MAINTAINER}")
set(CPACK_PACKAGE_FILE_NAME kelinfra-${PROJECT_VERSION}-linux-${CMAKE_SYSTEM_PROCESSOR})
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_ARCHIVE_COMPONENT_INSTALL OFF)
# Sources are packaged by kelinfra_source_archive.
set(CPACK_SOURCE_GENERATOR "")

set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_SOURCE_DIR}/packaging/configure.cmake)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/stage.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/finish.cmake)
set(CPACK_KELINFRA_SOURCE_DIR ${PROJECT_SOURCE_DIR})
set(CPACK_KELINFRA_LIBRARY_DIR ${PROJECT_BINARY_DIR}/src)
set(CPACK_KELINFRA_ICU_VERSION ${ICU_VERSION})
set(CPACK_KELINFRA_ICU_MAJOR ${KELINFRA_ICU_MAJOR})
set(CPACK_KELINFRA_ICU_NEXT ${KELINFRA_ICU_NEXT})
set(CPACK_KELINFRA_COMPILER "${CMAKE_CXX_COMPILER_ID} ${CMAKE_CXX_COMPILER_VERSION}")
set(CPACK_KELINFRA_DOC_DIR ${CMAKE_INSTALL_DATAROOTDIR}/doc/kelinfra)
set(CPACK_KELINFRA_STRIP ${CMAKE_STRIP})
set(CPACK_KELINFRA_OBJCOPY ${CMAKE_OBJCOPY})
set(CPACK_KELINFRA_READELF ${CMAKE_READELF})

include(CPack)
