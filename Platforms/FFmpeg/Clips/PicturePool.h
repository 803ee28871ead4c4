#pragma once
// Memory for decoded pictures, shared by all decoders of an engine. A decoder whose pictures are kept asks for fresh memory
// with each, and the system's first touch of that can cost more than decoding: it is taken in slabs of large pages, and what is
// not in use any more serves the next picture, while there are decoders.

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

    /// Lets `context`, which is not open yet, take its pictures from here, until `leave`.
    void serve(AVCodecContext& context);
    /// A decoder that was served is gone.
    void leave();
    /// Makes one more picture's memory resident, unless `wanted` unused ones of `size` bytes are so already: work for a moment
    /// in which nobody waits. `size` is that of a buffer from here. False when there is nothing to do.
    bool makeReady(std::size_t size, std::size_t wanted);

private:
    /// Several pictures of one size, one after the other.
    struct Slab {
        std::size_t pictureSize = 0;
        unsigned char* fresh = nullptr;  // where the pictures begin that nobody has touched yet
        std::size_t freshPictures = 0;
        std::vector<unsigned char*> unused;  // touched before
        std::size_t used = 0;
    };

    static int fill(AVCodecContext* context, AVFrame* picture, int flags);
    static void giveBack(void* opaque, unsigned char* data);
    AVBufferRef* take(std::size_t size);
    /// With the lock held: memory that has been touched; null when there is none.
    unsigned char* takeUnused(std::size_t size);
    /// With the lock held: memory that has not. Null when the system has no more.
    unsigned char* takeFresh(std::size_t size);
    /// With the lock held: the slab that a picture's memory belongs to.
    Slab& slabOf(unsigned char* data);
    /// With the lock held: all slabs without a used picture but those for pictures of `keptSize` bytes.
    void freeUnused(std::size_t keptSize);

    std::mutex mutex_;
    int decoders_ = 0;
    std::map<unsigned char*, Slab> slabs_;  // by where they begin
    std::size_t usedPictures_ = 0;
    std::shared_ptr<PicturePool> self_;  // while any is used
};

}  // namespace videoanalysis::media::ffmpeg
