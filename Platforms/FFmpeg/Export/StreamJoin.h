#pragma once
// Joins packets that an export copies with stretches that it encodes into one stream that decoders accept: parameter sets, the
// form of the packets, the link between two groups of pictures. The export job makes one for each export that copies packets.

#include "Platforms/FFmpeg/LibraryHandles.h"
#include "Platforms/FFmpeg/Result.h"

extern "C" {
#include <libavcodec/bsf.h>
}

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace videoanalysis::media::ffmpeg {

/// The encoded frames before or after the copied ones. Used by one thread.
class EncodedEdge {
public:
    EncodedEdge() = default;
    /// `parameterSets` (with start codes; may be empty) are repeated in front of each keyframe.
    explicit EncodedEdge(std::vector<std::uint8_t> parameterSets) : parameterSets_(std::move(parameterSets)) {}

    /// Takes the data of the next packet in decoding order. Fails when the edge exceeds 128 MB.
    Result<void> add(AVPacket& packet);

    const std::vector<PacketHandle>& packets() const { return packets_; }
    const std::vector<std::uint8_t>& parameterSets() const { return parameterSets_; }

private:
    std::vector<PacketHandle> packets_;
    std::vector<std::uint8_t> parameterSets_;
    std::size_t bytes_ = 0;
};

struct ParametersDeleter {
    void operator()(AVCodecParameters* parameters) const { avcodec_parameters_free(&parameters); }
};
using ParametersHandle = std::unique_ptr<AVCodecParameters, ParametersDeleter>;

/// Used by one thread.
class StreamJoin {
public:
    /// For packets of `source`, which must outlive the result. Without edges (`hasEdges`) they are copied unchanged. Fails when
    /// streams like the source cannot be joined with encoded frames.
    static Result<std::unique_ptr<StreamJoin>> make(const AVStream& source, bool hasEdges);

    /// The number of the parameter sets that the edges' H.264 encoder must use; 0 for other codecs.
    int parameterSet() const { return parameterSet_; }

    /// Describes the joined stream. `acceptsSetsInStream`: whether the container has a tag for H.265 streams whose parameter sets
    /// are among the packets.
    Result<ParametersHandle> parameters(const EncodedEdge& head, const EncodedEdge& tail,
                                        bool acceptsSetsInStream) const;

    /// Converts a packet of the source in place. `breaksLink`: the packet is the first copied one and its open group of pictures
    /// follows an edge. False when the packet is damaged and must be left out.
    Result<bool> convert(AVPacket& packet, bool breaksLink);

    static constexpr std::uint32_t tagForSetsInStream = MKTAG('h', 'e', 'v', '1');

private:
    struct FilterDeleter {
        void operator()(AVBSFContext* filter) const { av_bsf_free(&filter); }
    };

    StreamJoin(const AVStream& source, bool hasEdges) : source_(source), hasEdges_(hasEdges) {}
    /// Finds how edges and copied packets keep separate parameter sets: in H.264 under a free number; in H.265, whose encoder
    /// cannot choose the number, by repeating them in the stream.
    Result<void> prepareParameterSets();

    const AVStream& source_;
    const bool hasEdges_;
    std::unique_ptr<AVBSFContext, FilterDeleter> filter_;  ///< to start codes; null when packets are copied unchanged
    std::vector<std::uint8_t> extradata_;                  ///< the source's parameter sets, with start codes
    int parameterSet_ = 0;
};

}  // namespace videoanalysis::media::ffmpeg
