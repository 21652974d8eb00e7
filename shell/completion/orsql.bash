# Bash completion for orsql. Source it, or install it as share/bash-completion/completions/orsql.

_orsql() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local options='-h --help -c --command -f --file -m --mode --cursor --module --readonly --threads --max-memory
        --temp-directory --home-directory --secret-directory --extension-directory --no-external-access
        --token-file --user-agent --block-size --storage-version --bail --max-width --max-rows --timer --null
        --no-header --color --version --no-rc --input'
    COMPREPLY=()
    case $previous in
        -m | --mode)
            mapfile -t COMPREPLY < <(compgen -W 'box csv json jsonl line markdown' -- "$current")
            ;;
        --cursor)
            mapfile -t COMPREPLY < <(compgen -W 'server client' -- "$current")
            ;;
        --color)
            mapfile -t COMPREPLY < <(compgen -W 'auto always never' -- "$current")
            ;;
        -f | --file | --module | --token-file)
            compopt -o filenames 2> /dev/null
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
            ;;
        --temp-directory | --home-directory | --secret-directory | --extension-directory)
            compopt -o filenames 2> /dev/null
            mapfile -t COMPREPLY < <(compgen -d -- "$current")
            ;;
        -c | --command | --threads | --max-memory | --user-agent | --block-size | --storage-version | --max-width | --max-rows | \
            --null) ;;
        *)
            if [[ $current == -* ]]; then
                mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
            else
                compopt -o filenames 2> /dev/null
                mapfile -t COMPREPLY < <(
                    compgen -W ':memory:' -- "$current"
                    compgen -f -- "$current"
                )
            fi
            ;;
    esac
}

complete -F _orsql orsql
