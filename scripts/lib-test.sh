# shellcheck shell=bash
# Shared by ./test and .ci/run: runs the tests of a build and counts test cases.

PASSED=0
FAILED=0

# Tests that reach nothing that others do not: what is installed, and programs again in other locales.
# shellcheck disable=SC2034 # used by scripts/coverage and scripts/conditions
REPEATED_TESTS='^install-|-in-[a-z][a-z]_[A-Z][A-Z]\.'

# "NAME STATUS [REASON]" for each test of a report. One that found that it cannot run here is "skipped",
# and says why; one that could not be started is "notrun".
list_tests() {
    awk '
        function finish() { if (name != "") print name, status, reason }
        match($0, /<testcase name="[^"]*"/) {
            finish()
            name = substr($0, RSTART + 16, RLENGTH - 17)
            match($0, / status="[a-z]*"/)
            status = substr($0, RSTART + 9, RLENGTH - 10)
            reason = ""
        }
        /<skipped message="SKIP_/ { status = "skipped" }
        status == "skipped" && sub(/.*<system-out>skipped: /, "") { reason = $0 }
        END { finish() }' "$1"
}

# Adds up the cases of one ctest run: those of each GoogleTest program from its own report, and one
# for every other test. What fails beside the cases (a crash, a leak, a time-out) counts as one failed.
count_cases() {
    local junit=$1 reports=$2 name status reason cases failures unrun
    while read -r name status reason; do
        cases=1 failures=0 unrun=0
        if [ -f "$reports/$name.xml" ]; then
            read -r cases failures unrun < <(awk '
                match($0, /<testsuites tests="[0-9]+"/) { cases = substr($0, RSTART + 19) + 0 }
                /<testsuites / && match($0, / failures="[0-9]+"/) {
                    failures = substr($0, RSTART + 11) + 0 }
                /<testsuites / && match($0, / disabled="[0-9]+"/) {
                    unrun += substr($0, RSTART + 11) + 0 }
                /<testcase .* result="skipped"/ { unrun++ }
                END { print cases + 0, failures + 0, unrun + 0 }' "$reports/$name.xml")
            ((unrun == 0)) || say "$name: $unrun not run"
            [ "$status" != fail ] || ((failures > 0)) || cases=$((cases + 1)) failures=1
        elif [ "$status" = disabled ] || [ "$status" = skipped ]; then
            say "$name: not run${reason:+, $reason}"
            unrun=1
        elif [ "$status" != run ]; then
            failures=1
        fi
        PASSED=$((PASSED + cases - failures - unrun))
        FAILED=$((FAILED + failures))
    done < <(list_tests "$junit")
}

# run_tests PRESET [CTEST-ARGUMENT...]: adds to PASSED and FAILED; shows what failed.
run_tests() {
    local preset=$1 folder=$ROOT/build/$1 status=0 failed_before=$FAILED
    shift
    rm -rf "$folder/gtest" "$folder/junit.xml"
    (cd "$ROOT" && GTEST_OUTPUT="xml:$folder/gtest/" ctest --preset "$preset" \
        --parallel "$(job_count)" --no-tests=error --output-junit "$folder/junit.xml" \
        --test-output-size-passed 10000000 --test-output-size-failed 10000000 "$@") \
        >"$folder/ctest.log" 2>&1 || status=$?
    [ ! -f "$folder/junit.xml" ] || count_cases "$folder/junit.xml" "$folder/gtest"
    if [ "$status" -ne 0 ]; then
        ((FAILED > failed_before)) || FAILED=$((FAILED + 1))
        grep -vE '^ *(Start +[0-9]+:|[0-9]+/[0-9]+ Test .* Passed )' "$folder/ctest.log" || true
    fi
    return "$status"
}
