# Keeps the static objects of a shared library until the process is gone; lasting_statics.cpp tells why.
function(norvik_keep_statics target)
  target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/lasting_statics.cpp)
  target_link_options(${target} PRIVATE -Wl,--wrap=__cxa_atexit)
endfunction()
