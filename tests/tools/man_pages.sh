#!/usr/bin/env bash
# Each command has a man page, complete and without a warning of the formatter.
#
#     man_pages.sh TOOL MAN_FOLDER
set -euo pipefail
tool=$1
pages=$2
fail() { echo "$*" >&2; exit 1; }

# check PAGE HELP SECTION...: the sections in this order, and each option of the help.
check() {
    local page=$1 help=$2 text
    shift 2
    text=$(groff -ww -man -Tutf8 -z "$page" 2>&1) || fail "$text"
    [[ -z $text ]] || fail "$text"
    [[ $(sed -n 's/^\.SH //p' "$page") == "$(printf '%s\n' "$@")" ]] || fail "$page: other sections"
    text=$(groff -man -Tascii -P-cbou "$page" | tr -s ' \n' ' ')
    while read -r option; do
        [[ $text == *" $option"* ]] || fail "$page: no $option"
    done < <(grep -o '^  -[^ ]*' <<<"$help")
}

check "$pages/morvantic.1" "$("$tool" --help)" \
    NAME SYNOPSIS DESCRIPTION OPTIONS COMMANDS "EXIT STATUS" "SEE ALSO"
commands=$("$tool" --help | sed '1,/^Subcommands:/d; /^$/,$d; s/^  \([^ ]*\).*/\1/')
for command in $commands; do
    check "$pages/morvantic-$command.1" "$("$tool" "$command" --help)" \
        NAME SYNOPSIS DESCRIPTION ARGUMENTS OPTIONS "EXIT STATUS" EXAMPLES "SEE ALSO"
done
