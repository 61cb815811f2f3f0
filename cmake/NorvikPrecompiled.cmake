# norvik_precompile(TARGET HEADER...) has the headers that most files of a target read, and a good part of the standard
# library's, compiled only once for all of them. Headers of the project that are still being changed do not belong here:
# each change would rebuild the whole target.
option(NORVIK_PRECOMPILE "Use precompiled headers" ON)

set(NORVIK_STANDARD_HEADERS <algorithm> <atomic> <chrono> <functional> <map> <memory> <mutex> <optional> <set> <sstream>
  <string> <thread> <unordered_map> <unordered_set> <utility> <vector>)

function(norvik_precompile target)
  if(NORVIK_PRECOMPILE)
    target_precompile_headers(${target} PRIVATE ${NORVIK_STANDARD_HEADERS} ${ARGN})
    norvik_cache_precompiled(${target})
  endif()
endfunction()

# norvik_share_precompiled(TARGET OWNER) lets a target read what another one of the same kind has precompiled.
function(norvik_share_precompiled target owner)
  if(NORVIK_PRECOMPILE)
    target_precompile_headers(${target} REUSE_FROM ${owner})
    norvik_cache_precompiled(${target})
  endif()
endfunction()

# Lets the compiler cache look through precompiled headers; scripts/common.sh tells it the rest.
function(norvik_cache_precompiled target)
  target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>)
endfunction()
