#pragma once
// Derives the presentation order of pictures whose container stores only the decoding order, such as AVI files and elementary
// streams. The index builder uses it.

#include "Platforms/FFmpeg/LibraryHandles.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace videoanalysis::media::ffmpeg {

/// Parses the pictures' headers without decoding. One thread.
class PictureOrder {
public:
    /// `parameters` are the stream's and must outlive the result. Null for a codec whose order cannot be derived.
    static std::unique_ptr<PictureOrder> make(const AVCodecParameters& parameters);

    /// Adds the next packet in decoding order. Returns whether decoding can start with it; containers often mark keyframes wrongly.
    bool add(const AVPacket& packet);
    /// Packet numbers, from 0 in decoding order, sorted by presentation. Packets that complete the previous packet's picture are
    /// left out.
    std::vector<std::int32_t> presented() const;

private:
    struct ParserDeleter {
        void operator()(AVCodecParserContext* parser) const { av_parser_close(parser); }
    };
    /// Pictures are presented by section, then by order.
    struct Picture {
        std::int32_t section;
        std::int32_t order;
        bool isShown;
    };

    explicit PictureOrder(const AVCodecParameters& parameters) : parameters_(parameters) {}
    /// Orders by the picture number in the header, which restarts at each picture where decoding can start.
    Picture numbered(const AVPacket& packet);
    /// Orders by picture type: any other than a B picture is presented just before the next picture that is none.
    Picture delayed();

    const AVCodecParameters& parameters_;
    std::unique_ptr<AVCodecParserContext, ParserDeleter> parser_;
    CodecContextHandle context_;
    std::vector<Picture> pictures_;
    std::int32_t section_ = 0;
    AVPictureStructure openField_ = AV_PICTURE_STRUCTURE_UNKNOWN;  // of a picture whose second field has not come yet
};

}  // namespace videoanalysis::media::ffmpeg
