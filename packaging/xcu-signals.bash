# SPDX-License-Identifier: GPL-3.0-or-later
# Completion for xcu-signals(1).
_xcu_signals() {
    local cur prev words cword split
    _init_completion -s || return
    if [[ $prev == --from ]]; then
        mapfile -t COMPREPLY < <(compgen -W "dbc arxml kcd xlsx" -- "$cur")
    elif [[ $cur == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "--output --from --force --candump --table --help --version" -- "$cur")
    else
        _filedir
    fi
} && complete -F _xcu_signals xcu-signals
