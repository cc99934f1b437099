#!/usr/bin/env bash
# Runs every libFuzzer target of a build tree for some seconds each.
#
#   scripts/fuzz.sh BUILD_DIR SECONDS
#
# A target's seeds are fuzz/corpus/TARGET. New inputs are kept below BUILD_DIR, and so are the inputs
# that made a target fail; `BUILD_DIR/fuzz/bin/TARGET FILE` repeats one. Choosing inputs by how rare
# their features are (-entropic) takes longer than running them does, and so does looking for leaks after
# each (-detect_leaks): our inputs are quick. The sanitizer looks for leaks when a target ends.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
buildDir=$1
seconds=$2
[[ $seconds =~ ^[0-9]+$ ]] || { echo "fuzz: not a number of seconds: $seconds" >&2; exit 2; }

shopt -s nullglob
targets=("$buildDir"/fuzz/bin/*)
if [[ ${#targets[@]} -eq 0 ]]; then
  echo "fuzz: there is no target in $buildDir/fuzz/bin" >&2
  exit 1
fi
failed=()
for target in "${targets[@]}"; do
  name=$(basename "$target")
  found=$buildDir/fuzz/found/$name
  mkdir -p "$found" "$buildDir/fuzz/failures/$name"
  folders=("$found")
  [[ -d fuzz/corpus/$name ]] && folders+=("fuzz/corpus/$name")
  dictionary=()
  [[ -f fuzz/dictionaries/$name.dict ]] && dictionary=("-dict=fuzz/dictionaries/$name.dict")
  echo "== $name, $seconds s"
  "$target" -max_total_time="$seconds" -print_final_stats=1 -timeout=10 -entropic=0 -detect_leaks=0 \
    -artifact_prefix="$buildDir/fuzz/failures/$name/" "${dictionary[@]}" "${folders[@]}" </dev/null || failed+=("$name")
done
if [[ ${#failed[@]} -gt 0 ]]; then
  echo "fuzz: failed: ${failed[*]} (inputs in $buildDir/fuzz/failures)" >&2
  exit 1
fi
echo "fuzz: ${#targets[@]} targets ran $seconds s each and found nothing"
