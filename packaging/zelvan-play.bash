# Bash completion for zelvan-play. Commands, options, check codes and node types come from the program itself.

_zelvan_play()
{
    local program=${COMP_WORDS[0]} word command='' option help
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}
    COMPREPLY=()
    # Bash counts "--option=value" as three words, "--severity code=level" as four.
    [[ $current == = ]] && current='' && previous='='
    if [[ $previous == = ]]; then
        previous=${COMP_WORDS[COMP_CWORD-2]}
        [[ ${COMP_WORDS[COMP_CWORD]} == = ]] && previous=${COMP_WORDS[COMP_CWORD-1]}
        [[ $previous != -* ]] && COMPREPLY=($(compgen -W "hint note warning error off" -- "$current")) && return
    fi

    local commands
    commands=$("$program" --help 2>/dev/null | sed -n '/^Subcommands:/,/^$/ s/^  \([a-z]\{1,\}\) .*/\1/p')
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        [[ $'\n'$commands$'\n' == *$'\n'"$word"$'\n'* ]] && command=$word && break
    done
    # The program's own options may follow a command, too.
    help=$("$program" --help 2>/dev/null; [[ $command ]] && "$program" "$command" --help 2>/dev/null)

    case $previous in
    --only | --ignore | --severity)
        local earlier=''
        [[ $previous != --severity && $current == *,* ]] && earlier=${current%,*},
        COMPREPLY=($(compgen -P "$earlier" -W "$("$program" check --codes 2>/dev/null | awk 'NR > 1 {print $1}')" \
            -- "${current#"$earlier"}"))
        return
        ;;
    explain)
        COMPREPLY=($(compgen -W "$("$program" check --codes 2>/dev/null | awk 'NR > 1 {print $1}')" -- "$current"))
        return
        ;;
    --pool | --config | --csv | --jsonl | --svg | --png | --html | -o | --output)
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        return
        ;;
    -*)
        # "--format csv|jsonl" in the help says what may follow; any other capital word is the user's to give.
        option=$(sed -n "s/^  \(.*,\)\{0,1\}$previous \([^ ]*\).*/\2/p" <<<"$help" | tail -n 1)
        if [[ $option =~ ^[a-z]+(\|[a-z]+)+$ ]]; then
            COMPREPLY=($(compgen -W "${option//|/ }" -- "$current"))
            return
        fi
        [[ $option =~ ^[A-Z0-9] && $option != *: ]] && return
        ;;
    esac

    if [[ $current == -* ]]; then
        COMPREPLY=($(compgen -W "$(grep -oE '^  (-[a-z],)?--?[a-z][a-z-]*' <<<"$help" | tr ',' '\n')" -- "$current"))
    elif [[ ! $command ]]; then
        COMPREPLY=($(compgen -W "$commands" -- "$current"))
    elif [[ $command == types ]]; then
        COMPREPLY=($(compgen -W "$("$program" types 2>/dev/null | awk 'NR > 1 {print $1}')" -- "$current"))
    else
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -d -- "$current"
            compgen -f -- "$current" | grep -E '\.(x3d|x3dv|x3dz|x3dvz|wrl|wrz|xml)(\.gz)?$')
    fi
}
complete -F _zelvan_play zelvan-play
