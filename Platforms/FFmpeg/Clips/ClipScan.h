#pragma once
// Reads all packets of a clip once to know every frame's time, for work that needs the whole clip before it begins: small
// pictures and exports. (The player shows the first picture during the scan.)

#include "Platforms/FFmpeg/Clips/ClipFile.h"
#include "Platforms/FFmpeg/Clips/ClipIndex.h"

#include <atomic>
#include <functional>
#include <memory>

namespace videoanalysis::media::ffmpeg {

/// Null when the clip has no frame, claims more than its file holds, or `cancelled` became true. `file` is read from its
/// current position to its end or to where it cannot be read further; `visit` (may be empty) sees every packet in decoding
/// order.
inline std::shared_ptr<const ClipIndex> scanClip(ClipFile& file, const std::atomic<bool>& cancelled,
                                                 const std::function<void(const AVPacket&)>& visit = {}) {
    ClipIndexBuilder builder(file);
    const PacketHandle packet(av_packet_alloc());
    while (!cancelled && file.read(packet.get()) >= 0) {
        const bool isTaken = builder.add(*packet);
        if (isTaken && visit) visit(*packet);
        av_packet_unref(packet.get());
        if (!isTaken) break;
    }
    return cancelled || builder.isImplausible() ? nullptr : builder.snapshot(true);
}

}  // namespace videoanalysis::media::ffmpeg
