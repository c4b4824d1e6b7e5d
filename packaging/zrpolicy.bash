# Completion of the zrpolicy command for bash. Installed where bash-completion looks for it; or: source zrpolicy.bash

# What "zrpolicy help COMMAND..." lists: a command as "name", an option as "--name" or "--name VALUE". The command's own
# usage is the list, so nothing here can fall behind it.
_zrpolicy_usage() {
  "${COMP_WORDS[0]/#\~/$HOME}" help "$@" 2>/dev/null |
    sed -nE 's/^  (-[a-z], )?(--[a-z-]+( [A-Z]+)?|[a-z]+)( .*)?$/\2/p'
}

_zrpolicy_settings() {  # [SECTION]: the names of its settings; without: the sections
  ZRPOLICY_CONFIG=/dev/null "${COMP_WORDS[0]/#\~/$HOME}" config show 2>/dev/null |
    awk -v section="${1:-}" 'NR > 2 { if (section == "") print $1; else if ($1 == section) print $2 }' | uniq
}

# The values of an option, as its usage shows it, or of a setting, by its name.
_zrpolicy_values() {
  case $1 in
    --dsn\ * | --from-dsn\ * | dsn) odbcinst -q -s 2>/dev/null | sed -nE 's/^\[(.*)\]$/\1/p' ;;
    --log-level\ * | level) printf '%s\n' 0 1 2 3 4 ;;
    --severity\ *) printf '%s\n' error warning note ;;
    --actions\ *) printf '%s\n' postfix none ;;
    --format\ *) case ${COMP_WORDS[1]} in check) printf '%s\n' text json sarif ;; *) printf '%s\n' jsonl csv ;; esac ;;
    --ignore\ *) "${COMP_WORDS[0]/#\~/$HOME}" check --help 2>/dev/null | sed -nE 's/^ {4}([a-z-]+), (error|warning|note)$/\1/p' ;;
    *\ FILE | file | password_file) compgen -f -- "$2" ;;
    *\ FOLDER | directory) compgen -d -- "$2" ;;
  esac
}

_zrpolicy_setting() {  # COMMAND WORD [SECTION [NAME]]: what may stand behind these arguments of "config COMMAND"
  case $1,$# in
    *,2) _zrpolicy_settings ;;
    get,3 | set,3 | unset,3) _zrpolicy_settings "$3" ;;
    set,4) _zrpolicy_values "$4" "$2" ;;
  esac
}

_zrpolicy() {
  local word=${COMP_WORDS[COMP_CWORD]} option='' each line i
  local -a path=() plain=() usage offered=()
  mapfile -t usage < <(_zrpolicy_usage)
  for ((i = 1; i < COMP_CWORD; i++)); do
    each=${COMP_WORDS[i]}
    if [ "$each" = = ]; then  # "--name=value" comes as three words
      continue
    elif [ -n "$option" ]; then
      option=''
    elif [[ $each == -* ]]; then
      for line in "${usage[@]}"; do [[ $line != "$each "* ]] || option=$line; done
    elif [[ ${#plain[@]} -eq 0 && " ${usage[*]} " == *" $each "* ]]; then
      path+=("$each")
      mapfile -t usage < <(_zrpolicy_usage "${path[@]}")
    else
      plain+=("$each")
    fi
  done
  [ "$word" != = ] || word=''
  if [ -n "$option" ]; then
    mapfile -t offered < <(_zrpolicy_values "$option" "$word")
  elif [[ $word != -* && ${path[0]:-} == help ]]; then
    mapfile -t offered < <(_zrpolicy_usage "${plain[@]}" | grep -v '^-')
  elif [[ $word != -* && ${path[0]:-} =~ ^(export|import|test|diff)$ ]]; then
    option="${path[0]} FILE"  # which is what their arguments are
    mapfile -t offered < <(compgen -f -- "$word")
  elif [[ $word != -* && "${path[*]}" == config\ [gsu]* ]]; then
    mapfile -t offered < <(_zrpolicy_setting "${path[1]}" "$word" "${plain[@]}")
  else
    [[ $word == -* ]] || mapfile -t offered < <(printf '%s\n' "${usage[@]}" | grep -v '^-')
    [ ${#offered[@]} -gt 0 ] || offered=("${usage[@]%% *}")
  fi
  COMPREPLY=()
  for each in "${offered[@]}"; do
    [[ $each != "$word"* ]] || COMPREPLY+=("$each")
  done
  case "$option ${plain[1]:-}" in  # has bash quote what is odd in the name of a file, and end that of a folder in a /
    *" FILE "* | *" FOLDER "* | *file | *directory) compopt -o filenames 2>/dev/null ;;
    *) [ ${#COMPREPLY[@]} -eq 0 ] || mapfile -t COMPREPLY < <(printf '%q
' "${COMPREPLY[@]}") ;;
  esac
}

complete -F _zrpolicy zrpolicy
