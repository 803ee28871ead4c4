# The libraries and programs that the selected parts need, found for all folders at once. The installed package looks for the
# same pkg-config modules.

set(videoAnalysisCairoModules cairo>=1.16)
set(videoAnalysisFFmpegModules
    libavformat>=59 libavcodec>=59 libavfilter>=8 libswscale>=6 libswresample>=4 libavutil>=57)
set(videoAnalysisQtComponents Core Gui Qml Quick QuickControls2 Multimedia Svg)

find_package(nlohmann_json 3.11 REQUIRED)

if(VIDEOANALYSIS_HEADLESS OR VIDEOANALYSIS_FFMPEG)
    find_package(Threads REQUIRED)
endif()
if(VIDEOANALYSIS_CAIRO OR VIDEOANALYSIS_FFMPEG)
    find_package(PkgConfig REQUIRED)
endif()
if(VIDEOANALYSIS_CAIRO)
    pkg_check_modules(VIDEOANALYSIS_CAIRO REQUIRED IMPORTED_TARGET ${videoAnalysisCairoModules})
endif()
if(VIDEOANALYSIS_FFMPEG)
    find_package(LibYuv REQUIRED)
    pkg_check_modules(VIDEOANALYSIS_FFMPEG REQUIRED IMPORTED_TARGET ${videoAnalysisFFmpegModules})
endif()
if(VIDEOANALYSIS_QTQUICK)
    find_package(Qt6 6.4 REQUIRED COMPONENTS ${videoAnalysisQtComponents})
endif()
if(VIDEOANALYSIS_HOST)
    find_package(Qt6 6.4 REQUIRED COMPONENTS Test)
    find_program(FFMPEG_PROGRAM ffmpeg REQUIRED)
endif()

if(VIDEOANALYSIS_TESTS)
    find_package(GTest 1.12 REQUIRED)
    find_package(PNG 1.6 REQUIRED)
    find_package(Python3 REQUIRED COMPONENTS Interpreter)
    find_program(LIBCXX_COMPILER clang++-14)
    find_program(CLANG_FORMAT_PROGRAM clang-format-14)
    mark_as_advanced(LIBCXX_COMPILER CLANG_FORMAT_PROGRAM)
endif()
