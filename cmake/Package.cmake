# The CMake package with which other projects find the installed libraries.

include(CMakePackageConfigHelpers)
set(packageDestination ${CMAKE_INSTALL_LIBDIR}/cmake/VideoAnalysis)
configure_package_config_file(cmake/VideoAnalysisConfig.cmake.in "${PROJECT_BINARY_DIR}/VideoAnalysisConfig.cmake"
    INSTALL_DESTINATION ${packageDestination})
write_basic_package_version_file("${PROJECT_BINARY_DIR}/VideoAnalysisConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/VideoAnalysisConfig.cmake" "${PROJECT_BINARY_DIR}/VideoAnalysisConfigVersion.cmake"
    cmake/FindLibYuv.cmake DESTINATION ${packageDestination} COMPONENT Component)

# The public headers, one per line, for the checks of the source tree.
get_property(publicHeaders GLOBAL PROPERTY VIDEOANALYSIS_PUBLIC_HEADERS)
list(TRANSFORM publicHeaders REPLACE "^${PROJECT_SOURCE_DIR}/" "")
list(SORT publicHeaders)
list(JOIN publicHeaders "\n" publicHeaders)
file(WRITE "${PROJECT_BINARY_DIR}/public-headers.txt" "${publicHeaders}\n")
