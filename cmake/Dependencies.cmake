# The libraries and programs that the parts being built need, found for all folders at once.

find_package(nlohmann_json 3.11 REQUIRED)

if(NOT VIDEOANALYSIS_COMPONENT_ONLY)
    find_package(Threads REQUIRED)
    find_package(LibYuv REQUIRED)
    find_package(Qt6 6.4 REQUIRED COMPONENTS Core Gui Qml Quick QuickControls2 Multimedia Svg Test)
    find_package(PkgConfig REQUIRED)
    pkg_check_modules(VIDEOANALYSIS_CAIRO REQUIRED IMPORTED_TARGET cairo>=1.16)
    pkg_check_modules(VIDEOANALYSIS_FFMPEG REQUIRED IMPORTED_TARGET
        libavformat>=59 libavcodec>=59 libavfilter>=8 libswscale>=6 libswresample>=4 libavutil>=57)
    find_program(FFMPEG_PROGRAM ffmpeg REQUIRED)
endif()

if(VIDEOANALYSIS_TESTS)
    find_package(GTest 1.12 REQUIRED)
    find_package(Python3 REQUIRED COMPONENTS Interpreter)
    find_program(LIBCXX_COMPILER clang++-14)
    mark_as_advanced(LIBCXX_COMPILER)
endif()
