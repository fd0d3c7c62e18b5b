#!/usr/bin/env bash
# The C++ sample of README.md is examples/kelQuickStart.cpp, letter by letter, but for what makes the
# program answer --version.
set -euo pipefail
source_dir=$1
sample=$(awk '/^```cpp$/ { inside = 1; next } /^```$/ { inside = 0 } inside' "$source_dir/README.md")
[ -n "$sample" ] || { echo "README.md holds no C++ sample"; exit 1; }
program=$source_dir/examples/kelQuickStart.cpp
[ "$(grep -cE 'kelExampleTools|answerVersionOption' "$program")" -eq 2 ] ||
    { echo "kelQuickStart.cpp answers no --version"; exit 1; }
diff <(echo "$sample") <(sed -E 's/^int main\(int argc, char\*\* argv\) /int main() /
    /kelExampleTools|answerVersionOption/d' "$program" | cat -s)
