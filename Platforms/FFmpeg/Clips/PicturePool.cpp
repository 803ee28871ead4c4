#include "Platforms/FFmpeg/Clips/PicturePool.h"

#include "Platforms/FFmpeg/Compatibility.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/buffer.h>
#include <libavutil/imgutils.h>
}

#include <sys/mman.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <utility>

namespace videoanalysis::media::ffmpeg {

PicturePool::~PicturePool() { freeUnused(0); }

void PicturePool::serve(AVCodecContext& context) {
    {
        const std::lock_guard lock(mutex_);
        ++decoders_;
    }
    if ((context.codec->capabilities & AV_CODEC_CAP_DR1) == 0) return;  // this decoder allocates its own memory
    context.opaque = this;
    context.get_buffer2 = &PicturePool::fill;
    allowConcurrentCallbacks(context);
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

    constexpr std::size_t padding = 128;  // after each plane, which also aligns the next one
    std::size_t offsets[4] = {};
    std::size_t total = 0;
    for (int plane = 0; plane < 4; ++plane) {
        offsets[plane] = total;
        if (planes[plane] != 0) total += (planes[plane] + 2 * padding) / padding * padding;
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
        data = takeUnused(size);
        if (!data) data = takeFresh(size);
        if (!data) return nullptr;
        if (usedPictures_++ == 0) self_ = shared_from_this();
    }
    AVBufferRef* reference = av_buffer_create(data, size, &PicturePool::giveBack, this, 0);
    if (!reference) giveBack(this, data);
    return reference;
}

std::uint8_t* PicturePool::takeUnused(std::size_t size) {
    for (auto& [begin, slab] : slabs_) {
        if (slab.pictureSize != size || slab.unused.empty()) continue;
        std::uint8_t* data = slab.unused.back();
        slab.unused.pop_back();
        ++slab.used;
        return data;
    }
    return nullptr;
}

std::uint8_t* PicturePool::takeFresh(std::size_t size) {
    const auto takeFrom = [size](Slab& slab) {
        std::uint8_t* data = slab.fresh;
        slab.fresh += size;
        --slab.freshPictures;
        ++slab.used;
        return data;
    };
    for (auto& [begin, slab] : slabs_) {
        if (slab.pictureSize == size && slab.freshPictures > 0) return takeFrom(slab);
    }
    freeUnused(size);
    // Untouched memory is not resident, so the unused part of a slab costs nothing.
    constexpr std::size_t largePage = std::size_t{2} << 20;
    constexpr std::size_t minSlabSize = 16 * largePage;
    const std::size_t pictures = std::max<std::size_t>(minSlabSize / size, 1);
    const std::size_t bytes = (pictures * size + largePage - 1) / largePage * largePage;
    auto* begin = static_cast<std::uint8_t*>(std::aligned_alloc(largePage, bytes));
    if (!begin) return nullptr;
    madvise(begin, bytes, MADV_HUGEPAGE);  // advice only: without large pages it is just slower
    Slab& slab = slabs_[begin];
    slab.pictureSize = size;
    slab.fresh = begin;
    slab.freshPictures = pictures;
    return takeFrom(slab);
}

bool PicturePool::makeReady(std::size_t size, std::size_t wanted) {
    std::uint8_t* data = nullptr;
    {
        const std::lock_guard lock(mutex_);
        bool isKnown = false;
        std::size_t ready = 0;
        for (const auto& [begin, slab] : slabs_) {
            if (slab.pictureSize != size) continue;
            isKnown = true;
            ready += slab.unused.size();
        }
        if (!isKnown || ready >= wanted) return false;
        data = takeFresh(size);
        if (!data) return false;
    }
    constexpr std::size_t minPageSize = 4096;
    for (std::size_t page = 0; page < size; page += minPageSize) {
        *static_cast<volatile std::uint8_t*>(data + page) = 0;
    }
    const std::lock_guard lock(mutex_);
    Slab& slab = slabOf(data);
    slab.unused.push_back(data);
    --slab.used;
    return true;
}

PicturePool::Slab& PicturePool::slabOf(std::uint8_t* data) { return std::prev(slabs_.upper_bound(data))->second; }

void PicturePool::giveBack(void* opaque, unsigned char* data) {
    auto& pool = *static_cast<PicturePool*>(opaque);
    std::shared_ptr<PicturePool> last;  // released after the lock
    const std::lock_guard lock(pool.mutex_);
    Slab& slab = pool.slabOf(data);
    slab.unused.push_back(data);
    --slab.used;
    if (pool.decoders_ == 0 && slab.used == 0) pool.freeUnused(0);
    if (--pool.usedPictures_ == 0) last = std::move(pool.self_);
}

void PicturePool::leave() {
    const std::lock_guard lock(mutex_);
    if (--decoders_ == 0) freeUnused(0);
}

void PicturePool::freeUnused(std::size_t keptSize) {
    std::erase_if(slabs_, [keptSize](const auto& entry) {
        const auto& [begin, slab] = entry;
        if (slab.used != 0 || slab.pictureSize == keptSize) return false;
        std::free(begin);
        return true;
    });
}

}  // namespace videoanalysis::media::ffmpeg
