#include "VideoAnalysis/JSON/JSON.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <vector>

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

/// Length in bytes of the well-formed UTF-8 character at the start of `text`; 0 if there is none.
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
    const auto isPlain = [](char c) { return c >= 0x20 && c < 0x7F && c != '"' && c != '\\'; };
    text += '"';
    for (std::size_t i = 0; i < value.size();) {
        std::size_t plainEnd = i;
        while (plainEnd < value.size() && isPlain(value[plainEnd])) ++plainEnd;
        text.append(value, i, plainEnd - i);
        i = plainEnd;
        if (i == value.size()) break;
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
        throw JSONError(JSONError::Kind::unsupportedType, "JSON text cannot represent infinity or NaN");
    if (value == 0 && std::signbit(value)) {
        // "-0" would be read back as an integer, without the sign.
        text += "-0.0";
        return;
    }
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

JSON::JSON(std::string value) : type_(Type::string) {
    Text text;
    text.reserve(1);
    text.push_back(std::move(value));
    new (&content_.text) Text(std::move(text));
}

JSON::JSON(Dictionary members) : type_(Type::dictionary) {
    const auto isOutOfOrder = [](const Member& a, const Member& b) { return !(a.key < b.key); };
    if (std::adjacent_find(members.begin(), members.end(), isOutOfOrder) != members.end()) {
        Member* const first = members.mutableData();
        Member* const last = first + members.size();
        std::stable_sort(first, last, [](const Member& a, const Member& b) { return a.key < b.key; });
        // Of duplicate keys the last wins.
        Member* kept = first;
        for (Member* member = first; member != last; ++member) {
            if (member + 1 != last && member->key == (member + 1)->key) continue;
            if (kept != member) *kept = std::move(*member);
            ++kept;
        }
        members.truncate(static_cast<std::size_t>(kept - first));
    }
    new (&content_.dictionary) Dictionary(std::move(members));
}

JSON JSON::dictionary(std::initializer_list<Member> members) { return JSON(Dictionary(members)); }

std::string JSON::serialized() const {
    std::string text;
    write(text, 0);
    return text;
}

std::size_t JSON::size() const {
    if (const Array* elements = array()) return elements->size();
    if (const Dictionary* members = dictionary()) return members->size();
    return 0;
}

const JSON& JSON::unknown(JSONError::Kind kind) {
    static const JSON indexOutOfBounds(JSONError::Kind::indexOutOfBounds);
    static const JSON notExist(JSONError::Kind::notExist);
    static const JSON wrongType(JSONError::Kind::wrongType);
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
    // Up to `few` members a linear scan beats a binary search.
    constexpr std::size_t few = 8;
    const Member* found = members->size() > few ? lowerBound(*members, key) : members->begin();
    const Member* const last = members->size() > few ? found + (found != members->end() ? 1 : 0) : members->end();
    for (; found != last; ++found)
        if (found->key == key) return found->value;
    return unknown(JSONError::Kind::notExist);
}

JSON& JSON::member(std::string_view key) {
    if (isNull()) *this = JSON(Dictionary());
    if (!dictionary()) throwWrongType("cannot set a member of a JSON value that is not a dictionary");
    Dictionary* members = &content_.dictionary;
    const auto place = lowerBound(*members, key) - members->begin();
    const bool isNew = place == static_cast<std::ptrdiff_t>(members->size()) || (*members)[place].key != key;
    if (isNew) members->push_back({std::string(key), {}});
    Member* const all = members->mutableData();
    if (isNew) std::rotate(all + place, all + members->size() - 1, all + members->size());
    return all[place].value;
}

void JSON::set(std::string_view key, JSON value) { member(key) = std::move(value); }

void JSON::set(std::initializer_list<std::string_view> path, JSON value) {
    JSON* place = this;
    for (const std::string_view key : path) place = &place->member(key);
    *place = std::move(value);
}

void JSON::set(std::size_t index, JSON value) {
    if (!array()) throwWrongType("cannot set an element of a JSON value that is not an array");
    if (index >= size())
        throw JSONError(JSONError::Kind::indexOutOfBounds,
                        "cannot set element " + std::to_string(index) + " of an array of " + std::to_string(size()));
    content_.array.mutableData()[index] = std::move(value);
}

void JSON::append(JSON value) {
    if (isNull()) *this = JSON(Array());
    if (!array()) throwWrongType("cannot append to a JSON value that is not an array");
    content_.array.push_back(std::move(value));
}

void JSON::merge(const JSON& other) {
    if (type() != other.type()) throwWrongType("cannot merge JSON values of different types");
    JSON result = *this;
    result.merge(other, 0);
    *this = std::move(result);
}

void JSON::merge(const JSON& other, int depth) {
    if (depth > maximumDepth) throwTooDeep();
    if (array() && other.array()) {
        // Copied because `other` may alias this value.
        const Array added = *other.array();
        content_.array.reserve(size() + added.size());
        for (const JSON& element : added) content_.array.push_back(element);
    } else if (dictionary() && other.dictionary()) {
        const Dictionary added = *other.dictionary();
        Dictionary merged;
        merged.reserve(size() + added.size());
        Member* own = content_.dictionary.mutableData();
        Member* const ownEnd = own + size();
        for (const Member& theirs : added) {
            while (own != ownEnd && own->key < theirs.key) merged.push_back(std::move(*own++));
            if (own != ownEnd && own->key == theirs.key) {
                own->value.merge(theirs.value, depth + 1);
                merged.push_back(std::move(*own++));
            } else {
                merged.push_back(theirs);
            }
        }
        while (own != ownEnd) merged.push_back(std::move(*own++));
        content_.dictionary = std::move(merged);
    } else {
        *this = other;
    }
}

void JSON::write(std::string& text, int depth) const {
    switch (type_) {
        case Type::number: writeNumber(text, content_.number); break;
        case Type::string: writeString(text, *string()); break;
        case Type::boolean: text += content_.boolean ? "true" : "false"; break;
        case Type::null: text += "null"; break;
        case Type::unknown:
            throw JSONError(JSONError::Kind::unsupportedType, "JSON text cannot represent an unknown value");
        case Type::array: {
            if (depth == maximumDepth) throwTooDeep();
            char separator = '[';
            for (const JSON& element : content_.array) {
                text += std::exchange(separator, ',');
                element.write(text, depth + 1);
            }
            text += content_.array.empty() ? "[]" : "]";
            break;
        }
        case Type::dictionary: {
            if (depth == maximumDepth) throwTooDeep();
            char separator = '{';
            for (const Member& member : content_.dictionary) {
                text += std::exchange(separator, ',');
                writeString(text, member.key);
                text += ':';
                member.value.write(text, depth + 1);
            }
            text += content_.dictionary.empty() ? "{}" : "}";
            break;
        }
    }
}

void JSON::destroyNested() noexcept {
    // Bounds the stack: content nested deeper than `maxRecursion` is deferred to the outermost call.
    struct Running {
        int depth = 0;
        std::vector<JSON> deferred;
    };
    constexpr int maxRecursion = 64;
    static constinit thread_local Running* running = nullptr;
    if (!running) {
        Running outermost;
        running = &outermost;
        destroyContainer();
        while (!outermost.deferred.empty()) {
            const JSON next = std::move(outermost.deferred.back());
            outermost.deferred.pop_back();
        }
        running = nullptr;
    } else if (running->depth == maxRecursion) {
        running->deferred.push_back(std::move(*this));
        destroyContainer();
    } else {
        ++running->depth;
        destroyContainer();
        --running->depth;
    }
}

bool operator==(const JSON& a, const JSON& b) {
    // Pairs of containers whose elements have yet to be compared.
    std::vector<std::pair<const JSON*, const JSON*>> pending;
    const auto mayBeEqual = [&](const JSON& one, const JSON& other) {
        if (one.type_ != other.type_) return false;
        switch (one.type_) {
            case JSON::Type::number: return one.content_.number == other.content_.number;
            case JSON::Type::string: return one.content_.text == other.content_.text;
            case JSON::Type::boolean: return one.content_.boolean == other.content_.boolean;
            case JSON::Type::unknown: return one.content_.error == other.content_.error;
            case JSON::Type::null: return true;
            case JSON::Type::array:
                if (one.content_.array.data() == other.content_.array.data()) return true;
                break;
            case JSON::Type::dictionary:
                if (one.content_.dictionary.data() == other.content_.dictionary.data()) return true;
                break;
        }
        if (one.size() != other.size()) return false;
        pending.emplace_back(&one, &other);
        return true;
    };
    if (!mayBeEqual(a, b)) return false;
    while (!pending.empty()) {
        const auto [one, other] = pending.back();
        pending.pop_back();
        for (std::size_t i = 0; i < one->size(); ++i) {
            if (one->type_ == JSON::Type::array) {
                if (!mayBeEqual(one->content_.array[i], other->content_.array[i])) return false;
                continue;
            }
            const JSON::Member& member = one->content_.dictionary[i];
            const JSON::Member& counterpart = other->content_.dictionary[i];
            if (member.key != counterpart.key || !mayBeEqual(member.value, counterpart.value)) return false;
        }
    }
    return true;
}

}  // namespace videoanalysis
