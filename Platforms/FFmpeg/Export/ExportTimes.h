#pragma once
// The times of an export's pictures, in ticks of the source counted from the first exported picture. The export job asks it for
// every picture that it encodes or writes.

#include "Platforms/FFmpeg/Clips/ClipIndex.h"
#include "Platforms/FFmpeg/LibraryHandles.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace videoanalysis::media::ffmpeg {

/// By how many pictures decoding runs ahead of presentation at most, for pictures with these presentation times in decoding
/// order.
std::int64_t reorderingOf(const std::vector<std::int64_t>& times);

/// Used by one thread.
class ExportTimes {
public:
    /// For the frames `firstFrame` to `lastFrame` of `index`.
    ExportTimes(std::shared_ptr<const ClipIndex> index, std::int64_t firstFrame, std::int64_t lastFrame)
        : index_(std::move(index)), firstFrame_(firstFrame), lastFrame_(lastFrame) {}

    AVRational timeBase() const { return index_->timeBase(); }
    /// When `frame` begins.
    std::int64_t ticksOf(std::int64_t frame) const { return index_->ticksOf(frame) - index_->ticksOf(firstFrame_); }
    /// Where the export begins and ends in the source, as time stamps of its stream.
    std::int64_t startTimestamp() const { return index_->zeroTimestamp() + index_->ticksOf(firstFrame_); }
    std::int64_t endTimestamp() const { return index_->zeroTimestamp() + index_->endTicksOf(lastFrame_); }

    /// Before the first `stamp`. The largest value counts: see `reorderingOf`.
    void allowReordering(std::int64_t pictures) { reordering_ = std::max(reordering_, pictures); }
    /// Sets the decoding time and the duration of the next packet in decoding order, whose presentation time is set.
    void stamp(AVPacket& packet);

private:
    std::shared_ptr<const ClipIndex> index_;
    std::int64_t firstFrame_;
    std::int64_t lastFrame_;
    std::int64_t reordering_ = 0;
    std::int64_t stamped_ = 0;  ///< packets
};

}  // namespace videoanalysis::media::ffmpeg
