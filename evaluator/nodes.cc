#include "evaluator/nodes.h"

#include <cstring>

#include "evaluator/errors.h"
#include "evaluator/helpers.h"
#include "evaluator/values.h"

namespace zor::detail {

void evaluationError(std::string const& message) {
    throw ExpressionError(ExpressionError::Kind::Evaluation, 0, message);
}
void nonexistent() {
    evaluationError("Singular expression refers to nonexistent object.");
}
void nonUnique() {
    evaluationError("Singular expression refers to non-unique object.");
}

namespace {

// Yields one value computed in advance (or nothing for an empty Ref).
class ValueStream : public Stream {
public:
    explicit ValueStream(Ref value) : value_(std::move(value)) {}
    Ref next(Runtime&) override { return std::move(value_); }

private:
    Ref value_;
};

class SingleStream : public Stream {
public:
    explicit SingleStream(Node const& node) : node_(node) {}
    Ref next(Runtime& runtime) override {
        if (done_)
            return {};
        done_ = true;
        return node_.one(runtime);
    }

private:
    Node const& node_;
    bool done_ = false;
};

// Yields `map(value)` for each value of the source, skipping empty results.
template <typename Map> class MapStream : public Stream {
public:
    MapStream(StreamPtr source, Map map) : source_(std::move(source)), map_(std::move(map)) {}
    Ref next(Runtime& runtime) override {
        while (Ref value = source_->next(runtime))
            if (Ref mapped = map_(value))
                return mapped;
        return {};
    }

private:
    StreamPtr source_;
    Map map_;
};

template <typename Map> StreamPtr mapStream(StreamPtr source, Map map) {
    return std::make_unique<MapStream<Map>>(std::move(source), std::move(map));
}

// Yields every value of `expand(value)` for each value of the source; `enter`
// runs before each pull from an inner stream (to rebind `it`).
template <typename Expand, typename Enter> class FlatStream : public Stream {
public:
    FlatStream(StreamPtr source, Expand expand, Enter enter)
        : source_(std::move(source)), expand_(std::move(expand)), enter_(std::move(enter)) {}
    Ref next(Runtime& runtime) override {
        while (true) {
            if (inner_) {
                enter_(current_);
                if (Ref value = inner_->next(runtime))
                    return value;
                inner_.reset();
            }
            current_ = source_->next(runtime);
            if (!current_)
                return {};
            enter_(current_);
            inner_ = expand_(current_);
        }
    }

private:
    StreamPtr source_;
    Expand expand_;
    Enter enter_;
    Ref current_;
    StreamPtr inner_;
};

template <typename Expand, typename Enter>
StreamPtr flatStream(StreamPtr source, Expand expand, Enter enter) {
    return std::make_unique<FlatStream<Expand, Enter>>(std::move(source), std::move(expand),
                                                       std::move(enter));
}

class IteratorStream : public Stream {
public:
    IteratorStream(PropertyRecord const& record, Type const& resultType, Ref iterator)
        : record_(record), resultType_(resultType), iterator_(std::move(iterator)) {}

    Ref next(Runtime& runtime) override {
        if (!iterator_)
            return {};
        auto& state = static_cast<IteratorBox&>(*iterator_.get());
        prepareSlot();
        PropertyThunk thunk = started_ ? record_.next : record_.first;
        runtime.step();
        try {
            thunk(last_.bytes(), state.keep[1] ? state.keep[1].bytes() : nullptr,
                  state.keep[0] ? state.keep[0].bytes() : nullptr, state.state, record_.userData);
        } catch (NoSuchObject const&) {
            iterator_ = Ref();
            last_ = Ref();
            return {};
        }
        started_ = true;
        box(last_).constructed = true;
        return last_;
    }

private:
    // Makes last_ an empty slot for the next value: the previous value's box
    // when the consumer has let go of it (counting, filtering), else a new one.
    void prepareSlot() {
        if (!last_.unique()) {
            last_ = newValue(&resultType_);
            box(last_).keep[0] = iterator_;
            return;
        }
        // The box already keeps this iterator; only the previous value goes.
        destroyValue(box(last_));
    }

    PropertyRecord const& record_;
    Type const& resultType_;
    Ref iterator_;
    Ref last_;
    bool started_ = false;
};

// A plain property of each value of a plural object, in one result box that
// is reused while the consumer lets go of each result before the next.
class PlainPropertyStream : public Stream {
public:
    PlainPropertyStream(PropertyNode const& node, StreamPtr objects, Ref index)
        : node_(node), objects_(std::move(objects)), index_(std::move(index)) {}

    Ref next(Runtime& runtime) override {
        // The previous result and its object go first, so that the object's
        // stream may reuse its box too.
        if (result_.unique()) {
            destroyValue(box(result_));
            box(result_).keep[0] = Ref();
        }
        while (Ref object = objects_->next(runtime))
            if (node_.applyPlainInto(runtime, result_, object, index_))
                return result_;
        return {};
    }

private:
    PropertyNode const& node_;
    StreamPtr objects_;
    Ref index_;
    Ref result_;
};

class ConcatStream : public Stream {
public:
    ConcatStream(std::vector<NodePtr> const& items) : items_(items) {}
    Ref next(Runtime& runtime) override {
        while (position_ < items_.size()) {
            if (!current_)
                current_ = items_[position_]->open(runtime);
            if (Ref value = current_->next(runtime))
                return value;
            current_.reset();
            ++position_;
        }
        return {};
    }

private:
    std::vector<NodePtr> const& items_;
    std::size_t position_ = 0;
    StreamPtr current_;
};

class BundleStream : public Stream {
public:
    explicit BundleStream(Ref bundle) : bundle_(std::move(bundle)) {}
    Ref next(Runtime&) override {
        auto& items = static_cast<Bundle&>(*bundle_.get());
        return position_ < items.count ? items.items[position_++] : Ref();
    }

private:
    Ref bundle_;
    std::size_t position_ = 0;
};

} // namespace

StreamPtr iterate(Runtime&, PropertyRecord const& record, Type const& resultType, Ref object,
                  Ref index) {
    Ref iterator = newIterator(&record, std::move(object), std::move(index));
    return std::make_unique<IteratorStream>(record, resultType, std::move(iterator));
}

bool truth(Ref const& value) {
    return *static_cast<unsigned char const*>(value.bytes()) != 0;
}

Ref makeBoolean(Type const& type, bool value) {
    Ref result = newValue(&type);
    *static_cast<unsigned char*>(result.bytes()) = value ? 1 : 0;
    box(result).constructed = true;
    return result;
}

Ref makeInteger(Type const& type, integer value) {
    Ref result = newValue(&type);
    std::memcpy(result.bytes(), &value, sizeof value);
    box(result).constructed = true;
    return result;
}

Ref Node::one(Runtime& runtime) const {
    StreamPtr stream = open(runtime);
    Ref value = stream->next(runtime);
    if (value && stream->next(runtime))
        nonUnique();
    return value;
}

StreamPtr SingleNode::open(Runtime&) const {
    return std::make_unique<SingleStream>(*this);
}

LiteralNode::LiteralNode(std::shared_ptr<Type> t, std::string bytes) : bytes_(std::move(bytes)) {
    type = std::move(t);
    value_ = newValue(type.get());
    auto* string = static_cast<inspector_string*>(value_.bytes());
    string->pointer = reinterpret_cast<unsigned char const*>(bytes_.data());
    string->length = static_cast<std::uint32_t>(bytes_.size());
    box(value_).constructed = true;
}

LiteralNode::LiteralNode(std::shared_ptr<Type> t, integer value) {
    type = std::move(t);
    value_ = makeInteger(*type, value);
}

LiteralNode::LiteralNode(std::shared_ptr<Type> t, boolean value) {
    type = std::move(t);
    value_ = makeBoolean(*type, value);
}

PropertyNode::PropertyNode(std::shared_ptr<PropertyRecord> r, NodePtr o, NodePtr i)
    : record(std::move(r)), object(std::move(o)), index(std::move(i)) {}

Ref PropertyNode::indexValue(Runtime& runtime) const {
    return index ? index->one(runtime) : Ref();
}

Ref PropertyNode::applyPlain(Runtime& runtime, Ref const& objectValue,
                             Ref const& indexValue) const {
    Ref value;
    return applyPlainInto(runtime, value, objectValue, indexValue) ? value : Ref();
}

bool PropertyNode::applyPlainInto(Runtime& runtime, Ref& slot, Ref const& objectValue,
                                  Ref const& indexValue) const {
    if (slot.unique())
        destroyValue(box(slot));
    else
        slot = newValue(type.get());
    box(slot).keep[0] = objectValue;
    box(slot).keep[1] = indexValue;
    runtime.step();
    try {
        record->get(slot.bytes(), indexValue ? indexValue.bytes() : nullptr,
                    objectValue ? objectValue.bytes() : nullptr, nullptr, record->userData);
    } catch (NoSuchObject const&) {
        return false;
    }
    box(slot).constructed = true;
    return true;
}

StreamPtr PropertyNode::apply(Runtime& runtime, Ref objectValue, Ref indexValue) const {
    if (record->kind == PropertyRecord::Kind::Iterated)
        return iterate(runtime, *record, *type, std::move(objectValue), std::move(indexValue));
    return std::make_unique<ValueStream>(applyPlain(runtime, objectValue, indexValue));
}

StreamPtr PropertyNode::open(Runtime& runtime) const {
    Ref indexRef = indexValue(runtime);
    if (index && !indexRef)
        return std::make_unique<ValueStream>(Ref());
    if (!object)
        return apply(runtime, Ref(), std::move(indexRef));
    if (!object->plural) {
        Ref objectValue = object->one(runtime);
        if (!objectValue)
            return std::make_unique<ValueStream>(Ref());
        return apply(runtime, std::move(objectValue), std::move(indexRef));
    }
    // A plain property gives each object at most one value: no stream per object.
    if (record->kind != PropertyRecord::Kind::Iterated) {
        return std::make_unique<PlainPropertyStream>(*this, object->open(runtime),
                                                     std::move(indexRef));
    }
    return flatStream(
        object->open(runtime),
        [this, &runtime, indexRef](Ref const& value) { return apply(runtime, value, indexRef); },
        [](Ref const&) {});
}

Ref PropertyNode::one(Runtime& runtime) const {
    if (record->kind == PropertyRecord::Kind::Iterated)
        return Node::one(runtime);
    Ref objectValue;
    if (object) {
        objectValue = object->one(runtime);
        if (!objectValue)
            return {};
    }
    Ref indexRef = indexValue(runtime);
    if (index && !indexRef)
        return {};
    return applyPlain(runtime, objectValue, indexRef);
}

AggregateNode::AggregateNode(std::shared_ptr<PropertyRecord> record, NodePtr operand, NodePtr index)
    : record_(std::move(record)), operand_(std::move(operand)), index_(std::move(index)) {}

Ref AggregateNode::compute(Runtime& runtime) const {
    Ref indexRef;
    if (index_)
        indexRef = index_->need(runtime);
    StreamPtr values = operand_->open(runtime);
    return record_->aggregate(runtime, *values, *operand_->type, *type,
                              index_ ? &indexRef : nullptr);
}

StreamPtr AggregateNode::open(Runtime& runtime) const {
    Ref result = compute(runtime);
    if (result && record_->aggregateYieldsMany)
        return std::make_unique<BundleStream>(std::move(result));
    return std::make_unique<ValueStream>(std::move(result));
}

Ref AggregateNode::one(Runtime& runtime) const {
    if (record_->aggregateYieldsMany)
        return Node::one(runtime);
    return compute(runtime);
}

CastNode::CastNode(std::shared_ptr<CastRecord> record, NodePtr operand)
    : record_(std::move(record)), operand_(std::move(operand)) {}

Ref CastNode::convert(Ref const& value) const {
    Ref result = newValue(type.get());
    box(result).keep[0] = value;
    try {
        record_->thunk(result.bytes(), value.bytes(), record_->userData);
    } catch (NoSuchObject const&) {
        return {};
    }
    box(result).constructed = true;
    return result;
}

StreamPtr CastNode::open(Runtime& runtime) const {
    return mapStream(operand_->open(runtime), [this](Ref const& value) { return convert(value); });
}

Ref CastNode::one(Runtime& runtime) const {
    Ref value = operand_->one(runtime);
    return value ? convert(value) : Ref();
}

OperatorNode::OperatorNode(std::shared_ptr<OperatorRecord> record, NodePtr left, NodePtr right,
                           bool swapped, bool negated)
    : record_(std::move(record)), left_(std::move(left)), right_(std::move(right)),
      swapped_(swapped), negated_(negated) {}

Ref OperatorNode::one(Runtime& runtime) const {
    Ref left = left_->need(runtime);
    Ref right = right_->need(runtime);
    if (swapped_)
        std::swap(left, right);
    Ref result = newValue(type.get());
    box(result).keep[0] = left;
    box(result).keep[1] = right;
    runtime.step();
    try {
        record_->thunk(result.bytes(), left.bytes(), right.bytes(), record_->userData);
    } catch (NoSuchObject const&) {
        return {};
    }
    box(result).constructed = true;
    if (negated_) {
        auto* flag = static_cast<unsigned char*>(result.bytes());
        *flag = *flag ? 0 : 1;
    }
    return result;
}

Ref NegateNode::one(Runtime& runtime) const {
    // Integers and time intervals share the layout of one signed 64-bit number.
    Ref operand = operand_->need(runtime);
    std::int64_t value;
    std::memcpy(&value, operand.bytes(), sizeof value);
    value = CheckedNegate(value);
    Ref result = newValue(type.get());
    std::memcpy(result.bytes(), &value, sizeof value);
    box(result).constructed = true;
    return result;
}

Ref LogicNode::one(Runtime& runtime) const {
    Ref left = left_->need(runtime);
    switch (op_) {
    case Op::Not:
        return makeBoolean(*type, !truth(left));
    case Op::And:
        return truth(left) ? right_->need(runtime) : left;
    case Op::Or:
        return truth(left) ? left : right_->need(runtime);
    }
    return {};
}

Ref ExistsNode::one(Runtime& runtime) const {
    StreamPtr values = operand_->open(runtime);
    return makeBoolean(*type, static_cast<bool>(values->next(runtime)));
}

Ref CountNode::one(Runtime& runtime) const {
    StreamPtr values = operand_->open(runtime);
    integer count = 0;
    while (values->next(runtime))
        ++count;
    return makeInteger(*type, count);
}

Node const& IfNode::branch(Runtime& runtime) const {
    return truth(condition_->need(runtime)) ? *then_ : *otherwise_;
}

StreamPtr IfNode::open(Runtime& runtime) const {
    return branch(runtime).open(runtime);
}
Ref IfNode::one(Runtime& runtime) const {
    return branch(runtime).one(runtime);
}

bool WhoseNode::keep(Runtime& runtime, Ref const& value) const {
    runtime.it(slot_) = value;
    return truth(condition_->need(runtime));
}

StreamPtr WhoseNode::open(Runtime& runtime) const {
    return mapStream(source_->open(runtime), [this, &runtime](Ref const& value) {
        return keep(runtime, value) ? value : Ref();
    });
}

StreamPtr MapNode::open(Runtime& runtime) const {
    return flatStream(
        source_->open(runtime), [this, &runtime](Ref const&) { return body_->open(runtime); },
        [this, &runtime](Ref const& value) { runtime.it(slot_) = value; });
}

Ref MapNode::one(Runtime& runtime) const {
    Ref value = source_->one(runtime);
    if (!value)
        return {};
    runtime.it(slot_) = value;
    return body_->one(runtime);
}

StreamPtr CollectionNode::open(Runtime&) const {
    return std::make_unique<ConcatStream>(items_);
}

Ref TupleNode::one(Runtime& runtime) const {
    Ref bundle = newBundle(items_.size());
    auto& held = static_cast<Bundle&>(*bundle.get());
    for (std::size_t i = 0; i < items_.size(); ++i)
        held.items[i] = items_[i]->need(runtime);
    Ref result = newValue(type.get());
    auto* nodes = static_cast<tuple_node*>(result.bytes());
    for (std::size_t i = 0; i < items_.size(); ++i)
        nodes[i] =
            tuple_node{held.items[i].bytes(), i + 1 < items_.size() ? &nodes[i + 1] : nullptr};
    box(result).keep[0] = std::move(bundle);
    box(result).constructed = true;
    return result;
}

Ref ItemNode::item(Ref const& tuple) const {
    auto const* node = static_cast<tuple_node const*>(tuple.bytes());
    for (std::size_t i = 0; node && i < position_; ++i)
        node = node->next;
    if (!node || !node->value)
        return {};
    return newView(type.get(), const_cast<void*>(node->value), tuple);
}

StreamPtr ItemNode::open(Runtime& runtime) const {
    return mapStream(tuple_->open(runtime), [this](Ref const& tuple) { return item(tuple); });
}

Ref ItemNode::one(Runtime& runtime) const {
    Ref tuple = tuple_->one(runtime);
    return tuple ? item(tuple) : Ref();
}

} // namespace zor::detail
