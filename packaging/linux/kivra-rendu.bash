# Completion of kivra-rendu(1) for bash.

_kivra_rendu_names() {
    kivra-rendu --list 2>/dev/null | sed -n "/^--$1 :/,/^\$/s/^  //p"
}

_kivra_rendu() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} options
    # Bash takes "--effet=texte" for three words.
    if [[ $word == = ]]; then
        word=
    elif [[ $before == = ]]; then
        before=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    case $before in
    --effet | --rendu)
        mapfile -t COMPREPLY < <(compgen -W "$(_kivra_rendu_names "${before#--}")" -- "$word")
        return
        ;;
    --format)
        mapfile -t COMPREPLY < <(compgen -W "png jpg" -- "$word")
        return
        ;;
    -o | --output)
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -d -- "$word")
        return
        ;;
    --contraste | --lumiere | --reglage | -j | --jobs)
        COMPREPLY=()
        return
        ;;
    esac
    if [[ $word == -* ]]; then
        options="--effet --rendu --contraste --lumiere --reglage --list --output --format --pdf
            --force --files-from --jobs --quiet --help --version"
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
        return
    fi
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$word")
}

complete -F _kivra_rendu kivra-rendu
