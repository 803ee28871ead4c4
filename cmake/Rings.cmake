# One library per piece of the rings: the component and each platform.

# Adds the static library VideoAnalysis::NAME of all sources below the current folder, and its place in the
# installed package. Further files that come and go are picked up by the next build.
function(videoanalysis_add_ring NAME)
    set(target VideoAnalysis${NAME})
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS *.cpp)
    file(GLOB_RECURSE headers CONFIGURE_DEPENDS *.h)
    add_library(${target} STATIC ${sources} ${headers})
    add_library(VideoAnalysis::${NAME} ALIAS ${target})
    set_target_properties(${target} PROPERTIES EXPORT_NAME ${NAME} POSITION_INDEPENDENT_CODE ON)
    target_compile_features(${target} PUBLIC cxx_std_20)
    target_include_directories(${target} PUBLIC
        $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
        $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/videoanalysis>)
    videoanalysis_warnings(${target})

    file(RELATIVE_PATH folder "${PROJECT_SOURCE_DIR}" "${CMAKE_CURRENT_SOURCE_DIR}")
    install(TARGETS ${target} EXPORT VideoAnalysis${NAME}Targets
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${NAME})
    install(DIRECTORY "${CMAKE_CURRENT_SOURCE_DIR}/" COMPONENT ${NAME}
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/videoanalysis/${folder} FILES_MATCHING PATTERN "*.h")
    install(EXPORT VideoAnalysis${NAME}Targets NAMESPACE VideoAnalysis:: COMPONENT ${NAME}
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/VideoAnalysis)
endfunction()
