#pragma once
// Reads all packets of a clip once to know every frame's time. The image generator and the export need the whole index before
// they begin; the frame loader takes snapshots on the way.

#include "Platforms/FFmpeg/Clips/ClipFile.h"
#include "Platforms/FFmpeg/Clips/ClipIndex.h"
#include "Platforms/FFmpeg/Result.h"

#include <atomic>
#include <functional>
#include <memory>

namespace videoanalysis::media::ffmpeg {

/// Reads `file` from its current position to its end, or to where it cannot be read further, into `builder`. `visit` (may be
/// empty) sees every packet, in decoding order, after it was added. Blocks; fails when `cancelled` became true and when the
/// file claims more than it holds.
inline Result<void> readPackets(ClipFile& file, const std::atomic<bool>& cancelled, ClipIndexBuilder& builder,
                                const std::function<void(const AVPacket&)>& visit) {
    const PacketHandle packet(av_packet_alloc());
    while (!cancelled && !builder.isFull() && file.read(*packet) == ClipFile::ReadStatus::packet) {
        Result<void> added = builder.add(*packet);
        if (added && visit) visit(*packet);
        av_packet_unref(packet.get());
        if (!added) return added;
    }
    if (cancelled) return Failure{"cancelled"};
    return {};
}

/// The index of the whole clip; as `readPackets`, and it also fails when the clip has no frame.
inline Result<std::shared_ptr<const ClipIndex>> scanClip(ClipFile& file, const std::atomic<bool>& cancelled,
                                                         const std::function<void(const AVPacket&)>& visit = {}) {
    ClipIndexBuilder builder(file);
    const Result<void> read = readPackets(file, cancelled, builder, visit);
    return read ? builder.finish() : read.failure();
}

}  // namespace videoanalysis::media::ffmpeg
