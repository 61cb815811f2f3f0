#!/usr/bin/env bash
# Builds and runs an application against the installed package, found by CMake and by pkg-config: run.sh PREFIX BUILD_DIR
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
prefix=$1 build_dir=$2

die() {
  echo "error: $*" >&2
  exit 1
}

# Runs with a home folder of its own, since the library writes its log there.
run() {
  HOME=$PWD/$build_dir OVIMUX_LOCALHOST_ONLY=1 NORVIK_SDK_SKIP_VERSION_CHECK=1 "$@"
}

rm -rf "$build_dir"
cmake -S "$here" -B "$build_dir" -DCMAKE_PREFIX_PATH="$prefix"
cmake --build "$build_dir"
run "$build_dir/smoke"

# The program that the README shows must compile as it stands.
sed -n '/^```cpp$/,/^```$/{/^```/d;p}' "$here/../../README.md" >"$build_dir/readme.cpp"
g++ -std=c++17 -Wall -Wextra -Werror -I"$prefix/include" -c "$build_dir/readme.cpp" -o "$build_dir/readme.o"

# And with a healthy robot it has nothing to say on standard error.
library_dir=$(dirname "$(find "$prefix" -name libnorvik_sdk.so)")
g++ "$build_dir/readme.o" -o "$build_dir/readme" -L"$library_dir" -lnorvik_sdk -Wl,-rpath,"$library_dir"
PATH=$prefix/bin:$PATH OVIMUX_DOMAIN_ID=${OVIMUX_DOMAIN_ID:-99} run "$here/../../examples/run_with_simulator.sh" --model k2 \
  bash -c '"$1" 2>"$1.err"' readme "$build_dir/readme" || die "the program of the README fails"
if [ -s "$build_dir/readme.err" ]; then
  cat "$build_dir/readme.err" >&2
  die "the program of the README writes to standard error"
fi

if cmake -S "$here" -B "$build_dir/wrong" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_PROJECT_INCLUDE="$here/wrong_version.cmake"; then
  die "the package accepts a request for another minor version"
fi

library=$(find "$prefix" -name libnorvik_sdk.so)
pc_dir=$(dirname "$(find "$prefix" -name norvik_sdk.pc)")
flags=$(PKG_CONFIG_PATH=$pc_dir pkg-config --cflags --libs norvik_sdk)
# shellcheck disable=SC2086
g++ -std=c++17 "$here/smoke.cpp" -o "$build_dir/smoke_pkg_config" $flags -Wl,-rpath,"$(dirname "$library")"
run "$build_dir/smoke_pkg_config"

# Components: by CMake and by pkg-config, each with a compiler that may use wider vector instructions than the library's.
cmake -S "$here/components" -B "$build_dir/components" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_FLAGS=-mavx
cmake --build "$build_dir/components"
run "$build_dir/components/perception"
flags=$(PKG_CONFIG_PATH=$pc_dir pkg-config --cflags --libs norvik_sdk-perception norvik_sdk-opencv)
# shellcheck disable=SC2086
g++ -std=c++17 -mavx -Wall -Wextra -Werror "$here/components/perception.cpp" -o "$build_dir/perception_pkg_config" $flags \
  -Wl,-rpath,"$(dirname "$library")"
run "$build_dir/perception_pkg_config"

# What is missing is told with its package.
if cmake -S "$here/components" -B "$build_dir/no_pcl" -DCMAKE_PREFIX_PATH="$prefix" -Dnorvik_sdk_pcl_point_cloud_h= \
  -DCMAKE_FIND_USE_CMAKE_SYSTEM_PATH=OFF >"$build_dir/no_pcl.log" 2>&1; then
  die "component perception is found without PCL"
fi
grep -q 'needs these Debian packages:.*libpcl-dev' "$build_dir/no_pcl.log" || die "no hint that libpcl-dev is missing"

# What the library uses inside must show neither in what an application links nor in what the library exports.
private='fastrtps|fastcdr|protobuf|spdlog|libfmt|boost|curl|crypto|opencv|ovimux|norvik_proto'
if readelf -d "$build_dir/smoke" | grep NEEDED | grep -E "$private"; then
  die "an application gets private dependencies on its link line"
fi
if nm -DC --defined-only "$library" | grep ' T ' | grep -vE ' T norvik::sdk::' | grep -E '(eprosima|google|spdlog|fmt|boost|cv|norvik::)'; then
  die "the library exports symbols of its private dependencies"
fi
# Every link of the installed pages leads to a file.
doc_dir=$(dirname "$(find "$prefix" -path '*/doc/*' -name README.md)")
while IFS=: read -r page link; do
  [ -e "$(dirname "$page")/$link" ] || die "$page links to $link, which is not installed"
done < <(grep -roP --include='*.md' '\]\(\K(?!https?:)[^)#]+' "$doc_dir")

echo "package: fine"
