# The clips that tests read, made while building in the folder ${testClips}. Whoever needs another one adds it here.
#
#   add_test_clip(NAME ARGUMENTS...)              drawn by make-clip with the ARGUMENTS; every frame carries its number
#   add_derived_test_clip(NAME OTHER COMMAND...)  made of the test clip OTHER by a COMMAND, in which FROM and TO stand
#                                                 for the two files

set(testClipFiles)

function(add_test_clip NAME)
    videoanalysis_make_clip("${testClips}/${NAME}" ${ARGN})
    set(testClipFiles ${testClipFiles} "${testClips}/${NAME}" PARENT_SCOPE)
endfunction()

function(add_derived_test_clip NAME OTHER)
    set(command ${ARGN})
    list(TRANSFORM command REPLACE "^FROM$" "${testClips}/${OTHER}")
    list(TRANSFORM command REPLACE "^TO$" "${testClips}/${NAME}")
    add_custom_command(OUTPUT "${testClips}/${NAME}" COMMAND ${command} DEPENDS "${testClips}/${OTHER}" VERBATIM)
    set(testClipFiles ${testClipFiles} "${testClips}/${NAME}" PARENT_SCOPE)
endfunction()

set(ffmpeg "${FFMPEG_PROGRAM}" -nostdin -y -loglevel error)

# The everyday case: 120 frames at 30 a second, a group every second, frames that are stored out of order, sound.
add_test_clip(h264.mp4 --style plain --size 640x360 --frames 120 -- -g 30 -bf 2)
# A download that stopped: the index says 120 frames, the bytes end after some of them.
add_derived_test_clip(truncated.mp4 h264.mp4
    sh -c "head -c $(($(stat -c %s \"$1\") * 6 / 10)) \"$1\" > \"$2\"" sh FROM TO)
add_derived_test_clip(audio-only.mp4 h264.mp4 ${ffmpeg} -i FROM -vn -c copy TO)
file(MAKE_DIRECTORY "${testClips}")
file(WRITE "${testClips}/text.mp4" "This is not a video, whatever its name says.\n")
file(WRITE "${testClips}/empty.mp4" "")

add_custom_target(test-clips DEPENDS ${testClipFiles})
