// The stack of open if blocks while an action script is walked.
#pragma once

#include <vector>

class BlockList {
public:
    // One if chain: whether its current branch runs, whether some branch of
    // the chain was already taken, and whether its else was seen.
    struct Entry {
        bool isTrue;
        bool consumed;
        bool processedElse;
    };

    void Add(bool isTrue, bool consumed, bool processedElse);
    // Pops the top entry; nothing happens on an empty stack.
    void DeleteTop();
    bool empty() const { return entries_.empty(); }
    std::size_t size() const { return entries_.size(); }

    // These read the top entry; outside any block everything runs, so on an
    // empty stack all three are true.
    bool InTrueBlock() const;
    bool Consumed() const;
    bool ProcessedElse() const;

private:
    std::vector<Entry> entries_;
};

static_assert(sizeof(BlockList::Entry) == 3, "block entries are three flag bytes");
