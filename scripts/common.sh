# shellcheck shell=bash
# Shared by the scripts beside it; sourced, not run. Goes to the root of the tree, wherever the script is called from.

cd "$(dirname "${BASH_SOURCE[0]}")/.." || exit
export LC_ALL=C.UTF-8

# Compilers, and tests, at a time.
export jobs=2
failed_steps=()
failed_logs=()

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
  local name=$1 said
  shift
  said=$(mktemp)
  if ! (step "$name" "$@") 2>&1 | tee "$said"; then
    failed_steps+=("$name")
    failed_logs+=("$said")
  else
    rm -f "$said"
  fi
}

# finish: says at the end once more what the failed steps said, where who reads only the end finds it. The lines of what
# went well are left out.
finish() {
  local i
  for i in "${!failed_steps[@]}"; do
    printf '\n==> from %s:\n' "${failed_steps[i]}"
    grep -avE '^\[[0-9]+/[0-9]+\] |^ *Start +[0-9]+: | (Passed|\.*(\*\*\*)?Skipped) +[0-9.]+ sec$|^ *(\[ +(OK|RUN) +\]|$)' "${failed_logs[i]}" | tail -n 120 || true
    rm -f "${failed_logs[i]}"
  done
  if ((${#failed_steps[@]})); then
    printf '==> failed: %s\n' "${failed_steps[@]}"
    exit 1
  fi
}
