# Shared by the scripts that CPack runs.

# run(<command> <argument>...): or stops, with what it said.
function(run)
    execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${ARGN} failed: ${output}")
    endif()
endfunction()

# kelinfra_source_date(<source folder> <variable>)
#
# The time of the sources in seconds since 1970: that of the commit, which `git archive` writes into
# sourceDate.txt, or that of the list of changes in sources that know no commit.
function(kelinfra_source_date source variable)
    file(READ ${source}/packaging/sourceDate.txt date)
    string(STRIP "${date}" date)
    if(NOT date MATCHES "^[0-9]+$")
        execute_process(COMMAND git -C ${source} log -1 --format=%ct
            OUTPUT_VARIABLE date ERROR_QUIET OUTPUT_STRIP_TRAILING_WHITESPACE)
    endif()
    if(NOT date MATCHES "^[0-9]+$")
        file(TIMESTAMP ${source}/CHANGELOG.md date %s UTC)
    endif()
    set(${variable} ${date} PARENT_SCOPE)
endfunction()
