// The bound expression: a typed tree whose nodes evaluate as lazy streams.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "evaluator/registry.h"
#include "evaluator/runtime.h"
#include "evaluator/value.h"

namespace zor::detail {

class Stream {
public:
    virtual ~Stream() = default;
    // The next value, or an empty Ref at the end.
    virtual Ref next(Runtime& runtime) = 0;
};
using StreamPtr = std::unique_ptr<Stream>;

[[noreturn]] void evaluationError(std::string const& message);
[[noreturn]] void nonexistent();
[[noreturn]] void nonUnique();

class Node {
public:
    virtual ~Node() = default;

    // Every value the expression yields, in order.
    virtual StreamPtr open(Runtime& runtime) const = 0;
    // The single value of a singular expression: empty when there is none,
    // nonUnique() when there are several.
    virtual Ref one(Runtime& runtime) const;

    // one(), where a missing value is an error.
    Ref need(Runtime& runtime) const {
        Ref value = one(runtime);
        if (!value)
            nonexistent();
        return value;
    }

    std::shared_ptr<Type> type;
    bool plural = false;
    int column = 0;
};
using NodePtr = std::unique_ptr<Node>;

// A node whose natural form is a single value; open() yields it (or nothing).
class SingleNode : public Node {
public:
    StreamPtr open(Runtime& runtime) const override;
    Ref one(Runtime& runtime) const override = 0;
};

class LiteralNode : public SingleNode {
public:
    LiteralNode(std::shared_ptr<Type> type, std::string bytes);
    LiteralNode(std::shared_ptr<Type> type, integer value);
    LiteralNode(std::shared_ptr<Type> type, boolean value);
    Ref one(Runtime&) const override { return value_; }

private:
    std::string bytes_;
    Ref value_;
};

class ItNode : public SingleNode {
public:
    explicit ItNode(int slot) : slot_(slot) {}
    Ref one(Runtime& runtime) const override { return runtime.it(slot_); }

private:
    int slot_;
};

// A registered property, applied to each value of its object (or to the world).
class PropertyNode : public Node {
public:
    PropertyNode(std::shared_ptr<PropertyRecord> record, NodePtr object, NodePtr index);
    StreamPtr open(Runtime& runtime) const override;
    Ref one(Runtime& runtime) const override;

    // The values for one object (and index): a plain property's value or
    // an iteration.
    StreamPtr apply(Runtime& runtime, Ref object, Ref index) const;
    Ref applyPlain(Runtime& runtime, Ref const& object, Ref const& index) const;
    // The same into `slot`, reusing its box when nothing else holds it;
    // false when the object has no such property.
    bool applyPlainInto(Runtime& runtime, Ref& slot, Ref const& object, Ref const& index) const;
    Ref indexValue(Runtime& runtime) const;

    std::shared_ptr<PropertyRecord> record;
    NodePtr object;
    NodePtr index;
};

// A phrase that reads the whole stream of its object (sum, minimum, ...).
class AggregateNode : public Node {
public:
    AggregateNode(std::shared_ptr<PropertyRecord> record, NodePtr operand, NodePtr index);
    StreamPtr open(Runtime& runtime) const override;
    Ref one(Runtime& runtime) const override;

private:
    Ref compute(Runtime& runtime) const;
    std::shared_ptr<PropertyRecord> record_;
    NodePtr operand_;
    NodePtr index_;
};

class CastNode : public Node {
public:
    CastNode(std::shared_ptr<CastRecord> record, NodePtr operand);
    StreamPtr open(Runtime& runtime) const override;
    Ref one(Runtime& runtime) const override;
    Ref convert(Ref const& value) const;

private:
    std::shared_ptr<CastRecord> record_;
    NodePtr operand_;
};

// A binary operator on two singular operands; relations may swap the
// operands (> from <) or negate the result (!= from =).
class OperatorNode : public SingleNode {
public:
    OperatorNode(std::shared_ptr<OperatorRecord> record, NodePtr left, NodePtr right, bool swapped,
                 bool negated);
    Ref one(Runtime& runtime) const override;

private:
    std::shared_ptr<OperatorRecord> record_;
    NodePtr left_, right_;
    bool swapped_, negated_;
};

class NegateNode : public SingleNode {
public:
    explicit NegateNode(NodePtr operand) : operand_(std::move(operand)) {}
    Ref one(Runtime& runtime) const override;

private:
    NodePtr operand_;
};

class LogicNode : public SingleNode {
public:
    enum class Op { And, Or, Not };
    LogicNode(Op op, NodePtr left, NodePtr right)
        : op_(op), left_(std::move(left)), right_(std::move(right)) {}
    Ref one(Runtime& runtime) const override;

private:
    Op op_;
    NodePtr left_, right_;
};

class ExistsNode : public SingleNode {
public:
    explicit ExistsNode(NodePtr operand) : operand_(std::move(operand)) {}
    Ref one(Runtime& runtime) const override;

private:
    NodePtr operand_;
};

class CountNode : public SingleNode {
public:
    explicit CountNode(NodePtr operand) : operand_(std::move(operand)) {}
    Ref one(Runtime& runtime) const override;

private:
    NodePtr operand_;
};

class IfNode : public Node {
public:
    IfNode(NodePtr condition, NodePtr then, NodePtr otherwise)
        : condition_(std::move(condition)), then_(std::move(then)),
          otherwise_(std::move(otherwise)) {}
    StreamPtr open(Runtime& runtime) const override;
    Ref one(Runtime& runtime) const override;

private:
    Node const& branch(Runtime& runtime) const;
    NodePtr condition_, then_, otherwise_;
};

class WhoseNode : public Node {
public:
    WhoseNode(NodePtr source, NodePtr condition, int slot)
        : source_(std::move(source)), condition_(std::move(condition)), slot_(slot) {}
    // one() is the stream's: uniqueness is judged after filtering.
    StreamPtr open(Runtime& runtime) const override;
    bool keep(Runtime& runtime, Ref const& value) const;

private:
    NodePtr source_, condition_;
    int slot_;
};

// (E) of R: E once for each value of R, with `it` bound to that value.
class MapNode : public Node {
public:
    MapNode(NodePtr body, NodePtr source, int slot)
        : body_(std::move(body)), source_(std::move(source)), slot_(slot) {}
    StreamPtr open(Runtime& runtime) const override;
    Ref one(Runtime& runtime) const override;

private:
    NodePtr body_, source_;
    int slot_;
};

class CollectionNode : public Node {
public:
    explicit CollectionNode(std::vector<NodePtr> items) : items_(std::move(items)) {}
    StreamPtr open(Runtime& runtime) const override;

private:
    std::vector<NodePtr> items_;
};

class TupleNode : public SingleNode {
public:
    explicit TupleNode(std::vector<NodePtr> items) : items_(std::move(items)) {}
    Ref one(Runtime& runtime) const override;

private:
    std::vector<NodePtr> items_;
};

// item N of a tuple: a view of the item inside the tuple value.
class ItemNode : public Node {
public:
    ItemNode(std::size_t position, NodePtr tuple) : position_(position), tuple_(std::move(tuple)) {}
    StreamPtr open(Runtime& runtime) const override;
    Ref one(Runtime& runtime) const override;
    Ref item(Ref const& tuple) const;

private:
    std::size_t position_;
    NodePtr tuple_;
};

// Streams over the values of an iterated property for one object.
StreamPtr iterate(Runtime& runtime, PropertyRecord const& record, Type const& resultType,
                  Ref object, Ref index);

bool truth(Ref const& value);
Ref makeBoolean(Type const& type, bool value);
Ref makeInteger(Type const& type, integer value);

} // namespace zor::detail
