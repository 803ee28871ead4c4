# The description with which other projects find the installed libraries.

include(CMakePackageConfigHelpers)
set(packageDestination ${CMAKE_INSTALL_LIBDIR}/cmake/VideoAnalysis)
configure_package_config_file(cmake/VideoAnalysisConfig.cmake.in "${PROJECT_BINARY_DIR}/VideoAnalysisConfig.cmake"
    INSTALL_DESTINATION ${packageDestination})
write_basic_package_version_file("${PROJECT_BINARY_DIR}/VideoAnalysisConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/VideoAnalysisConfig.cmake" "${PROJECT_BINARY_DIR}/VideoAnalysisConfigVersion.cmake"
    cmake/FindLibYuv.cmake DESTINATION ${packageDestination} COMPONENT Component)

# What checks of the tree read: the public headers, one a line.
get_property(publicHeaders GLOBAL PROPERTY VIDEOANALYSIS_PUBLIC_HEADERS)
list(TRANSFORM publicHeaders REPLACE "^${PROJECT_SOURCE_DIR}/" "")
list(SORT publicHeaders)
list(JOIN publicHeaders "\n" publicHeaders)
file(WRITE "${PROJECT_BINARY_DIR}/public-headers.txt" "${publicHeaders}\n")
