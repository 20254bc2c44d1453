#!/bin/bash
# What stands beside the programs, held against the programs themselves:
# check.sh Completion|ManualPages|Readme <folder packaging> <program>...
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
    told "$1" | grep -oE -e "(^|[[ |])${dashes}[a-z][a-z0-9-]*" | sed 's/^[[ |]//' | sort -u
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

# What README.md's tables and Telvane.1 say of the command line, one thing a line: options with their values, arguments
# in their order, messages with the exit status that comes with them, statuses.
readme_says() {
    sed 's/…/.../g; s/–/-/g' "$packaging/../README.md" | awk -F ' *[|] *' '
        function quoted(cell, separator,   text) {
            while (match(cell, /`[^`]*`/)) {
                text = text substr(cell, RSTART + 1, RLENGTH - 2) separator
                cell = substr(cell, RSTART + RLENGTH)
            }
            return text
        }
        /^#/ { messages = $0 == "## Messages" }
        $2 ~ /^`-[a-z]/ && $1 == "" && !/-D/ { printf "%s", quoted($2, "\n") }
        $2 ~ /^[0-9]+ `</ { print "argument " quoted($2) }
        messages && $2 ~ /`/ {
            status[$3]
            count = split(quoted($2, "\n"), text, "\n")
            for (i = 1; i < count; i++) print text[i] ": " $3
        }
        END { for (s in status) if (s ~ /^[0-9]/) print "status " s }'
}
page_says() {
    awk '
        # The words behind the macro, those that the reader fills in between < and >.
        function words(first,   i, text) {
            for (i = first; i <= NF && $i != ","; i++) text = text (text == "" ? "" : " ") "<" $i ">"
            return text
        }
        /^\.Sh / { section = substr($0, 5) }
        /^\.It Fl / {
            for (i = 2; i <= NF; i++)
                if ($i == "Fl") print "-" $(i + 1) ($(i + 2) == "Ar" ? " " words(i + 3) : "")
        }
        section == "DESCRIPTION" && /^\.It Ar / { for (i = 3; i <= NF; i++) print "argument <" $i ">" }
        section == "EXIT STATUS" && /^\.It / { print "status " $2 }
        section == "DIAGNOSTICS" && /^\.(It "|El)/ {
            if (told) for (i = 1; i <= count; i++) print message[i] ": " status
            if (told) count = 0
            told = 0
            status = "-"
            message[++count] = substr($0, 6, length($0) - 6)
            next
        }
        section == "DIAGNOSTICS" && count {
            told = 1
            if (/^Status [0-9]+\.$/) status = $2 + 0
            if (/^Halts[.:]/) status = "halts"
        }' "$packaging/man/Telvane.1"
}

check_readme() {
    local readme page
    readme=$(readme_says) page=$(page_says)
    same "arguments, in their order" "$(grep '^argument' <<<"$readme")" "$(grep '^argument' <<<"$page")"
    same "number of arguments" 16 "$(grep -c '^argument' <<<"$readme")"
    same "options, messages and statuses" "$(grep -v '^argument' <<<"$readme" | sort)" \
        "$(grep -v '^argument' <<<"$page" | sort)"
}

case $what in
Completion) check_completion ;;
ManualPages) check_manual_pages ;;
Readme) check_readme ;;
*)
    echo "check.sh: no check is named $what" >&2
    exit 2
    ;;
esac
((failures == 0))
