#include "evaluator/value.h"

#include <new>

#include "evaluator/registry.h"

namespace zor::detail {
namespace {

constexpr std::size_t kAlign = 16;
constexpr std::size_t roundUp(std::size_t n) {
    return (n + kAlign - 1) & ~(kAlign - 1);
}

template <typename Header> void* allocateWith(std::size_t payload, void*& payloadStart) {
    std::size_t header = roundUp(sizeof(Header));
    auto* memory = static_cast<unsigned char*>(
        ::operator new(header + (payload ? payload : 1), std::align_val_t(kAlign)));
    payloadStart = memory + header;
    return memory;
}

void deallocate(void* memory) {
    ::operator delete(memory, std::align_val_t(kAlign));
}

bool isInline(ValueBox const* value) {
    return value->data == reinterpret_cast<unsigned char const*>(value) + roundUp(sizeof(ValueBox));
}

} // namespace

void release(Holder* holder) {
    switch (holder->kind) {
    case Holder::Kind::Value: {
        auto* value = static_cast<ValueBox*>(holder);
        if (value->constructed && value->type->destroy && isInline(value))
            value->type->destroy(value->data);
        value->~ValueBox();
        break;
    }
    case Holder::Kind::IteratorState: {
        auto* iterator = static_cast<IteratorBox*>(holder);
        if (iterator->constructed && iterator->record->destroyState)
            iterator->record->destroyState(iterator->state);
        iterator->~IteratorBox();
        break;
    }
    case Holder::Kind::Bundle: {
        auto* bundle = static_cast<Bundle*>(holder);
        for (std::size_t i = 0; i < bundle->count; ++i)
            bundle->items[i].~Ref();
        bundle->~Bundle();
        break;
    }
    }
    deallocate(holder);
}

Ref newValue(Type const* type) {
    void* data;
    void* memory = allocateWith<ValueBox>(type->size, data);
    auto* value = new (memory) ValueBox(type);
    value->data = data;
    return Ref(value);
}

Ref newView(Type const* type, void* data, Ref owner) {
    void* unused;
    void* memory = allocateWith<ValueBox>(0, unused);
    auto* value = new (memory) ValueBox(type);
    value->data = data;
    value->keep[0] = std::move(owner);
    value->constructed = true;
    return Ref(value);
}

Ref newIterator(PropertyRecord const* record, Ref object, Ref index) {
    void* state;
    void* memory = allocateWith<IteratorBox>(record->stateSize, state);
    auto* iterator = new (memory) IteratorBox(record);
    iterator->state = state;
    iterator->keep[0] = std::move(object);
    iterator->keep[1] = std::move(index);
    Ref ref(iterator);
    if (record->construct)
        record->construct(state);
    iterator->constructed = true;
    return ref;
}

Ref newBundle(std::size_t count) {
    void* items;
    void* memory = allocateWith<Bundle>(sizeof(Ref) * count, items);
    auto* bundle = new (memory) Bundle(count);
    bundle->items = static_cast<Ref*>(items);
    for (std::size_t i = 0; i < count; ++i)
        new (&bundle->items[i]) Ref();
    return Ref(bundle);
}

} // namespace zor::detail
