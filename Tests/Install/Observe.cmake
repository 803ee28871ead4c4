# Included by the example's project after project(): adds the observer, which ends the program, to it.
cmake_language(EVAL CODE "cmake_language(DEFER CALL target_sources minimal-host PRIVATE \"${CMAKE_CURRENT_LIST_DIR}/Observer.cpp\")")
