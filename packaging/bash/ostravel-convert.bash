# Completion of ostravel-convert for bash. Sourced from a shell's start-up file, or from
# /usr/share/bash-completion/completions/ostravel-convert.
# shellcheck shell=bash

_ostravel_convert() {
    local current=$2 previous=$3 prefix='' words=''
    local formats='csv xlsx txt mat kml gpx geojson'
    COMPREPLY=()
    # Words of a list with commas: what is before the last comma stays.
    case $current in
    *,*) prefix=${current%,*}, ;;
    esac
    case $previous in
    -f | --format)
        words=$formats
        ;;
    -o | --output)
        mapfile -t COMPREPLY < <(compgen -d -- "$current")
        compopt -o filenames
        return
        ;;
    --channels)
        words=$("$1" --list 2>/dev/null | awk '/^0x/ { sub(/:/, "", $2); print $2 } /^  / { print $1 }')
        ;;
    --tasks)
        words=all
        ;;
    -j | --jobs | --plane | --start | --period)
        return
        ;;
    *)
        case $current in
        -*)
            mapfile -t COMPREPLY < <(compgen -W '-h --help --version --list --check --json -f --format -o --output
                --overwrite -j --jobs --plane --tasks --start --period --channels --labels' -- "$current")
            ;;
        *)
            mapfile -t COMPREPLY < <(compgen -f -X '!*.@(txt|db)' -- "$current" && compgen -d -- "$current")
            compopt -o filenames
            ;;
        esac
        return
        ;;
    esac
    mapfile -t COMPREPLY < <(compgen -P "$prefix" -W "$words" -- "${current##*,}")
    compopt -o nospace
}

complete -F _ostravel_convert ostravel-convert
