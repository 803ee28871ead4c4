#pragma once
// A JSON value, with parsing and serialization. Holds a media item's stored drawings: the sketch view reads and writes
// them; the state and the host only pass them on.

#include "VideoAnalysis/JSON/SharedArray.h"

#include <cstddef>
#include <initializer_list>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace videoanalysis {

/// Thrown for a malformed text or an invalid operation on a value.
class JSONError : public std::runtime_error {
public:
    enum class Kind {
        unsupportedType,   ///< a value that JSON text cannot represent: an unknown value, infinity or NaN
        indexOutOfBounds,  ///< the array has no element at that index
        elementTooDeep,    ///< nested deeper than `JSON::maximumDepth`
        wrongType,         ///< subscripting, modifying or merging a value of the wrong type
        notExist,          ///< the dictionary has no member with that key
        invalidJSON,       ///< malformed JSON text
    };

    JSONError(Kind kind, const std::string& message) : std::runtime_error(message), kind_(kind) {}
    Kind kind() const { return kind_; }
    /// The enumerator's name.
    static std::string_view name(Kind kind);

private:
    Kind kind_;
};

/// A copy-on-write value: copying takes constant time. Copies may be used on different threads; a single value may be used
/// on one thread at a time. Nesting is unlimited, except for parsing, serializing and merging (`maximumDepth`).
class JSON {
public:
    /// Types from `string` on have shared content.
    enum class Type { number, boolean, null, unknown, string, array, dictionary };
    struct Member;
    using Array = SharedArray<JSON>;
    /// Inside a value: sorted bytewise by key, without duplicates.
    using Dictionary = SharedArray<Member>;

    /// Max nesting of arrays and dictionaries in a text.
    static constexpr int maximumDepth = 512;

    /// Null.
    JSON() = default;
    JSON(std::nullptr_t) {}
    template <class T>
    requires std::is_arithmetic_v<T> JSON(T value) {
        if constexpr (std::is_same_v<T, bool>) {
            type_ = Type::boolean;
            content_.boolean = value;
        } else {
            type_ = Type::number;
            content_.number = static_cast<double>(value);
        }
    }
    /// UTF-8. Malformed bytes are replaced by U+FFFD when the value is serialized.
    JSON(std::string value);
    JSON(std::string_view value) : JSON(std::string(value)) {}
    JSON(const char* value) : JSON(std::string(value)) {}
    JSON(Array elements) : type_(Type::array) { new (&content_.array) Array(std::move(elements)); }
    /// Members in any order; of duplicate keys the last wins.
    JSON(Dictionary members);
    static JSON array(std::initializer_list<JSON> elements) { return JSON(Array(elements)); }
    static JSON dictionary(std::initializer_list<Member> members);

    JSON(const JSON& other) : type_(other.type_) { take(other); }
    JSON(JSON&& other) noexcept : type_(other.type_) { take(std::move(other)); }
    JSON& operator=(const JSON& other) { return *this = JSON(other); }
    JSON& operator=(JSON&& other) noexcept {
        // Moved out first: `other` may be part of this value.
        JSON taken(std::move(other));
        destroy();
        type_ = taken.type_;
        take(std::move(taken));
        return *this;
    }
    ~JSON() { destroy(); }

    /// Parses a complete UTF-8 text. Throws `invalidJSON`, with the byte position in the message, or `elementTooDeep`.
    static JSON parse(std::string_view text);
    /// Compact text: no white space, members sorted by key, numbers in the shortest form that round-trips. Throws
    /// `unsupportedType` or `elementTooDeep`.
    std::string serialized() const;

    Type type() const { return type_; }
    bool isNull() const { return type_ == Type::null; }

    /// The content; empty or null if the value has another type. Pointers are valid until the value is modified or destroyed.
    std::optional<double> number() const {
        return type_ == Type::number ? std::optional(content_.number) : std::nullopt;
    }
    std::optional<bool> boolean() const {
        return type_ == Type::boolean ? std::optional(content_.boolean) : std::nullopt;
    }
    const std::string* string() const { return type_ == Type::string ? content_.text.data() : nullptr; }
    const Array* array() const { return type_ == Type::array ? &content_.array : nullptr; }
    const Dictionary* dictionary() const { return type_ == Type::dictionary ? &content_.dictionary : nullptr; }
    /// Count of elements or members; 0 for every other type.
    std::size_t size() const;

    /// Never throw. A missing element is a value of type `unknown` whose `error()` gives the reason (`indexOutOfBounds`,
    /// `notExist`, `wrongType`); subscripting it returns it again. The reference is valid until this value is modified.
    const JSON& operator[](std::size_t index) const;
    const JSON& operator[](std::string_view key) const;
    /// Why the value is `unknown`; empty for every other type.
    std::optional<JSONError::Kind> error() const {
        return type_ == Type::unknown ? std::optional(content_.error) : std::nullopt;
    }

    /// Sets a member of a dictionary or of null, which becomes one. Throws `wrongType` otherwise.
    void set(std::string_view key, JSON value);
    /// Sets a nested member and creates missing dictionaries along the path. Throws `wrongType` if the path crosses any
    /// other type.
    void set(std::initializer_list<std::string_view> path, JSON value);
    /// Replaces an element. Throws `wrongType` or `indexOutOfBounds`.
    void set(std::size_t index, JSON value);
    /// Appends to an array or to null, which becomes one. Throws `wrongType` otherwise.
    void append(JSON value);
    /// Merges dictionaries recursively, appends arrays and replaces any other value of the same type; nested values of
    /// different types are replaced. Throws `wrongType` if the two top-level types differ, or `elementTooDeep`; the value
    /// is then unchanged.
    void merge(const JSON& other);

    /// Deep comparison of type and content, at any depth.
    friend bool operator==(const JSON& a, const JSON& b);

private:
    /// A string is an array of one, so that it is shared like the containers and a value takes two words.
    using Text = SharedArray<std::string>;
    union Content {
        double number;
        bool boolean;
        JSONError::Kind error;
        Text text;
        Array array;
        Dictionary dictionary;

        Content() : number(0) {}
        ~Content() {}
    };

    explicit JSON(JSONError::Kind error) : type_(Type::unknown) { content_.error = error; }
    static const JSON& unknown(JSONError::Kind kind);

    /// Constructs the content for `type_` from another value of that type.
    template <class Other>
    void take(Other&& other) {
        switch (type_) {
            case Type::number: content_.number = other.content_.number; break;
            case Type::boolean: content_.boolean = other.content_.boolean; break;
            case Type::unknown: content_.error = other.content_.error; break;
            case Type::string: new (&content_.text) Text(std::forward<Other>(other).content_.text); break;
            case Type::array: new (&content_.array) Array(std::forward<Other>(other).content_.array); break;
            case Type::dictionary:
                new (&content_.dictionary) Dictionary(std::forward<Other>(other).content_.dictionary);
                break;
            case Type::null: break;
        }
    }
    void destroy() noexcept {
        if (type_ < Type::string) return;
        if (type_ == Type::string)
            std::destroy_at(&content_.text);
        else if (size() == 0)
            destroyContainer();
        else
            destroyNested();
    }
    void destroyContainer() noexcept {
        if (type_ == Type::array)
            std::destroy_at(&content_.array);
        else
            std::destroy_at(&content_.dictionary);
    }
    /// Destroys a container that may hold others, at any depth, with a bounded stack.
    void destroyNested() noexcept;

    JSON& member(std::string_view key);
    void merge(const JSON& other, int depth);
    void write(std::string& text, int depth) const;

    Type type_ = Type::null;
    Content content_;
};

struct JSON::Member {
    std::string key;
    JSON value;
};

}  // namespace videoanalysis
