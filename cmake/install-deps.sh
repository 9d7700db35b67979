#!/bin/sh
# install-deps.sh GROUP...: installs the Debian packages of the groups that are missing here.
set -eu

packages=""
for group in "$@"; do
  case "$group" in
    build) packages="$packages g++ cmake ninja-build make libcli11-dev nlohmann-json3-dev" ;;
    test)  packages="$packages libgtest-dev libgmock-dev ffmpeg pkg-config" ;;
    bench) packages="$packages libbenchmark-dev ffmpeg time" ;;
    lint)  packages="$packages clang clang-tidy libclang-rt-dev" ;;
    fuzz)  packages="$packages clang libclang-rt-dev" ;;
    *) echo "install-deps.sh: unknown group '$group'" >&2; exit 2 ;;
  esac
done

missing=""
for package in $packages; do
  status=$(dpkg-query -W -f '${Status}' "$package" 2>/dev/null || true)
  [ "$status" = "install ok installed" ] || missing="$missing $package"
done
[ -n "$missing" ] || exit 0

if [ "$(id -u)" = 0 ]; then
  as_root=""
elif command -v sudo >/dev/null 2>&1 && sudo -n true 2>/dev/null; then
  as_root="sudo"
else
  echo "These packages are missing; run this line, then try again:" >&2
  echo "  sudo apt-get install -y --no-install-recommends$missing" >&2
  exit 1
fi
echo "Installing$missing"
export DEBIAN_FRONTEND=noninteractive
# shellcheck disable=SC2086
$as_root apt-get install -y -q --no-install-recommends $missing >/dev/null 2>&1 || {
  $as_root apt-get update -q >/dev/null
  $as_root apt-get install -y -q --no-install-recommends $missing >/dev/null
}
