#pragma once
// An action is a small immutable record that requests a change from a store. Reducers receive it as `const Action&` and
// switch on its type.

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

    /// Type and fields for logs, as in "SetHUDVisibleAction(newState: false)".
    virtual std::string description() const = 0;

    /// This action if its type is exactly `T`; otherwise null.
    template <class T>
    const T* as() const {
        return typeid(*this) == typeid(T) ? static_cast<const T*>(this) : nullptr;
    }

protected:
    Action() = default;
    Action(const Action&) = default;
    Action& operator=(const Action&) = default;
};

/// Dispatched once by a store that is created without a state; its reducer returns the initial state.
struct ReSwiftInit final : Action {
    std::string description() const override { return "ReSwiftInit()"; }
};

/// One field of an action, for its description. Customized per type by a `describeValue` overload beside the type.
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

/// "Name(first: 1, second: true)" from the type's name and pairs of field names and described values.
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
