# Run by CPack when the packages are made: packs them again so that the same files give the same bytes,
# whoever packs them and when, and with what CPack has no words for.
include(${CPACK_KELINFRA_SOURCE_DIR}/packaging/common.cmake)

# complete_control(<file> <package>)
#
# Multi-Arch says which packages may be installed for several architectures at once.
function(complete_control file package)
    file(READ ${file} control)
    string(REGEX REPLACE "\nDescription: [^\n]*" "\nDescription: ${CPACK_KELINFRA_LINE_OF_${package}}"
        control "${control}")
    string(STRIP "${control}" control)
    set(kind foreign)
    if(package MATCHES "^libkelinfra([0-9]|-dev$)")
        set(kind same)
    endif()
    file(WRITE ${file} "${control}\nMulti-Arch: ${kind}\n")
endfunction()

# The trigger of the library's package has ldconfig run; the scripts that CPack adds would run it again.
function(finish_debian file)
    set(work ${CPACK_TEMPORARY_DIRECTORY}/finish)
    file(REMOVE_RECURSE ${work})
    run(dpkg-deb --raw-extract ${file} ${work})
    cmake_path(GET file FILENAME name)
    string(REGEX REPLACE "_.*" "" package ${name})
    complete_control(${work}/DEBIAN/control ${package})
    file(REMOVE ${work}/DEBIAN/postinst ${work}/DEBIAN/postrm)
    if(package MATCHES "^libkelinfra[0-9]+$")
        file(WRITE ${work}/DEBIAN/shlibs "${CPACK_KELINFRA_SHLIBS}\n")
        file(WRITE ${work}/DEBIAN/triggers "activate-noawait ldconfig\n")
    endif()
    run(chmod --recursive u=rwX,go=rX ${work})
    run(dpkg-deb --root-owner-group -Zxz --build ${work} ${file})
endfunction()

function(finish_archive package)
    cmake_path(GET CPACK_TEMPORARY_DIRECTORY PARENT_PATH folder)
    cmake_path(GET CPACK_TEMPORARY_DIRECTORY FILENAME name)
    set(archive ${CPACK_TEMPORARY_DIRECTORY}.tar)
    run(tar --create --file=${archive} --directory=${folder} --sort=name --format=gnu
        --mtime=@$ENV{SOURCE_DATE_EPOCH} --owner=0 --group=0 --numeric-owner
        --mode=u=rwX,go=rX ${name})
    run(gzip --best --no-name --force ${archive})
    file(RENAME ${archive}.gz ${package})
endfunction()

foreach(package IN LISTS CPACK_PACKAGE_FILES)
    if(CPACK_GENERATOR STREQUAL "DEB")
        finish_debian(${package})
    else()
        finish_archive(${package})
    endif()
endforeach()
