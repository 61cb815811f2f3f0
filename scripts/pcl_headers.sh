#!/usr/bin/env bash
# Puts the headers of PCL's point cloud into /usr/local/include/pcl-1.13, from Debian's package libpcl-dev (1.2 MB)
# without what that depends on (341 packages, 1 GB). Silent when the package or the headers are there.
#
#   ./scripts/pcl_headers.sh            installs them
#   ./scripts/pcl_headers.sh --remove   removes them again
set -euo pipefail
readonly folder=pcl-1.13
readonly target=/usr/local/include/$folder

die() {
  echo "pcl_headers.sh: $*" >&2
  exit 1
}

as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    "$@"
  elif command -v sudo >/dev/null; then
    sudo -- "$@"
  else
    die "PCL's headers are missing and neither root nor sudo is at hand. Run as root: $0, or apt-get install libpcl-dev"
  fi
}

case "${1:-}" in
  "") ;;
  -h | --help) sed -n '2,/^set/{s/^# \{0,1\}//p}' "$0"; exit 0 ;;
  --remove) as_root rm -rf "$target"; exit 0 ;;
  *) die "unknown option $1" ;;
esac
for place in /usr/include "${target%/*}"; do
  [ ! -e "$place/$folder/pcl/point_cloud.h" ] || exit 0
done

# A copy moves into place whole, so that an interrupted run leaves nothing half done.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
echo "Installing the headers of PCL in $target"
download() {
  (cd "$work" && apt-get download -qq 'libpcl-dev=1.13.*' 2>"$work/errors")
}
download || { as_root apt-get update -qq && download; } ||
  die "Debian's package libpcl-dev 1.13 cannot be downloaded: $(cat "$work/errors")"
dpkg-deb --fsys-tarfile "$work"/libpcl-dev_*.deb |
  tar -x -C "$work" --wildcards --no-wildcards-match-slash \
    "./usr/include/$folder/pcl/*.h" "./usr/include/$folder/pcl/impl/*" \
    "./usr/include/$folder/pcl/common/*" "./usr/include/$folder/pcl/console/*"
as_root mkdir -p "${target%/*}"
as_root cp -r "$work/usr/include/$folder" "$target.new"
as_root chmod -R a+rX "$target.new"
as_root mv -T "$target.new" "$target"
