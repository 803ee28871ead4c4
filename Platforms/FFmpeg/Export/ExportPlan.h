#pragma once
// Which frames an export takes, and which of them it can copy as they are stored. The export job makes one from a clip's
// packets before it writes anything.

#include "Platforms/FFmpeg/Clips/ClipIndex.h"
#include "Platforms/FFmpeg/LibraryHandles.h"
#include "VideoAnalysis/Platform/Media.h"

#include <cstdint>
#include <vector>

namespace videoanalysis::media::ffmpeg {

/// What a key frame allows in the stream that it begins.
enum class KeyFrameKind : std::uint8_t {
    unfit,   ///< later pictures may refer to what precedes it in a way that cannot be cut
    closed,  ///< whatever precedes it does not matter
    open,    ///< the same once it is marked as a broken link and the pictures shown before it are left out
};

/// Of a packet that its container marks as a key frame. `parameters` are its stream's.
KeyFrameKind keyFrameKind(const AVPacket& packet, const AVCodecParameters& parameters);

/// Frames are presented in the order head, middle, tail; those of head and tail are encoded anew.
struct ExportPlan {
    std::int64_t firstFrame = 0;
    std::int64_t lastFrame = 0;
    /// The copied packets, in decoding order: from the first up to, not including, the end. Empty when nothing is copied.
    std::int64_t firstPacket = 0;
    std::int64_t endPacket = 0;
    /// The frames that they show.
    std::int64_t firstCopied = 0;
    std::int64_t endCopied = 0;

    bool copies() const { return endPacket > firstPacket; }
    bool encodes() const { return !copies() || firstCopied > firstFrame || endCopied <= lastFrame; }
    std::int64_t frameCount() const { return lastFrame - firstFrame + 1; }

    /// The frames of `index` from the one shown at `start` to the last that begins before `end`, all to be encoded.
    static ExportPlan encodingAll(const ClipIndex& index, const Time& start, const Time& end);
    /// The same with as many copied as possible. `kinds` says of every packet what it allows.
    static ExportPlan copyingMost(const ClipIndex& index, const std::vector<KeyFrameKind>& kinds, const Time& start,
                                  const Time& end);
};

}  // namespace videoanalysis::media::ffmpeg
