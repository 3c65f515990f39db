# shellcheck shell=bash
# What the scripts beside it share: sourced, never run.

set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"

say() { printf '\n== %s\n' "$*"; }

# The commit that is checked out, and whether there is more than it.
commit() {
  git describe --always --dirty=", with changes that are not committed" 2>/dev/null || echo unknown
}

# need PACKAGE...: sees that Debian packages are installed; installs them where it may.
need() {
  local missing=() package
  for package in "$@"; do
    if ! dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'install ok installed'; then
      missing+=("$package")
    fi
  done
  if ((${#missing[@]} == 0)); then
    return
  fi
  if ((EUID != 0)); then
    printf 'Debian packages are missing. As root: apt-get install %s\n' "${missing[*]}" >&2
    exit 1
  fi
  say "Installing ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq
  apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
}

if ((EUID != 0)); then
  say "Not root: what needs the super-user runs in a user namespace, as its super-user"
fi

# as_root COMMAND...: runs it as the super-user, which is what the command to try insists on; where
# the caller is somebody else, as the super-user of a user namespace of its own.
as_root() {
  if ((EUID == 0)); then
    "$@"
  else
    unshare --user --map-root-user --mount -- "$@"
  fi
}

# Options of every configuration that follows; a script may set them.
configure=()

# build PRESET OPTION...: configures, and builds with these options of cmake --build; quietly, but everything is
# shown when it fails.
build() {
  local preset=$1 log
  shift
  log=$(mktemp)
  if ! { cmake --preset "$preset" "${configure[@]}" && cmake --build --preset "$preset" "$@"; } \
    >"$log" 2>&1; then
    cat "$log" >&2
    rm -f "$log"
    exit 1
  fi
  rm -f "$log"
}

# run_ctest FOLDER OPTION...: runs the tests of a build folder, those that the options of ctest(1) choose, and
# prints the runner's closing line; everything is shown when a test fails.
run_ctest() {
  local folder=$1 log
  shift
  log=$(mktemp)
  if ! as_root ctest --test-dir "$folder" "$@" --no-tests=error --output-on-failure >"$log" 2>&1; then
    cat "$log"
    exit 1
  fi
  grep 'tests passed' "$log"
  rm -f "$log"
}

# run_tests FOLDER OPTION...: the same for the usual tests, with the slow ones, which mostly sleep, all at once
# beside them.
run_tests() {
  local folder=$1 slow
  shift
  run_ctest "$folder" -L slow -j 40 &
  slow=$!
  run_ctest "$folder" -LE 'slow|heavy' "$@" -j "$(nproc)"
  wait "$slow"
}
