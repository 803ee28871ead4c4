# Video clips that are made while building.
#
#   videoanalysis_make_clip(FILE ARGUMENTS...)            a clip drawn by the clip maker; its options as ARGUMENTS
#
# It only states how FILE is made: a custom target that depends on it makes it.

function(videoanalysis_make_clip FILE)
    cmake_path(GET FILE PARENT_PATH folder)
    file(MAKE_DIRECTORY "${folder}")
    add_custom_command(OUTPUT "${FILE}" COMMAND make-clip "${FILE}" ${ARGN} DEPENDS make-clip VERBATIM)
endfunction()

