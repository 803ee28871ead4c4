# Warnings and the compiler cache, for all targets of this project.

set(videoAnalysisWarnings -Wall -Wextra -Wpedantic -Wnon-virtual-dtor -Woverloaded-virtual)

if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    # A constructor's parameter may carry its member's name; g++ counts that as shadowing unless only locals are looked at.
    # And g++ 12 takes the value of an empty std::optional for something that is read, and sees overlapping copies in an
    # optimised `"text" + string` (its bug 105329).
    set(compilerWarnings -Wshadow=local -Wno-maybe-uninitialized -Wno-restrict)
else()
    set(compilerWarnings -Wshadow)
endif()

# Gives TARGET the project's warnings, without passing them on to whoever links it. The `ci` preset makes them errors.
function(videoanalysis_warnings TARGET)
    target_compile_options(${TARGET} PRIVATE ${videoAnalysisWarnings} ${compilerWarnings})
endfunction()

find_program(CCACHE_PROGRAM ccache)
mark_as_advanced(CCACHE_PROGRAM)
if(CCACHE_PROGRAM AND PROJECT_IS_TOP_LEVEL AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()
