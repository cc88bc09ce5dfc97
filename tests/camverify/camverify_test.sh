#!/usr/bin/env bash
# Uses camverify as its users do: options, exit codes, what is missing and what to do about it.
#
#   camverify_test.sh FOLDER    the folder with camverify.exe, ocellus.dll and the device kit
set -uo pipefail
bin=$(readlink -f "$1")
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 1

passed=0
failed=0
expect() { # CODE PATTERN PROGRAM ARGUMENTS...: camverify must end with CODE and print something that matches PATTERN
    local code=$1 pattern=$2 output actual
    shift 2
    output=$("$root/scripts/host.sh" "$@" </dev/null 2>&1 | tr -d "\r")
    actual=$?
    if [ "$actual" = "$code" ] && grep -qE -- "$pattern" <<<"$output"; then passed=$((passed + 1)); else
        failed=$((failed + 1))
        printf 'FAILED: camverify %s\n  exit code %s, expected %s; expected output like: %s\n%s\n' "${*:2}" "$actual" "$code" "$pattern" "$output"
    fi
}
check() { # WHAT COMMAND...: the command must succeed
    local what=$1
    shift
    if "$@" >check.log 2>&1; then passed=$((passed + 1)); else
        failed=$((failed + 1))
        echo "FAILED: $what: $*"
        cat check.log
    fi
}

camverify=$bin/camverify.exe
windowsPath() { printf 'Z:%s' "${1//\//\\}"; }
expect 0 '^Exit code: 0 passed' "$camverify" --help
expect 0 'needs the device kit' "$camverify" --list
expect 2 "there is no group 'nonsense'; see camverify --list" "$camverify" --group nonsense
for wrong in '--nonsense' '--group' '--deadline 0' '--deadline 1s' '--deadline 99999' '--type webcam' 'stills'; do
    # shellcheck disable=SC2086
    expect 2 "^camverify: '$wrong.*is not understood; see camverify --help" "$camverify" $wrong
done
expect 2 "the folder .* cannot be made" "$camverify" --pictures nowhere/below --group stills
expect 2 'Bail out! there is no library .*nowhere.dll' "$camverify" --library nowhere.dll
echo none >text.dll
expect 2 'Bail out! .*text.dll is no 64-bit library' "$camverify" --library text.dll
if [ -f "$root/build/ce/bin/ocellus.dll" ]; then
    expect 2 'Bail out! .*is no 64-bit library' "$camverify" --library "$(windowsPath "$root/build/ce/bin/ocellus.dll")"
fi
expect 2 'Bail out! .*is no complete ocellus.dll; it lacks camGetDllRevision @1' "$camverify" --library "$(windowsPath "$bin/devicekit.dll")"

# Without the device kit: what needs it is skipped, asked for by name it is an error. The library alone lies in another folder than the
# program, whose own libraries stay registered.
mkdir alone && cp "$bin/ocellus.dll" alone/
expect 2 'Bail out! group faults needs the device kit: devicekit.dll is not beside ocellus.dll' "$camverify" --library alone/ocellus.dll --group faults
expect 0 '^ok .*# SKIP needs the device kit' "$camverify" --no-kit --group properties
expect 2 'left out by --no-kit' "$camverify" --no-kit --group resume

# Reports.
expect 0 '^1\.\.4$' "$camverify" --group arguments --json report.json --output report.tap
check 'the JSON report' python3 -c "
import json
report = json.load(open('report.json'))
assert report['library'] == '2.209.30001.0' and report['pointerBits'] == 64 and len(report['checks']) == 4
assert all(check['result'] == 'ok' and check['ms'] >= 0 for check in report['checks'])"
check 'the report as a file' grep -q '^# 4 checks: 4 passed, 0 failed, 0 skipped' report.tap

# A call that hangs ends the run, with its name.
export DEVICEKIT_SCENARIO='{"calls": {"IPersistPropertyBag::Load": {"delayMs": 20000}}}'
expect 1 'Bail out! camSelect\(.*\) did not return' "$camverify" --deadline 2 --group preview --no-kit
unset DEVICEKIT_SCENARIO

echo "$passed passed, $failed failed"
[ "$failed" = 0 ]
