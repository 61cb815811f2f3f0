# OpenCV's own CMake package comes only with libopencv-dev, which pulls in dozens of modules that are not used here. The
# three used ones come with packages of their own and are found directly.
find_path(OPENCV_INCLUDE_DIR opencv2/core.hpp PATH_SUFFIXES opencv4 REQUIRED)
foreach(component core imgproc imgcodecs)
  find_library(OPENCV_${component}_LIBRARY opencv_${component} REQUIRED)
  add_library(opencv_${component} UNKNOWN IMPORTED GLOBAL)
  set_target_properties(opencv_${component} PROPERTIES
    IMPORTED_LOCATION ${OPENCV_${component}_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES ${OPENCV_INCLUDE_DIR})
endforeach()
