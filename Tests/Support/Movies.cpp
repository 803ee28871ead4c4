#include "Tests/Support/Movies.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>

namespace videoanalysis {
namespace {

std::string quoted(const std::string& path) { return "'" + path + "'"; }

/// The types of the file's top-level boxes, in order.
std::vector<std::string> boxesOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::vector<std::string> kinds;
    std::array<unsigned char, 8> head{};
    while (file.read(reinterpret_cast<char*>(head.data()), head.size())) {
        const long size = (long{head[0]} << 24) + (head[1] << 16) + (head[2] << 8) + head[3];
        kinds.emplace_back(head.begin() + 4, head.end());
        if (size < 8) break;
        file.seekg(size - 8, std::ios::cur);
    }
    return kinds;
}

}  // namespace

std::string outputOf(const std::string& command) {
    std::string output;
    std::FILE* pipe = ::popen(command.c_str(), "r");
    if (!pipe) return output;
    std::array<char, 65536> buffer{};
    while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe))
        output.append(buffer.data(), count);
    ::pclose(pipe);
    return output;
}

double MovieFacts::maxGap() const {
    double longest = 0;
    for (std::size_t i = 1; i < pictureTimes.size(); ++i) {
        longest = std::max(longest, pictureTimes[i] - pictureTimes[i - 1]);
    }
    return longest;
}

MovieFacts factsOf(const std::string& path) {
    MovieFacts facts;
    std::istringstream times(
        outputOf("ffprobe -v error -select_streams v:0 -show_entries packet=pts_time -of csv=p=0 " + quoted(path) +
                 " 2>/dev/null"));
    for (std::string line; std::getline(times, line);) facts.pictureTimes.push_back(std::strtod(line.c_str(), nullptr));
    std::istringstream streams(
        outputOf("ffprobe -v error -show_entries stream=codec_type,codec_name,width,height,color_space,duration -of "
                 "default=noprint_wrappers=1 " +
                 quoted(path) + " 2>/dev/null"));
    std::string codec;
    bool isVideo = false;
    for (std::string line; std::getline(streams, line);) {
        const std::size_t equals = line.find('=');
        const std::string key = line.substr(0, equals);
        const std::string value = line.substr(equals + 1);
        if (key == "codec_name") codec = value;
        if (key == "codec_type") isVideo = value == "video";
        if (key == "codec_type") (isVideo ? facts.videoCodec : facts.soundCodec) = codec;
        if (key == "width") facts.width = std::atoi(value.c_str());
        if (key == "height") facts.height = std::atoi(value.c_str());
        if (key == "color_space" && isVideo) facts.colorSpace = value;
        if (key == "duration" && !isVideo) facts.soundDuration = std::strtod(value.c_str(), nullptr);
    }
    facts.complaints = facts.pictureTimes.empty()
                           ? "no pictures"
                           : outputOf("ffmpeg -nostdin -v error -xerror -i " + quoted(path) +
                                      " -fps_mode passthrough -enc_time_base 1/90000 -f null - 2>&1 || echo failed");
    const std::vector<std::string> boxes = boxesOf(path);
    const auto moov = std::find(boxes.begin(), boxes.end(), "moov");
    const auto mdat = std::find(boxes.begin(), boxes.end(), "mdat");
    facts.indexComesFirst = moov < mdat && std::find(boxes.begin(), boxes.end(), "moof") == boxes.end();
    return facts;
}

std::vector<float> soundOf(const std::string& path) {
    const std::string bytes = outputOf("ffmpeg -nostdin -v error -i " + quoted(path) +
                                       " -vn -af aresample=48000:async=1:first_pts=0 -ac 1 -f f32le -");
    std::vector<float> samples(bytes.size() / sizeof(float));
    std::memcpy(samples.data(), bytes.data(), samples.size() * sizeof(float));
    return samples;
}

std::vector<std::vector<unsigned char>> picturesOf(const std::string& path, int width, int height) {
    const std::string bytes = outputOf("ffmpeg -nostdin -v error -i " + quoted(path) +
                                       " -an -fps_mode passthrough -enc_time_base 1/90000 -s " + std::to_string(width) +
                                       "x" + std::to_string(height) + " -pix_fmt bgra -f rawvideo -");
    const std::size_t size = static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4;
    std::vector<std::vector<unsigned char>> pictures;
    for (std::size_t start = 0; start + size <= bytes.size(); start += size) {
        pictures.emplace_back(bytes.begin() + static_cast<std::ptrdiff_t>(start),
                              bytes.begin() + static_cast<std::ptrdiff_t>(start + size));
    }
    return pictures;
}

}  // namespace videoanalysis
