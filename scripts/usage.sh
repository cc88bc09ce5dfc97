# Sourced first by every script: --help prints the comment with which the script begins.
case ${1:-} in
-h | --help)
    awk 'NR > 1 { if (!/^#/) exit; sub(/^# ?/, ""); print }' "$0"
    exit 0
    ;;
esac

refuse() { # WHAT: ends the script, since its command line is wrong
    printf '%s: %s; --help says what there is\n' "${0##*/}" "$1" >&2
    exit 2
}

takesNoArguments() { # "$@"
    [ $# -eq 0 ] || refuse "it takes no arguments, so not '$1'"
}
