#include "evaluator/runtime.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <new>

#include "evaluator/errors.h"
#include "evaluator/registration.h"

namespace zor::detail {
namespace {

thread_local Runtime* currentRuntime = nullptr;
// One spare arena per thread, reused by consecutive evaluations.
thread_local std::unique_ptr<Arena> spareArena;

constexpr std::size_t kFirstBlock = 16 * 1024;
// Time is read only every this many steps: reading the clock costs more than a step.
constexpr std::uint64_t kClockInterval = 1024;

std::int64_t steadyMicroseconds() {
    using namespace std::chrono;
    return duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count();
}

} // namespace

Arena::~Arena() {
    reset();
    if (blocks_)
        std::free(blocks_);
}

void Arena::grow(std::size_t atLeast) {
    std::size_t header = (sizeof(Block) + kAlign - 1) & ~(kAlign - 1);
    std::size_t size = std::max(blocks_ ? blocks_->size * 2 : kFirstBlock, atLeast + header);
    auto* block = static_cast<Block*>(std::malloc(size));
    if (!block)
        throw std::bad_alloc();
    block->previous = blocks_;
    block->size = size;
    blocks_ = block;
    next_ = reinterpret_cast<unsigned char*>(block) + header;
    end_ = reinterpret_cast<unsigned char*>(block) + size;
}

void Arena::reset() {
    while (blocks_ && blocks_->previous) {
        Block* previous = blocks_->previous;
        std::free(blocks_);
        blocks_ = previous;
    }
    if (blocks_) {
        std::size_t header = (sizeof(Block) + kAlign - 1) & ~(kAlign - 1);
        next_ = reinterpret_cast<unsigned char*>(blocks_) + header;
        end_ = reinterpret_cast<unsigned char*>(blocks_) + blocks_->size;
    }
}

Runtime::Runtime(EvaluationOptions const& options)
    : previous_(currentRuntime), context_(options.context),
      arena_(spareArena ? std::move(spareArena) : std::make_unique<Arena>()),
      maxSteps_(options.budget.steps), deadline_(0) {
    if (options.budget.time.count() > 0)
        deadline_ = steadyMicroseconds() + options.budget.time.count();
    nextCheck_ = std::min<std::uint64_t>(maxSteps_ ? maxSteps_ : UINT64_MAX,
                                         deadline_ ? kClockInterval : UINT64_MAX);
    currentRuntime = this;
}

Runtime::~Runtime() {
    its_.clear();
    currentRuntime = previous_;
    arena_->reset();
    if (!spareArena)
        spareArena = std::move(arena_);
}

Runtime* Runtime::current() {
    return currentRuntime;
}

void Runtime::checkBudget() {
    if (maxSteps_ && steps_ >= maxSteps_)
        throw EvaluationInterrupted();
    if (deadline_ && steadyMicroseconds() >= deadline_)
        throw EvaluationInterrupted();
    nextCheck_ = std::min<std::uint64_t>(maxSteps_ ? maxSteps_ : UINT64_MAX,
                                         deadline_ ? steps_ + kClockInterval : UINT64_MAX);
}

} // namespace zor::detail

void Fingerprinter::add(void const* begin, void const* end) {
    for (auto* p = static_cast<unsigned char const*>(begin);
         p != static_cast<unsigned char const*>(end); ++p) {
        hash_ ^= *p;
        hash_ *= 1099511628211ULL;
    }
}

extern "C" {

void* Allocate_Inspector_Memory(unsigned long size) {
    auto* runtime = zor::detail::currentRuntime;
    if (!runtime)
        throw std::logic_error("Allocate_Inspector_Memory called outside an evaluation");
    return runtime->allocate(size);
}

void Check_For_Inspector_Interruption() {
    if (auto* runtime = zor::detail::Runtime::current())
        runtime->step();
}

void Fingerprint_Byte_Range(Fingerprinter& fingerprinter, void const* begin, void const* end) {
    fingerprinter.add(begin, end);
}

} // extern "C"
