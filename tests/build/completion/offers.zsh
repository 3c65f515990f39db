# offers.zsh SHARE: prints each line of standard input, a | and what zsh offers at its end, with the completions that are
# installed below SHARE.

zmodload zsh/zpty zsh/system
folder=$(mktemp -d)
trap 'rm -rf $folder' EXIT
mkfifo $folder/offers
exec {offers}<>$folder/offers

# An interactive shell whose completion tells each word that it is given to offer.
cat >$folder/.zshrc <<END
fpath=(${(q)1}/zsh/site-functions \$fpath)
exec {offers}>${(q)folder}/offers
END
cat >>$folder/.zshrc <<'END'
autoload -Uz compinit
compinit -u -D
compadd() {
  local -a words
  # With one of these the words are asked for, and not offered.
  if (( ! ${argv[(I)-[OAD]]} )); then
    builtin compadd -A words "$@"
    print -lru $offers -- ${words/#/$IPREFIX}
  fi
  builtin compadd "$@"
}
tell() {
  _main_complete
  compstate[insert]='' compstate[list]=''
  print -u $offers end
}
zle -C tell complete-word tell
bindkey '^I' tell '^U' kill-whole-line
print -u $offers ready
END

# await WORD: reads what is told up to WORD, into `told`.
await() {
  local row
  told=()
  while read -t 60 -ru $offers row; do
    [[ $row != $1 ]] || return 0
    [[ -z $row ]] || told+=(${row#--*=})
  done
  print -u 2 "zsh does not answer"
  exit 1
}

zpty shell env ZDOTDIR=$folder TERM=dumb zsh -d -i
await ready
while IFS= read -r line; do
  zpty -w -n shell $'\025'$line$'\t'
  await end
  print -r -- "$line|${told}"
done
zpty -d shell
