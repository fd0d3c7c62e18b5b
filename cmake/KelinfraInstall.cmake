# Installation: the shared object, exactly the public headers, the CMake package and the pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS kelinfra EXPORT kelinfraTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(KELINFRA_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/kelinfra)
install(EXPORT kelinfraTargets NAMESPACE kelinfra:: DESTINATION ${KELINFRA_PACKAGE_DIR})
configure_package_config_file(cmake/kelinfraConfig.cmake.in kelinfraConfig.cmake
    INSTALL_DESTINATION ${KELINFRA_PACKAGE_DIR}
    NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(kelinfraConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/kelinfraConfig.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/kelinfraConfigVersion.cmake
    DESTINATION ${KELINFRA_PACKAGE_DIR})

# The pkg-config file finds its prefix from its own place, so an installed tree may be moved. How
# many folders up that is depends on the library folder (lib, lib64, lib/x86_64-linux-gnu). Folders
# given as absolute paths stay where they are.
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    set(KELINFRA_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
else()
    file(RELATIVE_PATH up "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
    string(REGEX REPLACE "/$" "" up "${up}")
    set(KELINFRA_PC_PREFIX "\${pcfiledir}/${up}")
endif()
foreach(folder LIBDIR INCLUDEDIR)
    cmake_path(IS_ABSOLUTE CMAKE_INSTALL_${folder} absolute)
    if(absolute)
        set(KELINFRA_PC_${folder} "${CMAKE_INSTALL_${folder}}")
    else()
        set(KELINFRA_PC_${folder} "\${prefix}/${CMAKE_INSTALL_${folder}}")
    endif()
endforeach()
configure_file(cmake/kelinfra.pc.in kelinfra.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/kelinfra.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
