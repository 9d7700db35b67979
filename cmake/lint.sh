#!/usr/bin/env bash
# Static checks: the floors, clang's thread-safety analysis (as errors), clang-tidy over what changed
# against the given revision (or everything with "all").
set -euo pipefail
cd "$(dirname "$0")/.."
cmake -P cmake/CheckLayers.cmake
cmake --preset tsa >/dev/null
cmake --build --preset tsa
if [ "${1:-}" = all ]; then
  mapfile -t files < <(git ls-files '*.cpp')
else
  mapfile -t files < <(git diff --name-only --diff-filter=d "${1:-HEAD~1}" -- '*.cpp')
fi
[ ${#files[@]} -eq 0 ] || clang-tidy -p build/tsa --quiet "${files[@]}"
