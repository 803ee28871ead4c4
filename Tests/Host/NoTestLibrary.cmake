# Fails when PROGRAM needs a library that only tests need, as a shared library or linked into it.
#   cmake -D PROGRAM=... -D READELF=... -D NM=... -P NoTestLibrary.cmake
execute_process(COMMAND "${READELF}" --dynamic --wide "${PROGRAM}" OUTPUT_VARIABLE needed COMMAND_ERROR_IS_FATAL ANY)
if(NOT needed MATCHES "NEEDED[^\n]*Qt6Quick")
    message(FATAL_ERROR "${READELF} does not list what ${PROGRAM} needs")
endif()
string(REGEX MATCHALL "[^\n]*NEEDED[^\n]*(Qt6Test|gtest|gmock)[^\n]*" found "${needed}")
execute_process(COMMAND "${NM}" --demangle "${PROGRAM}" OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "[^\n]* testing::internal::[^\n]*" linked "${symbols}")
if(found OR linked)
    message(FATAL_ERROR "${PROGRAM} links a test library:\n${found}\n${linked}")
endif()
