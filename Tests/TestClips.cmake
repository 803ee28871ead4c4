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

# One of each way in which clips are stored, for walks of steps and seeks: small pictures, 120 frames at 30 a second.
function(add_walk_clip NAME)
    add_test_clip(${NAME} --style plain --size 320x180 --frames 120 --tone none ${ARGN})
    set(testClipFiles ${testClipFiles} PARENT_SCOPE)
endfunction()

add_walk_clip(gop1.mp4 -- -g 1)
add_walk_clip(gop250.mp4 --frames 300 -- -g 250 -bf 3)
add_walk_clip(open-group.mp4 -- -g 30 -keyint_min 30 -bf 3 -x264-params open-gop=1:scenecut=0)
add_walk_clip(hevc.mp4 -- -c:v libx265 -g 30 -x265-params log-level=none:pools=1:frame-threads=1)
add_walk_clip(vp9.webm -- -c:v libvpx-vp9 -g 60 -deadline good -cpu-used 8 -auto-alt-ref 1 -lag-in-frames 16 -b:v 300k)
add_walk_clip(mpeg4.avi -- -c:v mpeg4 -bf 2 -g 30 -q:v 3)
add_walk_clip(mjpeg.avi -- -c:v mjpeg -pix_fmt yuvj420p -q:v 3)
add_walk_clip(h264.mkv -- -g 30 -bf 3)
add_walk_clip(offset.ts -- -g 30 -bf 3 -x264-params open-gop=1 -output_ts_offset 10)
add_walk_clip(offset.mp4 -- -g 30 -bf 3 -output_ts_offset 0.5)
set(variable -vf "scale=out_color_matrix=bt709:out_range=tv,settb=1/90000,setpts=N*3000+1500*mod(N*N\\,7)/6-1000*eq(mod(N\\,11)\\,0)+20000"
    -fps_mode passthrough -enc_time_base 1/90000)
add_walk_clip(variable.mp4 -- -g 30 -bf 3 ${variable} -video_track_timescale 90000)
add_walk_clip(variable.mkv -- -g 30 -bf 3 ${variable})
add_walk_clip(one-frame.mp4 --frames 1 --)
# Cut without encoding again: an edit list hides the frames from the key frame to the cut, here 30 to 38.
add_derived_test_clip(edited.mp4 h264.mp4 ${ffmpeg} -ss 1.3 -i FROM -c copy TO)
add_derived_test_clip(rotated.mp4 h264.mp4 ${ffmpeg} -i FROM -c copy -an -metadata:s:v rotate=90 TO)
# Television's old shape: 720 samples a row that stand for 1024.
add_test_clip(wide-pixels.mp4 --style plain --size 720x576 --frames 10 --tone none -- -g 10 -aspect 16:9)
add_derived_test_clip(encrypted.mp4 h264.mp4 ${ffmpeg} -i FROM -c copy -encryption_scheme cenc-aes-ctr
    -encryption_key 00112233445566778899aabbccddeeff -encryption_kid ffeeddccbbaa99887766554433221100 TO)
# Begins in the middle of a group: its first frames refer to some that are not there.
add_derived_test_clip(cut.ts offset.ts sh -c "tail -c +$((188 * 61 + 1)) \"$1\" > \"$2\"" sh FROM TO)

# Longer than what is known of a clip when its first picture is.
add_derived_test_clip(long.mp4 gop1.mp4 ${ffmpeg} -stream_loop 40 -i FROM -an -c copy -movflags +faststart TO)

# Containers that store the order of decoding only: pictures that are presented in another one, and those of two in a packet.
add_walk_clip(h264.avi -- -g 30 -bf 3)
add_walk_clip(open-group.avi -- -g 30 -keyint_min 30 -bf 3 -x264-params open-gop=1:scenecut=0)
add_derived_test_clip(bare.h264 open-group.mp4 ${ffmpeg} -i FROM -c copy TO)
add_derived_test_clip(bare.hevc hevc.mp4 ${ffmpeg} -i FROM -c copy TO)
add_derived_test_clip(bare.m4v mpeg4.avi ${ffmpeg} -i FROM -c copy -f m4v TO)
add_walk_clip(packed.avi -- -c:v libxvid -bf 2 -g 30 -q:v 3)
# The same pictures as the ffmpeg program decodes them.
add_derived_test_clip(packed-decoded.mkv packed.avi ${ffmpeg} -i FROM -c:v ffv1 -fps_mode passthrough TO)

# What an export meets besides: every codec at a variable rate, other sound, more sound than pictures, damage inside.
set(unhurriedHevc -c:v libx265 -x265-params log-level=none:pools=1:frame-threads=1)
set(quickVp9 -c:v libvpx-vp9 -g 30 -deadline realtime -cpu-used 8 -b:v 300k)
add_walk_clip(variable-hevc.mp4 -- ${unhurriedHevc} -g 30 ${variable} -video_track_timescale 90000)
add_walk_clip(variable-vp9.webm -- ${quickVp9} ${variable})
add_derived_test_clip(variable-mpeg4.mp4 variable.mp4 ${ffmpeg} -i FROM -c:v mpeg4 -bf 2 -g 30 -q:v 3
    -fps_mode passthrough -enc_time_base 1/30000 TO)
add_walk_clip(sound.webm --tone 300 -- ${quickVp9} -c:a libopus)
add_walk_clip(sound-hevc.mkv --tone 300 -- ${unhurriedHevc} -g 30 -c:a flac)
add_derived_test_clip(long-sound.mp4 h264.mp4
    ${ffmpeg} -i FROM -f lavfi -i "aevalsrc=0.4*sin(2*PI*(200*t+60*t*t)):s=44100:d=9" -map 0:v -map 1:a -c:v copy -c:a aac TO)
add_derived_test_clip(damaged.mp4 h264.mp4
    sh -c "cp \"$1\" \"$2\" && dd if=/dev/zero of=\"$2\" bs=1 seek=$(($(stat -c %s \"$1\") / 2)) count=6000 conv=notrunc status=none"
    sh FROM TO)

add_custom_target(test-clips DEPENDS ${testClipFiles})
