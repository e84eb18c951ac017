#include "evaluator/binder.h"

#include "evaluator/evaluator.h"
#include "evaluator/values.h"

namespace zor::detail {
namespace {

[[noreturn]] void bindingError(int column, std::string const& message) {
    throw ExpressionError(ExpressionError::Kind::Binding, column, message);
}

std::string quoted(std::string const& text) {
    return "\"" + text + "\"";
}

struct OperatorSpelling {
    int code;
    bool swapped;
    char const* symbol;
};

OperatorSpelling arithmetic(std::string const& symbol) {
    if (symbol == "+")
        return {kOperatorPlus, false, "+"};
    if (symbol == "-")
        return {kOperatorMinus, false, "-"};
    if (symbol == "*")
        return {kOperatorTimes, false, "*"};
    if (symbol == "/")
        return {kOperatorDivide, false, "/"};
    if (symbol == "mod")
        return {kOperatorMod, false, "mod"};
    return {kOperatorConcatenate, false, "&"};
}

OperatorSpelling relation(Relation relation) {
    switch (relation) {
    case Relation::Equal:
        return {kOperatorEqual, false, "="};
    case Relation::Less:
        return {kOperatorLess, false, "<"};
    case Relation::LessOrEqual:
        return {kOperatorLessOrEqual, false, "<="};
    case Relation::Greater:
        return {kOperatorLess, true, ">"};
    case Relation::GreaterOrEqual:
        return {kOperatorLessOrEqual, true, ">="};
    case Relation::StartsWith:
        return {kOperatorStartsWith, false, "starts with"};
    case Relation::EndsWith:
        return {kOperatorEndsWith, false, "ends with"};
    case Relation::Contains:
        return {kOperatorContains, false, "contains"};
    }
    return {kOperatorEqual, false, "="};
}

class Binder {
public:
    BoundExpression run(Syntax const& syntax) {
        BoundExpression bound;
        bound.generation = registry_.generation();
        bound.root = bind(syntax);
        bound.live = std::move(live_);
        bound.fingerprints = std::move(fingerprints_);
        bound.cacheable = cacheable_;
        return bound;
    }

private:
    template <typename NodeType>
    NodePtr finish(std::unique_ptr<NodeType> node, std::shared_ptr<Type> type, bool plural,
                   int column) {
        node->type = std::move(type);
        node->plural = plural;
        node->column = column;
        live_.push_back(&node->type->live);
        return node;
    }

    template <typename Record> void use(Record const& record) {
        live_.push_back(&record->live);
        if (record->fingerprint)
            fingerprints_.push_back(record->fingerprint);
        else
            cacheable_ = false;
    }

    std::shared_ptr<Type> typeNamed(std::string const& name, int column) {
        auto type = registry_.type(name);
        if (!type)
            bindingError(column, "type " + quoted(name) + " is not registered");
        return type;
    }

    void requireSingular(Node const& node, Syntax const& syntax, char const* where) {
        if (node.plural)
            bindingError(syntax.column, std::string("a plural expression cannot be used as ") +
                                            where + ": a single value is needed");
    }

    void requireType(Node const& node, Syntax const& syntax, char const* typeName,
                     char const* where) {
        requireSingular(node, syntax, where);
        if (!registry_.derivesFrom(*node.type, typeName))
            bindingError(syntax.column, std::string(where) + " must be of type " +
                                            quoted(typeName) + ", not " + quoted(node.type->name));
    }

    // The type both branches or items share: equal, or one derived from the other.
    std::shared_ptr<Type> common(std::shared_ptr<Type> const& a, std::shared_ptr<Type> const& b,
                                 int column) {
        if (registry_.derivesFrom(*a, b->name))
            return b;
        if (registry_.derivesFrom(*b, a->name))
            return a;
        bindingError(column, "values of types " + quoted(a->name) + " and " + quoted(b->name) +
                                 " cannot be mixed");
    }

    NodePtr bind(Syntax const& s) {
        using K = Syntax::Kind;
        switch (s.kind) {
        case K::Integer:
            return withWhose(s, literal(s, type_names::integer, integer{s.number}));
        case K::String:
            return withWhose(s, literal(s, type_names::string, s.text));
        case K::Boolean:
            return withWhose(s, literal(s, type_names::boolean, boolean{s.number != 0}));
        case K::It:
            if (scopes_.empty())
                bindingError(s.column, "\"it\" has no meaning here: it stands for each value "
                                       "inside \"whose (...)\" or \"(...) of\"");
            return withWhose(s,
                             finish(std::make_unique<ItNode>(static_cast<int>(scopes_.size()) - 1),
                                    scopes_.back(), false, s.column));
        case K::Phrase:
            return withWhose(s, phrase(s));
        case K::Group:
            return withWhose(s, group(s));
        case K::Cast:
            return cast(s);
        case K::Negate:
            return negate(s);
        case K::Not:
        case K::And:
        case K::Or:
            return logic(s);
        case K::Exists: {
            auto operand = bind(*s.operands[0]);
            return finish(std::make_unique<ExistsNode>(std::move(operand)),
                          typeNamed(type_names::boolean, s.column), false, s.column);
        }
        case K::NumberOf: {
            auto operand = bind(*s.operands[0]);
            return finish(std::make_unique<CountNode>(std::move(operand)),
                          typeNamed(type_names::integer, s.column), false, s.column);
        }
        case K::Arithmetic:
            return binaryOperator(s, arithmetic(s.text), false);
        case K::Relation:
            return binaryOperator(s, relation(s.relation), s.negated);
        case K::If:
            return conditional(s);
        case K::Tuple:
            return tuple(s);
        case K::Collection:
            return collection(s);
        }
        bindingError(s.column, "unsupported expression");
    }

    template <typename Value> NodePtr literal(Syntax const& s, char const* typeName, Value value) {
        auto type = typeNamed(typeName, s.column);
        return finish(std::make_unique<LiteralNode>(type, std::move(value)), type, false, s.column);
    }

    NodePtr withWhose(Syntax const& s, NodePtr node) {
        for (auto const& condition : s.whose) {
            auto type = node->type;
            bool plural = node->plural;
            int slot = static_cast<int>(scopes_.size());
            scopes_.push_back(type);
            auto test = bind(*condition);
            scopes_.pop_back();
            requireType(*test, *condition, type_names::boolean, "the condition of \"whose\"");
            node = finish(std::make_unique<WhoseNode>(std::move(node), std::move(test), slot), type,
                          plural, s.column);
        }
        return node;
    }

    NodePtr group(Syntax const& s) {
        Syntax const& inner = *s.operands[0];
        if (!s.object)
            return bind(inner);
        auto source = bind(*s.object);
        int slot = static_cast<int>(scopes_.size());
        scopes_.push_back(source->type);
        auto body = bind(inner);
        scopes_.pop_back();
        bool plural = source->plural || body->plural;
        auto type = body->type;
        return finish(std::make_unique<MapNode>(std::move(body), std::move(source), slot), type,
                      plural, s.column);
    }

    NodePtr phrase(Syntax const& s) {
        NodePtr object = s.object ? bind(*s.object) : nullptr;
        NodePtr index;
        if (s.index) {
            index = bind(*s.index);
            requireSingular(*index, *s.index, "an index");
        }
        if (object && object->type->isTuple() && s.text == "item")
            return item(s, std::move(object), *s.index);
        bool pluralForm = false;
        auto record = findProperty(s, index.get(), object.get(), pluralForm);
        use(record);
        auto resultType = typeNamed(record->resultType, s.column);
        if (record->kind == PropertyRecord::Kind::Aggregate) {
            bool plural = record->aggregateYieldsMany;
            return finish(
                std::make_unique<AggregateNode>(record, std::move(object), std::move(index)),
                resultType, plural, s.column);
        }
        bool plural = pluralForm || (object && object->plural);
        return finish(std::make_unique<PropertyNode>(record, std::move(object), std::move(index)),
                      resultType, plural, s.column);
    }

    NodePtr item(Syntax const& s, NodePtr tuple, Syntax const& position) {
        if (position.kind != Syntax::Kind::Integer)
            bindingError(position.column, "the index of \"item\" must be a number");
        auto const& items = tuple->type->items;
        if (position.number < 0 || static_cast<std::size_t>(position.number) >= items.size())
            bindingError(position.column, "a tuple of type " + quoted(tuple->type->name) +
                                              " has no item " + std::to_string(position.number));
        auto type = items[static_cast<std::size_t>(position.number)];
        bool plural = tuple->plural;
        return finish(
            std::make_unique<ItemNode>(static_cast<std::size_t>(position.number), std::move(tuple)),
            type, plural, s.column);
    }

    // Which registration a phrase means: by singular or plural form, object
    // type (most derived first), index type, and for the same keys, a plain
    // property in singular form and an iterated one in plural form.
    std::shared_ptr<PropertyRecord> findProperty(Syntax const& s, Node const* index,
                                                 Node const* object, bool& pluralForm) {
        auto objects =
            object ? registry_.lineage(object->type) : std::vector<std::shared_ptr<Type>>{nullptr};
        auto indexes =
            index ? registry_.lineage(index->type) : std::vector<std::shared_ptr<Type>>{nullptr};
        bool known = false;
        for (bool plural : {false, true}) {
            auto const& candidates = registry_.properties(s.text, plural);
            known = known || !candidates.empty();
            for (auto const& o : objects)
                for (auto const& i : indexes)
                    if (auto record = pick(candidates, o.get(), i.get(), plural)) {
                        pluralForm = plural;
                        return record;
                    }
        }
        std::string of = object ? " of type " + quoted(object->type->name) : " of the world";
        if (!known)
            bindingError(s.column, "unknown phrase " + quoted(s.text) + (object ? of : ""));
        if (hasObjectMatch(s.text, objects))
            bindingError(s.column,
                         "phrase " + quoted(s.text) + of +
                             (index ? " takes no index of type " + quoted(index->type->name)
                                    : std::string(" needs an index")));
        bindingError(s.column, "unknown phrase " + quoted(s.text) + of);
    }

    static std::shared_ptr<PropertyRecord>
    pick(std::vector<std::shared_ptr<PropertyRecord>> const& candidates, Type const* object,
         Type const* index, bool plural) {
        std::shared_ptr<PropertyRecord> best;
        for (auto const& record : candidates) {
            if (record->objectType != (object ? object->name : std::string()) ||
                record->indexType != (index ? index->name : std::string()))
                continue;
            bool iterates = record->kind != PropertyRecord::Kind::Plain;
            if (iterates == plural)
                return record;
            if (!best)
                best = record;
        }
        return best;
    }

    bool hasObjectMatch(std::string const& words,
                        std::vector<std::shared_ptr<Type>> const& objects) {
        for (bool plural : {false, true})
            for (auto const& record : registry_.properties(words, plural))
                for (auto const& o : objects)
                    if (record->objectType == (o ? o->name : std::string()))
                        return true;
        return false;
    }

    NodePtr cast(Syntax const& s) {
        auto operand = bind(*s.operands[0]);
        if (registry_.casts(s.text).empty())
            bindingError(s.column, "unknown type " + quoted(s.text) + " after \"as\"");
        auto record = registry_.findCast(s.text, operand->type);
        if (!record)
            bindingError(s.column,
                         "no cast from " + quoted(operand->type->name) + " to " + quoted(s.text));
        use(record);
        bool plural = operand->plural;
        return finish(std::make_unique<CastNode>(record, std::move(operand)),
                      typeNamed(record->targetType, s.column), plural, s.column);
    }

    NodePtr negate(Syntax const& s) {
        auto operand = bind(*s.operands[0]);
        requireSingular(*operand, *s.operands[0], "the operand of \"-\"");
        if (!registry_.derivesFrom(*operand->type, type_names::integer) &&
            !registry_.derivesFrom(*operand->type, type_names::time_interval))
            bindingError(s.column, "\"-\" needs an integer or a time interval, not " +
                                       quoted(operand->type->name));
        auto type = operand->type;
        return finish(std::make_unique<NegateNode>(std::move(operand)), type, false, s.column);
    }

    NodePtr logic(Syntax const& s) {
        using K = Syntax::Kind;
        char const* where = s.kind == K::Not   ? "the operand of \"not\""
                            : s.kind == K::And ? "an operand of \"and\""
                                               : "an operand of \"or\"";
        auto left = bind(*s.operands[0]);
        requireType(*left, *s.operands[0], type_names::boolean, where);
        NodePtr right;
        if (s.kind != K::Not) {
            right = bind(*s.operands[1]);
            requireType(*right, *s.operands[1], type_names::boolean, where);
        }
        auto op = s.kind == K::Not   ? LogicNode::Op::Not
                  : s.kind == K::And ? LogicNode::Op::And
                                     : LogicNode::Op::Or;
        return finish(std::make_unique<LogicNode>(op, std::move(left), std::move(right)),
                      typeNamed(type_names::boolean, s.column), false, s.column);
    }

    NodePtr binaryOperator(Syntax const& s, OperatorSpelling spelling, bool negated) {
        std::string where = std::string("an operand of \"") + spelling.symbol + "\"";
        auto left = bind(*s.operands[0]);
        requireSingular(*left, *s.operands[0], where.c_str());
        auto right = bind(*s.operands[1]);
        requireSingular(*right, *s.operands[1], where.c_str());
        auto record = spelling.swapped
                          ? registry_.findOperator(spelling.code, right->type, left->type)
                          : registry_.findOperator(spelling.code, left->type, right->type);
        if (!record)
            bindingError(s.column, std::string("no operator \"") + spelling.symbol + "\" for " +
                                       quoted(left->type->name) + " and " +
                                       quoted(right->type->name));
        use(record);
        auto type = typeNamed(record->resultType, s.column);
        if (negated && !registry_.derivesFrom(*type, type_names::boolean))
            bindingError(s.column, "a negated relation needs a boolean operator");
        return finish(std::make_unique<OperatorNode>(record, std::move(left), std::move(right),
                                                     spelling.swapped, negated),
                      type, false, s.column);
    }

    NodePtr conditional(Syntax const& s) {
        auto condition = bind(*s.operands[0]);
        requireType(*condition, *s.operands[0], type_names::boolean, "the condition of \"if\"");
        auto then = bind(*s.operands[1]);
        auto otherwise = bind(*s.operands[2]);
        auto type = common(then->type, otherwise->type, s.operands[2]->column);
        bool plural = then->plural || otherwise->plural;
        return finish(
            std::make_unique<IfNode>(std::move(condition), std::move(then), std::move(otherwise)),
            type, plural, s.column);
    }

    NodePtr tuple(Syntax const& s) {
        std::vector<NodePtr> items;
        std::vector<std::shared_ptr<Type>> types;
        for (auto const& operand : s.operands) {
            items.push_back(bind(*operand));
            requireSingular(*items.back(), *operand, "a tuple item");
            types.push_back(items.back()->type);
        }
        return finish(std::make_unique<TupleNode>(std::move(items)),
                      registry_.tupleType(std::move(types)), false, s.column);
    }

    NodePtr collection(Syntax const& s) {
        std::vector<NodePtr> items;
        std::shared_ptr<Type> type;
        for (auto const& operand : s.operands) {
            items.push_back(bind(*operand));
            type = type ? common(type, items.back()->type, operand->column) : items.back()->type;
        }
        return finish(std::make_unique<CollectionNode>(std::move(items)), type, true, s.column);
    }

    Registry& registry_ = Registry::instance();
    std::vector<std::shared_ptr<Type>> scopes_; // the type `it` has, innermost last
    std::vector<bool const*> live_;
    std::vector<FingerprintFunction> fingerprints_;
    bool cacheable_ = true;
};

} // namespace

BoundExpression bind(Syntax const& syntax) {
    return Binder().run(syntax);
}

} // namespace zor::detail
