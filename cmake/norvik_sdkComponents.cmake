# The components of norvik_sdk, read by norvik_sdkConfig.cmake:
#
#   perception   norvik_sdk::perception, the perception facade; its headers show types of Eigen, PCL and OpenCV
#   opencv       norvik_sdk::opencv, for applications that use what the library gives as cv::Mat
#
# What a component needs is looked for by file, since Debian's small packages bring no CMake files of their own, and what
# is missing is told with the package that brings it. Pairs of a package and a header or library:
set(norvik_sdk_opencv_needs
  libopencv-core-dev opencv2/core.hpp  libopencv-imgcodecs-dev opencv2/imgcodecs.hpp
  libopencv-imgcodecs-dev -lopencv_imgcodecs  libopencv-imgproc-dev -lopencv_imgproc  libopencv-core-dev -lopencv_core)
set(norvik_sdk_perception_needs
  libeigen3-dev Eigen/Core  libpcl-dev pcl/point_cloud.h  libboost-dev boost/version.hpp
  libopencv-core-dev opencv2/core.hpp  libpcl-common1.13 -lpcl_common  libopencv-core-dev -lopencv_core)

# Gives norvik_sdk_headers, norvik_sdk_libraries, and norvik_sdk_missing, the packages.
function(norvik_sdk_find_needs needs)
  set(headers)
  set(libraries)
  set(missing)
  while(needs)
    list(POP_FRONT needs package thing)
    string(MAKE_C_IDENTIFIER "norvik_sdk_${thing}" variable)
    if(thing MATCHES "^-l(.*)")
      find_library(${variable} NAMES ${CMAKE_MATCH_1} lib${CMAKE_MATCH_1}.so.1.13)  # PCL's library alone has no link.
      list(APPEND libraries ${${variable}})
    else()
      find_path(${variable} ${thing} PATH_SUFFIXES eigen3 opencv4 pcl-1.13)
      list(APPEND headers ${${variable}})
    endif()
    mark_as_advanced(${variable})
    if(NOT ${variable})
      list(APPEND missing ${package})
    endif()
  endwhile()
  list(REMOVE_DUPLICATES missing)
  list(JOIN missing " " missing)
  set(norvik_sdk_headers ${headers} PARENT_SCOPE)
  set(norvik_sdk_libraries ${libraries} PARENT_SCOPE)
  set(norvik_sdk_missing "${missing}" PARENT_SCOPE)
endfunction()

function(norvik_sdk_add_component component)
  if(TARGET norvik_sdk::${component})
    return()
  endif()
  add_library(norvik_sdk::${component} INTERFACE IMPORTED)
  target_include_directories(norvik_sdk::${component} SYSTEM INTERFACE ${norvik_sdk_headers})
  target_link_libraries(norvik_sdk::${component} INTERFACE ${ARGN} norvik_sdk::norvik_sdk ${norvik_sdk_libraries})
endfunction()

foreach(norvik_sdk_component IN LISTS norvik_sdk_FIND_COMPONENTS)
  if(NOT DEFINED norvik_sdk_${norvik_sdk_component}_needs)
    continue()
  endif()
  norvik_sdk_find_needs("${norvik_sdk_${norvik_sdk_component}_needs}")
  set(norvik_sdk_own_library)
  if(norvik_sdk_component STREQUAL perception)
    set(norvik_sdk_own_library ${norvik_sdk_perception_library})
  endif()
  if(norvik_sdk_missing)
    string(APPEND norvik_sdk_NOT_FOUND_MESSAGE
      "Component ${norvik_sdk_component} needs these Debian packages: ${norvik_sdk_missing}. ")
  elseif(norvik_sdk_own_library AND NOT EXISTS ${norvik_sdk_own_library})
    string(APPEND norvik_sdk_NOT_FOUND_MESSAGE "This norvik_sdk was built without component ${norvik_sdk_component}. ")
  else()
    norvik_sdk_add_component(${norvik_sdk_component} ${norvik_sdk_own_library})
    set(norvik_sdk_${norvik_sdk_component}_FOUND TRUE)
  endif()
endforeach()
