#!/usr/bin/env bash
# The C++ sample of README.md is examples/kelQuickStart.cpp, letter by letter.
set -euo pipefail
source_dir=$1
sample=$(awk '/^```cpp$/ { inside = 1; next } /^```$/ { inside = 0 } inside' "$source_dir/README.md")
[ -n "$sample" ] || { echo "README.md holds no C++ sample"; exit 1; }
diff <(echo "$sample") "$source_dir/examples/kelQuickStart.cpp"
