#!/usr/bin/env bash
# includeDirectionTest.sh SOURCE: who may include whom among the library's own headers.
set -euo pipefail
cd "$1"

# One line per directive: including file, blank, included header.
includes=$(grep -rHoE --include='*.h' --include='*.cpp' '^ *# *include *[<"]infra/[^>"]+' include src |
    sed -E 's|^([^:]+):.*[<"](infra/.*)|\1 \2|')
[ "$(wc -l <<<"$includes")" -gt 20 ] || { echo "no include directives found in $1"; exit 1; }

failed=0
# forbid RULE FILES HEADERS [EXCEPT]: no file that matches FILES ("!": that does not match) includes
# a header that matches HEADERS, but for those that match EXCEPT.
forbid() {
    local found
    found=$(awk -v files="$2" -v headers="$3" -v except="${4-^$}" '
        BEGIN { others = sub(/^!/, "", files) }
        (others ? $1 !~ files : $1 ~ files) && $2 ~ headers && $2 !~ except' <<<"$includes")
    [ -z "$found" ] || { printf 'violated: %s\n%s\n' "$1" "$found"; failed=1; }
}

util='^src/infra/util/'
public='^include/|^src/infra/util/.*[.]h$'
network='/kel(Socket|SocketServer|SocketException|SocketErrors|Connect)[.](h|cpp)$'
raising='/kel(Raise|SocketErrors)[.](h|cpp)$'
errors='^infra/oss/kel(Message|MessageList|[A-Za-z]*Exception|Export)[.]h$'

forbid "nothing but util includes util" "!$util" '^infra/util/'
forbid "public headers show nothing internal" "$public" '^infra/detail/'
forbid "only network sources include socket headers" "!$network" '^infra/oss/kelSocket'
forbid "internals that raise know messages and exceptions only" "$raising" '^infra/oss/' "$errors"
forbid "other internals know no class" "!$raising|^include/|^src/infra/(oss|util)/" '^infra/oss/'
exit "$failed"
