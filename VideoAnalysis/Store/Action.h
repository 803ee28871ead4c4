#pragma once
// An action is a small immutable record that asks a store for a change. Reducers receive it as `const Action&` and tell the
// records apart by their type.

#include <initializer_list>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace videoanalysis {

class Action {
public:
    virtual ~Action() = default;

    /// Type and fields, as in "SetHUDVisibleAction(newState: false)"; for messages to developers.
    virtual std::string description() const = 0;

    /// The record when it is exactly a `T`, otherwise null.
    template <class T>
    const T* as() const {
        return typeid(*this) == typeid(T) ? static_cast<const T*>(this) : nullptr;
    }

protected:
    Action() = default;
    Action(const Action&) = default;
    Action& operator=(const Action&) = default;
};

/// Dispatched once by a store that is created without a state, so that its reducer makes the first one.
struct ReSwiftInit final : Action {
    std::string description() const override { return "ReSwiftInit()"; }
};

/// How one field of an action reads in its description. Types that say more about themselves have `describeValue` beside them.
template <class T>
std::string describeField(const T& value) {
    if constexpr (std::is_same_v<T, bool>) {
        return value ? "true" : "false";
    } else if constexpr (std::is_enum_v<T>) {
        return std::to_string(static_cast<long long>(value));
    } else if constexpr (std::is_arithmetic_v<T>) {
        std::ostringstream text;
        text << value;
        return text.str();
    } else {
        return describeValue(value);
    }
}

template <class T>
std::string describeField(const std::optional<T>& value) {
    return value ? describeField(*value) : "none";
}

/// "Name(first: 1, second: true)" from the type's name and its fields' names and described values.
inline std::string describeAction(std::string_view name,
                                  std::initializer_list<std::pair<std::string_view, std::string>> fields) {
    std::string text(name);
    text += '(';
    bool isFirst = true;
    for (const auto& [field, value] : fields) {
        if (!std::exchange(isFirst, false)) text += ", ";
        text.append(field).append(": ").append(value);
    }
    text += ')';
    return text;
}

}  // namespace videoanalysis
