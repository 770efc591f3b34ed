#!/usr/bin/env bash
# Fails when a file of the library includes from a layer above its own. The layers, from the
# bottom up, with their ranks; a folder not named here has no rank and is not checked.
# Folders of one rank may use each other in one direction only: two folders that include
# each other would be one layer in two folders.
#
#   scripts/check-layers.sh [source folder]
set -euo pipefail
root="${1:-$(dirname "$0")/..}"

declare -A rank=(
  [platform]=0
  [foundation]=1 [ui]=1
  [properties]=2
  [drawingdefs]=3
  [dimtext]=4
  [catalogue]=5 [reports]=5
  [dataset]=6 [merge]=6
)

failed=0
declare -A peerUse  # "from to" -> where the first such include is

# The layer a path names: "vxkd/<layer>/..." (public headers) or "<layer>/..." (private
# ones, and the source folders).
layerOf() {
  local path="${1#vxkd/}"
  echo "${path%%/*}"
}

while IFS= read -r file; do
  rel="${file#"$root"/}"
  case "$rel" in
    src/*) layer=$(layerOf "${rel#src/}") ;;
    include/*) layer=$(layerOf "${rel#include/}") ;;
  esac
  [ -n "${rank[$layer]+set}" ] || continue
  while IFS=: read -r line target; do
    used=$(layerOf "$target")
    [ -n "${rank[$used]+set}" ] && [ "$used" != "$layer" ] || continue
    if [ "${rank[$used]}" -gt "${rank[$layer]}" ]; then
      echo "$rel:$line: $layer (rank ${rank[$layer]}) includes $target from $used (rank ${rank[$used]}) above it"
      failed=1
    elif [ "${rank[$used]}" -eq "${rank[$layer]}" ] && [ -z "${peerUse["$layer $used"]+set}" ]; then
      peerUse["$layer $used"]="$rel:$line includes $target"
    fi
  done < <(sed -nE 's/^[[:space:]]*#[[:space:]]*include[[:space:]]*[<"]([^>"]+)[>"].*/\1/p;' "$file" |
           paste -d: <(grep -nE '^[[:space:]]*#[[:space:]]*include[[:space:]]*[<"]' "$file" | cut -d: -f1) -)
done < <(find "$root/src" "$root/include" -type f \( -name '*.h' -o -name '*.cpp' \) | sort)

for pair in "${!peerUse[@]}"; do
  read -r from to <<<"$pair"
  if [ -n "${peerUse["$to $from"]+set}" ] && [[ "$from" < "$to" ]]; then
    echo "$from and $to include each other: ${peerUse[$pair]}; ${peerUse["$to $from"]}"
    failed=1
  fi
done

[ $failed -eq 0 ] && echo "layers: every include points down"
exit $failed
