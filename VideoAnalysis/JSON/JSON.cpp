#include "VideoAnalysis/JSON/JSON.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>

namespace videoanalysis {
namespace {

bool keyIsLess(const JSON::Member& member, std::string_view key) { return member.key < key; }

template <class Members>
auto lowerBound(Members& members, std::string_view key) {
    return std::lower_bound(members.begin(), members.end(), key, keyIsLess);
}

[[noreturn]] void throwTooDeep() {
    throw JSONError(JSONError::Kind::elementTooDeep,
                    "JSON is nested deeper than " + std::to_string(JSON::maximumDepth) + " levels");
}

[[noreturn]] void throwWrongType(const char* message) { throw JSONError(JSONError::Kind::wrongType, message); }

/// The number of bytes of the well-formed UTF-8 character at the start of `text`, 0 when there is none.
std::size_t characterLength(std::string_view text) {
    const auto byte = [&](std::size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0U; };
    const unsigned first = byte(0);
    if (first < 0x80) return 1;
    const unsigned second = byte(1);
    const auto continues = [&](std::size_t i) { return (byte(i) & 0xC0U) == 0x80U; };
    if (first >= 0xC2 && first <= 0xDF) return continues(1) ? 2 : 0;
    if (first >= 0xE0 && first <= 0xEF) {
        const bool isOverlong = first == 0xE0 && second < 0xA0;
        const bool isSurrogate = first == 0xED && second > 0x9F;
        return continues(1) && continues(2) && !isOverlong && !isSurrogate ? 3 : 0;
    }
    if (first >= 0xF0 && first <= 0xF4) {
        const bool isOverlong = first == 0xF0 && second < 0x90;
        const bool isTooLarge = first == 0xF4 && second > 0x8F;
        return continues(1) && continues(2) && continues(3) && !isOverlong && !isTooLarge ? 4 : 0;
    }
    return 0;
}

void writeString(std::string& text, std::string_view value) {
    constexpr std::string_view hexadecimal = "0123456789abcdef";
    text += '"';
    for (std::size_t i = 0; i < value.size();) {
        const char c = value[i];
        const std::size_t length = characterLength(value.substr(i));
        if (length == 0) {
            text += "\xEF\xBF\xBD";
            ++i;
            continue;
        }
        if (c == '"' || c == '\\') {
            text += '\\';
            text += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            text += "\\u00";
            text += hexadecimal[static_cast<unsigned char>(c) >> 4U];
            text += hexadecimal[static_cast<unsigned char>(c) & 0xFU];
        } else {
            text += value.substr(i, length);
        }
        i += length;
    }
    text += '"';
}

void writeNumber(std::string& text, double value) {
    if (!std::isfinite(value))
        throw JSONError(JSONError::Kind::unsupportedType, "JSON text cannot express an infinity or not-a-number");
    std::array<char, 32> digits;
    const auto result = std::to_chars(digits.data(), digits.data() + digits.size(), value);
    text.append(digits.data(), result.ptr);
}

}  // namespace

std::string_view JSONError::name(Kind kind) {
    switch (kind) {
    case Kind::unsupportedType: return "unsupportedType";
    case Kind::indexOutOfBounds: return "indexOutOfBounds";
    case Kind::elementTooDeep: return "elementTooDeep";
    case Kind::wrongType: return "wrongType";
    case Kind::notExist: return "notExist";
    case Kind::invalidJSON: return "invalidJSON";
    }
    return {};
}

JSON::JSON(std::string value) : value_(std::make_shared<const std::string>(std::move(value))) {}

JSON::JSON(Array elements) : value_(std::make_shared<Array>(std::move(elements))) {}

JSON::JSON(Dictionary members) {
    const auto isLess = [](const Member& a, const Member& b) { return a.key < b.key; };
    const auto isOutOfOrder = [](const Member& a, const Member& b) { return !(a.key < b.key); };
    if (std::adjacent_find(members.begin(), members.end(), isOutOfOrder) != members.end()) {
        std::stable_sort(members.begin(), members.end(), isLess);
        // Of equal keys the last stays: unique keeps the first, so it runs from the back.
        const auto kept = std::unique(members.rbegin(), members.rend(),
                                      [](const Member& a, const Member& b) { return a.key == b.key; });
        members.erase(members.begin(), kept.base());
    }
    value_ = std::make_shared<Dictionary>(std::move(members));
}

JSON JSON::dictionary(std::initializer_list<Member> members) { return JSON(Dictionary(members)); }

std::string JSON::serialized() const {
    std::string text;
    write(text, 0);
    return text;
}

JSON::Type JSON::type() const {
    switch (value_.index()) {
    case 0: return Type::null;
    case 1: return Type::unknown;
    case 2: return Type::boolean;
    case 3: return Type::number;
    case 4: return Type::string;
    case 5: return Type::array;
    default: return Type::dictionary;
    }
}

std::optional<double> JSON::number() const {
    const double* value = std::get_if<double>(&value_);
    return value ? std::optional(*value) : std::nullopt;
}

std::optional<bool> JSON::boolean() const {
    const bool* value = std::get_if<bool>(&value_);
    return value ? std::optional(*value) : std::nullopt;
}

const std::string* JSON::string() const {
    const auto* value = std::get_if<std::shared_ptr<const std::string>>(&value_);
    return value ? value->get() : nullptr;
}

const JSON::Array* JSON::array() const {
    const auto* value = std::get_if<std::shared_ptr<Array>>(&value_);
    return value ? value->get() : nullptr;
}

const JSON::Dictionary* JSON::dictionary() const {
    const auto* value = std::get_if<std::shared_ptr<Dictionary>>(&value_);
    return value ? value->get() : nullptr;
}

std::size_t JSON::size() const {
    if (const Array* elements = array()) return elements->size();
    if (const Dictionary* members = dictionary()) return members->size();
    return 0;
}

const JSON& JSON::unknown(JSONError::Kind kind) {
    static const JSON indexOutOfBounds(Unknown{JSONError::Kind::indexOutOfBounds});
    static const JSON notExist(Unknown{JSONError::Kind::notExist});
    static const JSON wrongType(Unknown{JSONError::Kind::wrongType});
    switch (kind) {
    case JSONError::Kind::indexOutOfBounds: return indexOutOfBounds;
    case JSONError::Kind::notExist: return notExist;
    default: return wrongType;
    }
}

const JSON& JSON::operator[](std::size_t index) const {
    if (error()) return *this;
    const Array* elements = array();
    if (!elements) return unknown(JSONError::Kind::wrongType);
    return index < elements->size() ? (*elements)[index] : unknown(JSONError::Kind::indexOutOfBounds);
}

const JSON& JSON::operator[](std::string_view key) const {
    const Dictionary* members = dictionary();
    if (!members) return error() ? *this : unknown(JSONError::Kind::wrongType);
    const auto found = lowerBound(*members, key);
    return found != members->end() && found->key == key ? found->value : unknown(JSONError::Kind::notExist);
}

std::optional<JSONError::Kind> JSON::error() const {
    const Unknown* value = std::get_if<Unknown>(&value_);
    return value ? std::optional(value->kind) : std::nullopt;
}

JSON::Array& JSON::mutableArray() {
    auto& elements = std::get<std::shared_ptr<Array>>(value_);
    if (elements.use_count() > 1) elements = std::make_shared<Array>(*elements);
    return *elements;
}

JSON::Dictionary& JSON::mutableDictionary() {
    auto& members = std::get<std::shared_ptr<Dictionary>>(value_);
    if (members.use_count() > 1) members = std::make_shared<Dictionary>(*members);
    return *members;
}

JSON& JSON::member(std::string_view key) {
    if (isNull()) value_ = std::make_shared<Dictionary>();
    if (!dictionary()) throwWrongType("a member is set in a JSON value that is not a dictionary");
    Dictionary& members = mutableDictionary();
    auto place = lowerBound(members, key);
    if (place == members.end() || place->key != key) place = members.insert(place, Member{std::string(key), {}});
    return place->value;
}

void JSON::set(std::string_view key, JSON value) { member(key) = std::move(value); }

void JSON::set(std::initializer_list<std::string_view> path, JSON value) {
    JSON* place = this;
    for (const std::string_view key : path) place = &place->member(key);
    *place = std::move(value);
}

void JSON::set(std::size_t index, JSON value) {
    if (!array()) throwWrongType("an element is set in a JSON value that is not an array");
    if (index >= size())
        throw JSONError(JSONError::Kind::indexOutOfBounds,
                        "element " + std::to_string(index) + " of " + std::to_string(size()) + " is set");
    mutableArray()[index] = std::move(value);
}

void JSON::append(JSON value) {
    if (isNull()) value_ = std::make_shared<Array>();
    if (!array()) throwWrongType("an element is added to a JSON value that is not an array");
    mutableArray().push_back(std::move(value));
}

void JSON::merge(const JSON& other) {
    if (type() != other.type()) throwWrongType("JSON values of different types are merged");
    JSON result = *this;
    result.merge(other, 0);
    *this = std::move(result);
}

void JSON::merge(const JSON& other, int depth) {
    if (depth > maximumDepth) throwTooDeep();
    if (const Array* added = other.array(); added && array()) {
        // Held, because `other` may be this very value.
        const JSON source = other;
        Array& elements = mutableArray();
        elements.insert(elements.end(), source.array()->begin(), source.array()->end());
    } else if (other.dictionary() && dictionary()) {
        const JSON source = other;
        Dictionary merged;
        Dictionary& mine = mutableDictionary();
        merged.reserve(mine.size() + source.size());
        auto own = mine.begin();
        for (const Member& theirs : *source.dictionary()) {
            for (; own != mine.end() && own->key < theirs.key; ++own) merged.push_back(std::move(*own));
            if (own != mine.end() && own->key == theirs.key) {
                own->value.merge(theirs.value, depth + 1);
                merged.push_back(std::move(*own++));
            } else {
                merged.push_back(theirs);
            }
        }
        std::move(own, mine.end(), std::back_inserter(merged));
        mine = std::move(merged);
    } else {
        *this = other;
    }
}

void JSON::write(std::string& text, int depth) const {
    if (const double* number = std::get_if<double>(&value_)) {
        writeNumber(text, *number);
    } else if (const std::string* characters = string()) {
        writeString(text, *characters);
    } else if (const bool* flag = std::get_if<bool>(&value_)) {
        text += *flag ? "true" : "false";
    } else if (isNull()) {
        text += "null";
    } else if (error()) {
        throw JSONError(JSONError::Kind::unsupportedType, "JSON text cannot express an unknown value");
    } else {
        if (depth == maximumDepth) throwTooDeep();
        if (const Array* elements = array()) {
            text += '[';
            for (std::size_t i = 0; i < elements->size(); ++i) {
                if (i > 0) text += ',';
                (*elements)[i].write(text, depth + 1);
            }
            text += ']';
        } else {
            const Dictionary& members = *dictionary();
            text += '{';
            for (std::size_t i = 0; i < members.size(); ++i) {
                if (i > 0) text += ',';
                writeString(text, members[i].key);
                text += ':';
                members[i].value.write(text, depth + 1);
            }
            text += '}';
        }
    }
}

bool operator==(const JSON& a, const JSON& b) {
    if (a.type() != b.type()) return false;
    if (const JSON::Array* elements = a.array()) return elements == b.array() || *elements == *b.array();
    if (const JSON::Dictionary* members = a.dictionary()) return members == b.dictionary() || *members == *b.dictionary();
    if (const std::string* characters = a.string()) return *characters == *b.string();
    return a.number() == b.number() && a.boolean() == b.boolean() && a.error() == b.error();
}

}  // namespace videoanalysis
