#pragma once
// Memory for decoded pictures, shared by all decoders of an engine. A decoder that keeps its pictures asks for fresh memory
// with each, and the system's first touch of it costs half as much as decoding: memory that is not in use any more is kept for
// the next picture, while there are decoders.

#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

struct AVBufferRef;
struct AVCodecContext;
struct AVFrame;

namespace videoanalysis::media {

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

private:
    static int fill(AVCodecContext* context, AVFrame* picture, int flags);
    static void giveBack(void* opaque, unsigned char* data);
    AVBufferRef* take(std::size_t size);
    /// With the lock held: all unused ones but those of `keptSize` bytes.
    void freeUnused(std::size_t keptSize);

    std::mutex mutex_;
    int decoders_ = 0;
    std::map<std::size_t, std::vector<unsigned char*>> unused_;  // by size in bytes
    std::map<unsigned char*, std::size_t> used_;                 // with their sizes
    std::shared_ptr<PicturePool> self_;                          // while any is used
};

}  // namespace videoanalysis::media
