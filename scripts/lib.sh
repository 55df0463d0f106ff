# shellcheck shell=bash
# What the scripts of this folder share; they source it. It can be called from any folder, and reads no input.

set -euo pipefail
exec < /dev/null

zrk_root=$(CDPATH='' cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
zrk_build=${ZRK_BUILD_DIR:-$zrk_root/build}
[[ $zrk_build == /* ]] || zrk_build=$PWD/$zrk_build

say() { printf '%s\n' "$*"; }

fail() {
  printf '%s\n' "$*" >&2
  exit 1
}

# zrk_missing GROUP...: the packages of these groups that are not installed.
zrk_missing() {
  local group package
  while read -r group package _; do
    [[ " $* " == *" $group "* ]] || continue
    [[ $(dpkg-query -W -f '${db:Status-Status} ' "$package" 2> /dev/null) == *installed\ * ]] || say "$package"
  done < "$zrk_root/scripts/packages.txt"
}

# zrk_install GROUP...: installs what is missing of these groups.
zrk_install() {
  if ! command -v dpkg-query > /dev/null; then
    say "No Debian packages here; going on with what is installed. scripts/packages.txt names what is needed."
    return
  fi
  local missing
  mapfile -t missing < <(zrk_missing "$@")
  [[ ${#missing[@]} -gt 0 ]] || return 0

  local apt=(env DEBIAN_FRONTEND=noninteractive apt-get -q -y -o DPkg::Lock::Timeout=300)
  if [[ $EUID -ne 0 ]]; then
    command -v sudo > /dev/null || fail "These packages are missing, and only root can install them: ${missing[*]}"
    apt=(sudo "${apt[@]}")
  fi
  say "Installing ${missing[*]}"
  "${apt[@]}" update > /dev/null
  "${apt[@]}" install --no-install-recommends "${missing[@]}" > /dev/null
}

# zrk_configure PRESET [OPTION...]: configures a preset in its folder under the build folder. The sources of a folder are
# compiled together, which takes a third of the time.
zrk_configure() {
  local preset=$1
  shift
  if command -v ccache > /dev/null; then set -- -DCMAKE_CXX_COMPILER_LAUNCHER=ccache "$@"; fi
  set -- -DZRK_UNITE=ON -DZRK_WERROR=ON "$@"
  cmake -S "$zrk_root" --preset "$preset" -B "$zrk_build/$preset" --log-level=NOTICE "$@" > /dev/null
}

# zrk_make PRESET [TARGET...]: builds targets of a configured preset, all of them where none is named.
zrk_make() {
  local preset=$1
  shift
  if [[ $# -gt 0 ]]; then set -- --target "$@"; fi
  cmake --build "$zrk_build/$preset" "$@" -- --quiet
}

# zrk_fuzz_targets: the names of the fuzz targets.
zrk_fuzz_targets() {
  local source
  for source in "$zrk_root"/fuzz/*_fuzz.cpp; do basename "$source" _fuzz.cpp; done
}

# zrk_make_fuzzers NAME...: builds fuzz targets, from the objects that the tests under the address sanitizer use too.
zrk_make_fuzzers() {
  zrk_configure asan
  zrk_make asan "${@/%/_fuzz}"
  zrk_fuzz_programs=$zrk_build/asan/fuzz
}

# zrk_run_fuzz NAME OPTION...: runs a built fuzz target from its seeds. What it finds that is new goes to a corpus
# under the build folder, and an input that fails to the folder beside it. NAME.dict, where there is one, has its words.
# Leaks are left to the suites under the address sanitizer: looking for them after each run takes most of the time. Freed
# memory is kept from use for some time, not for long, and short stacks are noted of it, for the same reason.
zrk_run_fuzz() {
  local name=$1 place=$zrk_build/fuzz
  shift
  mkdir -p "$place/corpus/$name" "$place/failures"
  [[ -f $zrk_root/fuzz/$name.dict ]] && set -- -dict="$zrk_root/fuzz/$name.dict" "$@"
  ASAN_OPTIONS=strict_string_checks=1:quarantine_size_mb=16:malloc_context_size=6 UBSAN_OPTIONS=print_stacktrace=1 \
    "$zrk_fuzz_programs/${name}_fuzz" -rss_limit_mb=1024 -timeout=10 -detect_leaks=0 \
    -artifact_prefix="$place/failures/${name}-" "$@" "$place/corpus/$name" "$zrk_root/fuzz/seeds/$name"
}

# zrk_fuzz_in_turn COMMAND NAME...: calls COMMAND NAME for each name, as many at once as there are processors, and fails
# if one of them did.
zrk_fuzz_in_turn() {
  local command=$1 name job failed=0 jobs=()
  shift
  for name in "$@"; do
    while [[ $(jobs -rp | wc -l) -ge $(nproc) ]]; do sleep 0.1; done
    "$command" "$name" &
    jobs+=($!)
  done
  for job in "${jobs[@]}"; do wait "$job" || failed=1; done
  return "$failed"
}
