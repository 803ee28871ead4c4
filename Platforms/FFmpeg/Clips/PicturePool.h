#pragma once
// Memory for decoded pictures, shared by all decoders of an engine. A decoder whose pictures are cached needs untouched memory
// for each, and the page faults of its first use can cost more than decoding. So memory is allocated in slabs of large pages, and
// released buffers are reused as long as there are decoders.

#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

struct AVBufferRef;
struct AVCodecContext;
struct AVFrame;

namespace videoanalysis::media::ffmpeg {

/// Any thread. Buffers keep the pool alive.
class PicturePool : public std::enable_shared_from_this<PicturePool> {
public:
    PicturePool() = default;
    PicturePool(const PicturePool&) = delete;
    PicturePool& operator=(const PicturePool&) = delete;
    ~PicturePool();

    /// Makes `context`, which must not be open yet, allocate its pictures here. Call `leave` after closing it.
    void serve(AVCodecContext& context);
    /// A decoder that was served is closed. The last one frees the unused slabs.
    void leave();
    /// Makes the memory of one more picture resident, unless `wanted` unused ones of `size` bytes are already: for idle moments.
    /// `size` is that of a buffer from this pool. False when there is nothing to do.
    bool makeReady(std::size_t size, std::size_t wanted);

private:
    /// Memory for consecutive pictures of one size.
    struct Slab {
        std::size_t pictureSize = 0;
        unsigned char* fresh = nullptr;  // start of the part that was never used
        std::size_t freshPictures = 0;
        std::vector<unsigned char*> unused;  // used before, now free
        std::size_t used = 0;
    };

    static int fill(AVCodecContext* context, AVFrame* picture, int flags);
    static void giveBack(void* opaque, unsigned char* data);
    AVBufferRef* take(std::size_t size);
    /// With the lock held: memory that was used before; null when there is none.
    unsigned char* takeUnused(std::size_t size);
    /// With the lock held: memory that was never used; null when the system has no more.
    unsigned char* takeFresh(std::size_t size);
    /// With the lock held: the slab that contains a picture's memory.
    Slab& slabOf(unsigned char* data);
    /// With the lock held: frees all slabs without a picture in use, except those for pictures of `keptSize` bytes.
    void freeUnused(std::size_t keptSize);

    std::mutex mutex_;
    int decoders_ = 0;
    std::map<unsigned char*, Slab> slabs_;  // by address
    std::size_t usedPictures_ = 0;
    std::shared_ptr<PicturePool> self_;  // keeps the pool alive while a picture is in use
};

}  // namespace videoanalysis::media::ffmpeg
