# bash completion for korvoctl.
# Made from its command table by `korvoctl --completion bash`.

# Sets `commands` to the words that may follow those of $1, and `options` to its options.
_korvoctl_after() {
  case $1 in
    '') commands='show check clear agent commands raw help' options='--version' ;;
    'show') commands='mac router-mac multicast mlag fifo vlan vxlan shadow' options='' ;;
    'show mac') commands='address-table hardware' options='' ;;
    'show multicast') commands='groups' options='' ;;
    'show mlag') commands='egress-mask' options='' ;;
    'show fifo') commands='registers' options='' ;;
    'show vlan') commands='vfi range translation' options='' ;;
    'show vlan range') commands='ingress' options='' ;;
    'show vlan translation') commands='ingress egress' options='' ;;
    'show vxlan') commands='vlan routing destination virtual-ports counters debug' options='' ;;
    'show vxlan counters') commands='vni vtep' options='' ;;
    'show vxlan counters vni') commands='ingress egress' options='' ;;
    'show vxlan counters vtep') commands='decap' options='' ;;
    'show shadow') commands='vlan-xlate vlan-xlate-2 egress-vlan-xlate egress-vlan-xlate-2 vfi egress-vfi source-vp ingress-tag-actions egress-tag-actions' options='' ;;
    'check') commands='mac' options='' ;;
    'check mac') commands='diff missing' options='' ;;
    'clear') commands='multicast' options='' ;;
    'clear multicast') commands='shadow' options='' ;;
    'agent') commands='status chips requests cancel schema' options='' ;;
    'show mac address-table') commands='' options='--json' ;;
    'show mac hardware') commands='' options='--detail --chip --json' ;;
    'show router-mac') commands='' options='--vlan --mac' ;;
    'show multicast groups') commands='hardware' options='' ;;
    'show multicast groups hardware') commands='' options='--differences --index' ;;
    'show mlag egress-mask') commands='' options='' ;;
    'show fifo registers') commands='' options='' ;;
    'show vlan vfi') commands='' options='' ;;
    'show vlan range ingress') commands='' options='--json' ;;
    'show vlan translation ingress') commands='stage-2' options='' ;;
    'show vlan translation ingress stage-2') commands='' options='' ;;
    'show vlan translation egress') commands='stage-2' options='' ;;
    'show vlan translation egress stage-2') commands='' options='' ;;
    'show vxlan vlan') commands='summary' options='--detail --json' ;;
    'show vxlan vlan summary') commands='' options='--json' ;;
    'show vxlan routing') commands='' options='--json' ;;
    'show vxlan destination') commands='' options='--vlan --interface' ;;
    'show vxlan virtual-ports') commands='' options='' ;;
    'show vxlan counters vni ingress') commands='summary' options='' ;;
    'show vxlan counters vni ingress summary') commands='' options='' ;;
    'show vxlan counters vni egress') commands='summary' options='' ;;
    'show vxlan counters vni egress summary') commands='' options='' ;;
    'show vxlan counters vtep decap') commands='summary' options='' ;;
    'show vxlan counters vtep decap summary') commands='' options='' ;;
    'show vxlan debug') commands='' options='' ;;
    'show shadow vlan-xlate') commands='' options='--chip --entry --all --raw' ;;
    'show shadow vlan-xlate-2') commands='' options='--chip --entry --all --raw' ;;
    'show shadow egress-vlan-xlate') commands='' options='--chip --entry --all --raw' ;;
    'show shadow egress-vlan-xlate-2') commands='' options='--chip --entry --all --raw' ;;
    'show shadow vfi') commands='' options='--chip --entry --all --raw' ;;
    'show shadow egress-vfi') commands='' options='--chip --entry --all --raw' ;;
    'show shadow source-vp') commands='' options='--chip --entry --all --raw' ;;
    'show shadow ingress-tag-actions') commands='' options='--chip --entry --all --raw' ;;
    'show shadow egress-tag-actions') commands='' options='--chip --entry --all --raw' ;;
    'check mac diff') commands='' options='--detail --chip --json' ;;
    'check mac missing') commands='' options='--detail --chip --json' ;;
    'clear multicast shadow') commands='' options='' ;;
    'agent status') commands='' options='--json' ;;
    'agent chips') commands='' options='--json' ;;
    'agent requests') commands='' options='--json' ;;
    'agent cancel') commands='' options='--json' ;;
    'agent schema') commands='' options='--json' ;;
    'commands') commands='' options='--json' ;;
    'raw') commands='' options='' ;;
    *) return 1 ;;
  esac
}

# Completes $2 with the numbers and names of the chips of the agent at the socket $1, of which
# several may be given with commas between; with nothing where no agent answers.
_korvoctl_chips() {
  local before='' value=$2 number name each
  local -a agent=("${COMP_WORDS[0]}")
  [[ -n $1 ]] && agent+=(-s "$1")
  if [[ $value == *,* ]]; then
    before=${value%,*},
    value=${value##*,}
  fi
  while read -r number name; do
    for each in "$number" "$name"; do
      [[ -n $each && $each == "$value"* ]] && COMPREPLY+=("$before$(printf '%q' "$each")")
    done
  done < <("${agent[@]}" --timeout 1 --silence 1 agent chips 2>/dev/null </dev/null)
}

_korvoctl() {
  local current=${COMP_WORDS[COMP_CWORD]} typed='' takes='' socket='' commands='' options='' word i
  local -i others=0
  COMPREPLY=()
  for ((i = 1; i < COMP_CWORD; i++)); do
    word=${COMP_WORDS[i]}
    if [[ -n $takes ]]; then
      # "--chip=0" comes as three words.
      [[ $word == = ]] && continue
      [[ $takes == -s || $takes == --socket ]] && socket=$word
      takes=''
      continue
    fi
    case $word in
      -s | --socket | --timeout | --silence | --chip | --vlan | --mac | --index | --interface | --entry) takes=$word ;;
      -*) ;;
      help) [[ -n $typed ]] && others+=1 ;;
      *)
        if _korvoctl_after "${typed:+$typed }$word"; then
          typed+=${typed:+ }$word
        else
          others+=1
        fi
        ;;
    esac
  done
  [[ $current == = ]] && current=''
  case $takes in
    -s | --socket)
      compopt -o filenames 2>/dev/null
      mapfile -t COMPREPLY < <(compgen -f -- "$current")
      return
      ;;
    --chip)
      _korvoctl_chips "$socket" "$current"
      return
      ;;
    ?*) return ;;
  esac
  _korvoctl_after "$typed"
  [[ $typed == raw ]] && case $others in
    0) commands='plain sync async agent' ;;
    1) commands='text json' ;;
  esac
  # Behind a command's own words there is nothing but options.
  [[ $current == -* || -z $commands ]] && commands="$options -h --help -s --socket --timeout --silence --no-progress"
  mapfile -t COMPREPLY < <(compgen -W "$commands" -- "$current")
}

complete -F _korvoctl korvoctl
