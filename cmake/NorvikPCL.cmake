# PCL's development package pulls in several hundred others, VTK and Qt among them. All that is used here is its point
# cloud: headers, which scripts/pcl_headers.sh installs alone, and the small library of libpcl-common1.13.
find_path(PCL_INCLUDE_DIR pcl/point_cloud.h PATH_SUFFIXES pcl-1.13)
find_library(PCL_common_LIBRARY NAMES libpcl_common.so.1.13 pcl_common)
if(NOT PCL_INCLUDE_DIR OR NOT PCL_common_LIBRARY)
  message(FATAL_ERROR "PCL 1.13 is missing: run scripts/setup.sh, install Debian's libpcl-dev, or leave the perception "
    "facade out with -DNORVIK_BUILD_PERCEPTION=OFF")
endif()
add_library(pcl_common UNKNOWN IMPORTED GLOBAL)
set_target_properties(pcl_common PROPERTIES
  IMPORTED_LOCATION ${PCL_common_LIBRARY}
  INTERFACE_INCLUDE_DIRECTORIES ${PCL_INCLUDE_DIR})
