# Shared by the scripts: where the repository is, what it needs installed, and how a preset is built.
# Sourced, not run.

set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"
jobs=$(nproc)

# What goes into a file begins with when it was run and how.
[ -t 1 ] || printf 'run: %s: %s\n' "$(date -u '+%Y-%m-%d %H:%M UTC')" "scripts/$(basename "$0")${*:+ $*}"

say() { printf '\n== %s\n' "$*"; }
fail() {
  printf '%s: %s\n' "$(basename "$0")" "$*" >&2
  exit 1
}

build_packages="g++ cmake ninja-build pkg-config liblog4cxx-dev libpng-dev zlib1g-dev libxerces-c-dev libhwy-dev libcli11-dev nlohmann-json3-dev"
# With clang for the sanitizers: g++ takes half as long again to instrument the same.
test_packages="git libgtest-dev libgmock-dev clang libclang-rt-dev clang-format clang-tidy lld llvm imagemagick netpbm binutils iproute2 procps python3"
memcheck_packages="valgrind"
lab_packages="iproute2 mount"
bench_packages="libbenchmark-dev"
fuzz_packages="clang libclang-rt-dev llvm"

# ensure_packages NAME...: installs the Debian packages that are missing; asks nobody where none is.
ensure_packages() {
  local missing=() package
  for package in "$@"; do
    dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q '^install ok installed' || missing+=("$package")
  done
  [ ${#missing[@]} -gt 0 ] || return 0
  command -v apt-get >/dev/null ||
    fail "this is no Debian system (no apt-get); install the equivalents of: ${missing[*]}"
  local as_root=()
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null ||
      fail "packages are missing, and this is neither root nor is there sudo.
Ask an administrator to run: apt-get install ${missing[*]}"
    as_root=(sudo)
  fi
  say "Installing ${missing[*]}"
  local quiet=(-o Dpkg::Use-Pty=0 -qq)
  "${as_root[@]}" apt-get "${quiet[@]}" update ||
    fail "apt-get update failed; is a package mirror reachable?"
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
    apt-get "${quiet[@]}" install -y --no-install-recommends "${missing[@]}" >/dev/null ||
    fail "apt-get install failed for: ${missing[*]}"
}

# build_preset NAME [TARGET...]: configures where that has not been done, and builds what changed; by $polite, if set.
build_preset() {
  local preset=$1 log="build/$1-configure.log"
  shift
  mkdir -p build
  if ! cmake --preset "$preset" >"$log" 2>&1; then
    cat "$log" >&2
    fail "configuring the preset $preset failed"
  fi
  ${polite-} cmake --build --preset "$preset" -j "$jobs" ${*:+--target "$@"}
}
