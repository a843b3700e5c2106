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
windows_packages="cmake ninja-build patch ca-certificates python3 g++ libcli11-dev nlohmann-json3-dev g++-mingw-w64-x86-64-posix libz-mingw-w64-dev wine64 zip unzip"
lab_packages="iproute2 mount"
bench_packages="libbenchmark-dev"
fuzz_packages="clang libclang-rt-dev llvm"

# missing_packages NAME...: says which of these Debian packages are not installed.
missing_packages() {
  local package
  for package in "$@"; do
    dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q '^install ok installed' || echo "$package"
  done
}

# ensure_packages NAME...: installs the Debian packages that are missing; asks nobody where none is.
ensure_packages() {
  local missing
  mapfile -t missing < <(missing_packages "$@")
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

# Programs in networks of their own, as they are made in Lab/run.
private=(unshare --net)
[ "$(id -u)" -eq 0 ] || private=(unshare --map-root-user --net)

# windows_obstacle: says why scripts/test-windows cannot run here; nothing if it can.
windows_obstacle() {
  local system
  [ "$(uname -m)" = x86_64 ] || {
    echo "it runs programs for x86_64, and this machine is none"
    return
  }
  # The sources that scripts/windows-libraries knows are those of this release.
  system=$(. "${KORVA_OS_RELEASE-/etc/os-release}" 2>/dev/null && echo "${ID-} ${VERSION_ID-}") || true
  if [ "$system" != "debian 12" ]; then
    echo "compilers and libraries come from Debian 12, and this system is another one"
  elif [ "$(id -u)" -ne 0 ] && ! command -v sudo >/dev/null &&
    [ -n "$(missing_packages $build_packages $test_packages $windows_packages)" ]; then
    echo "packages are missing, and this is neither root nor is there sudo"
  elif ! "${private[@]}" true 2>/dev/null; then
    echo "this system lets its users make no network namespaces"
  fi
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
