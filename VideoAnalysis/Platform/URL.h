#pragma once
// The location of a file: a URL or a plain path.

#include <string>
#include <utility>

namespace videoanalysis {

class URL {
public:
    URL() = default;
    /// `text` is a URL ("file:///a/b.mp4") or a path ("/a/b.mp4").
    explicit URL(std::string text) : text_(std::move(text)) {}

    /// A "file://" URL for an absolute or relative path; reserved characters are percent-encoded.
    static URL fileURL(const std::string& path);

    const std::string& absoluteString() const { return text_; }
    /// The scheme in lower case; empty for a path.
    std::string scheme() const;
    /// The percent-decoded path of a file URL, in the file system's encoding; the text itself if it has no scheme; empty for
    /// any other scheme.
    std::string path() const;
    bool isFileURL() const;

    friend bool operator==(const URL&, const URL&) = default;

private:
    std::string text_;
};

}  // namespace videoanalysis
