#include "Platforms/FFmpeg/Clips/PictureOrder.h"

#include "Platforms/FFmpeg/Clips/Bitstream.h"

#include <algorithm>
#include <limits>
#include <tuple>

namespace videoanalysis::media::ffmpeg {

std::unique_ptr<PictureOrder> PictureOrder::make(const AVCodecParameters& parameters) {
    const AVCodecID codec = parameters.codec_id;
    if (codec != AV_CODEC_ID_H264 && codec != AV_CODEC_ID_HEVC && codec != AV_CODEC_ID_MPEG4) return nullptr;
    std::unique_ptr<PictureOrder> order(new PictureOrder(parameters));
    order->parser_.reset(av_parser_init(codec));
    order->context_ = makeCodecContext(nullptr);
    if (!order->parser_ || !order->context_ || avcodec_parameters_to_context(order->context_.get(), &parameters) < 0) {
        return nullptr;
    }
    order->parser_->flags |= PARSER_FLAG_COMPLETE_FRAMES;
    return order;
}

bool PictureOrder::add(const AVPacket& packet) {
    std::uint8_t* data = nullptr;
    int size = 0;
    av_parser_parse2(parser_.get(), context_.get(), &data, &size, packet.data, packet.size, packet.pts, packet.dts,
                     packet.pos);
    const bool isNumbered = parameters_.codec_id != AV_CODEC_ID_MPEG4;
    pictures_.push_back(isNumbered ? numbered(packet) : delayed());
    return (packet.flags & AV_PKT_FLAG_KEY) != 0 && (isNumbered || parser_->pict_type == AV_PICTURE_TYPE_I);
}

PictureOrder::Picture PictureOrder::numbered(const AVPacket& packet) {
    if (keyframeKind(packet, parameters_) == KeyframeKind::closed) ++section_;
    Picture picture{section_, parser_->output_picture_number, true};
    // Elementary streams are split into fields, numbered in pairs.
    const AVPictureStructure structure = parser_->picture_structure;
    const bool isField = structure == AV_PICTURE_STRUCTURE_TOP_FIELD || structure == AV_PICTURE_STRUCTURE_BOTTOM_FIELD;
    if (!isField || openField_ == AV_PICTURE_STRUCTURE_UNKNOWN || openField_ == structure) {
        openField_ = isField ? structure : AV_PICTURE_STRUCTURE_UNKNOWN;
        return picture;
    }
    openField_ = AV_PICTURE_STRUCTURE_UNKNOWN;
    const Picture& first = pictures_.back();
    picture.isShown = first.section != picture.section || std::abs(first.order - picture.order) > 1;
    return picture;
}

PictureOrder::Picture PictureOrder::delayed() {
    if (parser_->pict_type != AV_PICTURE_TYPE_B) return {++section_, std::numeric_limits<std::int32_t>::max(), true};
    return {section_, static_cast<std::int32_t>(pictures_.size()), true};
}

std::vector<std::int32_t> PictureOrder::presented() const {
    std::vector<std::int32_t> numbers;
    numbers.reserve(pictures_.size());
    for (std::size_t i = 0; i < pictures_.size(); ++i) {
        if (pictures_[i].isShown) numbers.push_back(static_cast<std::int32_t>(i));
    }
    const auto place = [this](std::int32_t number) {
        const Picture& picture = pictures_[static_cast<std::size_t>(number)];
        return std::tuple(picture.section, picture.order);
    };
    std::stable_sort(numbers.begin(), numbers.end(),
                     [&place](std::int32_t a, std::int32_t b) { return place(a) < place(b); });
    return numbers;
}

}  // namespace videoanalysis::media::ffmpeg
