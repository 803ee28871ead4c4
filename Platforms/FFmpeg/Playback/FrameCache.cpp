#include "Platforms/FFmpeg/Playback/FrameCache.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace videoanalysis::media::ffmpeg {

FrameCache::ClipNumber FrameCache::openClip() {
    Evicted evicted;
    const std::lock_guard lock(shared_.mutex);
    shared_.clips.emplace(shared_.nextClip, Clip{});
    for (auto& [number, clip] : shared_.clips) trim(clip, evicted);
    return shared_.nextClip++;
}

void FrameCache::closeClip(ClipNumber clip) {
    decltype(shared_.clips)::node_type closed;
    const std::lock_guard lock(shared_.mutex);
    closed = shared_.clips.extract(clip);
}

void FrameCache::setPlayhead(ClipNumber clip, std::int64_t frame, Travel travel) {
    Evicted evicted;
    const std::lock_guard lock(shared_.mutex);
    const auto found = shared_.clips.find(clip);
    if (found == shared_.clips.end()) return;
    found->second.playhead = frame;
    found->second.travel = travel;
    const Frames& frames = found->second.frames;
    while (travel == Travel::forward && !frames.empty() && frames.begin()->first < frame - maxFramesBehind) {
        evict(found->second, found->second.frames.begin(), evicted);
    }
}

void FrameCache::insert(ClipNumber number, std::shared_ptr<const DecodedFrame> frame) {
    Evicted evicted;
    const std::lock_guard lock(shared_.mutex);
    const auto found = shared_.clips.find(number);
    if (found == shared_.clips.end()) return;
    Clip& clip = found->second;
    const std::int64_t index = frame->index();
    const std::size_t bytes = frame->byteCount();
    if (!clip.frames.emplace(index, std::move(frame)).second) return;
    clip.bytes += bytes;
    trim(clip, evicted);
}

void FrameCache::evict(Clip& clip, Frames::iterator frame, Evicted& evicted) {
    clip.bytes -= frame->second->byteCount();
    evicted.insert(clip.frames.extract(frame));
    ++shared_.evictions;
}

void FrameCache::trim(Clip& clip, Evicted& evicted) {
    const std::size_t limit = share();
    const auto cost = [&](std::int64_t frame) { return policy_.evictionCost(frame, clip.playhead, clip.travel); };
    while (clip.bytes > limit && clip.frames.size() > static_cast<std::size_t>(minFramesPerClip)) {
        // The frame of maximum cost is the first or the last: the cost grows to both sides of the playhead.
        const auto first = clip.frames.begin();
        const auto last = std::prev(clip.frames.end());
        evict(clip, cost(first->first) > cost(last->first) ? first : last, evicted);
    }
}

const FrameCache::Frames* FrameCache::framesOf(ClipNumber clip) const {
    const auto found = shared_.clips.find(clip);
    return found == shared_.clips.end() ? nullptr : &found->second.frames;
}

std::shared_ptr<const DecodedFrame> FrameCache::find(ClipNumber clip, std::int64_t frame) const {
    const std::lock_guard lock(shared_.mutex);
    const Frames* frames = framesOf(clip);
    if (!frames) return nullptr;
    const auto entry = frames->find(frame);
    return entry == frames->end() ? nullptr : entry->second;
}

std::shared_ptr<const DecodedFrame> FrameCache::request(ClipNumber clip, std::int64_t frame) {
    std::shared_ptr<const DecodedFrame> found = find(clip, frame);
    const std::lock_guard lock(shared_.mutex);
    ++(found ? shared_.hits : shared_.misses);
    return found;
}

std::shared_ptr<const DecodedFrame> FrameCache::nearest(ClipNumber clip, std::int64_t frame) const {
    const std::lock_guard lock(shared_.mutex);
    const Frames* frames = framesOf(clip);
    if (!frames || frames->empty()) return nullptr;
    const auto after = frames->lower_bound(frame);
    if (after == frames->begin()) return after->second;
    const auto before = std::prev(after);
    if (after == frames->end() || frame - before->first <= after->first - frame) return before->second;
    return after->second;
}

std::int64_t FrameCache::firstMissing(ClipNumber clip, std::int64_t from, std::int64_t to) const {
    const std::lock_guard lock(shared_.mutex);
    const Frames* frames = framesOf(clip);
    if (!frames) return from;
    const std::int64_t step = from <= to ? 1 : -1;
    auto entry = frames->find(from);
    std::int64_t frame = from;
    while (frame != to + step) {
        if (entry == frames->end() || entry->first != frame) return frame;
        frame += step;
        if (step > 0) {
            ++entry;
        } else if (entry == frames->begin()) {
            entry = frames->end();
        } else {
            --entry;
        }
    }
    return frame;
}

std::int64_t FrameCache::frameCount(ClipNumber clip) const {
    const std::lock_guard lock(shared_.mutex);
    const Frames* frames = framesOf(clip);
    return frames ? static_cast<std::int64_t>(frames->size()) : 0;
}

std::int64_t FrameCache::capacity(std::size_t frameBytes) const {
    const std::lock_guard lock(shared_.mutex);
    return std::max(minFramesPerClip, static_cast<std::int64_t>(share() / std::max<std::size_t>(frameBytes, 1)));
}

CacheStatistics FrameCache::statistics() const {
    const std::lock_guard lock(shared_.mutex);
    CacheStatistics result;
    result.budget = budget_;
    result.clips = static_cast<std::int64_t>(shared_.clips.size());
    for (const auto& [number, clip] : shared_.clips) {
        result.bytes += clip.bytes;
        result.frames += static_cast<std::int64_t>(clip.frames.size());
    }
    result.hits = shared_.hits;
    result.misses = shared_.misses;
    result.evictions = shared_.evictions;
    return result;
}

}  // namespace videoanalysis::media::ffmpeg
