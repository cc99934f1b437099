#!/usr/bin/env bash
# Records bridge-fdb.json and bridge-fdb-br.json beside this script: a Linux bridge with VLAN
# filtering, addresses learned from frames on four ports and VLANs, configured ones of every kind,
# and a VXLAN device. Every address is made up.
#
# Needs root, iproute2, python3 and a kernel with bridge VLAN filtering, veth, dummy and vxlan; works
# in a network namespace of its own.
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd -P)
if [[ ${1:-} != inside ]]; then
  exec unshare --net "${BASH_SOURCE[0]}" inside
fi

# send DEVICE VLAN FIRST COUNT: one frame each from COUNT hosts behind a port, tagged unless VLAN is 0.
send() {
  python3 - "$@" <<'PYTHON'
import socket, struct, sys
device, vlan, first, count = sys.argv[1], int(sys.argv[2]), int(sys.argv[3], 16), int(sys.argv[4])
port = socket.socket(socket.AF_PACKET, socket.SOCK_RAW)
port.bind((device, 0))
tag = struct.pack('!HH', 0x8100, vlan) if vlan else b''
for i in range(count):
    source = (first + i * 7).to_bytes(6, 'big')
    port.send(b'\x02\x00\x00\xff\xff\xff' + source + tag + b'\x88\xb5' + bytes(46))
PYTHON
}

vlans=(10 20 30 100 4094)
ip link set lo up
ip link add br0 address 02:00:5e:00:00:01 type bridge vlan_filtering 1 ageing_time 30000
for i in 1 2 3 4; do
  ip link add "swp$i" address "02:00:5e:00:01:0$i" type veth peer name "host$i" address "02:00:5e:00:02:0$i"
  ip link set "swp$i" master br0
  ip link set "swp$i" up
  ip link set "host$i" up
  for vlan in "${vlans[@]}"; do bridge vlan add dev "swp$i" vid "$vlan"; done
done
for i in 5 6; do
  ip link add "dummy$i" address "02:00:5e:00:01:0$i" type dummy
  ip link set "dummy$i" master br0
  ip link set "dummy$i" up
  bridge vlan add dev "dummy$i" vid 100
done
ip link add vxlan100 address 02:00:5e:00:03:01 type vxlan id 100 dstport 4789 local 192.0.2.1 nolearning
ip link set vxlan100 master br0
ip link set vxlan100 up
bridge vlan add dev vxlan100 vid 10
bridge vlan add dev br0 vid 10 self
ip link set br0 up
sleep 1  # until the ports forward

for i in 1 2 3 4; do
  send "host$i" 0 "0200aa000${i}00" 12
  for vlan in "${vlans[@]}"; do
    send "host$i" "$vlan" "$(printf '0200%04x0%d00' "$vlan" "$i")" 25
  done
done
bridge fdb add 02:00:bb:00:00:01 dev dummy5 vlan 100 master static
bridge fdb add 02:00:bb:00:00:02 dev dummy6 vlan 100 master dynamic
bridge fdb add 02:00:bb:00:00:03 dev swp2 vlan 20 master sticky static
bridge fdb add 02:00:bb:00:00:04 dev swp2 vlan 20 master permanent
bridge fdb add 02:00:bb:00:00:05 dev swp3 vlan 30 master extern_learn
bridge fdb add 01:00:5e:01:01:01 dev swp3 vlan 30 master static
bridge fdb add 33:33:00:01:00:01 dev swp3 vlan 30 master permanent
bridge fdb add 02:00:bb:00:00:06 dev swp1 master static
for i in 1 2 3 4 5 6 7 8; do
  bridge fdb add "02:00:cc:00:00:0$i" dev vxlan100 vlan 10 master extern_learn dynamic
  bridge fdb add "02:00:cc:00:00:0$i" dev vxlan100 dst "192.0.2.1$i" self extern_learn
done
bridge fdb append 00:00:00:00:00:00 dev vxlan100 dst 192.0.2.11 self
bridge fdb append 00:00:00:00:00:00 dev vxlan100 dst 192.0.2.12 self
bridge fdb add 02:00:bb:00:00:09 dev br0 vlan 10 self local
bridge fdb add 02:00:bb:00:00:0a dev dummy5 self

bridge -j fdb show >"$here/bridge-fdb.json"
bridge -j -s fdb show br br0 >"$here/bridge-fdb-br.json"
