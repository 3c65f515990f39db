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

# The Debian packages of each kind of work: the one list of what the project needs on a machine.
declare -A packages=(
  [command]="g++ cmake ninja-build libc6-dev"
  [tools]="nlohmann-json3-dev libcli11-dev"
  [tests]="libgtest-dev strace valgrind procps ncurses-bin mandoc prometheus chromium python3"
  [sanitizers]="clang libclang-rt-dev"
  [checks]="git clang-format clang-tidy cppcheck shellcheck doxygen"
  [coverage]="gcovr"
  [fuzz]="llvm"
  [mutation]="git lld bubblewrap python3"
  [valgrind]="libc6-dbg"
  [bench]="gcc libbenchmark-dev gnuplot-nox python3"
)

# need KIND...: sees that the packages of these kinds of work are installed; installs them where it may.
need() {
  local missing=() package kind wanted
  for kind in "$@"; do
    read -ra wanted <<<"${packages[$kind]}"
    for package in "${wanted[@]}"; do
      if ! dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'install ok installed'; then
        missing+=("$package")
      fi
    done
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

# build PRESET -DOPTION... -- TARGET...: configures with these options and builds these targets, all of them where
# none is named; quietly, but everything is shown when it fails.
build() {
  local preset=$1 options=() log
  shift
  while (($# > 0)) && [[ $1 != -- ]]; do
    options+=("$1")
    shift
  done
  if (($# > 0)); then
    set -- --target "${@:2}"
  fi
  log=$(mktemp)
  if ! { cmake --preset "$preset" "${options[@]}" && cmake --build --preset "$preset" "$@"; } >"$log" 2>&1; then
    cat "$log" >&2
    rm -f "$log"
    exit 1
  fi
  rm -f "$log"
}

# run_ctest FOLDER OPTION...: runs the tests of a build folder, those that the options of ctest(1) choose, and
# prints the runner's closing line; where a test fails, what it printed too.
run_ctest() {
  local folder=$1 log
  shift
  log=$(mktemp)
  if ! as_root ctest --test-dir "$folder" "$@" --no-tests=error --output-on-failure >"$log" 2>&1; then
    grep -vE '^ +Start +[0-9]+: | Passed +[0-9.]+ sec' "$log"
    exit 1
  fi
  grep 'tests passed' "$log"
  rm -f "$log"
}
