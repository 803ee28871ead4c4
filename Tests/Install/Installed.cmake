# The installed package of this build, consumed as a whole and by the example program of the documentation, which must show
# the clips.

include("${CMAKE_CURRENT_LIST_DIR}/InstallAndConsume.cmake")
consume(Component Headless Cairo FFmpeg QtQuick)

file(REMOVE_RECURSE "${scratchFolder}/example")
run(${CMAKE_COMMAND} -G Ninja -S "${sourceFolder}/Documentation/examples" -B "${scratchFolder}/example"
    -D "CMAKE_PREFIX_PATH=${scratchFolder}/prefix" -D "CMAKE_CXX_COMPILER=${compiler}" -D "CMAKE_CXX_FLAGS=${flags}"
    -D "CMAKE_CXX_COMPILER_LAUNCHER=${launcher}" -D "CMAKE_PROJECT_INCLUDE=${CMAKE_CURRENT_LIST_DIR}/Observe.cmake")
run(${CMAKE_COMMAND} --build "${scratchFolder}/example")
run(${CMAKE_COMMAND} -E env QT_QPA_PLATFORM=offscreen "${scratchFolder}/example/minimal-host" ${clips})
