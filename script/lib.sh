# Shared by the scripts of this folder; sourced, never run.
#
# Every script runs from any folder, says what it does, and stops at the first failure with one
# line that names what failed.

set -Eeuo pipefail

ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
NAME=$(basename "$0")

say() { printf '== %s\n' "$*"; }

fail() {
  trap - ERR
  printf '%s: failed: %s\n' "$NAME" "$*" >&2
  exit 1
}

trap 'fail "$BASH_COMMAND (line $LINENO of ${BASH_SOURCE[0]##*/})"' ERR

# as_root COMMAND...: runs it as root, through sudo where the user is somebody else.
as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    "$@"
  elif command -v sudo >/dev/null; then
    sudo "$@"
  else
    fail "'$1' needs root, and there is no sudo"
  fi
}

# project_version: the version that CMakeLists.txt names for everything.
project_version() { sed -n 's/^project(Plexum VERSION \([0-9.]*\).*/\1/p' "$ROOT/CMakeLists.txt"; }

# build_preset PRESET [OPTION...]: configures and builds one of CMakePresets.json, with options of
# cmake --build; when that fails it has said so and returns 1.
build_preset() {
  if command -v ccache >/dev/null; then
    export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
  fi
  say "building ${1} in build/$1"
  (
    cd "$ROOT"
    cmake --preset "$1" >"build/configure-$1.log" 2>&1 || {
      cat "build/configure-$1.log"
      fail "configuring $1"
    }
    cmake --build --preset "$@" || fail "building $1"
  ) || return 1
}

# -- Wine

# 32-bit Windows libraries of Wine, as folder/i386-windows; fetched by script/bootstrap.
WINE_LIBRARIES=$ROOT/build/tools/wine/libraries
WINE_BIN=/usr/lib/wine/wine64

# wine_environment [PREFIX]: sets what every Wine process of this tree needs. The prefix is the
# tree's own, below build/, never the user's.
wine_environment() {
  export WINEPREFIX=${1:-${PLEXUM_WINEPREFIX:-$ROOT/build/tools/wine/prefix}}
  export WINEDEBUG=${WINEDEBUG:--all}
  # Without winemenubuilder.exe no shortcut reaches the menu of the user's own desktop.
  export WINEDLLOVERRIDES="mscoree,mshtml,winemenubuilder.exe="
  export WINEDLLPATH=$WINE_LIBRARIES
  unset WINELOADER WINESERVER WINEARCH
}

# wine_ready: makes the prefix on first use (10 to 20 seconds) and starts its server, which stays
# for ten idle minutes so that programs start in a tenth of a second.
wine_ready() {
  [ -x "$WINE_BIN" ] && [ -d "$WINE_LIBRARIES/i386-windows" ] ||
    fail "Wine is not installed; run script/bootstrap"
  if [ ! -e "$WINEPREFIX/.ready" ]; then
    mkdir -p "$WINEPREFIX"
    (
      flock 9
      # The server outlives this script and must not inherit the lock.
      [ -e "$WINEPREFIX/.ready" ] || make_wine_prefix 9>&-
    ) 9>"$WINEPREFIX.lock"
  fi
  # The first process of a session starts Wine's services; they must not hold the caller's pipes
  # open, so a process of our own comes first.
  if wineserver -p600 </dev/null >/dev/null 2>&1; then
    timeout -k 5 60 "$WINE_BIN" cmd /c exit </dev/null >/dev/null 2>&1 || true
  fi
}

make_wine_prefix() {
  say "making the Wine prefix ${WINEPREFIX#"$ROOT"/}" >&2
  {
    wineserver -p600 || true
    timeout -k 5 180 "$WINE_BIN" wineboot --init &&
      [ -d "$WINEPREFIX/drive_c/windows/syswow64" ] &&
      crash_without_debugger /reg:64 && crash_without_debugger /reg:32
  } </dev/null >"$WINEPREFIX.log" 2>&1 ||
    fail "the Wine prefix could not be made; see ${WINEPREFIX#"$ROOT"/}.log"
  touch "$WINEPREFIX/.ready"
}

# crash_without_debugger VIEW: a program that crashes ends at once.
crash_without_debugger() {
  timeout -k 5 60 "$WINE_BIN" reg add \
    'HKLM\Software\Microsoft\Windows NT\CurrentVersion\AeDebug' /v Debugger /d false /f "$1"
}
