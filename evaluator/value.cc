#include "evaluator/value.h"

#include <new>

#include "evaluator/registry.h"

namespace zor::detail {
namespace {

constexpr std::size_t kAlign = 16;
constexpr std::size_t roundUp(std::size_t n) {
    return (n + kAlign - 1) & ~(kAlign - 1);
}

// Holders are made and dropped once per value of every stream, so small ones
// are recycled through per-thread free lists by size class instead of going
// back to the system allocator each time.
class HolderCache {
public:
    static constexpr std::size_t kClasses = 16; // up to 256 bytes
    HolderCache() = default;
    HolderCache(HolderCache const&) = delete;
    HolderCache& operator=(HolderCache const&) = delete;
    ~HolderCache() {
        for (auto& list : free_)
            while (list) {
                FreeBlock* next = list->next;
                ::operator delete(list, std::align_val_t(kAlign));
                list = next;
            }
    }
    void* take(std::size_t size) {
        std::size_t c = sizeClass(size);
        if (c < kClasses && free_[c]) {
            FreeBlock* block = free_[c];
            free_[c] = block->next;
            return block;
        }
        return ::operator new(c < kClasses ? (c + 1) * kAlign : size, std::align_val_t(kAlign));
    }
    void give(void* memory, std::size_t size) {
        std::size_t c = sizeClass(size);
        if (c >= kClasses) {
            ::operator delete(memory, std::align_val_t(kAlign));
            return;
        }
        auto* block = static_cast<FreeBlock*>(memory);
        block->next = free_[c];
        free_[c] = block;
    }

private:
    struct FreeBlock {
        FreeBlock* next;
    };
    static std::size_t sizeClass(std::size_t size) { return (size - 1) / kAlign; }
    FreeBlock* free_[kClasses] = {};
};

thread_local HolderCache cache;

template <typename Header> std::size_t totalSize(std::size_t payload) {
    return roundUp(sizeof(Header)) + (payload ? payload : 1);
}

template <typename Header> void* allocateWith(std::size_t payload, void*& payloadStart) {
    auto* memory = static_cast<unsigned char*>(cache.take(totalSize<Header>(payload)));
    payloadStart = memory + roundUp(sizeof(Header));
    return memory;
}

bool isInline(ValueBox const* value) {
    return value->data == reinterpret_cast<unsigned char const*>(value) + roundUp(sizeof(ValueBox));
}

} // namespace

void release(Holder* holder) {
    switch (holder->kind) {
    case Holder::Kind::Value: {
        auto* value = static_cast<ValueBox*>(holder);
        bool inlineData = isInline(value);
        std::size_t size = totalSize<ValueBox>(inlineData ? value->type->size : 0);
        destroyValue(*value);
        value->~ValueBox();
        cache.give(holder, size);
        return;
    }
    case Holder::Kind::IteratorState: {
        auto* iterator = static_cast<IteratorBox*>(holder);
        std::size_t size = totalSize<IteratorBox>(iterator->record->stateSize);
        if (iterator->constructed && iterator->record->destroyState)
            iterator->record->destroyState(iterator->state);
        iterator->~IteratorBox();
        cache.give(holder, size);
        return;
    }
    case Holder::Kind::Bundle: {
        auto* bundle = static_cast<Bundle*>(holder);
        std::size_t size = totalSize<Bundle>(sizeof(Ref) * bundle->count);
        for (std::size_t i = 0; i < bundle->count; ++i)
            bundle->items[i].~Ref();
        bundle->~Bundle();
        cache.give(holder, size);
        return;
    }
    }
}

void destroyValue(ValueBox& value) {
    if (value.constructed && value.type->destroy && isInline(&value))
        value.type->destroy(value.data);
    value.constructed = false;
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
