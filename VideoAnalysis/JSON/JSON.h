#pragma once
// A JSON value of any type, and its text. A media item's stored drawings travel in one; the sketch view writes and reads
// them, the state and the host only carry them.

#include <cstddef>
#include <initializer_list>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

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
/// Not to be used on two threads at a time.
class JSON {
public:
    enum class Type { number, string, boolean, array, dictionary, null, unknown };
    struct Member;
    using Array = std::vector<JSON>;
    /// Sorted by key (by bytes), every key once.
    using Dictionary = std::vector<Member>;

    /// How many arrays and dictionaries may lie in one another.
    static constexpr int maximumDepth = 512;

    /// Null.
    JSON() = default;
    JSON(std::nullptr_t) {}
    template <class T>
        requires std::is_arithmetic_v<T>
    JSON(T value) {
        if constexpr (std::is_same_v<T, bool>)
            value_ = value;
        else
            value_ = static_cast<double>(value);
    }
    /// UTF-8; bytes that are not are replaced when the value is written as text.
    JSON(std::string value);
    JSON(std::string_view value) : JSON(std::string(value)) {}
    JSON(const char* value) : JSON(std::string(value)) {}
    JSON(Array elements);
    /// Members in any order; of several with one key the last counts.
    JSON(Dictionary members);
    static JSON array(std::initializer_list<JSON> elements) { return JSON(Array(elements)); }
    static JSON dictionary(std::initializer_list<Member> members);

    /// Reads a whole text (UTF-8). Throws `invalidJSON`, with the byte position in the message, or `elementTooDeep`.
    static JSON parse(std::string_view text);
    /// The text without spaces, members sorted by key, numbers in the shortest form that reads back as the same value.
    /// Throws `unsupportedType` or `elementTooDeep`.
    std::string serialized() const;

    Type type() const;
    bool isNull() const { return std::holds_alternative<std::monostate>(value_); }

    /// The content, or nothing when the value is of another type. Pointers live until the value is changed or destroyed.
    std::optional<double> number() const;
    std::optional<bool> boolean() const;
    const std::string* string() const;
    const Array* array() const;
    const Dictionary* dictionary() const;
    /// Elements or members; 0 for everything else.
    std::size_t size() const;

    /// Never throw: what is not there is a value of type `unknown` whose `error()` tells why (`indexOutOfBounds`, `notExist`,
    /// `wrongType`), and subscripting that one gives it again. The reference lives as long as the value is not changed.
    const JSON& operator[](std::size_t index) const;
    const JSON& operator[](std::string_view key) const;
    /// Why a value is unknown; nothing for all others.
    std::optional<JSONError::Kind> error() const;

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

    /// The same type and content.
    friend bool operator==(const JSON& a, const JSON& b);

private:
    struct Unknown {
        JSONError::Kind kind;
    };
    explicit JSON(Unknown unknown) : value_(unknown) {}
    static const JSON& unknown(JSONError::Kind kind);

    Array& mutableArray();
    Dictionary& mutableDictionary();
    JSON& member(std::string_view key);
    void merge(const JSON& other, int depth);
    void write(std::string& text, int depth) const;

    std::variant<std::monostate, Unknown, bool, double, std::shared_ptr<const std::string>, std::shared_ptr<Array>,
                 std::shared_ptr<Dictionary>>
        value_;
};

struct JSON::Member {
    std::string key;
    JSON value;
    friend bool operator==(const Member&, const Member&) = default;
};

}  // namespace videoanalysis
