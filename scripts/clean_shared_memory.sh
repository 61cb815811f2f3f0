#!/usr/bin/env bash
# Removes what killed processes left in /dev/shm: the shared memory segments (16 MB each) and ports of Fast DDS. A live
# owner holds a lock on the segment's "_el" file, and a live reader one on the port's "_el" or "_sl"; only files whose
# locks are free are removed.
set -uo pipefail
shopt -s nullglob

is_held() { # lock files...
  local lock
  for lock in "$@"; do
    [ -e "$lock" ] && ! flock --nonblock "$lock" true 2>/dev/null && return 0
  done
  return 1
}

removed=0
for segment in /dev/shm/fastrtps_*; do
  case "$segment" in *_el | *_sl) continue ;; esac
  if ! is_held "${segment}_el" "${segment}_sl"; then
    rm -f "$segment" "${segment}_el" "${segment}_sl" "/dev/shm/sem.$(basename "$segment")_mutex"
    removed=$((removed + 1))
  fi
done
# Locks whose segment is gone.
for lock in /dev/shm/fastrtps_*_el /dev/shm/fastrtps_*_sl; do
  base=${lock%_[es]l}
  [ -e "$base" ] || is_held "$lock" || rm -f "$lock"
done
[ "$removed" -eq 0 ] || echo "Removed $removed left-over shared memory files of killed processes."
