#!/bin/bash
# What stands beside the programs, held against the programs themselves:
# check.sh Completion|ManualPages <folder packaging> <program>...
set -euo pipefail
export LC_ALL=C

what=$1 packaging=$2
programs=("${@:3}")
failures=0

# same <what> <expected> <found>
same() {
    [[ $2 != "$3" ]] || return 0
    printf '%s\nexpected:\n%s\nfound:\n%s\n\n' "$1" "$2" "$3" >&2
    failures=$((failures + 1))
}

# told <program>: what a program says of its command line. Telvane has no option for that, and says it when it is
# given nothing.
told() {
    if [[ ${1##*/} == Telvane ]]; then "$1" 2>&1 || true; else "$1" --help; fi
}

# told_options <program>: the options in that text, one a line. Those of the tools begin with two dashes, and where
# their texts name one of Telvane's it has a single one.
told_options() {
    local dashes=--
    [[ ${1##*/} != Telvane ]] || dashes=-
    told "$1" | grep -oE -e "(^|[[ |])${dashes}[a-z][a-z0-9]*" | sed 's/^[[ |]//' | sort -u
}

# complete_line <word>...: what the shell offers for the last word.
complete_line() {
    local COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) COMPREPLY=() function
    function=$(complete -p "$1")
    function=${function#*-F }
    "${function%% *}"
    printf '%s\n' "${COMPREPLY[@]}"
}
offers() { # <expected, by blanks> <word>...
    same "offered for '${*:2}|'" "$(tr ' ' '\n' <<<"$1" | sort)" "$(complete_line "${@:2}" | sed '/^ *$/d' | sort)"
}

check_completion() {
    local program names i words=()
    for program in "${programs[@]}"; do
        # shellcheck source=/dev/null
        source "$packaging/completion/${program##*/}"
        same "options of ${program##*/}" "$(told_options "$program")" "$(complete_line "${program##*/}" - | sort)"
    done

    local all='-n -l -s -jpg -p1 -p2 -m'
    offers "$all <wid>" Telvane ''
    offers '-p1 -p2' Telvane -s -p
    offers '<count>' Telvane -s -n ''
    offers '<p2>' Telvane -p1 2 -p2 ''
    offers '' Telvane -n 1
    offers '<hgh>' Telvane -m 1 2 3 ''
    offers "$all <wid>" Telvane -m 1 2 3 4 ''
    offers '<y>' Telvane -m 1 2 3 4 -m 5 ''
    # The arguments in their order, and no option behind the first of them.
    mapfile -t names < <(told "$(printf '%s\n' "${programs[@]}" | grep '/Telvane$')" |
        sed -n '/<fullAng>/,$p' | grep -oE '<[a-zA-Z0-9]+')
    same "number of arguments" 16 ${#names[@]}
    for ((i = 1; i < 16; i++)); do
        words+=("$i")
        offers "${names[i]}>" Telvane -l 15 "${words[@]}" ''
        offers '' Telvane -l 15 "${words[@]}" -
    done
    offers '' Telvane -l 15 "${words[@]}" 16 ''

    offers '' wheelsim --speed -
    offers '--out --outer' wheelsim --speed -0.6 --ou
}

check_manual_pages() {
    local program page
    for program in "${programs[@]}"; do
        page=$packaging/man/${program##*/}.1
        same "options in $page" "$(told_options "$program")" \
            "$(sed -n '/^\.It Fl /p' "$page" | grep -oE 'Fl [^ ]+' | sed 's/^Fl /-/' | sort -u)"
        same "name in $page" "${program##*/}" "$(sed -n 's/^\.Nm \([^ ]*\)$/\1/p' "$page")"
    done
}

case $what in
Completion) check_completion ;;
ManualPages) check_manual_pages ;;
*)
    echo "check.sh: no check is named $what" >&2
    exit 2
    ;;
esac
((failures == 0))
