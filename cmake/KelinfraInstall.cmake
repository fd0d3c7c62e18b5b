# Installation: the shared object, exactly the public headers, the CMake package and the pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS kelinfra EXPORT kelinfraTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})

set(KELINFRA_PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/kelinfra)
install(EXPORT kelinfraTargets NAMESPACE kelinfra:: DESTINATION ${KELINFRA_PACKAGE_DIR})
configure_package_config_file(cmake/kelinfraConfig.cmake.in kelinfraConfig.cmake
    INSTALL_DESTINATION ${KELINFRA_PACKAGE_DIR})
write_basic_package_version_file(kelinfraConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
    ${CMAKE_CURRENT_BINARY_DIR}/kelinfraConfig.cmake
    ${CMAKE_CURRENT_BINARY_DIR}/kelinfraConfigVersion.cmake
    DESTINATION ${KELINFRA_PACKAGE_DIR})

configure_file(cmake/kelinfra.pc.in kelinfra.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/kelinfra.pc
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
