# Configures, builds, installs and consumes the component with one platform at a time while the libraries of the others cannot
# be found. Uses one build folder, so that the component is compiled once.

include("${CMAKE_CURRENT_LIST_DIR}/InstallAndConsume.cmake")

set(buildFolder "${scratchFolder}/build")
file(MAKE_DIRECTORY "${scratchFolder}")

# Patterns of the pkg-config modules that a platform needs.
set(modulesOfCairo "cairo*")
set(modulesOfFFmpeg "libav*|libsw*")

# combination([PLATFORM] [PACKAGES CMAKE_PACKAGES...]): PLATFORM finds these packages, and none that only others need.
function(combination)
    cmake_parse_arguments(PARSE_ARGV 0 arg "" "" "PACKAGES")
    set(platform ${arg_UNPARSED_ARGUMENTS})
    message(STATUS "The component and: ${platform}")
    set(options)
    foreach(package Qt6 LibYuv Threads)
        if(NOT package IN_LIST arg_PACKAGES)
            list(APPEND options -D CMAKE_DISABLE_FIND_PACKAGE_${package}=ON)
        endif()
    endforeach()
    # Hides the modules of the other platforms, and only those: Qt's own packages look for many more.
    set(hidden)
    foreach(other Cairo FFmpeg)
        if(NOT other STREQUAL platform)
            list(APPEND hidden "${modulesOf${other}}")
        endif()
    endforeach()
    list(JOIN hidden "|" hidden)
    set(pkgConfig "${scratchFolder}/pkg-config")
    file(WRITE "${pkgConfig}" "#!/bin/sh
for argument; do
    case \"$argument\" in
        ${hidden}) exit 1 ;;
    esac
done
exec '${pkgConfigProgram}' \"$@\"
")
    file(CHMOD "${pkgConfig}" PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
    list(APPEND options -D "PKG_CONFIG_EXECUTABLE=${pkgConfig}")

    set(selection)
    foreach(option HEADLESS CAIRO FFMPEG QTQUICK)
        string(TOUPPER "${platform}" wanted)
        if(option IN_LIST wanted)
            list(APPEND selection -D VIDEOANALYSIS_${option}=ON)
        else()
            list(APPEND selection -D VIDEOANALYSIS_${option}=OFF)
        endif()
    endforeach()
    run(${CMAKE_COMMAND} --fresh -G Ninja -S "${sourceFolder}" -B "${buildFolder}" -D "CMAKE_CXX_COMPILER=${compiler}"
        ${selection} ${options})
    run(${CMAKE_COMMAND} --build "${buildFolder}" --parallel 2)
    consume(Component ${platform} OPTIONS ${options})
endfunction()

combination()
combination(Headless PACKAGES Threads)
combination(Cairo)
combination(FFmpeg PACKAGES Threads LibYuv)
combination(QtQuick PACKAGES Qt6 Threads)
