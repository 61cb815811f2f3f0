# What `cmake --install` puts where. Applications see norvik_sdk alone; the middleware and the schemas are installed
# beside it as private libraries, without headers and without development links.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/norvik_sdk)

install(TARGETS norvik_sdk LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(TARGETS ovimux norvik_proto LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} NAMELINK_SKIP)
set_target_properties(norvik_sdk ovimux norvik_proto PROPERTIES INSTALL_RPATH "$ORIGIN")

if(TARGET norvik_sdk_perception)
  set_target_properties(norvik_sdk_perception PROPERTIES INSTALL_RPATH "$ORIGIN")
  install(TARGETS norvik_sdk_perception LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} OPTIONAL)  # As norvik below.
endif()
if(TARGET norvik)
  install(TARGETS norvik RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} OPTIONAL)  # The demo does not build it.
endif()

set(modules norvik_sdk_common norvik_robot norvik_motion norvik_navigation)
if(NORVIK_BUILD_PERCEPTION)
  list(APPEND modules norvik_perception)
endif()
foreach(module IN LISTS modules)
  foreach(include_dir ${PROJECT_SOURCE_DIR}/${module}/include ${PROJECT_BINARY_DIR}/${module}/include)
    if(EXISTS ${include_dir})
      install(DIRECTORY ${include_dir}/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.hpp")
    endif()
  endforeach()
endforeach()

configure_package_config_file(cmake/norvik_sdkConfig.cmake.in ${PROJECT_BINARY_DIR}/norvik_sdkConfig.cmake
  INSTALL_DESTINATION ${package_dir}
  PATH_VARS CMAKE_INSTALL_LIBDIR CMAKE_INSTALL_INCLUDEDIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/norvik_sdkConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/norvik_sdkConfig.cmake ${PROJECT_BINARY_DIR}/norvik_sdkConfigVersion.cmake
  cmake/norvik_sdkComponents.cmake
  DESTINATION ${package_dir})

# The file names its own folder, so that the installed tree can be moved.
file(RELATIVE_PATH prefix_from_pkgconfig
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
get_filename_component(OPENCV_LIBRARY_DIR ${OPENCV_core_LIBRARY} DIRECTORY)
get_target_property(EIGEN3_INCLUDE_DIR Eigen3::Eigen INTERFACE_INCLUDE_DIRECTORIES)
set(packages norvik_sdk norvik_sdk-opencv)
if(NORVIK_BUILD_PERCEPTION)
  list(APPEND packages norvik_sdk-perception)
endif()
foreach(package IN LISTS packages)
  configure_file(cmake/${package}.pc.in ${PROJECT_BINARY_DIR}/${package}.pc @ONLY)
  install(FILES ${PROJECT_BINARY_DIR}/${package}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endforeach()

# The pages keep the places that they have to each other here, so that their links hold; the headers they name lie
# elsewhere.
file(RELATIVE_PATH headers_from_doc ${CMAKE_INSTALL_FULL_DOCDIR} ${CMAKE_INSTALL_FULL_INCLUDEDIR}/norvik_sdk)
file(READ README.md readme)
string(REGEX REPLACE "\\]\\([a-z_]+/include/norvik_sdk/" "](${headers_from_doc}/" readme "${readme}")
file(GENERATE OUTPUT ${PROJECT_BINARY_DIR}/doc/README.md CONTENT "${readme}")
install(FILES ${PROJECT_BINARY_DIR}/doc/README.md CHANGELOG.md CONTRIBUTING.md LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR} FILES_MATCHING PATTERN "*.md" PATTERN "*.png")
