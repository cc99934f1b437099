#!/usr/bin/env bash
# ./dev bench: measures a real agent from outside, prints the figures against their goals and writes
# the report (text, JSON, plots) to build/bench-report.
#
#   scripts/bench.sh BUILD_DIR [--micro] [ARGS]
#   scripts/bench.sh BUILD_DIR --peers [ROWS...]
#
# --micro then runs the benchmarks of single parts too (the row printers, the collections, the slice
# check, the JSON writers); ARGS go to korvo_whole_process_bench, whose --help lists them. Without
# any, a run takes about two minutes on two cores that have nothing else to do; with --large, tables
# of up to ten million rows are dumped as well.
#
# --peers, which comes first, compares korvoctl with programs of others that print tables of as many
# ROWS (100000 1000000). Those that the machine lacks are unpacked in build/deps/peers and not installed.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
buildDir=$1
shift
report=build/bench-report

if [[ ${1:-} == --peers ]]; then
  shift
  top=$PWD
  # shellcheck source=scripts/setup.sh
  source scripts/setup.sh
  # A peer that cannot be had is reported as such beside the others.
  for package in "${kPeerPackages[@]}"; do unpackPackage "$package" || true; done
  exec /usr/bin/python3 -B bench/peers --bin "$buildDir/bin" --report "$report" "$@"
fi

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
