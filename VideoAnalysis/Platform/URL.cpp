#include "VideoAnalysis/Platform/URL.h"

#include <cctype>
#include <string_view>

namespace videoanalysis {
namespace {

constexpr std::string_view fileScheme = "file://";

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

}  // namespace

URL URL::fileURL(const std::string& path) {
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string text(fileScheme);
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        if (std::isalnum(byte) || std::string_view("-._~/").find(c) != std::string_view::npos) {
            text += c;
        } else {
            text += '%';
            text += digits[byte >> 4];
            text += digits[byte & 15];
        }
    }
    return URL(text);
}

bool URL::isFileURL() const { return text_.starts_with(fileScheme); }

std::string URL::path() const {
    if (!isFileURL()) return text_.find("://") == std::string::npos ? text_ : std::string();
    const std::string_view encoded = std::string_view(text_).substr(fileScheme.size());
    std::string result;
    for (std::size_t i = 0; i < encoded.size(); ++i) {
        if (encoded[i] == '%' && i + 2 < encoded.size() && hexDigit(encoded[i + 1]) >= 0 &&
            hexDigit(encoded[i + 2]) >= 0) {
            result += static_cast<char>(hexDigit(encoded[i + 1]) * 16 + hexDigit(encoded[i + 2]));
            i += 2;
        } else {
            result += encoded[i];
        }
    }
    return result;
}

}  // namespace videoanalysis
