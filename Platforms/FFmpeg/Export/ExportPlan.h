#pragma once
// Which frames an export takes, and which of them it can copy without encoding. The export job makes one from a clip's packets
// before it writes anything.

#include "Platforms/FFmpeg/Clips/Bitstream.h"
#include "Platforms/FFmpeg/Clips/ClipIndex.h"
#include "VideoAnalysis/Platform/Media.h"

#include <cstdint>
#include <vector>

namespace videoanalysis::media::ffmpeg {

/// Frames are presented in the order head, copied middle, tail; head and tail are encoded.
struct ExportPlan {
    std::int64_t firstFrame = 0;
    std::int64_t lastFrame = 0;
    /// The copied packets in decoding order, the end excluded; equal when nothing is copied.
    std::int64_t firstPacket = 0;
    std::int64_t endPacket = 0;
    /// The frames that they show, the end excluded.
    std::int64_t firstCopied = 0;
    std::int64_t endCopied = 0;

    bool copies() const { return endPacket > firstPacket; }
    bool encodes() const { return !copies() || firstCopied > firstFrame || endCopied <= lastFrame; }
    std::int64_t frameCount() const { return lastFrame - firstFrame + 1; }

    /// The frames of `index` from the one shown at `start` to the last that begins before `end`, all to be encoded.
    static ExportPlan encodingAll(const ClipIndex& index, const Time& start, const Time& end);
    /// The same with as many copied as possible. `kinds` has an entry for every packet.
    static ExportPlan copyingMost(const ClipIndex& index, const std::vector<KeyframeKind>& kinds, const Time& start,
                                  const Time& end);
};

}  // namespace videoanalysis::media::ffmpeg
