# Video clips that are made while building.
#
#   videoanalysis_make_clip(FILE ARGUMENTS...)            a clip drawn by the clip maker; its options as ARGUMENTS
#   videoanalysis_derive_clip(FILE FROM OTHER COMMAND...) a clip made of another by a command
#
# Both only state how FILE is made: a custom target that depends on the files makes them.

function(videoanalysis_make_clip FILE)
    cmake_path(GET FILE PARENT_PATH folder)
    file(MAKE_DIRECTORY "${folder}")
    add_custom_command(OUTPUT "${FILE}" COMMAND make-clip "${FILE}" ${ARGN} DEPENDS make-clip VERBATIM)
endfunction()

function(videoanalysis_derive_clip FILE FROM OTHER)
    add_custom_command(OUTPUT "${FILE}" ${ARGN} DEPENDS "${OTHER}" VERBATIM)
endfunction()
