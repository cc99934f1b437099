#!/usr/bin/env bash
# ./dev bench: measures a real agent from outside, prints the figures against their goals and writes
# the report (text, JSON, plots) to build/bench-report.
#
#   scripts/bench.sh BUILD_DIR [--micro] [ARGS]
#
# --micro then runs the benchmarks of single parts too (the row printers, the collections, the slice
# check, the JSON writers); ARGS go to korvo_whole_process_bench, whose --help lists them. Without
# any, a run takes about two minutes on two cores that have nothing else to do; with --large, tables
# of up to ten million rows are dumped as well.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
buildDir=$1
shift
report=build/bench-report

micro=
args=()
for arg in "$@"; do
  if [[ $arg == --micro ]]; then micro=1; else args+=("$arg"); fi
done

mkdir -p "$report"
"$buildDir/bin/korvo_whole_process_bench" --agent "$buildDir/bin/korvo-l2-agent" --report "$report" \
  ${args[@]+"${args[@]}"}

if [[ -n $micro ]]; then
  for program in "$buildDir"/bin/*_bench; do
    name=$(basename "$program")
    [[ $name == korvo_whole_process_bench ]] && continue
    printf '\n== %s\n' "$name"
    "$program" --benchmark_out="$report/$name.json" --benchmark_out_format=json
  done
fi
