#!/usr/bin/env bash
# Makes the locales in which tests run a second time: one with a decimal comma, and Turkish ones, where
# the capital of i is no I. The C library finds them through LOCPATH.
set -euo pipefail
folder=$1

missing() {
    echo "$1; install the Debian packages libc-bin and locales" >&2
    exit 1
}

command -v localedef >/dev/null || missing "there is no localedef"
for source in locales/de_DE locales/tr_TR charmaps/UTF-8.gz charmaps/ISO-8859-9.gz; do
    [ -e "/usr/share/i18n/$source" ] || missing "there is no locale source /usr/share/i18n/$source"
done

[ ! "$folder/complete" -nt "$0" ] || exit 0 # made by an earlier run
rm -rf "$folder"
mkdir -p "$folder"
localedef --no-archive -i de_DE -f UTF-8 "$folder/de_DE.UTF-8"
localedef --no-archive -i tr_TR -f ISO-8859-9 "$folder/tr_TR.ISO-8859-9"
localedef --no-archive -i tr_TR -f UTF-8 "$folder/tr_TR.UTF-8"
touch "$folder/complete"
