#!/usr/bin/env bash
# publicHeaderTest.sh SOURCE: every header of the two public folders is installed and verified, and
# no other one.
set -euo pipefail
cd "$1"
# shellcheck disable=SC2016 # the variable is CMake's
listed=$(sed -n 's|^ *${PROJECT_SOURCE_DIR}/\(.*\.h\))\{0,1\}$|\1|p' src/CMakeLists.txt | LC_ALL=C sort)
present=$(find include src/infra/util -name '*.h' | LC_ALL=C sort)
expected=$(sed -e 's|^oss/|include/infra/oss/|' -e 's|^util/|src/infra/util/|' \
    tests/install/publicHeaders.txt | LC_ALL=C sort)
[ -n "$present" ] || { echo "no headers found"; exit 1; }
diff <(echo "$present") <(echo "$listed") || { echo "present (<), in src/CMakeLists.txt (>)"; exit 1; }
diff <(echo "$present") <(echo "$expected") || { echo "present (<), in publicHeaders.txt (>)"; exit 1; }
