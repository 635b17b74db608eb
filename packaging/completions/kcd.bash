# Completion of kcd for bash. Commands, options and words come from the program's own help, names of
# databases from the server that the line names.

_kcd_help() {
  "${words[0]}" "$@" --help 2>/dev/null
}

# The names behind a heading of the help: _kcd_names Subcommands [COMMAND...]
_kcd_names() {
  local heading=$1
  shift
  _kcd_help "$@" | sed -n "/^$heading:/,/^\$/s/^  \([A-Za-z][^ =]*\).*/\1/p"
}

_kcd_options() {
  _kcd_help "$@" | grep -o '^  -[^ ]*' | tr -d ' ' | tr ',' '\n'
}

# What stands behind an option in the help: "MODE:{incremental,...}=..."; empty for a flag.
_kcd_value_of() {
  local option=$1
  shift
  _kcd_help "$@" | sed -n "s/^  \(-[^ ]*,\)\{0,1\}$option\(,-[^ ]*\)\{0,1\} \([^( ][^ ]*\).*/\3/p"
}

_kcd_databases() {
  "${words[0]}" show "$1" --json 2>/dev/null |
    sed -n 's/^      "name": "\(.*\)",\{0,1\}$/\1/p' | sed 's/\\\(["\\]\)/\1/g'
}

# Proposes the lines of standard input that begin with the word, quoted for the shell.
_kcd_propose_lines() {
  local line
  while IFS= read -r line; do
    [[ $line == "$(_kcd_unquoted "$cur")"* ]] && COMPREPLY+=("$(printf '%q' "$line")")
  done
}

_kcd_unquoted() {
  local text=${1#[\"\']}
  printf '%s' "${text//\\/}"
}

# Files or folders behind a word such as "catalogue:".
_kcd_files_behind() {
  local before=$1 cur=${cur#"$1"}
  _filedir "${@:2}"
  COMPREPLY=("${COMPREPLY[@]/#/$before}")
}

_kcd_server() {
  case $cur in
    catalogue:*)
      _kcd_files_behind catalogue:
      # What stands beside a catalogue while it is in use.
      local i
      for i in "${!COMPREPLY[@]}"; do
        [[ ${COMPREPLY[i]} == *-@(lock|shm|wal) ]] && unset "COMPREPLY[i]"
      done
      ;;
    mondrian:*) _kcd_files_behind mondrian: -d ;;
    *)
      COMPREPLY=($(compgen -W "$*" -- "$cur"))
      [[ ${COMPREPLY[0]} == *: ]] && compopt -o nospace
      ;;
  esac
}

_kcd_labels_server() {
  case $cur in
    sqlite:*) _kcd_files_behind sqlite: -d ;;
    *)
      COMPREPLY=($(compgen -W '(local) sqlite: odbc:' -- "$cur"))
      [[ ${COMPREPLY[0]} == *: ]] && compopt -o nospace
      ;;
  esac
}

# The value of the option in front of the word.
_kcd_value() {
  local option=$1 value=$2
  case $option in
    --server) _kcd_server localhost catalogue: mondrian: memory: ;;
    --labels-server) _kcd_labels_server ;;
    --database) _kcd_propose_lines < <(_kcd_databases "$server") ;;
    --config) _filedir toml ;;
    *)
      case $value in
        *'{'*'}'*)
          value=${value#*\{}
          value=${value%%\}*}
          COMPREPLY=($(compgen -W "${value//,/ }" -- "$cur"))
          ;;
        *FILE*) _filedir ;;
        *DIRECTORY*) _filedir -d ;;
      esac
      ;;
  esac
}

_kcd_positional() {
  local name=$1
  case $command:$name in
    check:FILE) _filedir '@(kcd|kci)' ;;
    convert:FILE) _filedir kci ;;
    *:FILE) _filedir kcd ;;
    query:SERVER) _filedir -d ;;
    restore:SERVER)
      # A single name is that of the database.
      _kcd_server localhost catalogue: mondrian:
      _kcd_propose_lines < <(_kcd_databases "$server")
      ;;
    refresh:SERVER) _kcd_server mondrian: ;;
    *:SERVER) _kcd_server localhost catalogue: mondrian: ;;
    *:DATABASE) _kcd_propose_lines < <(_kcd_databases "$server") ;;
    *:DIRECTORY) _filedir -d ;;
  esac
}

_kcd() {
  local cur prev words cword
  # A colon belongs to a server's name, an equal sign to a name and its file.
  _init_completion -n := || return

  if ((cword == 1)); then
    if [[ $cur == -* ]]; then
      COMPREPLY=($(compgen -W "$(_kcd_options)" -- "$cur"))
    else
      COMPREPLY=($(compgen -W "$(_kcd_names Subcommands)" -- "$cur"))
    fi
    return
  fi

  # What stands in front of the word: positionals, and the server that the line names.
  local command=${words[1]} server=${KCD_SERVER:-localhost} i value
  local -a given=()
  for ((i = 2; i < cword; ++i)); do
    case ${words[i]} in
      -*)
        [[ ${words[i]} == *=* ]] && continue
        if [[ -n $(_kcd_value_of "${words[i]}" "$command") ]]; then
          [[ ${words[i]} == --server ]] && server=$(_kcd_unquoted "${words[i + 1]}")
          ((i + 1 < cword)) && ((++i))
        fi
        ;;
      *) given+=("${words[i]}") ;;
    esac
  done

  local -a positionals=($(_kcd_names Positionals "$command"))
  [[ ${positionals[0]} == SERVER && -n ${given[0]} ]] && server=$(_kcd_unquoted "${given[0]}")

  [[ $prev == -* ]] && value=$(_kcd_value_of "$prev" "$command")
  if [[ -n $value ]]; then
    _kcd_value "$prev" "$value"
  elif [[ $cur == -* ]]; then
    COMPREPLY=($(compgen -W "$(_kcd_options "$command")" -- "$cur"))
  elif [[ -n $(_kcd_names Subcommands "$command") ]]; then
    COMPREPLY=($(compgen -W "$(_kcd_names Subcommands "$command")" -- "$cur"))
  else
    local position=${#given[@]}
    # As many as one likes of the last one: the documents of a check.
    [[ $command == check ]] && position=0
    _kcd_positional "${positionals[position]}"
  fi
  __ltrim_colon_completions "$cur"
} &&
  complete -F _kcd kcd
