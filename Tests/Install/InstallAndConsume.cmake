# Installs COMPONENTS from ${buildFolder} into an empty folder below ${scratchFolder} and builds the consumer against them.
#
#   consume(COMPONENTS... [OPTIONS CMAKE_OPTIONS...])

cmake_minimum_required(VERSION 3.25)

function(run)
    execute_process(COMMAND ${ARGV} OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        list(JOIN ARGV " " command)
        message(FATAL_ERROR "${command}\n${output}")
    endif()
endfunction()

function(consume)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "" "OPTIONS")
    set(components ${arg_UNPARSED_ARGUMENTS})
    file(REMOVE_RECURSE "${scratchFolder}/prefix" "${scratchFolder}/consumer")
    foreach(component IN LISTS components)
        run(${CMAKE_COMMAND} --install "${buildFolder}" --component ${component} --prefix "${scratchFolder}/prefix")
    endforeach()
    list(JOIN components " " names) # passed as a string, because CMake expands lists
    run(${CMAKE_COMMAND} -G Ninja -S "${CMAKE_CURRENT_FUNCTION_LIST_DIR}" -B "${scratchFolder}/consumer"
        -D "COMPONENTS=${names}" -D "CMAKE_PREFIX_PATH=${scratchFolder}/prefix" -D "CMAKE_CXX_COMPILER=${compiler}"
        -D "CMAKE_CXX_FLAGS=${flags}" -D "CMAKE_CXX_COMPILER_LAUNCHER=${launcher}" ${arg_OPTIONS})
    run(${CMAKE_COMMAND} --build "${scratchFolder}/consumer")
    if("Headless" IN_LIST components)
        run("${scratchFolder}/consumer/consumer")
    endif()
endfunction()
