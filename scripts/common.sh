# What the scripts share. To be sourced from the project's root folder.

# Compilers of the larger files need up to 2 GB each.
default_jobs() {
  local memory_gb
  memory_gb=$(awk '/^MemTotal/ { print int($2 / 1048576) }' /proc/meminfo)
  local by_memory=$((memory_gb / 2)) by_cores
  by_cores=$(nproc)
  echo $((by_memory < 1 ? 1 : by_memory < by_cores ? by_memory : by_cores))
}

# Every C++ file that is written by hand.
source_files() {
  find . \( -path ./build -o -path ./.git \) -prune -o -type f -regex '.*\.[ch]\(pp\)?' -printf '%P\n' | sort
}

# Reads a build's output and shows how far it is: one line that is rewritten on a terminal, a line per tenth elsewhere.
show_progress() {
  local line last_tenth=-1
  while IFS= read -r line; do
    [[ $line =~ ^\[\ *([0-9]+)/([0-9]+)\] ]] || continue
    local done=${BASH_REMATCH[1]} total=${BASH_REMATCH[2]}
    if [ -t 1 ]; then
      printf '\r\033[K    %d of %d  %.60s' "$done" "$total" "${line#*] }"
    elif [ $((done * 10 / total)) -ne "$last_tenth" ]; then
      last_tenth=$((done * 10 / total))
      printf '    %d of %d\n' "$done" "$total"
    fi
  done
  [ ! -t 1 ] || printf '\r\033[K'
}

# What the compiler cache stores is found again from another clone: it keeps no absolute paths.
export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$PWD} CCACHE_NOHASHDIR=${CCACHE_NOHASHDIR:-1}
# It would pass by every file that reads precompiled headers.
export CCACHE_SLOPPINESS=${CCACHE_SLOPPINESS:-pch_defines,time_macros}

# configure_preset PRESET [OPTION...]
configure_preset() {
  if command -v ninja >/dev/null; then
    export CMAKE_GENERATOR=Ninja
  fi
  cmake --preset "$@"
}
