# Completion of kwxml and kwxml-catalogue in bash. The programs themselves say what may stand at the cursor.

_kwxml()
{
  local line word value='' words=() joins=''
  # bash takes "=" for a word of its own. Quotes and backslashes are still in the words.
  for word in "${COMP_WORDS[@]:1:COMP_CWORD}"; do
    if [[ ${#words[@]} -gt 0 && ( $word == "=" || -n $joins ) ]]; then
      words[-1]+=${word//[\"\'\\]/}
    else
      words+=("${word//[\"\'\\]/}")
    fi
    joins=
    [[ $word != "=" ]] || joins=yes
  done
  # What bash replaces is only what stands behind the "=".
  [[ ${words[-1]} != --*=* || $COMP_WORDBREAKS != *=* ]] || value=${words[-1]%%=*}=

  COMPREPLY=()
  while IFS= read -r line; do
    case $line in
      :file) compopt -o default ;;  # where there are no candidates
      :folder) compopt -o dirnames ;;
      *)
        line=${line%%$'\t'*}
        COMPREPLY+=("${line#"$value"}")
        ;;
    esac
  done < <("${1/#\~\//$HOME/}" --complete "${words[@]}" 2>/dev/null)
}

complete -F _kwxml kwxml kwxml-catalogue
