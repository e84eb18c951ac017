// Reference-counted holders for values and iterator states during evaluation.
//
// A value may point into whatever it was computed from (its object, its
// index, the iterator state that produced it), so each holder keeps those
// alive; when the last reference goes, the type's or iterator's destroy
// function runs and the memory is freed. Streams can therefore be arbitrarily
// long without keeping what they have already produced.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

namespace zor::detail {

struct Type;
struct PropertyRecord;
class Ref;

struct Holder {
    enum class Kind : std::uint8_t { Value, IteratorState, Bundle };
    std::uint32_t refs = 0;
    Kind kind;
    bool constructed = false; // the destroy function may run
    explicit Holder(Kind k) : kind(k) {}
};

void release(Holder* holder);
struct ValueBox;
// Destroys the value in place, keeping what the box keeps, so that the box
// can take the next value.
void destroyValue(ValueBox& value);

class Ref {
public:
    Ref() = default;
    explicit Ref(Holder* holder) : holder_(holder) {
        if (holder_)
            ++holder_->refs;
    }
    Ref(Ref const& other) : Ref(other.holder_) {}
    Ref(Ref&& other) noexcept : holder_(std::exchange(other.holder_, nullptr)) {}
    Ref& operator=(Ref const& other) {
        if (other.holder_)
            ++other.holder_->refs;
        reset(other.holder_);
        return *this;
    }
    Ref& operator=(Ref&& other) noexcept {
        if (this != &other)
            reset(std::exchange(other.holder_, nullptr));
        return *this;
    }
    ~Ref() { reset(nullptr); }

    Holder* get() const { return holder_; }
    // True when this is the only reference, so the holder may be reused.
    bool unique() const { return holder_ && holder_->refs == 1; }
    explicit operator bool() const { return holder_ != nullptr; }

    // The value's type and bytes (only for value holders).
    Type const& type() const;
    void* bytes() const;

private:
    // Takes over `holder` (already counted) and lets go of the current one.
    void reset(Holder* holder) {
        Holder* previous = std::exchange(holder_, holder);
        if (previous && --previous->refs == 0)
            release(previous);
    }

    Holder* holder_ = nullptr;
};

// A value of a registered type. Its bytes are either inline after the header
// or, for a view, inside something it keeps alive.
struct ValueBox : Holder {
    Type const* type;
    void* data;
    Ref keep[3];

    ValueBox(Type const* t) : Holder(Kind::Value), type(t), data(nullptr) {}
};

// The state of one running iteration of an iterated property.
struct IteratorBox : Holder {
    PropertyRecord const* record;
    void* state;
    Ref keep[2]; // the object and the index it iterates over

    explicit IteratorBox(PropertyRecord const* r) : Holder(Kind::IteratorState), record(r) {}
};

// Keeps any number of holders alive (the items of a tuple).
struct Bundle : Holder {
    std::size_t count;
    Ref* items;
    explicit Bundle(std::size_t n) : Holder(Kind::Bundle), count(n), items(nullptr) {}
};

// A fresh value of `type` with room for its bytes, not yet constructed.
Ref newValue(Type const* type);
// A value whose bytes live inside `owner` (kept alive by the view).
Ref newView(Type const* type, void* data, Ref owner);
// Iterator state of the record's size, constructed.
Ref newIterator(PropertyRecord const* record, Ref object, Ref index);
Ref newBundle(std::size_t count);

inline ValueBox& box(Ref const& ref) {
    return *static_cast<ValueBox*>(ref.get());
}
inline Type const& Ref::type() const {
    return *static_cast<ValueBox*>(holder_)->type;
}
inline void* Ref::bytes() const {
    return static_cast<ValueBox*>(holder_)->data;
}

} // namespace zor::detail
