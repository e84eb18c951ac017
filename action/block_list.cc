#include "action/block_list.h"

void BlockList::Add(bool isTrue, bool consumed, bool processedElse) {
    entries_.push_back(Entry{isTrue, consumed, processedElse});
}

void BlockList::DeleteTop() {
    if (!entries_.empty())
        entries_.pop_back();
}

bool BlockList::InTrueBlock() const {
    return entries_.empty() || entries_.back().isTrue;
}

bool BlockList::Consumed() const {
    return entries_.empty() || entries_.back().consumed;
}

bool BlockList::ProcessedElse() const {
    return entries_.empty() || entries_.back().processedElse;
}
