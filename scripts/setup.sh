# shellcheck shell=bash
# The package lists are for ./dev, and `top` comes from there.
# shellcheck disable=SC2034,SC2154
# Sourced by ./dev: installs the Debian packages that a command needs, and brings fmt 10.
#
#   needPackages NAME...   installs those of the packages that are missing
#   needFmt10              makes sure that cmake/Dependencies.cmake finds fmt 10
#   unpackPackage NAME     brings a package without installing it
#
# A machine that has everything is not asked more than one dpkg-query.

readonly kBuildPackages=(
  cmake ninja-build g++ ccache libasio-dev libabsl-dev libboost-dev rapidjson-dev libsimdjson-dev
  libcli11-dev libjemalloc-dev)
readonly kTestPackages=(
  libgtest-dev libgmock-dev librapidcheck-dev jq socat iproute2 python3 python3-jsonschema
  valgrind zsh groff mandoc systemd binutils)
readonly kBenchPackages=(libbenchmark-dev python3 gnuplot-nox)
readonly kPeerPackages=(openvswitch-switch bird2 iproute2)
readonly kCheckPackages=(git clang-format clang-tidy cppcheck shellcheck)
readonly kFuzzPackages=(clang)

say() { printf '== %s\n' "$*" >&2; }
die() {
  printf 'dev: %s\n' "$*" >&2
  exit 2
}

missingPackages() {
  local package
  # dpkg-query prints one line per package it knows; what it does not know is missing too.
  declare -A installed=()
  while read -r package status; do
    [[ $status == *" installed" ]] && installed[$package]=1
  done < <(dpkg-query -W -f '${Package} ${Status}\n' "$@" 2>/dev/null)
  for package in "$@"; do
    [[ -n ${installed[$package]:-} ]] || printf '%s\n' "$package"
  done
}

# Runs a command as root, or says which one command has to be run as root.
asRoot() {
  if [[ $(id -u) -eq 0 ]]; then
    "$@"
  elif command -v sudo >/dev/null && { [[ -t 0 ]] || sudo -n true 2>/dev/null; }; then
    sudo "$@"
  else
    return 1
  fi
}

needPackages() {
  [[ -r /etc/debian_version ]] || die "this script sets up Debian 12 and 13 only"
  local missing
  mapfile -t missing < <(missingPackages "$@")
  [[ ${#missing[@]} -eq 0 ]] && return
  local script='apt-get update && DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "$@"'
  if [[ $(id -u) -ne 0 ]] && ! asRoot true; then
    printf 'dev: packages are missing, and there is no way to become root here. Run as root:\n' >&2
    printf '  apt-get update && apt-get install -y --no-install-recommends %s\n' "${missing[*]}" >&2
    exit 2
  fi
  say "installing ${missing[*]}"
  asRoot sh -c "$script" sh "${missing[@]}" </dev/null >&2 || die "apt could not install: ${missing[*]}"
}

# Version of fmt in the system as FMT_VERSION writes it (100100 is 10.1.0), or 0.
systemFmtVersion() {
  local core=/usr/include/fmt/core.h version=0
  [[ -r $core ]] && version=$(sed -n 's/^#define FMT_VERSION \([0-9]*\).*/\1/p' "$core")
  printf '%s' "${version:-0}"
}

# The suite whose libfmt-dev is fmt 10, taken when the system's own suite has an older one.
readonly kFmtSuite=trixie
readonly kDebianKeyring=/usr/share/keyrings/debian-archive-keyring.gpg

needFmt10() {
  local root=$top/build/deps/fmt10
  [[ -r $root/usr/include/fmt/core.h ]] && return
  local version
  version=$(systemFmtVersion)
  [[ $version -ge 100000 && $version -lt 110000 ]] && return
  if [[ $(codename) == "$kFmtSuite" ]]; then
    needPackages libfmt-dev
    version=$(systemFmtVersion)
    [[ $version -ge 100000 && $version -lt 110000 ]] ||
      die "libfmt-dev of this system is not fmt 10 (FMT_VERSION $version)"
    return
  fi
  fetchFmt10 "$root"
}

codename() { (. /etc/os-release && printf '%s' "${VERSION_CODENAME:-}"); }

# The archive roots from which this machine takes its own Debian suite, as apt itself reads its
# sources (one-line and deb822 form alike), other suppliers' suites left out.
debianArchives() {
  # shellcheck disable=SC2016  # apt itself fills in its $(NAME)s
  apt-get indextargets --no-release-info --format '$(RELEASE) $(COMPONENT) $(REPO_URI)' \
    'Created-By: Packages' | awk -v suite="$1" '$1 == suite && $2 == "main" && !seen[$3]++ { print $3 }'
}

# Unpacks the newer suite's libfmt-dev into the folder $1. apt runs with lists and cache of its own,
# so the machine's are not touched and nothing is installed; it accepts only what Debian's key signed.
fetchFmt10() {
  local root=$1 suite archive work
  suite=$(codename)
  needPackages debian-archive-keyring
  work=$top/build/deps/apt
  rm -rf "$work"
  mkdir -p "$work"
  work=$(cd "$work" && pwd -P)
  # The sandbox user: an apt started as root would otherwise become one who may not enter this tree.
  cat >"$work/apt.conf" <<CONF
#clear APT::Update::Pre-Invoke;
#clear APT::Update::Post-Invoke;
#clear APT::Update::Post-Invoke-Success;
Dir::State "$work/state";
Dir::State::status "$work/status";
Dir::Cache "$work/cache";
Dir::Etc::sourcelist "$work/none.list";
Dir::Etc::sourceparts "$work/sources";
Dir::Etc::preferences "/dev/null";
Dir::Etc::preferencesparts "-";
APT::Sandbox::User "$(id -un)";
APT::Get::List-Cleanup "true";
Acquire::Languages "none";
CONF
  mkdir -p "$work"/{state/lists/partial,cache/archives/partial,sources,deb}
  : >"$work/status"
  while read -r archive; do
    say "taking libfmt-dev of $kFmtSuite from this machine's Debian archive"
    cat >"$work/sources/debian.sources" <<SOURCE
Types: deb
URIs: $archive
Suites: $kFmtSuite
Components: main
Signed-By: $kDebianKeyring
SOURCE
    if (cd "$work/deb" &&
      apt-get -c "$work/apt.conf" update --error-on=any &&
      apt-get -c "$work/apt.conf" download libfmt-dev) </dev/null >"$work/log" 2>&1; then
      break
    fi
    tail -n 5 "$work/log" >&2
  done < <(debianArchives "$suite")

  local package version
  package=$(find "$work/deb" -name 'libfmt-dev_*.deb' | head -n 1)
  [[ -n $package ]] || die "libfmt-dev of Debian's $kFmtSuite could not be fetched (log: $work/log).
  fmt 10 can also be unpacked by hand: dpkg -x libfmt-dev_10*.deb build/deps/fmt10"
  version=$(dpkg-deb -f "$package" Version)
  [[ $version == 10.* ]] || die "libfmt-dev of $kFmtSuite is version $version now, and fmt 10 is needed.
  A libfmt-dev 10 unpacked with dpkg -x into build/deps/fmt10 is taken as it is."
  # Unpacked beside its place and renamed: a broken run leaves nothing that looks whole.
  rm -rf "$root" "$root.part"
  dpkg -x "$package" "$root.part"
  mv "$root.part" "$root"
  rm -rf "$work"
  say "fmt $version unpacked in build/deps/fmt10"
}

# NAME=VERSION of the package $1 and of what it needs, as far as this machine lacks it.
lackingWith() {
  local plan
  plan=$(LC_ALL=C apt-get --simulate --no-install-recommends install "$1" 2>&1) || {
    printf '%s\n' "$plan" | tail -n 1 >&2
    return 1
  }
  printf '%s\n' "$plan" | sed -n 's/^Inst \([^ ]*\) [^(]*(\([^ ]*\) .*/\1=\2/p'
}

# Unpacks the package $1, with what it needs and this machine lacks, in build/deps/peers/$1. Nothing is
# installed: no service is started or enabled, no user made, no package of the machine touched. Nothing
# is done where it is installed already; the result says whether it can be had.
unpackPackage() {
  local root=$top/build/deps/peers/$1 part=$top/build/deps/peers/$1.part plan deb attempt
  [[ -n $(missingPackages "$1") ]] || return 0
  [[ ! -d $root ]] || return 0
  [[ -r /etc/debian_version ]] || { say "$1 is taken from Debian's archive, and this is no Debian" && return 1; }
  say "taking $1 from this machine's Debian archive"
  # Lists that are missing or older than the archive are renewed once.
  for attempt in 1 2; do
    rm -rf "$part"
    mkdir -p "$part/deb" "$part/root"
    if plan=$(lackingWith "$1") && [[ -n $plan ]] &&
      (cd "$part/deb" && xargs apt-get download <<<"$plan") >"$part/log" 2>&1; then
      for deb in "$part"/deb/*.deb; do dpkg -x "$deb" "$part/root" || return 1; done
      mv "$part/root" "$root"
      rm -rf "$part"
      return 0
    fi
    [[ ! -e $part/log ]] || tail -n 3 "$part/log" >&2
    [[ $attempt -eq 2 ]] || asRoot apt-get update </dev/null >/dev/null 2>&1 || break
  done
  rm -rf "$part"
  say "$1 could not be had"
  return 1
}
