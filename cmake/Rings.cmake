# One library per piece of the rings: the component and each platform.

# Adds the static library VideoAnalysis::NAME of all sources below the current folder, and its place in the installed
# package. PUBLIC_HEADERS are the headers that other projects may include, relative to the current folder; wildcards allowed.
# Only these are installed. The next build picks up added and removed files.
function(videoanalysis_add_ring NAME)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "PUBLIC_HEADERS")
    set(target VideoAnalysis${NAME})
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS *.cpp)
    file(GLOB_RECURSE headers CONFIGURE_DEPENDS *.h)
    file(GLOB publicHeaders CONFIGURE_DEPENDS ${arg_PUBLIC_HEADERS})
    foreach(header IN LISTS arg_PUBLIC_HEADERS)
        if(NOT header MATCHES "\\*" AND NOT EXISTS "${CMAKE_CURRENT_SOURCE_DIR}/${header}")
            message(FATAL_ERROR "The public header ${header} of ${target} does not exist.")
        endif()
    endforeach()
    add_library(${target} STATIC ${sources} ${headers})
    add_library(VideoAnalysis::${NAME} ALIAS ${target})
    set_target_properties(${target} PROPERTIES EXPORT_NAME ${NAME} POSITION_INDEPENDENT_CODE ON)
    target_compile_features(${target} PUBLIC cxx_std_20)
    target_sources(${target} PUBLIC FILE_SET HEADERS BASE_DIRS "${PROJECT_SOURCE_DIR}" FILES ${publicHeaders})
    videoanalysis_warnings(${target})
    set_property(GLOBAL APPEND PROPERTY VIDEOANALYSIS_PUBLIC_HEADERS ${publicHeaders})

    install(TARGETS ${target} EXPORT VideoAnalysis${NAME}Targets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${NAME}
        FILE_SET HEADERS DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/videoanalysis COMPONENT ${NAME})
    install(EXPORT VideoAnalysis${NAME}Targets NAMESPACE VideoAnalysis:: COMPONENT ${NAME}
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/VideoAnalysis)
endfunction()
