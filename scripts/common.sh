# shellcheck shell=bash
# Shared by the scripts beside it; sourced, not run. Goes to the root of the tree, wherever the script is called from.

cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit
export LC_ALL=C.UTF-8

# Compilers, and tests, at a time.
export jobs=2
failed_steps=()

# step NAME COMMAND...: runs the command under a heading and says how long it took. A failure ends the script.
step() {
  local name=$1 start=$SECONDS
  shift
  printf '\n==> %s\n' "$name"
  if ! "$@"; then
    printf '==> %s: FAILED after %d s\n' "$name" $((SECONDS - start)) >&2
    exit 1
  fi
  printf '==> %s: %d s\n' "$name" $((SECONDS - start))
}

# check NAME COMMAND...: the same, but the script goes on after a failure; finish then ends it with status 1.
check() {
  local name=$1
  shift
  if ! (step "$name" "$@"); then
    failed_steps+=("$name")
  fi
}

finish() {
  if ((${#failed_steps[@]})); then
    printf '==> failed: %s\n' "${failed_steps[@]}" >&2
    exit 1
  fi
}
