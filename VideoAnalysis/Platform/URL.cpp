#include "VideoAnalysis/Platform/URL.h"

#include <algorithm>
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

bool isLetterOrDigit(char c) {  // independent of the locale
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

std::string lowerCase(std::string_view text) {
    std::string result(text);
    for (char& c : result) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return result;
}

}  // namespace

URL URL::fileURL(const std::string& path) {
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string text(fileScheme);
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        if (isLetterOrDigit(c) || std::string_view("-._~/").find(c) != std::string_view::npos) {
            text += c;
        } else {
            text += '%';
            text += digits[byte >> 4];
            text += digits[byte & 15];
        }
    }
    return URL(text);
}

std::string URL::scheme() const {
    const std::size_t end = text_.find("://");
    if (end == std::string::npos) return {};
    const std::string scheme = lowerCase(std::string_view(text_).substr(0, end));
    const bool isPath = std::any_of(scheme.begin(), scheme.end(), [](char c) {
        return !isLetterOrDigit(c) && std::string_view("+-.").find(c) == std::string_view::npos;
    });
    return isPath ? std::string() : scheme;
}

bool URL::isFileURL() const { return scheme() == "file"; }

std::string URL::path() const {
    if (!isFileURL()) return scheme().empty() ? text_ : std::string();
    std::string_view encoded = std::string_view(text_).substr(fileScheme.size());
    constexpr std::string_view thisMachine = "localhost/";
    if (lowerCase(encoded.substr(0, thisMachine.size())) == thisMachine) encoded.remove_prefix(thisMachine.size() - 1);
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
