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
  [tools]="nlohmann-json3-dev libcli11-dev gettext"
  [tests]="libgtest-dev locales strace valgrind procps ncurses-bin mandoc chromium python3 systemd bash-completion lnav zsh"
  [sanitizers]="clang libclang-rt-dev"
  [packages]="debhelper dpkg-dev fakeroot lintian"
  [roots]="mmdebstrap"
  [piuparts]="piuparts"
  [cross]="g++-aarch64-linux-gnu g++-s390x-linux-gnu g++-i686-linux-gnu g++-arm-linux-gnueabihf"
  [emulation]="qemu-user-static lib32stdc++6 googletest"
  [libcxx]="libc++-dev libc++abi-dev googletest"
  [musl]="musl-dev llvm"
  [rpm]="rpm rpmlint debugedit elfutils"
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
  if ((${#missing[@]} > 0)); then
    if ((EUID != 0)); then
      printf 'Debian packages are missing. As root: apt-get install %s\n' "${missing[*]}" >&2
      exit 1
    fi
    say "Installing ${missing[*]}"
    export DEBIAN_FRONTEND=noninteractive
    apt-get update -qq
    apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
  fi
  if [[ " $* " == *" tests "* ]]; then
    need_promtool
  fi
}

# need_promtool: sees that promtool is in the path or in build/promtool, where CMake looks for it too. Debian has it in
# the package of the Prometheus server alone. To install that would make a user and start the server, on a machine with
# systemd at the latest when it starts next, even if a policy-rc.d forbids it meanwhile. So this one program is taken
# out of the package: nothing of the machine changes, and nobody has to be the super-user.
need_promtool() {
  if command -v promtool >/dev/null || [[ -x build/promtool/promtool ]]; then
    return
  fi
  say "Fetching promtool"
  if ! fetch_promtool; then
    printf 'promtool is missing, and its package, prometheus, cannot be fetched. As root: apt-get update\n' >&2
    exit 1
  fi
}

fetch_promtool() (
  folder=$(mktemp -d)
  trap 'rm -rf "$folder"' EXIT
  download() { (cd "$folder" && apt-get download -qq prometheus); }
  # apt-get(8) of the super-user downloads as this user, and remarks where it cannot.
  ((EUID != 0)) || chown _apt "$folder" || true
  # The list of packages may be an old one.
  download || { ((EUID == 0)) && apt-get update -qq && download; } || exit 1
  dpkg-deb --fsys-tarfile "$folder"/prometheus_*.deb | tar -xO ./usr/bin/promtool >"$folder/promtool" || exit 1
  # In its place only when it is whole.
  install -D "$folder/promtool" build/promtool/new && mv build/promtool/new build/promtool/promtool
)

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

# copy_source FOLDER: the files of the repository as they are in the work tree.
copy_source() {
  mkdir -p "$1"
  git ls-files -z --cached --others --exclude-standard | tar -c --null --ignore-failed-read -T - | tar -x -C "$1"
  # Files that are packed as they are keep their times; newer ones get that of the commit by themselves.
  find "$1" -exec touch -h -d "@$(git log -1 --format=%ct)" {} +
}

# kept_root SUITE PACKAGE...: prints the path of a system of this release of Debian with nothing but what it needs and
# these packages, packed by tar. It comes from the package mirror, and is kept in build/roots for the next time.
kept_root() {
  local tree
  tree=build/roots/$1-$(printf '%s\n' "${@:2}" | sort | sha256sum | cut -c 1-8).tar
  mkdir -p build/roots
  if [[ ! -e $tree ]]; then
    mmdebstrap --quiet --variant=apt --mode=root --format=tar --include="${*:2}" "$1" "$tree.new" >&2 &&
      mv "$tree.new" "$tree" || return 1
  fi
  echo "$tree"
}

# clean_root FOLDER SUITE PACKAGE...: puts such a system into FOLDER.
clean_root() {
  local tree
  tree=$(kept_root "${@:2}") || return 1
  mkdir -p "$1"
  tar -C "$1" -xf "$tree"
}
