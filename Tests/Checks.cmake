# Checks of the tree as a whole: which way includes point, the names in the documentation, the layout of the files, a second
# standard library, the installed package and the combinations of platforms.

add_test(NAME layering COMMAND Python3::Interpreter "${PROJECT_SOURCE_DIR}/tools/check-layering.py" "${PROJECT_SOURCE_DIR}")
set_tests_properties(layering PROPERTIES TIMEOUT 30)

add_test(NAME documented-names
    COMMAND Python3::Interpreter "${PROJECT_SOURCE_DIR}/tools/check-names.py" "${PROJECT_SOURCE_DIR}")
set_tests_properties(documented-names PROPERTIES TIMEOUT 30)

# The component compiles with clang and libc++ as well. One stamp per file, so that only what has changed is compiled.
if(LIBCXX_COMPILER)
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/VideoAnalysis/*.cpp")
    set(stamps)
    foreach(source IN LISTS sources)
        file(RELATIVE_PATH name "${PROJECT_SOURCE_DIR}" "${source}")
        set(stamp "${CMAKE_CURRENT_BINARY_DIR}/libcxx/${name}.stamp")
        cmake_path(GET stamp PARENT_PATH folder)
        file(MAKE_DIRECTORY "${folder}")
        add_custom_command(OUTPUT "${stamp}"
            COMMAND ${LIBCXX_COMPILER} -stdlib=libc++ -std=c++20 -fsyntax-only ${videoAnalysisWarnings} -Wshadow -Werror
                -I "${PROJECT_SOURCE_DIR}" -MD -MF "${stamp}.d" -MT "${stamp}" "${source}"
            COMMAND ${CMAKE_COMMAND} -E touch "${stamp}"
            DEPENDS "${source}" DEPFILE "${stamp}.d" COMMENT "Checking ${name} with libc++" VERBATIM)
        list(APPEND stamps "${stamp}")
    endforeach()
    add_custom_target(component-libcxx DEPENDS ${stamps})
    add_test(NAME component-libcxx
        COMMAND ${CMAKE_COMMAND} --build "${PROJECT_BINARY_DIR}" --target component-libcxx --parallel 2)
    set_tests_properties(component-libcxx PROPERTIES TIMEOUT 600 PROCESSORS 2)
endif()

# Another project finds, builds with and runs the installed libraries.
set(installArguments -D "sourceFolder=${PROJECT_SOURCE_DIR}" -D "compiler=${CMAKE_CXX_COMPILER}"
    -D "launcher=${CMAKE_CXX_COMPILER_LAUNCHER}")
add_test(NAME install-consumer
    COMMAND ${CMAKE_COMMAND} ${installArguments}
        -D "buildFolder=${PROJECT_BINARY_DIR}" -D "scratchFolder=${CMAKE_CURRENT_BINARY_DIR}/install-consumer"
        -D "flags=${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_RELWITHDEBINFO}"
        -D "clips=${PROJECT_BINARY_DIR}/clips/runner.mp4\;${PROJECT_BINARY_DIR}/clips/serve.mp4"
        -P "${CMAKE_CURRENT_SOURCE_DIR}/Install/Installed.cmake")
set_tests_properties(install-consumer PROPERTIES TIMEOUT 300)

# Each platform builds without the libraries of the others. The first run compiles the component once more.
add_test(NAME platform-combinations
    COMMAND ${CMAKE_COMMAND} ${installArguments}
        -D "scratchFolder=${CMAKE_CURRENT_BINARY_DIR}/combinations" -D "pkgConfigProgram=${PKG_CONFIG_EXECUTABLE}"
        -P "${CMAKE_CURRENT_SOURCE_DIR}/Install/Combinations.cmake")
set_tests_properties(platform-combinations PROPERTIES TIMEOUT 1200 PROCESSORS 2)

if(CLANG_FORMAT_PROGRAM)
    add_test(NAME format COMMAND Python3::Interpreter "${PROJECT_SOURCE_DIR}/tools/check-format.py"
        "${CLANG_FORMAT_PROGRAM}" "${PROJECT_SOURCE_DIR}")
    set_tests_properties(format PROPERTIES TIMEOUT 120)
endif()

# Code in the documentation is quoted from what is compiled.
add_test(NAME quotes COMMAND Python3::Interpreter "${PROJECT_SOURCE_DIR}/tools/check-quotes.py" "${PROJECT_SOURCE_DIR}")
set_tests_properties(quotes PROPERTIES TIMEOUT 30)
