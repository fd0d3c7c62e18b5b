# kelinfra_bill_of_materials(<folders> <root> <file>)
#
# Writes an SPDX 2.3 document: every file below the folders of root with its SHA-1 and SHA-256, the
# libraries that libkelinfra loads with their versions, and the compiler. No licence is published, so
# none is asserted. Reads CPACK_PACKAGE_VERSION and the variables CPACK_KELINFRA_...

# Appends one object to the list of objects of a variable of the caller.
macro(append_object variable text)
    if(${variable})
        string(APPEND ${variable} ",\n")
    endif()
    string(APPEND ${variable} "    ${text}")
endmacro()

set(no_licence [["licenseConcluded": "NOASSERTION", "copyrightText": "NOASSERTION"]])

# package_of(<library> <variable for its name> <variable for its version>)
#
# The Debian package of a library that is loaded; elsewhere its own name, and the version of ICU only.
function(package_of library name version)
    set(found_name ${library})
    set(found_version NOASSERTION)
    if(library MATCHES "^libicu")
        set(found_version ${CPACK_KELINFRA_ICU_VERSION})
    endif()
    execute_process(COMMAND dpkg-query --search */${library} OUTPUT_VARIABLE owners ERROR_QUIET)
    if(owners MATCHES "([a-z0-9.+-]+)(:[a-z0-9]+)?: /usr/lib/[^\n]*|([a-z0-9.+-]+)(:[a-z0-9]+)?: /lib[^\n]*")
        set(owner ${CMAKE_MATCH_1}${CMAKE_MATCH_3})
        execute_process(COMMAND dpkg-query --show "--showformat=\${Version}\n" ${owner}
            OUTPUT_VARIABLE versions ERROR_QUIET)
        if(versions MATCHES "^([^\n]+)\n")
            set(found_name ${owner})
            set(found_version ${CMAKE_MATCH_1})
        endif()
    endif()
    set(${name} ${found_name} PARENT_SCOPE)
    set(${version} ${found_version} PARENT_SCOPE)
endfunction()

# loaded_packages(<library file> <variable>): "name version" of each package that it loads from.
function(loaded_packages library variable)
    execute_process(COMMAND ${CPACK_KELINFRA_READELF} --dynamic --wide ${library}
        OUTPUT_VARIABLE dynamic COMMAND_ERROR_IS_FATAL ANY)
    # A bracket would keep the elements of a list together.
    string(REPLACE "[" "<" dynamic "${dynamic}")
    string(REGEX MATCHALL "NEEDED[^\n]*<[^]\n]+" needed "${dynamic}")
    set(packages)
    foreach(entry IN LISTS needed)
        string(REGEX REPLACE ".*<" "" name "${entry}")
        package_of(${name} package version)
        list(APPEND packages "${package} ${version}")
    endforeach()
    list(REMOVE_DUPLICATES packages)
    list(SORT packages)
    set(${variable} "${packages}" PARENT_SCOPE)
endfunction()

# What one file is called, from where it is installed: without the folder of its component.
function(describe_files folders root output_files output_relations output_code output_library)
    set(number 0)
    set(files)
    set(relations)
    set(sums)
    set(library)
    foreach(folder IN LISTS folders)
        file(GLOB_RECURSE found LIST_DIRECTORIES FALSE RELATIVE ${root}/${folder} ${root}/${folder}/*)
        list(SORT found)
        foreach(file IN LISTS found)
            set(path ${root}/${folder}/${file})
            if(IS_SYMLINK ${path})
                continue()
            endif()
            if(file MATCHES "/libkelinfra[.]so[.0-9]+$")
                set(library ${path})
            endif()
            math(EXPR number "${number} + 1")
            file(SHA1 ${path} sha1)
            file(SHA256 ${path} sha256)
            list(APPEND sums ${sha1})
            append_object(files "{ \"SPDXID\": \"SPDXRef-File-${number}\", \"fileName\": \"./${file}\", \"checksums\": [
        { \"algorithm\": \"SHA1\", \"checksumValue\": \"${sha1}\" },
        { \"algorithm\": \"SHA256\", \"checksumValue\": \"${sha256}\" }],
      ${no_licence}, \"licenseInfoInFiles\": [\"NOASSERTION\"] }")
            append_object(relations "{ \"spdxElementId\": \"SPDXRef-kelinfra\", \"relationshipType\": \"CONTAINS\", \"relatedSpdxElement\": \"SPDXRef-File-${number}\" }")
        endforeach()
    endforeach()
    list(SORT sums)
    list(JOIN sums "" sums)
    string(SHA1 code "${sums}")
    set(${output_files} "${files}" PARENT_SCOPE)
    set(${output_relations} "${relations}" PARENT_SCOPE)
    set(${output_code} ${code} PARENT_SCOPE)
    set(${output_library} ${library} PARENT_SCOPE)
endfunction()

# Another package, which is not part of this one: DEPENDS_ON or BUILD_TOOL_OF it.
macro(add_other_package name version relation)
    string(REGEX REPLACE "[^A-Za-z0-9.-]" "-" package_id "SPDXRef-Package-${name}")
    append_object(packages "{ \"SPDXID\": \"${package_id}\", \"name\": \"${name}\", \"versionInfo\": \"${version}\",
      \"downloadLocation\": \"NOASSERTION\", \"filesAnalyzed\": false,
      \"licenseDeclared\": \"NOASSERTION\", ${no_licence} }")
    if("${relation}" STREQUAL "BUILD_TOOL_OF")
        append_object(relations "{ \"spdxElementId\": \"${package_id}\", \"relationshipType\": \"${relation}\", \"relatedSpdxElement\": \"SPDXRef-kelinfra\" }")
    else()
        append_object(relations "{ \"spdxElementId\": \"SPDXRef-kelinfra\", \"relationshipType\": \"${relation}\", \"relatedSpdxElement\": \"${package_id}\" }")
    endif()
endmacro()

function(kelinfra_bill_of_materials folders root output)
    describe_files("${folders}" ${root} files relations code library)
    if(NOT library)
        message(FATAL_ERROR "there is no libkelinfra in ${root}")
    endif()
    cmake_path(GET output FILENAME name)
    string(TIMESTAMP created "%Y-%m-%dT%H:%M:%SZ" UTC)
    set(packages)
    string(UUID uuid NAMESPACE 6ba7b812-9dad-11d1-80b4-00c04fd430c8 NAME "kelinfra ${CPACK_PACKAGE_VERSION} ${code}"
        TYPE SHA1)
    append_object(packages "{ \"SPDXID\": \"SPDXRef-kelinfra\", \"name\": \"kelinfra\", \"versionInfo\": \"${CPACK_PACKAGE_VERSION}\",
      \"downloadLocation\": \"NOASSERTION\", \"filesAnalyzed\": true, \"primaryPackagePurpose\": \"LIBRARY\",
      \"packageVerificationCode\": { \"packageVerificationCodeValue\": \"${code}\",
        \"packageVerificationCodeExcludedFiles\": [\"./${name}\"] },
      \"licenseDeclared\": \"NOASSERTION\", ${no_licence}, \"licenseInfoFromFiles\": [\"NOASSERTION\"] }")
    loaded_packages(${library} loaded)
    foreach(entry IN LISTS loaded)
        string(REGEX MATCH "^([^ ]+) (.+)$" entry "${entry}")
        add_other_package("${CMAKE_MATCH_1}" "${CMAKE_MATCH_2}" DEPENDS_ON)
    endforeach()
    string(REGEX REPLACE "^GNU " "GCC " compiler "${CPACK_KELINFRA_COMPILER}")
    string(REGEX MATCH "^([^ ]+) (.+)$" entry "${compiler}")
    add_other_package("${CMAKE_MATCH_1}" "${CMAKE_MATCH_2}" BUILD_TOOL_OF)
    file(WRITE ${output} "{
  \"spdxVersion\": \"SPDX-2.3\",
  \"dataLicense\": \"CC0-1.0\",
  \"SPDXID\": \"SPDXRef-DOCUMENT\",
  \"name\": \"kelinfra-${CPACK_PACKAGE_VERSION}\",
  \"documentNamespace\": \"urn:uuid:${uuid}\",
  \"creationInfo\": { \"created\": \"${created}\", \"creators\": [\"Tool: kelinfra-billOfMaterials-${CPACK_PACKAGE_VERSION}\"] },
  \"documentDescribes\": [\"SPDXRef-kelinfra\"],
  \"packages\": [
${packages}
  ],
  \"files\": [
${files}
  ],
  \"relationships\": [
    { \"spdxElementId\": \"SPDXRef-DOCUMENT\", \"relationshipType\": \"DESCRIBES\", \"relatedSpdxElement\": \"SPDXRef-kelinfra\" },
${relations}
  ]
}
")
    file(CHMOD ${output} PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
endfunction()
