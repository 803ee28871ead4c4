#pragma once
// A JSON value of any type, and its text. A media item's stored drawings travel in one; the sketch view writes and reads
// them, the state and the host only carry them.

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

/// What can be wrong with a value or a text.
class JSONError : public std::runtime_error {
public:
    enum class Kind {
        unsupportedType,   ///< a value that JSON text cannot express: an unknown, an infinity, not a number
        indexOutOfBounds,  ///< an array has no element of that index
        elementTooDeep,    ///< nested deeper than `JSON::maximumDepth`
        wrongType,         ///< subscripting, changing or merging a value of another type
        notExist,          ///< a dictionary has no member of that key
        invalidJSON,       ///< a text that is not JSON
    };

    JSONError(Kind kind, const std::string& message) : std::runtime_error(message), kind_(kind) {}
    Kind kind() const { return kind_; }
    /// The kind's name as written above.
    static std::string_view name(Kind kind);

private:
    Kind kind_;
};

/// A value: copies share their content until one of them is changed, so that copying costs the same whatever its size.
/// Copies may be used on different threads, one value on one thread at a time. Values may be nested to any depth, only their
/// text and merging are limited to `maximumDepth`.
class JSON {
public:
    /// Those from string on have content that copies share.
    enum class Type { number, boolean, null, unknown, string, array, dictionary };
    struct Member;
    using Array = SharedArray<JSON>;
    /// In a value: sorted by key (by bytes), every key once.
    using Dictionary = SharedArray<Member>;

    /// How many arrays and dictionaries may lie in one another.
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
    /// UTF-8; bytes that are not are replaced when the value is written as text.
    JSON(std::string value);
    JSON(std::string_view value) : JSON(std::string(value)) {}
    JSON(const char* value) : JSON(std::string(value)) {}
    JSON(Array elements) : type_(Type::array) { new (&content_.array) Array(std::move(elements)); }
    /// Members in any order; of several with one key the last counts.
    JSON(Dictionary members);
    static JSON array(std::initializer_list<JSON> elements) { return JSON(Array(elements)); }
    static JSON dictionary(std::initializer_list<Member> members);

    JSON(const JSON& other) : type_(other.type_) { take(other); }
    JSON(JSON&& other) noexcept : type_(other.type_) { take(std::move(other)); }
    JSON& operator=(const JSON& other) { return *this = JSON(other); }
    JSON& operator=(JSON&& other) noexcept {
        // Moved out first: the other may be a part of this value.
        JSON taken(std::move(other));
        destroy();
        type_ = taken.type_;
        take(std::move(taken));
        return *this;
    }
    ~JSON() { destroy(); }

    /// Reads a whole text (UTF-8). Throws `invalidJSON`, with the byte position in the message, or `elementTooDeep`.
    static JSON parse(std::string_view text);
    /// The text without spaces, members sorted by key, numbers in the shortest form that reads back as the same value.
    /// Throws `unsupportedType` or `elementTooDeep`.
    std::string serialized() const;

    Type type() const { return type_; }
    bool isNull() const { return type_ == Type::null; }

    /// The content, or nothing when the value is of another type. Pointers live until the value is changed or destroyed.
    std::optional<double> number() const {
        return type_ == Type::number ? std::optional(content_.number) : std::nullopt;
    }
    std::optional<bool> boolean() const {
        return type_ == Type::boolean ? std::optional(content_.boolean) : std::nullopt;
    }
    const std::string* string() const { return type_ == Type::string ? content_.text.data() : nullptr; }
    const Array* array() const { return type_ == Type::array ? &content_.array : nullptr; }
    const Dictionary* dictionary() const { return type_ == Type::dictionary ? &content_.dictionary : nullptr; }
    /// Elements or members; 0 for everything else.
    std::size_t size() const;

    /// Never throw: what is not there is a value of type `unknown` whose `error()` tells why (`indexOutOfBounds`, `notExist`,
    /// `wrongType`), and subscripting that one gives it again. The reference lives as long as the value is not changed.
    const JSON& operator[](std::size_t index) const;
    const JSON& operator[](std::string_view key) const;
    /// Why a value is unknown; nothing for all others.
    std::optional<JSONError::Kind> error() const {
        return type_ == Type::unknown ? std::optional(content_.error) : std::nullopt;
    }

    /// Replaces or adds a member. Null becomes a dictionary; throws `wrongType` for anything else.
    void set(std::string_view key, JSON value);
    /// Replaces a member of a member, making the dictionaries on the way. Throws `wrongType` when something else is there.
    void set(std::initializer_list<std::string_view> path, JSON value);
    /// Replaces an element. Throws `wrongType` or `indexOutOfBounds`.
    void set(std::size_t index, JSON value);
    /// Adds an element. Null becomes an array; throws `wrongType` for anything else.
    void append(JSON value);
    /// Takes over the members of a dictionary (merging those that both have), the elements of an array (added at the end)
    /// or a value of the same type. Throws `wrongType` when the two types differ (inside, the other's value replaces),
    /// `elementTooDeep`; on an error nothing has changed.
    void merge(const JSON& other);

    /// The same type and content, to any depth.
    friend bool operator==(const JSON& a, const JSON& b);

private:
    /// Text is an array of one string: so it is shared like the others, and a value takes two words.
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

    /// Makes the content that `type_` says from another value of this type.
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
    /// The same for a container that may hold others, to any depth.
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
