#include "Platforms/FFmpeg/PicturePool.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/buffer.h>
#include <libavutil/imgutils.h>
}

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <utility>

namespace videoanalysis::media {

PicturePool::~PicturePool() { freeUnused(0); }

void PicturePool::serve(AVCodecContext& context) {
    {
        const std::lock_guard lock(mutex_);
        ++decoders_;
    }
    if ((context.codec->capabilities & AV_CODEC_CAP_DR1) == 0) return;  // this decoder brings its own memory
    context.opaque = this;
    context.get_buffer2 = &PicturePool::fill;
#if FF_API_THREAD_SAFE_CALLBACKS
    // Versions that have the flag call back one thread at a time without it.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
    context.thread_safe_callbacks = 1;
#pragma GCC diagnostic pop
#endif
}

int PicturePool::fill(AVCodecContext* context, AVFrame* picture, int flags) {
    if (context->codec_type != AVMEDIA_TYPE_VIDEO || context->hw_frames_ctx) {
        return avcodec_default_get_buffer2(context, picture, flags);
    }
    // Decoders write whole blocks, and their fast paths need aligned rows.
    const auto format = static_cast<AVPixelFormat>(picture->format);
    int width = picture->width;
    int height = picture->height;
    int alignments[AV_NUM_DATA_POINTERS] = {};
    avcodec_align_dimensions2(context, &width, &height, alignments);
    int rows[4] = {};
    const auto isAligned = [&] {
        for (int plane = 0; plane < 4; ++plane) {
            if (rows[plane] % alignments[plane] != 0) return false;
        }
        return true;
    };
    int result = av_image_fill_linesizes(rows, format, width);
    while (result >= 0 && !isAligned()) {
        width += width & -width;
        result = av_image_fill_linesizes(rows, format, width);
    }
    if (result < 0) return result;
    const std::ptrdiff_t bytesPerRow[4] = {rows[0], rows[1], rows[2], rows[3]};
    std::size_t planes[4] = {};
    result = av_image_fill_plane_sizes(planes, format, height, bytesPerRow);
    if (result < 0) return result;

    constexpr std::size_t reserve = 128;  // beyond each plane, and to keep the next one aligned
    std::size_t offsets[4] = {};
    std::size_t total = 0;
    for (int plane = 0; plane < 4; ++plane) {
        offsets[plane] = total;
        if (planes[plane] != 0) total += (planes[plane] + 2 * reserve) / reserve * reserve;
    }
    picture->buf[0] = static_cast<PicturePool*>(context->opaque)->take(total);
    if (!picture->buf[0]) return AVERROR(ENOMEM);
    for (int plane = 0; plane < 4; ++plane) {
        picture->data[plane] = planes[plane] != 0 ? picture->buf[0]->data + offsets[plane] : nullptr;
        picture->linesize[plane] = rows[plane];
    }
    picture->extended_data = picture->data;
    return 0;
}

AVBufferRef* PicturePool::take(std::size_t size) {
    constexpr std::size_t alignment = 4096;
    size = std::max((size + alignment - 1) / alignment * alignment, alignment);
    std::uint8_t* data = nullptr;
    {
        const std::lock_guard lock(mutex_);
        std::vector<std::uint8_t*>& unused = unused_[size];
        if (!unused.empty()) {
            data = unused.back();
            unused.pop_back();
        } else {
            freeUnused(size);
            data = static_cast<std::uint8_t*>(std::aligned_alloc(alignment, size));
            if (!data) return nullptr;
        }
        used_.emplace(data, size);
        if (!self_) self_ = shared_from_this();
    }
    AVBufferRef* reference = av_buffer_create(data, size, &PicturePool::giveBack, this, 0);
    if (!reference) giveBack(this, data);
    return reference;
}

void PicturePool::giveBack(void* opaque, unsigned char* data) {
    auto& pool = *static_cast<PicturePool*>(opaque);
    std::shared_ptr<PicturePool> last;  // released after the lock
    const std::lock_guard lock(pool.mutex_);
    const auto used = pool.used_.find(data);
    if (pool.decoders_ == 0) {
        std::free(data);
    } else {
        pool.unused_[used->second].push_back(data);
    }
    pool.used_.erase(used);
    if (pool.used_.empty()) last = std::move(pool.self_);
}

void PicturePool::leave() {
    const std::lock_guard lock(mutex_);
    if (--decoders_ == 0) freeUnused(0);
}

void PicturePool::freeUnused(std::size_t keptSize) {
    for (auto& [size, unused] : unused_) {
        if (size == keptSize) continue;
        for (std::uint8_t* data : unused) std::free(data);
        unused.clear();
    }
}

}  // namespace videoanalysis::media
