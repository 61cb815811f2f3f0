#!/usr/bin/env bash
# Checks every #include of the project's own files against the table of rooms.
#
#   check_rooms.sh ROOT TABLE
#
# Complains, one line each, about an include that its room does not allow, a file that stands in no room, a room that
# names one below it in the table, a folder of the table that is not there, and a folder with too many files.
# Exit status: 0 when there is nothing to complain about, 1 when there is, 2 on a wrong call.
set -euo pipefail
if [ $# -ne 2 ] || [ ! -d "$1" ] || [ ! -r "$2" ]; then
  echo "usage: $0 ROOT TABLE" >&2
  exit 2
fi
root=$1
table=$(realpath "$2")
cd "$root"

# Files, then their includes as FILE:LINE:TEXT. Tests, fuzzers and what is generated stand outside the rooms.
list_files() {
  find . \( -name .git -o -name build -o -name cmake -o -name test -o -name fuzz \) -prune -o \
    \( -name '*.hpp' -o -name '*.h' -o -name '*.cpp' -o -name '*.proto' \) -print | sed 's|^\./||' | sort
}

list_includes() {
  list_files | grep -E '\.(hpp|h|cpp)$' | tr '\n' '\0' |
    xargs -0 grep -nE '^[[:space:]]*#[[:space:]]*include[[:space:]]*["<]' /dev/null || true
}

awk -v table="$table" '
  function complain(text) { print text; ++complaints }

  # The room of a file: that of the longest folder of the table that holds it.
  function room_of(path,   folder) {
    folder = path
    while (folder != "") {
      if (folder in room_of_folder) return room_of_folder[folder]
      if (!sub("/[^/]*$", "", folder)) folder = ""
    }
    return ""
  }

  function read_table(   line, fields, count, i, known) {
    while ((getline line < table) > 0) {
      sub(/#.*/, "", line)
      count = split(line, fields)
      if (count == 0) continue
      if (fields[3] != ":") { complain(table ": not a row: " line); continue }
      room_of_folder[fields[1]] = fields[2]
      for (i = 4; i <= count; ++i) {
        if (fields[i] != "*" && !(fields[i] in known) && fields[i] != fields[2]) {
          complain(table ": " fields[2] " names " fields[i] ", which no row above it has")
        }
        allowed[fields[2], fields[i]] = 1
      }
      if (allowed[fields[2], "*"]) for (i in known) allowed[fields[2], i] = 1
      known[fields[2]] = 1
    }
  }

  # A file of the project by the text of an include: beside the including file, else in its module, else anywhere.
  # Generated code stands for the schema that it is made of. Empty for what is not a file of the project.
  function resolve(from, text,   folder, module, count, candidates, i, found) {
    sub(/\.pb\.h$/, ".proto", text)
    folder = from; sub("[^/]*$", "", folder)
    if ((folder text) in is_file) return folder text
    module = from; sub("/.*", "", module)
    count = split(files_ending[text], candidates, "\n")
    for (i = 1; i <= count; ++i) if (index(candidates[i], module "/") == 1) return candidates[i]
    return count > 0 ? candidates[1] : ""
  }

  BEGIN { read_table() }

  # The list of files comes first.
  FILENAME == "-" || FILENAME == ARGV[1] {
    is_file[$0] = 1
    rest = $0
    do {
      files_ending[rest] = files_ending[rest] == "" ? $0 : files_ending[rest] "\n" $0
    } while (sub("^[^/]*/", "", rest))
    folder = $0; sub("/[^/]*$", "", folder)
    for (parent = folder; parent != ""; ) {
      is_folder[parent] = 1
      if (!sub("/[^/]*$", "", parent)) parent = ""
    }
    if ($0 ~ /\.proto$/) { if (room_of($0) == "") complain($0 ": stands in no room"); next }
    if (++files_in[folder] == 26) complain(folder ": more than 25 files; divide it")
    if (room_of($0) == "") complain($0 ": stands in no room")
    next
  }

  {
    split($0, parts, ":")
    from = parts[1]
    text = $0
    sub(/^[^"<]*["<]/, "", text)
    sub(/[">].*/, "", text)
    to = resolve(from, text)
    if (to == "") next
    here = room_of(from); there = room_of(to)
    if (here == "" || there == "" || here == there || ((here, there) in allowed)) next
    complain(from ":" parts[2] ": " here " must not include " there " (" text ")")
  }

  END {
    for (folder in room_of_folder) if (!(folder in is_folder)) complain(table ": no folder " folder)
    exit complaints > 0
  }
' <(list_files) <(list_includes)
