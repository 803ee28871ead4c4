#pragma once
// Reads and edits the units of coded video: which keyframes a stream can be cut at, the numbers of its parameter sets, the links
// between its groups of pictures. The picture order and the export use it.

#include "Platforms/FFmpeg/LibraryHandles.h"

#include <cstdint>
#include <span>

namespace videoanalysis::media::ffmpeg {

/// What a keyframe allows when a stream is cut in front of it.
enum class KeyframeKind : std::uint8_t {
    unfit,   ///< no cut: later pictures may refer to earlier ones
    closed,  ///< a clean cut
    open,    ///< a clean cut once its link is broken (`breakLink`) and the pictures presented before it are dropped
};

/// The kind of a packet that its container marks as a keyframe. `parameters` are its stream's.
KeyframeKind keyframeKind(const AVPacket& packet, const AVCodecParameters& parameters);

/// Whether streams of `codec` carry numbered parameter sets.
bool hasParameterSets(AVCodecID codec);
/// The largest number (0...31) that no H.264 parameter set in `extradata`, which has start codes, uses; -1 when all are taken.
int freeParameterSet(std::span<const std::uint8_t> extradata);
/// Marks the clean random access pictures of an H.265 packet with start codes as broken links, so that decoders drop the leading
/// pictures that refer to what precedes them. The packet must be writable.
void breakLink(AVPacket& packet);

}  // namespace videoanalysis::media::ffmpeg
