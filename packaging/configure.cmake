# Read by CPack for each of its generators, before anything is copied.

# All times in the packages: that of the release, whatever the clock says.
if("$ENV{SOURCE_DATE_EPOCH}" STREQUAL "")
    include(${CPACK_KELINFRA_SOURCE_DIR}/packaging/common.cmake)
    kelinfra_source_date(${CPACK_KELINFRA_SOURCE_DIR} date)
    set(ENV{SOURCE_DATE_EPOCH} ${date})
endif()

if(NOT CPACK_GENERATOR STREQUAL "DEB")
    return()
endif()

# debian_runtime and debian_development are what runtime and development are elsewhere, with the library
# folder of Debian.
list(REMOVE_ITEM CPACK_COMPONENTS_ALL runtime development Unspecified)

set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${CPACK_PACKAGE_CONTACT}")
if(NOT CPACK_DEBIAN_PACKAGE_RELEASE)
    set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
endif()
set(version ${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})
string(REGEX MATCH "^[0-9]+" major ${CPACK_PACKAGE_VERSION})
set(runtime libkelinfra${major})
set(text "Settings with typed getters and references, TCP sockets with time-outs and
length-prefixed items, threads that can be stopped, UTF-8 text, numbers and
code pages on ICU, tokens, Base64, growable buffers, and exceptions that
carry symbolic diagnostic records.")

# describe(<component> <package> <section> <first line> <what this package is>)
macro(describe component package section line what)
    string(TOUPPER ${component} key)
    set(CPACK_DEBIAN_${key}_PACKAGE_NAME ${package})
    set(CPACK_DEBIAN_${key}_PACKAGE_SECTION ${section})
    set(CPACK_DEBIAN_${key}_DESCRIPTION "${text}\n.\n${what}")
    # CPack gives all packages the same first line; finish.cmake replaces it.
    set(CPACK_KELINFRA_LINE_OF_${package} "${line}")
endmacro()

describe(debian_runtime ${runtime} libs "services for text, settings, sockets and threads"
    "This package contains the shared library.")
set(CPACK_DEBIAN_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
# A program that is linked with this version needs it, or a later one of the same soname.
set(CPACK_KELINFRA_SHLIBS "libkelinfra ${major} ${runtime} (>= ${CPACK_PACKAGE_VERSION})")

describe(debian_development libkelinfra-dev libdevel "development files of libkelinfra"
    "This package contains the headers, the CMake package and the pkg-config file.")
set(CPACK_DEBIAN_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "${runtime} (= ${version}), libicu-dev (>= ${CPACK_KELINFRA_ICU_MAJOR}), libicu-dev (<< ${CPACK_KELINFRA_ICU_NEXT}~)")
set(CPACK_DEBIAN_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS libkelinfra-doc)

describe(debian_debug ${runtime}-dbgsym debug "debug symbols of libkelinfra"
    "This package contains the debug information of ${runtime} and kelinfra-tools.")
set(CPACK_DEBIAN_DEBIAN_DEBUG_PACKAGE_DEPENDS "${runtime} (= ${version})")

describe(tools kelinfra-tools utils "programs for users of libkelinfra"
    "This package contains programs for those who run a product that is built on it.")
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${runtime} (>= ${CPACK_PACKAGE_VERSION})")
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
# Where they find the library, whose package is made only now and is named above.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CPACK_KELINFRA_LIBRARY_DIR})

describe(documentation libkelinfra-doc doc "documentation of libkelinfra"
    "This package contains the manual and the bill of materials (SPDX).")
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
