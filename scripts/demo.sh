#!/usr/bin/env bash
# From a fresh clone to a robot that moves: installs what is missing, builds, starts a simulated robot, and runs some of
# the examples against it: an arm goes around a box as the planner tells it and moves to a place, the base drives and
# finds its way to two goals, a gripper closes on an object, pictures are saved in build/demo/pictures, and at last the
# arm refuses a command. Ends by itself; exit status 0 only if arm, base, navigation, gripper and planner did what they
# were told and every camera gave a picture.
#
#   ./scripts/demo.sh [--model k2|r5] [--jobs N]
#
# The full output of every step is kept in build/demo/demo.log.
set -uo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
source scripts/common.sh

jobs=$(default_jobs) model=k2
while [ $# -gt 0 ]; do
  case "$1" in
    -h | --help) sed -n '2,/^set/{s/^# \{0,1\}//p}' "$0"; exit 0 ;;
    --model) model=${2:?--model needs a name}; shift ;;
    --jobs | -j) jobs=${2:?--jobs needs a number}; shift ;;
    *) echo "demo.sh: unknown option $1 (see --help)" >&2; exit 2 ;;
  esac
  shift
done
[[ $model =~ ^(k2|r5)$ ]] || { echo "demo.sh: the model is k2 or r5" >&2; exit 2; }

readonly demo_dir=$PWD/build/demo
readonly log=$demo_dir/demo.log robot_output=$demo_dir/robot.out arm_output=$demo_dir/move_arm.out
readonly example_output=$demo_dir/example.out install_dir=$demo_dir/install
readonly examples=(move_arm drive_base drive_to_goal pick_with_gripper save_pictures plan_around_box) picture_dir=$demo_dir/pictures
mkdir -p "$demo_dir"
: >"$log"

robot= arm= example= tail=
end_processes() {
  local process
  for process in $example $arm $robot $tail; do
    kill "$process" 2>/dev/null
    wait "$process" 2>/dev/null
  done
}
trap end_processes EXIT
trap 'exit 130' INT TERM

say() {
  echo "==> $*"
  echo "==> $*" >>"$log"
}

die() {
  echo "demo.sh: $*. The log: $log" >&2
  tail -15 "$log" >&2
  exit 1
}

# A DDS domain nobody on this machine has opened: its UDP ports are unused.
free_domain() {
  local address domain
  local -A used=()
  while read -r _ address _; do
    [[ $address == *:* ]] && used[$(((16#${address##*:} - 7400) / 250))]=1
  done < <(tail -n +2 /proc/net/udp)
  for domain in $(shuf -i 1-100); do
    [ -z "${used[$domain]:-}" ] && break
  done
  echo "$domain"
}

# wait_for FILE PATTERN PROCESS SECONDS   until the file has the pattern; fails when the process ends before
wait_for() {
  local deadline=$((SECONDS + $4))
  until grep -q "$2" "$1"; do
    kill -0 "$3" 2>/dev/null && [ "$SECONDS" -lt "$deadline" ] || return 1
    sleep 0.1
  done
}

robot_runs() {
  kill -0 "$robot" 2>/dev/null
}

# tell_robot COMMAND   has the simulated robot carry out a control command
tell_robot() {
  robot_runs || return 1
  norvik_simulator --control "$1" 2>&1 | tee -a "$log"
}

# run_example NAME [ARGUMENT...]   runs it to its end, shows what it printed, and has its status; fails when the robot is gone
run_example() {
  local status
  robot_runs || return 1
  say "Running examples/$*"
  timeout 60 "$demo_dir/examples/$1" "${@:2}" >"$example_output" 2>>"$log" &
  example=$!
  wait "$example"
  status=$?
  example=
  tee -a "$log" <"$example_output"
  return "$status"
}

say "Installing missing Debian packages (about two minutes on a fresh machine)"
scripts/setup.sh build product simulator 2>&1 | tee -a "$log" | grep --line-buffered -E '^(Installing|Setting up|setup.sh)'
[ "${PIPESTATUS[0]}" -eq 0 ] || die "the packages could not be installed"

say "Building the library and the simulated robot (some minutes the first time)"
configure_preset release -DNORVIK_BUILD_TESTS=OFF >>"$log" 2>&1 || die "the configuration failed"
cmake --build build/release -j"$jobs" --target norvik_sdk norvik_simulator 2>&1 | tee -a "$log" | show_progress
[ "${PIPESTATUS[0]}" -eq 0 ] || die "the build failed"

say "Building the examples against the installed package"
{
  cmake --install build/release --prefix "$install_dir" &&
    cmake -S examples -B "$demo_dir/examples" -DCMAKE_BUILD_TYPE=Release -DCMAKE_PREFIX_PATH="$install_dir" &&
    cmake --build "$demo_dir/examples" -j"$jobs" --target "${examples[@]}"
} >>"$log" 2>&1 || die "the examples do not build"

OVIMUX_DOMAIN_ID=$(free_domain)
export OVIMUX_DOMAIN_ID OVIMUX_LOCALHOST_ONLY=1 NORVIK_SDK_SKIP_VERSION_CHECK=1 NORVIK_MODEL=$model
export PATH=$install_dir/bin:$PATH

say "Starting the simulated robot, model $model (DDS domain $OVIMUX_DOMAIN_ID, this machine only)"
mkdir -p "$picture_dir"
: >"$robot_output"
norvik_simulator --model "$model" --picture-folder "$picture_dir" >"$robot_output" 2>>"$log" &
robot=$!
wait_for "$robot_output" '^norvik_simulator ready' "$robot" 20 || die "the simulated robot did not start"
cat "$robot_output" | tee -a "$log"

planned=false
run_example plan_around_box "$picture_dir" && planned=true

say "Running examples/move_arm"
: >"$arm_output"
"$demo_dir/examples/move_arm" --until-refused >"$arm_output" 2>>"$log" &
arm=$!
tail -n +1 -f --pid="$arm" "$arm_output" | tee -a "$log" &
tail=$!

driven=false found=false holds=false sees=false
if wait_for "$arm_output" '^Waiting for a command to be refused' "$arm" 90; then
  # Meanwhile other programs use the same robot.
  run_example drive_base && driven=true
  say "Placing an object of 40 mm between the fingers of the left gripper"
  tell_robot '{"op":"place_object","group":"left_gripper","width_mm":40}'
  run_example pick_with_gripper && holds=true
  run_example save_pictures "$picture_dir" && sees=true
  run_example drive_to_goal && found=true
  say "Drawing the map and the way driven: $picture_dir/way.png"
  tell_robot '{"op":"draw_map","file":"way.png"}'
  fault='{"op":"error","group":"left_arm","code":196609,"description":"motor too hot"}'
  say "Injecting a fault: norvik_simulator --control '$fault'"
  tell_robot "$fault"
fi
wait "$arm"
status=$?
arm=
wait "$tail" 2>/dev/null
tail=

say "Ending the simulated robot"
kill -TERM "$robot" 2>/dev/null
wait "$robot"
robot_status=$?
robot=

arrived=false
grep -q '^The arm arrived' "$arm_output" && arrived=true
say "Arm arrived: $arrived; base driven: $driven; goals reached: $found; gripper holds the object: $holds; pictures saved: $sees; \
went around the box: $planned"
say "move_arm ended with $status, the simulated robot with $robot_status. Log: $log"
$arrived && $driven && $found && $holds && $sees && $planned && [ "$status" -eq 0 ]
