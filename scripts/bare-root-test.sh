#!/usr/bin/env bash
# Runs ./dev in a Debian that has nothing: a folder made by debootstrap, with this machine's archive.
#
#   scripts/bare-root-test.sh [-k] [-s SUITE] [DIR] [DEV_COMMAND...]
#
# DIR (default: a new temporary folder) becomes the root; it is made when it is empty and used again
# as it is otherwise. DEV_COMMAND defaults to `test`. -s names another suite than this machine's own.
# -k keeps the root when all went well. What is tested is the last commit, as a clone gives it.
# Needs root and the package debootstrap.
set -euo pipefail
source=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd -P)

keep=
suite=$(. /etc/os-release && printf '%s' "$VERSION_CODENAME")
ownSuite=$suite
while getopts ks: option; do
  case $option in
    k) keep=1 ;;
    s) suite=$OPTARG ;;
    *) exit 2 ;;
  esac
done
shift $((OPTIND - 1))
dir=${1:-$(mktemp -d)}
[[ $# -eq 0 ]] || shift
[[ $# -gt 0 ]] || set -- test

[[ $(id -u) -eq 0 ]] || { echo "bare-root-test: run it as root" >&2; exit 2; }
command -v debootstrap >/dev/null || { echo "bare-root-test: apt-get install debootstrap" >&2; exit 2; }

# shellcheck disable=SC2016  # apt itself fills in its $(NAME)s
archive=$(apt-get indextargets --no-release-info --format '$(RELEASE) $(COMPONENT) $(REPO_URI)' \
  'Created-By: Packages' | awk -v suite="$ownSuite" '$1 == suite && $2 == "main" { print $3; exit }')
[[ -n $archive ]] || { echo "bare-root-test: this machine's apt has no source of $ownSuite" >&2; exit 2; }

mkdir -p "$dir"
dir=$(cd "$dir" && pwd -P)
chmod 755 "$dir"
if [[ ! -e $dir/etc/debian_version ]]; then
  debootstrap --variant=minbase "$suite" "$dir" "$archive" >"$dir.log" 2>&1 ||
    { tail -n 20 "$dir.log" >&2; exit 1; }
  rm -f "$dir.log"
fi

# The machine's own Debian sources and the way it reaches them; other suppliers stay behind.
rm -f "$dir"/etc/apt/sources.list
printf 'Types: deb\nURIs: %s\nSuites: %s\nComponents: main\n' "$archive" "$suite" \
  >"$dir/etc/apt/sources.list.d/bare.sources"
apt-config dump Acquire | grep -E '^Acquire::(http|https|Check-Valid-Until|Check-Date)\b' \
  >"$dir/etc/apt/apt.conf.d/80host" || true
cp /etc/resolv.conf /etc/hosts "$dir/etc/" 2>/dev/null || true

rm -rf "$dir/srv/korvo"
git clone --quiet --no-hardlinks "$source" "$dir/srv/korvo"

# Its own mount, as a root is: `ip netns` changes how mounts below "/" propagate.
mount --bind "$dir" "$dir"
mount -t proc proc "$dir/proc"
mount -t sysfs sysfs "$dir/sys"
mount --bind /dev "$dir/dev"
mount --bind /dev/pts "$dir/dev/pts"
unmount() {
  # Left by `ip netns` in the tests.
  umount "$dir/run/netns" 2>/dev/null || true
  umount "$dir/dev/pts" "$dir/dev" "$dir/sys" "$dir/proc" "$dir"
}
trap unmount EXIT

echo "bare-root-test: ./dev $* in a bare $suite at $dir"
start=$SECONDS
status=0
env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin HOME=/root TERM=dumb LANG=C.UTF-8 CI=true \
  chroot "$dir" /srv/korvo/dev "$@" </dev/null || status=$?
echo "bare-root-test: status $status after $((SECONDS - start)) s"

unmount
trap - EXIT
if [[ $status -eq 0 && -z $keep ]]; then
  rm -rf --one-file-system "$dir"
fi
exit "$status"
