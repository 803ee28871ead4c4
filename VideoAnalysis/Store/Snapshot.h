#pragma once
// Immutable shared values: a store's states, and the large parts of a state, which are copied on write. A dispatch copies
// only what it changes.

#include <memory>
#include <utility>

namespace videoanalysis {

/// An immutable state, shared by all stages of one delivery; null for an absent state.
template <class State>
using Snapshot = std::shared_ptr<const State>;

/// A copy-on-write value.
template <class Value>
class CopyOnWrite {
public:
    CopyOnWrite() : value_(emptyValue()) {}
    CopyOnWrite(Value value)
        : value_(std::make_shared<Value>(std::move(value))) {}  // NOLINT: implicit, like a plain value

    const Value& operator*() const { return *value_; }
    const Value* operator->() const { return value_.get(); }

    /// The writable value; copied first if it is shared. The reference is valid until this object is copied.
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
