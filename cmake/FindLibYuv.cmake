# Finds libyuv, which has no CMake or pkg-config description. Sets LibYuv_FOUND and the target VideoAnalysis::LibYuv.

find_path(LIBYUV_INCLUDE_DIR libyuv.h)
find_library(LIBYUV_LIBRARY yuv)
mark_as_advanced(LIBYUV_INCLUDE_DIR LIBYUV_LIBRARY)

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(LibYuv REQUIRED_VARS LIBYUV_LIBRARY LIBYUV_INCLUDE_DIR)

if(LibYuv_FOUND AND NOT TARGET VideoAnalysis::LibYuv)
    add_library(VideoAnalysis::LibYuv UNKNOWN IMPORTED)
    set_target_properties(VideoAnalysis::LibYuv PROPERTIES
        IMPORTED_LOCATION "${LIBYUV_LIBRARY}"
        INTERFACE_INCLUDE_DIRECTORIES "${LIBYUV_INCLUDE_DIR}")
endif()
