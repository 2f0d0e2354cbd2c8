# bash completion for ovxext: commands, each command's options, and the files and folders
# its arguments name (extension packages where a package is expected).
#
# Commands and options are read from ovxext's own help ("ovxext --help" and "ovxext
# COMMAND --help"), once per shell, so the completion always matches the installed tool.

declare -gA _ovxext_options=()
declare -g _ovxext_commands=

_ovxext_command_list() {
    [[ -n $_ovxext_commands ]] ||
        _ovxext_commands=$("$1" --help 2>/dev/null |
            sed -n '/^commands:/,/^$/s/^  \([a-z][a-z]*\).*/\1/p' | tr '\n' ' ')
    printf '%s' "$_ovxext_commands"
}

_ovxext_option_list() {  # ovxext, command
    [[ -n ${_ovxext_options[$2]+set} ]] ||
        _ovxext_options[$2]=$("$1" "$2" --help 2>/dev/null |
            grep -oE '(^|[][ ,|])--?[a-z][a-z-]*' | grep -oE -- '--?[a-z][a-z-]*' | sort -u | tr '\n' ' ')
    printf '%s' "${_ovxext_options[$2]} --help"
}

# Files ending in the package suffix, and folders to descend into.
_ovxext_packages() {
    local IFS=$'\n'
    COMPREPLY+=($(compgen -f -X '!*.OrvexExtension' -- "$1") $(compgen -d -- "$1"))
}

_ovxext() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local tool=${COMP_WORDS[0]} command= word
    COMPREPLY=()
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        [[ $word == -* ]] || { command=$word; break; }
    done

    if [[ -z $command ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$(_ovxext_command_list "$tool") --help --version" -- "$current")
        return
    fi

    local IFS=$'\n'
    case $previous in
    -o | --output | -s | --secret | -p | --public | --trust | --metadata | --channel-root | --author-key)
        compopt -o filenames
        COMPREPLY=($(compgen -f -- "$current"))
        return ;;
    --data | --source | --keep | --keys)
        compopt -o filenames
        COMPREPLY=($(compgen -d -- "$current"))
        return ;;
    --app) COMPREPLY=($(compgen -W $'Atlas\nBeacon\nCinder\nDelta' -- "$current")); return ;;
    --platform) COMPREPLY=($(compgen -W $'x64\nx32\nx32,x64' -- "$current")); return ;;
    --trust-mode) COMPREPLY=($(compgen -W $'warn\nrequire' -- "$current")); return ;;
    --channel | --channel-targets | --channel-every | --expires | --expires-in | --threshold) return ;;
    --type | --id | --version | --title | --description | --notes | --feature | --keyword | \
        --suite-min | --suite-max | --windows-min | --windows-max | --creator-tool)
        return ;;
    esac

    if [[ $current == -* ]]; then
        IFS=' '
        COMPREPLY=($(compgen -W "$(_ovxext_option_list "$tool" "$command")" -- "$current"))
        return
    fi
    compopt -o filenames
    case $command in
    init | pack) COMPREPLY=($(compgen -d -- "$current")) ;;
    info | check | lint | ls | sign | verify | unpack) _ovxext_packages "$current" ;;
    *) COMPREPLY=($(compgen -f -- "$current")) ;;
    esac
}

complete -F _ovxext ovxext
