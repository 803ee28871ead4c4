# Warnings and the compiler cache, for all targets of this project.

set(videoAnalysisWarnings -Wall -Wextra -Wpedantic -Wnon-virtual-dtor -Woverloaded-virtual)

if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    # A constructor's parameter may have its member's name, which g++ reports as shadowing unless limited to locals.
    # g++ 12 has false positives for the value of an empty std::optional and for an optimized `"text" + string` (its bug
    # 105329).
    set(compilerWarnings -Wshadow=local -Wno-maybe-uninitialized -Wno-restrict)
else()
    set(compilerWarnings -Wshadow)
endif()

# Enables the project's warnings for TARGET but not for its dependents. The `ci` preset makes them errors.
function(videoanalysis_warnings TARGET)
    target_compile_options(${TARGET} PRIVATE ${videoAnalysisWarnings} ${compilerWarnings})
endfunction()

find_program(CCACHE_PROGRAM ccache)
mark_as_advanced(CCACHE_PROGRAM)
if(CCACHE_PROGRAM AND PROJECT_IS_TOP_LEVEL AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()
