#!/usr/bin/env bash
# textSamplesTest.sh SOURCE: the C++ samples of docs/text.md are those of kelTextSamplesTest.cpp, letter
# by letter and in the same order.
set -euo pipefail
source_dir=$1
shown=$(awk '/^```cpp$/ { inside = 1; next } /^```$/ { inside = 0 } inside' "$source_dir/docs/text.md")
[ -n "$shown" ] || { echo "docs/text.md holds no C++ sample"; exit 1; }
compiled=$(awk '/^    \/\/ ----$/ { inside = !inside; next } inside { sub(/^    /, ""); print }' \
    "$source_dir/tests/docs/kelTextSamplesTest.cpp")
diff <(echo "$shown") <(echo "$compiled")
