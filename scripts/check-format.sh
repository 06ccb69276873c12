#!/usr/bin/env bash
# Fails, naming the files, when any C++ source differs from what clang-format makes of it.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
mapfile -t files < <(git ls-files --cached --others --exclude-standard -- '*.cpp' '*.hpp' '*.h' 2>/dev/null ||
                     find RuvolaCore Ruvola tests bench fuzz -name '*.[ch]pp' 2>/dev/null)
unformatted=()
for file in "${files[@]}"; do
  [[ -f "$file" ]] || continue
  clang-format --dry-run -Werror "$file" >/dev/null 2>&1 || unformatted+=("$file")
done
if [[ ${#unformatted[@]} -gt 0 ]]; then
  echo "Not formatted (run: clang-format -i FILE):" >&2
  printf '  %s\n' "${unformatted[@]}" >&2
  exit 1
fi
echo "format: ${#files[@]} files clean"
