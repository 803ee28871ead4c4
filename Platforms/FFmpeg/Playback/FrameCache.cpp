#include "Platforms/FFmpeg/Playback/FrameCache.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace videoanalysis::media::ffmpeg {

FrameCache::ClipNumber FrameCache::openClip() {
    const std::lock_guard lock(mutex_);
    clips_.emplace(nextClip_, Clip{});
    for (auto& [number, clip] : clips_) trim(clip);
    return nextClip_++;
}

void FrameCache::closeClip(ClipNumber clip) {
    const std::lock_guard lock(mutex_);
    clips_.erase(clip);
}

void FrameCache::setPlayhead(ClipNumber clip, std::int64_t frame, Travel travel) {
    const std::lock_guard lock(mutex_);
    const auto found = clips_.find(clip);
    if (found == clips_.end()) return;
    found->second.playhead = frame;
    found->second.travel = travel;
    // Going forward, the memory of frames long passed serves the next ones better than fresh memory.
    auto& frames = found->second.frames;
    while (travel == Travel::forward && !frames.empty() && frames.begin()->first < frame - framesKeptBehind) {
        found->second.bytes -= frames.begin()->second->byteCount();
        frames.erase(frames.begin());
        ++evictions_;
    }
}

void FrameCache::insert(ClipNumber number, std::shared_ptr<const DecodedFrame> frame) {
    const std::lock_guard lock(mutex_);
    const auto found = clips_.find(number);
    if (found == clips_.end()) return;
    Clip& clip = found->second;
    const std::size_t bytes = frame->byteCount();
    if (!clip.frames.emplace(frame->index(), std::move(frame)).second) return;
    clip.bytes += bytes;
    trim(clip);
}

void FrameCache::trim(Clip& clip) {
    constexpr std::int64_t weightOfFramesLeftBehind = 4;
    const std::size_t limit = share();
    const auto cost = [&clip](std::int64_t frame) {
        if (clip.travel == Travel::none) return std::abs(frame - clip.playhead);
        const std::int64_t ahead = clip.travel == Travel::backward ? clip.playhead - frame : frame - clip.playhead;
        return ahead >= 0 ? ahead : -ahead * weightOfFramesLeftBehind;
    };
    while (clip.bytes > limit && clip.frames.size() > static_cast<std::size_t>(minFramesPerClip)) {
        // The costliest frame is one of the two ends: the cost grows to both sides of the playhead.
        const auto first = clip.frames.begin();
        const auto last = std::prev(clip.frames.end());
        const auto victim = cost(first->first) > cost(last->first) ? first : last;
        clip.bytes -= victim->second->byteCount();
        clip.frames.erase(victim);
        ++evictions_;
    }
}

std::shared_ptr<const DecodedFrame> FrameCache::find(ClipNumber clip, std::int64_t frame) const {
    const std::lock_guard lock(mutex_);
    const auto found = clips_.find(clip);
    if (found == clips_.end()) return nullptr;
    const auto entry = found->second.frames.find(frame);
    return entry == found->second.frames.end() ? nullptr : entry->second;
}

std::shared_ptr<const DecodedFrame> FrameCache::request(ClipNumber clip, std::int64_t frame) {
    std::shared_ptr<const DecodedFrame> found = find(clip, frame);
    const std::lock_guard lock(mutex_);
    ++(found ? hits_ : misses_);
    return found;
}

std::shared_ptr<const DecodedFrame> FrameCache::nearest(ClipNumber clip, std::int64_t frame) const {
    const std::lock_guard lock(mutex_);
    const auto found = clips_.find(clip);
    if (found == clips_.end() || found->second.frames.empty()) return nullptr;
    const auto& frames = found->second.frames;
    const auto after = frames.lower_bound(frame);
    if (after == frames.begin()) return after->second;
    const auto before = std::prev(after);
    if (after == frames.end() || frame - before->first <= after->first - frame) return before->second;
    return after->second;
}

std::int64_t FrameCache::firstMissing(ClipNumber clip, std::int64_t from, std::int64_t to) const {
    const std::lock_guard lock(mutex_);
    const auto found = clips_.find(clip);
    if (found == clips_.end()) return from;
    const auto& frames = found->second.frames;
    const std::int64_t step = from <= to ? 1 : -1;
    auto entry = frames.find(from);
    std::int64_t frame = from;
    while (frame != to + step) {
        if (entry == frames.end() || entry->first != frame) return frame;
        frame += step;
        if (step > 0) {
            ++entry;
        } else if (entry == frames.begin()) {
            entry = frames.end();
        } else {
            --entry;
        }
    }
    return frame;
}

std::int64_t FrameCache::frameCount(ClipNumber clip) const {
    const std::lock_guard lock(mutex_);
    const auto found = clips_.find(clip);
    return found == clips_.end() ? 0 : static_cast<std::int64_t>(found->second.frames.size());
}

std::int64_t FrameCache::capacity(std::size_t frameBytes) const {
    const std::lock_guard lock(mutex_);
    return std::max(minFramesPerClip, static_cast<std::int64_t>(share() / std::max<std::size_t>(frameBytes, 1)));
}

CacheStatistics FrameCache::statistics() const {
    const std::lock_guard lock(mutex_);
    CacheStatistics result;
    result.budget = budget_;
    result.clips = static_cast<std::int64_t>(clips_.size());
    for (const auto& [number, clip] : clips_) {
        result.bytes += clip.bytes;
        result.frames += static_cast<std::int64_t>(clip.frames.size());
    }
    result.hits = hits_;
    result.misses = misses_;
    result.evictions = evictions_;
    return result;
}

}  // namespace videoanalysis::media::ffmpeg
