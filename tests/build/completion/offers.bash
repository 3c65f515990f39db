# shellcheck shell=bash
# offers.bash SHARE: prints each line of standard input, a | and what bash offers at its end, with the completions that
# are installed below SHARE.

# shellcheck disable=SC1091  # of another package
. /usr/share/bash-completion/bash_completion
export XDG_DATA_DIRS=$1
unset BASH_COMPLETION_USER_DIR

# What completes a program of which nothing is known finds its function: complete -F FUNCTION -D
read -r _ _ loader _ < <(complete -p -D)

# What is set by these is shown by nothing here.
compopt() { :; }

# The words as readline cuts them: an = stands alone.
cut_words() {
  local IFS=' '
  read -ra COMP_WORDS <<<"${1//=/ = }"
  case $1 in
    *[\ =]) COMP_WORDS+=('') ;;
  esac
}

while IFS= read -r line; do
  cut_words "$line"
  COMP_LINE=$line
  COMP_POINT=${#line}
  COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
  program=${COMP_WORDS[0]}
  "$loader" "$program"
  # complete -F FUNCTION PROGRAM
  read -r _ _ function _ < <(complete -p -- "$program")
  COMPREPLY=()
  "$function" "$program" "${COMP_WORDS[COMP_CWORD]}" "${COMP_WORDS[COMP_CWORD - 1]}"
  printf '%s|%s\n' "$line" "${COMPREPLY[*]}"
done
