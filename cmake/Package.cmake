# The description with which other projects find the installed libraries.

include(CMakePackageConfigHelpers)
set(packageDestination ${CMAKE_INSTALL_LIBDIR}/cmake/VideoAnalysis)
configure_package_config_file(cmake/VideoAnalysisConfig.cmake.in "${PROJECT_BINARY_DIR}/VideoAnalysisConfig.cmake"
    INSTALL_DESTINATION ${packageDestination})
write_basic_package_version_file("${PROJECT_BINARY_DIR}/VideoAnalysisConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/VideoAnalysisConfig.cmake" "${PROJECT_BINARY_DIR}/VideoAnalysisConfigVersion.cmake"
    cmake/FindLibYuv.cmake DESTINATION ${packageDestination} COMPONENT Component)
