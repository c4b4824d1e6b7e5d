# Completion of the zrpolicy command for bash. Installed where bash-completion looks for it; or: source zrpolicy.bash

_zrpolicy_options() {
  # The command's own help is the list: nothing here can fall behind it.
  "${COMP_WORDS[0]}" "$@" --help 2>/dev/null | grep -oE '(^|[[:space:],])--[a-z][a-z-]*' | grep -oE -- '--[a-z-]+' | sort -u
}

_zrpolicy_names() {  # SECTION: the settings of it; without: the sections
  "${COMP_WORDS[0]}" config show 2>/dev/null |
    awk -v section="${1:-}" 'NR > 2 && $2 !~ /^\(/ { if (section == "") print $1; else if ($1 == section) print $2 }' |
    sort -u
}

_zrpolicy_files() {
  compopt -o filenames
  mapfile -t COMPREPLY < <(compgen -f -- "$1")
}

_zrpolicy() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} words=() path=() i
  case $before in
    --database | --password-file | --config)
      _zrpolicy_files "$word"
      return
      ;;
    --sql-dir)
      compopt -o filenames
      mapfile -t COMPREPLY < <(compgen -d -- "$word")
      return
      ;;
    --log-level) words=(0 1 2 3 4) ;;
  esac
  for ((i = 1; i < COMP_CWORD; i++)); do
    case ${COMP_WORDS[i]} in
      init | lookup | load | config | show | get | check | set | unset) path+=("${COMP_WORDS[i]}") ;;
    esac
  done
  if [ ${#words[@]} -eq 0 ]; then
    case "${path[*]} $word" in
      *\ -*) mapfile -t words < <(_zrpolicy_options "${path[@]}") ;;
      " "*) words=(init lookup load config) ;;
      "config show "* | "config get "* | "config set "* | "config unset "*)
        if [ "$before" = "${path[1]}" ]; then
          mapfile -t words < <(_zrpolicy_names)
        else
          mapfile -t words < <(_zrpolicy_names "$before")
        fi
        ;;
      "config "*) words=(show get check set unset) ;;
    esac
  fi
  mapfile -t COMPREPLY < <(compgen -W "${words[*]}" -- "$word")
}

complete -F _zrpolicy zrpolicy
