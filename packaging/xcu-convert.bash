# SPDX-License-Identifier: GPL-3.0-or-later
# Completion for xcu-convert(1).
_xcu_convert() {
    local cur prev words cword split
    _init_completion -s || return
    case $prev in
    --from)
        mapfile -t COMPREPLY < <(compgen -W "log rbx candump asc trc txt csv trace xcu dbc arxml kcd xlsx" -- "$cur")
        return
        ;;
    --to)
        mapfile -t COMPREPLY < <(compgen -W "csv h5 candump asc" -- "$cur")
        return
        ;;
    --out-dir)
        _filedir -d
        return
        ;;
    --signals)
        _filedir csv
        return
        ;;
    -j | --jobs)
        return
        ;;
    esac
    if [[ $cur == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "--output --out-dir --from --to --signals --frames --info --force --jobs --help --version" -- "$cur")
    else
        _filedir
    fi
} && complete -F _xcu_convert xcu-convert
