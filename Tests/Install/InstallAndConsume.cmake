# Installs the component and the headless platform into an empty folder, builds the consumer there and runs it.

file(REMOVE_RECURSE "${scratchFolder}")
foreach(component Component Headless)
    execute_process(COMMAND ${CMAKE_COMMAND} --install "${buildFolder}" --component ${component}
        --prefix "${scratchFolder}/prefix" OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endforeach()
execute_process(COMMAND ${CMAKE_COMMAND} -G Ninja -S "${CMAKE_CURRENT_LIST_DIR}" -B "${scratchFolder}/build"
    -D "CMAKE_PREFIX_PATH=${scratchFolder}/prefix" -D "CMAKE_CXX_COMPILER=${compiler}" -D "CMAKE_CXX_FLAGS=${flags}"
    COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CMAKE_COMMAND} --build "${scratchFolder}/build" COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND "${scratchFolder}/build/consumer" COMMAND_ERROR_IS_FATAL ANY)
