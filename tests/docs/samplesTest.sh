#!/usr/bin/env bash
# samplesTest.sh DOCUMENT TEST: the C++ samples of the document are those of the test, letter by letter and
# in the same order.
set -euo pipefail
document=$1 test=$2
shown=$(awk '/^```cpp$/ { inside = 1; next } /^```$/ { inside = 0 } inside' "$document")
[ -n "$shown" ] || { echo "$document holds no C++ sample"; exit 1; }
compiled=$(awk '/^    \/\/ ----$/ { inside = !inside; next } inside { sub(/^    /, ""); print }' "$test")
diff <(echo "$shown") <(echo "$compiled")
