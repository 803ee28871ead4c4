// Parses JSON text with nlohmann-json's event parser, which only this file includes. It is header-only, so it compiles for
// every target including phones, keeps its nesting on the heap and validates UTF-8. A vectorized parser would be faster but
// would have to be built and shipped for every target, and stored drawings are parsed once per clip.

#include "VideoAnalysis/JSON/JSON.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <vector>

namespace videoanalysis {
namespace {

/// Builds values bottom-up: the elements of an open container are on `values_` until the container ends.
class Builder final : public nlohmann::json_sax<nlohmann::json> {
public:
    bool null() override { return add(nullptr); }
    bool boolean(bool value) override { return add(value); }
    bool number_integer(std::int64_t value) override { return add(value); }
    bool number_unsigned(std::uint64_t value) override { return add(value); }
    bool number_float(double value, const std::string&) override { return add(value); }
    bool string(std::string& value) override { return add(std::move(value)); }
    bool binary(nlohmann::json::binary_t&) override { return false; }

    bool start_object(std::size_t) override { return start(); }
    bool key(std::string& key) override {
        keys_.push_back(std::move(key));
        return true;
    }
    bool end_object() override {
        // Inner objects have removed their keys, so this object has as many keys as values.
        const std::size_t count = values_.size() - starts_.back();
        JSON* value = values_.data() + starts_.back();
        std::string* key = keys_.data() + keys_.size() - count;
        JSON::Dictionary members;
        members.reserve(count);
        for (std::size_t i = 0; i < count; ++i) members.emplace_back(std::move(*key++), std::move(*value++));
        keys_.resize(keys_.size() - count);
        return end(JSON(std::move(members)));
    }

    bool start_array(std::size_t) override { return start(); }
    bool end_array() override {
        const std::size_t first = starts_.back();
        JSON::Array elements;
        elements.reserve(values_.size() - first);
        for (std::size_t i = first; i < values_.size(); ++i) elements.emplace_back(std::move(values_[i]));
        return end(JSON(std::move(elements)));
    }

    bool parse_error(std::size_t position, const std::string&, const nlohmann::json::exception& error) override {
        // The message reads "[parser code] reason"; the reason quotes the input, which may be very long.
        std::string_view message = error.what();
        if (const std::size_t code = message.find("] "); code != std::string_view::npos)
            message.remove_prefix(code + 2);
        constexpr std::size_t maxLength = 200;
        throw JSONError(JSONError::Kind::invalidJSON, "invalid JSON at byte " + std::to_string(position) + ": " +
                                                          std::string(message.substr(0, maxLength)));
    }

    JSON result() { return std::move(values_.front()); }

private:
    template <class Value>
    bool add(Value&& value) {
        values_.emplace_back(std::forward<Value>(value));
        return true;
    }
    bool start() {
        if (starts_.size() == JSON::maximumDepth)
            throw JSONError(JSONError::Kind::elementTooDeep,
                            "JSON is nested deeper than " + std::to_string(JSON::maximumDepth) + " levels");
        starts_.push_back(values_.size());
        return true;
    }
    bool end(JSON value) {
        values_.resize(starts_.back());
        starts_.pop_back();
        return add(std::move(value));
    }

    std::vector<JSON> values_;
    std::vector<std::string> keys_;
    std::vector<std::size_t> starts_;
};

}  // namespace

JSON JSON::parse(std::string_view text) {
    const SharedPages pages;
    Builder builder;
    nlohmann::json::sax_parse(text.data(), text.data() + text.size(), &builder);
    return builder.result();
}

}  // namespace videoanalysis
