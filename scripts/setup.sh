#!/usr/bin/env bash
# Installs the Debian packages of scripts/apt-packages.txt that are missing, and with section product the headers of PCL
# (scripts/pcl_headers.sh). Silent when there is nothing to do.
#
#   ./scripts/setup.sh                    every section
#   ./scripts/setup.sh build product      only these sections
#   ./scripts/setup.sh --list [SECTION…]  prints the packages instead
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
readonly list=scripts/apt-packages.txt

die() {
  echo "setup.sh: $*" >&2
  exit 1
}

sections_known() {
  sed -n '2,$s/^# \([a-z]*\)$/\1/p' "$list"
}

packages_of() { # section
  awk -v wanted="$1" '/^#/ { inside = ($0 == "# " wanted); next } inside && NF { print $1 }' "$list"
}

installed_packages() {
  dpkg-query -W -f='${db:Status-Status} ${Package}\n' | sed -n 's/^installed //p'
}

# Runs a command as root, or says what to do when that is impossible.
as_root() {
  if [ "$(id -u)" -eq 0 ]; then
    "$@"
  elif command -v sudo >/dev/null; then
    sudo -- "$@"
  else
    die "packages are missing and neither root nor sudo is at hand. Run as root:
  apt-get install --no-install-recommends ${missing[*]}"
  fi
}

only_list=false needs_pcl=false
sections=()
for argument in "$@"; do
  case "$argument" in
    -h | --help) sed -n '2,/^set/{s/^# \{0,1\}//p}' "$0"; exit 0 ;;
    --list) only_list=true ;;
    -*) die "unknown option $argument" ;;
    *) sections+=("$argument") ;;
  esac
done
[ ${#sections[@]} -gt 0 ] || mapfile -t sections < <(sections_known)

packages=()
for section in "${sections[@]}"; do
  mapfile -t found < <(packages_of "$section")
  [ ${#found[@]} -gt 0 ] || die "no section '$section'; there are: $(sections_known | tr '\n' ' ')"
  packages+=("${found[@]}")
done

if $only_list; then
  printf '%s\n' "${packages[@]}"
  exit 0
fi

command -v dpkg-query >/dev/null || die "this is not a Debian system; install by hand what $list names"
for section in "${sections[@]}"; do
  [ "$section" != product ] || needs_pcl=true
done
mapfile -t missing < <(printf '%s\n' "${packages[@]}" | sort -u | comm -23 - <(installed_packages | sort -u))
if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing ${#missing[@]} Debian packages: ${missing[*]}"
  as_root apt-get update -qq || die "apt-get update failed; is the network up?"
  as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends "${missing[@]}" ||
    die "the installation failed; this release needs the package archive of Debian 12"
fi
if $needs_pcl; then
  scripts/pcl_headers.sh
fi
