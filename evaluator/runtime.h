// Per-evaluation state: the memory arena, the step and time budget, the
// installed context, and the values `it` stands for.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "evaluator/context.h"
#include "evaluator/evaluator.h"
#include "evaluator/value.h"

namespace zor::detail {

// Bump allocator whose memory is released all at once. The first block is
// kept for the next evaluation on the same thread, so a steady stream of
// small evaluations allocates nothing from the system.
class Arena {
public:
    Arena() = default;
    Arena(Arena const&) = delete;
    Arena& operator=(Arena const&) = delete;
    ~Arena();

    // Inline: inspectors allocate at most iteration steps.
    void* allocate(std::size_t size) {
        std::size_t rounded = (size + kAlign - 1) & ~(kAlign - 1);
        if (rounded == 0)
            rounded = kAlign;
        if (static_cast<std::size_t>(end_ - next_) < rounded)
            grow(rounded);
        void* result = next_;
        next_ += rounded;
        return result;
    }
    void reset(); // frees everything but the first block

private:
    static constexpr std::size_t kAlign = alignof(std::max_align_t);
    struct Block {
        Block* previous;
        std::size_t size;
    };
    Block* blocks_ = nullptr;
    unsigned char* next_ = nullptr;
    unsigned char* end_ = nullptr;
    void grow(std::size_t atLeast);
};

class Runtime {
public:
    explicit Runtime(EvaluationOptions const& options);
    ~Runtime();
    Runtime(Runtime const&) = delete;
    Runtime& operator=(Runtime const&) = delete;

    // The evaluation running on this thread, or null.
    static Runtime* current();

    void* allocate(std::size_t size) { return arena_->allocate(size); }
    // Counts one step of work; throws EvaluationInterrupted past the budget.
    void step() {
        if (++steps_ >= nextCheck_)
            checkBudget();
    }

    Ref& it(int slot) {
        if (static_cast<std::size_t>(slot) >= its_.size())
            its_.resize(slot + 1);
        return its_[slot];
    }

private:
    void checkBudget();

    Runtime* previous_;
    ScopedInspectorContext context_;
    std::unique_ptr<Arena> arena_;
    std::vector<Ref> its_;
    std::uint64_t steps_ = 0;
    std::uint64_t nextCheck_;
    std::uint64_t maxSteps_;
    std::int64_t deadline_; // steady-clock microseconds, 0 when unlimited
};

} // namespace zor::detail

// Accumulates a 64-bit FNV-1a hash of what a fingerprint function feeds it.
class Fingerprinter {
public:
    void add(void const* begin, void const* end);
    std::uint64_t value() const { return hash_; }

private:
    std::uint64_t hash_ = 14695981039346656037ULL;
};
