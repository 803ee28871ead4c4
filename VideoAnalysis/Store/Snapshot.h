#pragma once
// Immutable, shared values: the states that a store hands out and the large parts of a state that copies share until one of
// them is edited. They keep a dispatch from copying what it does not change.

#include <memory>
#include <utility>

namespace videoanalysis {

/// A state as it was at one moment; null for an absent state. All stages of one delivery share it.
template <class State>
using Snapshot = std::shared_ptr<const State>;

/// A value that copies share until one of them is edited.
template <class Value>
class CopyOnWrite {
public:
    CopyOnWrite() : value_(emptyValue()) {}
    CopyOnWrite(Value value) : value_(std::make_shared<Value>(std::move(value))) {}  // NOLINT: a value like any other

    const Value& operator*() const { return *value_; }
    const Value* operator->() const { return value_.get(); }

    /// The value for changing; copied first when somebody shares it. The reference holds until the next copy is taken.
    Value& edit() {
        if (value_.use_count() > 1) value_ = std::make_shared<Value>(*value_);
        return *value_;
    }

private:
    static const std::shared_ptr<Value>& emptyValue() {
        static const std::shared_ptr<Value> empty = std::make_shared<Value>();
        return empty;
    }
    std::shared_ptr<Value> value_;
};

}  // namespace videoanalysis
