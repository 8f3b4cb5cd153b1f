# Completion of the command line of tessel in bash 4.4 or later, with or without the package bash-completion.
# The table has a row for each command ("tessel record"), argument ("tessel plot 1") and option that takes a value
# ("tessel record --format"): what completes it.

# _tessel_complete WORD KIND [CHOICE...]: KIND and what follows are a row's content.
_tessel_complete() {
  local word=$1 kind=${2-} choice
  shift $(($# < 2 ? $# : 2))
  case $kind in
    words) mapfile -t COMPREPLY < <(compgen -W "$*" -- "$word") ;;
    folders) compopt -o dirnames ;;
    files)
      # Readline's own completion of files knows quotes and ~. It also serves if no file has the extension.
      compopt -o default
      [ $# -gt 0 ] || return
      compopt -o filenames -o plusdirs
      for choice; do
        mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(compgen -f -X "!*.$choice" -- "$word")
      done
      ;;
  esac
}

_tessel() {
  local command=tessel option='' argument=1 index word
  COMPREPLY=()
  for ((index = 1; index < COMP_CWORD; ++index)); do
    word=${COMP_WORDS[index]}
    if [[ $word == = ]]; then
      continue  # between an option and its value
    elif [[ -n $option ]]; then
      option=''  # this is its value
    elif [[ $word == -* ]]; then
      [[ -z ${_tessel_table[$command $word]-} ]] || option=$word
    elif [[ -n ${_tessel_table[$command $word]-} ]]; then
      command+=" $word"
    else
      ((++argument))
    fi
  done
  word=${COMP_WORDS[COMP_CWORD]-}
  [[ $word != = ]] || word=''

  local content=${_tessel_table[$command $argument]-}
  if [[ -n $option ]]; then
    content=${_tessel_table[$command $option]}
  elif [[ $word == -* || -z $content ]]; then
    content=${_tessel_table[$command]}
  fi
  # shellcheck disable=SC2086  # its words are arguments
  _tessel_complete "$word" $content
}

complete -F _tessel tessel
