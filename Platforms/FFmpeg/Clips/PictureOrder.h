#pragma once
// The presentation order of pictures whose container stores only the order in which they are decoded, such as AVI files and
// bare streams. The clip's index is built with it.

#include "Platforms/FFmpeg/LibraryHandles.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace videoanalysis::media::ffmpeg {

/// Reads the headers of the pictures; decodes nothing. One thread.
class PictureOrder {
public:
    /// `parameters` are the stream's and must outlive the result. Null for a codec whose order is not derived.
    static std::unique_ptr<PictureOrder> make(const AVCodecParameters& parameters);

    /// The next packet in decoding order. Whether decoding can begin with it: not every container that marks one is right.
    bool add(const AVPacket& packet);
    /// The numbers of the packets, from 0 in decoding order, in the order in which their pictures are presented. Packets
    /// that complete the picture of the one before are left out.
    std::vector<std::int32_t> presented() const;

private:
    struct ParserDeleter {
        void operator()(AVCodecParserContext* parser) const { av_parser_close(parser); }
    };
    /// Pictures are presented by section, and by order within one.
    struct Picture {
        std::int32_t section;
        std::int32_t order;
        bool isShown;
    };

    explicit PictureOrder(const AVCodecParameters& parameters) : parameters_(parameters) {}
    /// Orders by the number that each picture carries, which counts from each picture at which decoding can begin.
    Picture numbered(const AVPacket& packet);
    /// Orders by the kind of the picture: all but B pictures wait for the next that is none.
    Picture delayed();

    const AVCodecParameters& parameters_;
    std::unique_ptr<AVCodecParserContext, ParserDeleter> parser_;
    CodecContextHandle context_;
    std::vector<Picture> pictures_;
    std::int32_t section_ = 0;
    AVPictureStructure openField_ = AV_PICTURE_STRUCTURE_UNKNOWN;  // of a picture whose second field is still to come
};

}  // namespace videoanalysis::media::ffmpeg
