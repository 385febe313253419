# SPDX-License-Identifier: GPL-3.0-or-later
# Completion for xcu-convert(1).
_xcu_convert() {
    local cur prev words cword split
    _init_completion -s || return
    case $prev in
    --from)
        mapfile -t COMPREPLY < <(compgen -W "log rbx candump asc trc txt csv trace xcu" -- "$cur")
        return
        ;;
    --to)
        mapfile -t COMPREPLY < <(compgen -W "csv h5 mf4 candump asc" -- "$cur")
        return
        ;;
    --out-dir)
        _filedir -d
        return
        ;;
    --signals)
        _filedir '@(csv|dbc|arxml|kcd|xlsx|signals)'
        return
        ;;
    -j | --jobs | --only | --start | --end | --every | --bus)
        return
        ;;
    esac
    if [[ $cur == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "--output --out-dir --update --from --to --signals --only --start --end --every --bus --frames --info --force --jobs --help --version" -- "$cur")
    else
        _filedir
    fi
} && complete -F _xcu_convert xcu-convert
