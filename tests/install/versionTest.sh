#!/usr/bin/env bash
# versionTest.sh SOURCE VERSION: what cannot ask CMakeLists.txt for the version says the same.
set -euo pipefail
cd "$1"
version=$2
failed=0

# expect FILE TEXT: the first line of FILE that has TEXT before its first digit goes on with the version.
expect() {
    local line
    line=$(grep -m 1 -F -- "$2" "$1") || { echo "$1 has no '$2'"; failed=1; return; }
    [[ $line =~ ${2//./\\.}${version//./\\.}([^0-9]|$) ]] || { echo "$1 is not at $version: $line"; failed=1; }
}

expect src/infra/oss/kelBuildVersion.cpp 'LIBRARY_BUILD = u"'
expect CHANGELOG.md '## '
expect docs/building.md '/usr/src/kelinfra-'
exit "$failed"
