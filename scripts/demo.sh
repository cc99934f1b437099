#!/usr/bin/env bash
# ./dev demo: starts an agent with its demo tables on a socket of its own, asks it what an operator
# would, and ends it.
#
#   scripts/demo.sh BUILD_DIR [MACS]      MACS entries in the software MAC table (5000)
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
buildDir=$1
macs=${2:-5000}
agent=$buildDir/bin/korvo-l2-agent
ctl=$buildDir/bin/korvoctl

folder=$(mktemp -d)
socket=$folder/korvo.sock
agentPid=
finish() {
  if [[ -n $agentPid ]] && kill -TERM "$agentPid" 2>/dev/null; then
    wait "$agentPid" || true
  fi
  rm -rf "$folder"
}
trap finish EXIT

# The agent says on its standard output when it serves.
mkfifo "$folder/says"
"$agent" --socket "$socket" --demo --macs "$macs" --seed 1 >"$folder/says" 2>"$folder/log" &
agentPid=$!
if ! read -r -t 30 ready <"$folder/says" || [[ $ready != "ready $socket" ]]; then
  echo "demo: the agent did not start:" >&2
  cat "$folder/log" >&2
  exit 1
fi
printf 'korvo-l2-agent serves on %s with %s MAC addresses\n' "$socket" "$macs"

# Shows one command as it is typed, and the first lines of its answer, as wide as a terminal. The whole answer is read:
# the count at the end is that of what the agent sent.
show() {
  local lines=$1 status=0
  shift
  printf '\n$ korvoctl %s\n' "$*"
  "$ctl" -s "$socket" "$@" >"$folder/answer" 2>"$folder/messages" || status=$?
  head -n "$lines" "$folder/answer" | cut -c 1-119
  local total
  total=$(wc -l <"$folder/answer")
  [[ $total -gt $lines ]] && printf '... %d lines in all\n' "$total"
  if [[ $status -ne 0 && $status -ne 1 ]]; then
    cat "$folder/messages" >&2
    echo "demo: korvoctl ended with status $status" >&2
    exit 1
  fi
}

show 12 agent status
show 10 show mac address-table
show 1 show mac address-table --json
show 10 show mac hardware --chip 0 --detail
show 14 check mac diff
show 10 check mac missing
show 10 show vxlan vlan summary
show 10 show vxlan destination 0200.0200.0008 --vlan 10
show 10 show multicast groups hardware --differences
show 10 show vxlan counters vtep decap

kill -TERM "$agentPid"
status=0
wait "$agentPid" || status=$?
agentPid=
if [[ $status -ne 0 ]]; then
  cat "$folder/log" >&2
  echo "demo: the agent ended with status $status" >&2
  exit 1
fi
printf '\nThe agent ended cleanly.\n'
