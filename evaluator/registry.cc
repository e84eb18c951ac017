#include "evaluator/registry.h"
#include "evaluator/values.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace zor::detail {
namespace {

std::string text(char const* s) {
    return s ? std::string(s) : std::string();
}

// Programming errors of a registering library: say so and stop, since a
// half-registered library would answer wrongly from then on.
[[noreturn]] void registrationFault(char const* call, std::string const& what) {
    std::fprintf(stderr, "zor evaluator: %s: %s\n", call, what.c_str());
    std::abort();
}

void checkBlock(char const* call, void* block, unsigned long size, unsigned long needed) {
    if (!block)
        registrationFault(call, "null registration block");
    if (size < needed)
        registrationFault(call, "registration block of " + std::to_string(size) + " bytes, need " +
                                    std::to_string(needed));
}

// Splits "( a, b, c )" into its item names; false when `name` is not a tuple name.
bool splitTupleName(std::string_view name, std::vector<std::string_view>& items) {
    if (name.size() < 4 || name.substr(0, 2) != "( " || name.substr(name.size() - 2) != " )")
        return false;
    std::string_view inner = name.substr(2, name.size() - 4);
    int depth = 0;
    std::size_t start = 0;
    for (std::size_t i = 0; i < inner.size(); ++i) {
        char c = inner[i];
        if (c == '(')
            ++depth;
        else if (c == ')')
            --depth;
        else if (c == ',' && depth == 0 && i + 1 < inner.size() && inner[i + 1] == ' ') {
            items.push_back(inner.substr(start, i - start));
            start = i + 2;
        }
    }
    items.push_back(inner.substr(start));
    return items.size() >= 2;
}

// The fields every kind of property registration shares.
std::shared_ptr<PropertyRecord> propertyRecord(PropertyRecord::Kind kind, char const* phrase,
                                               char const* plural, char const* indexType,
                                               char const* objectType, char const* resultType,
                                               void const* userData,
                                               FingerprintFunction fingerprint) {
    auto record = std::make_shared<PropertyRecord>();
    record->kind = kind;
    record->phrase = phrase;
    record->plural = text(plural);
    record->indexType = text(indexType);
    record->objectType = text(objectType);
    record->resultType = resultType;
    record->userData = userData;
    record->fingerprint = fingerprint;
    return record;
}

} // namespace

Registry& Registry::instance() {
    static Registry* registry = new Registry; // never destroyed: libraries unregister at exit
    return *registry;
}

void Registry::add(void* block, Entry entry) {
    if (blocks_.count(block))
        registrationFault("Register", "block registered twice without Unregister");
    blocks_[block] = order_.size();
    order_.push_back(std::move(entry));
    ++generation_;
}

void Registry::addType(void* block, std::shared_ptr<Type> type) {
    auto& slot = types_[type->name];
    if (slot && slot->live && !slot->isTuple())
        registrationFault("Register_Type", "type \"" + type->name + "\" is already registered");
    // A type derived from a tuple type is that tuple under a name of its own.
    if (auto base = this->base(*type); base && base->isTuple())
        type->items = base->items;
    slot = type;
    add(block, Entry{block, type, nullptr, nullptr, nullptr});
}

void Registry::addProperty(void* block, std::shared_ptr<PropertyRecord> record) {
    singular_[record->phrase].push_back(record);
    if (!record->plural.empty())
        plural_[record->plural].push_back(record);
    add(block, Entry{block, nullptr, record, nullptr, nullptr});
}

void Registry::addCast(void* block, std::shared_ptr<CastRecord> record) {
    casts_[record->phrase].push_back(record);
    add(block, Entry{block, nullptr, nullptr, record, nullptr});
}

void Registry::addOperator(void* block, std::shared_ptr<OperatorRecord> record) {
    operators_[record->code].push_back(record);
    add(block, Entry{block, nullptr, nullptr, nullptr, record});
}

namespace {
template <typename Map, typename Record>
void eraseFrom(Map& map, std::string const& key, Record const& record) {
    auto found = map.find(key);
    if (found == map.end())
        return;
    std::erase(found->second, record);
    if (found->second.empty())
        map.erase(found);
}
} // namespace

void Registry::remove(void* block, char const* call) {
    auto found = blocks_.find(block);
    if (found == blocks_.end())
        registrationFault(call, "block was never registered, or was withdrawn already");
    Entry& entry = order_[found->second];
    if (entry.type) {
        entry.type->live = false;
        auto slot = types_.find(entry.type->name);
        if (slot != types_.end() && slot->second == entry.type)
            types_.erase(slot);
        std::erase_if(types_, [&](auto const& named) {
            auto const& items = named.second->items;
            return std::find(items.begin(), items.end(), entry.type) != items.end();
        });
    }
    if (entry.property) {
        entry.property->live = false;
        eraseFrom(singular_, entry.property->phrase, entry.property);
        if (!entry.property->plural.empty())
            eraseFrom(plural_, entry.property->plural, entry.property);
    }
    if (entry.cast) {
        entry.cast->live = false;
        eraseFrom(casts_, entry.cast->phrase, entry.cast);
    }
    if (entry.op) {
        entry.op->live = false;
        auto ops = operators_.find(entry.op->code);
        if (ops != operators_.end())
            std::erase(ops->second, entry.op);
    }
    entry = Entry{};
    blocks_.erase(found);
    ++generation_;
}

std::shared_ptr<Type> Registry::type(std::string_view name) {
    auto found = types_.find(std::string(name));
    if (found != types_.end())
        return found->second;
    std::vector<std::string_view> itemNames;
    if (!splitTupleName(name, itemNames))
        return nullptr;
    std::vector<std::shared_ptr<Type>> items;
    for (auto itemName : itemNames) {
        auto item = type(itemName);
        if (!item)
            return nullptr;
        items.push_back(std::move(item));
    }
    return tupleType(std::move(items));
}

std::shared_ptr<Type> Registry::tupleType(std::vector<std::shared_ptr<Type>> items) {
    std::string name = "( ";
    for (std::size_t i = 0; i < items.size(); ++i)
        name += (i ? ", " : "") + items[i]->name;
    name += " )";
    auto& slot = types_[name];
    if (!slot) {
        slot = std::make_shared<Type>();
        slot->name = name;
        slot->size = sizeof(tuple_node) * items.size();
        slot->items = std::move(items);
    }
    return slot;
}

std::shared_ptr<Type> Registry::base(Type const& type) {
    if (type.baseName.empty())
        return nullptr;
    return this->type(type.baseName);
}

std::vector<std::shared_ptr<Type>> Registry::lineage(std::shared_ptr<Type> type) {
    std::vector<std::shared_ptr<Type>> chain;
    // Bounded, so that a cycle of base names cannot loop forever.
    for (; type && chain.size() < 64; type = base(*type))
        chain.push_back(type);
    return chain;
}

std::shared_ptr<OperatorRecord> Registry::findOperator(int code, std::shared_ptr<Type> const& left,
                                                       std::shared_ptr<Type> const& right) {
    auto const& candidates = operators(code);
    if (candidates.empty())
        return nullptr;
    auto rights = lineage(right);
    for (auto const& l : lineage(left))
        for (auto const& r : rights)
            for (auto const& record : candidates)
                if (record->leftType == l->name && record->rightType == r->name)
                    return record;
    return nullptr;
}

std::shared_ptr<CastRecord> Registry::findCast(std::string const& phrase,
                                               std::shared_ptr<Type> const& source) {
    auto const& candidates = casts(phrase);
    for (auto const& t : lineage(source))
        for (auto const& record : candidates)
            if (record->sourceType == t->name)
                return record;
    return nullptr;
}

bool Registry::derivesFrom(Type const& type, std::string_view ancestor) {
    if (type.name == ancestor)
        return true;
    for (auto b = base(type); b; b = base(*b))
        if (b->name == ancestor)
            return true;
    return false;
}

namespace {
template <typename Map> auto const& lookup(Map const& map, std::string const& key) {
    static typename Map::mapped_type const empty;
    auto found = map.find(key);
    return found == map.end() ? empty : found->second;
}
} // namespace

std::vector<std::shared_ptr<PropertyRecord>> const& Registry::properties(std::string const& words,
                                                                         bool plural) const {
    return lookup(plural ? plural_ : singular_, words);
}

std::vector<std::shared_ptr<CastRecord>> const& Registry::casts(std::string const& phrase) const {
    return lookup(casts_, phrase);
}

std::vector<std::shared_ptr<OperatorRecord>> const& Registry::operators(int code) const {
    static std::vector<std::shared_ptr<OperatorRecord>> const empty;
    auto found = operators_.find(code);
    return found == operators_.end() ? empty : found->second;
}

void registerAggregate(char const* phrase, char const* plural, char const* indexType,
                       char const* elementType, char const* resultType, AggregateFunction function,
                       bool yieldsMany) {
    auto record = propertyRecord(PropertyRecord::Kind::Aggregate, phrase, plural, indexType,
                                 elementType, resultType, nullptr, nullptr);
    record->aggregate = function;
    record->aggregateYieldsMany = yieldsMany;
    Registry::instance().addProperty(record.get(), record);
}

} // namespace zor::detail

using zor::detail::Registry;

extern "C" {

void Register_Type(void* block, unsigned long blockSize, char const* name, unsigned long valueSize,
                   DestroyFunction destroy, char const* baseName, int /*reserved*/) {
    zor::detail::checkBlock("Register_Type", block, blockSize, sizeof(void*));
    if (!name || !*name)
        zor::detail::registrationFault("Register_Type", "type without a name");
    auto type = std::make_shared<zor::detail::Type>();
    type->name = name;
    type->size = valueSize;
    type->destroy = destroy;
    type->baseName = zor::detail::text(baseName);
    Registry::instance().addType(block, std::move(type));
}

void Register_Property(void* block, unsigned long blockSize, char const* phrase, char const* plural,
                       char const* indexType, char const* objectType, char const* resultType,
                       PropertyThunk get, void const* userData, FingerprintFunction fingerprint) {
    zor::detail::checkBlock("Register_Property", block, blockSize, sizeof(void*));
    if (!phrase || !get || !resultType)
        zor::detail::registrationFault("Register_Property", "phrase, thunk and result type needed");
    auto record =
        zor::detail::propertyRecord(zor::detail::PropertyRecord::Kind::Plain, phrase, plural,
                                    indexType, objectType, resultType, userData, fingerprint);
    record->get = get;
    Registry::instance().addProperty(block, std::move(record));
}

void Register_Iterated_Property(void* block, unsigned long blockSize, char const* phrase,
                                char const* plural, char const* indexType, char const* objectType,
                                char const* resultType, unsigned long stateSize,
                                ConstructFunction construct, DestroyFunction destroy,
                                PropertyThunk first, PropertyThunk next, void const* userData,
                                FingerprintFunction fingerprint) {
    zor::detail::checkBlock("Register_Iterated_Property", block, blockSize, sizeof(void*));
    if (!phrase || !first || !next || !resultType)
        zor::detail::registrationFault("Register_Iterated_Property",
                                       "phrase, First and Next thunks and result type needed");
    auto record =
        zor::detail::propertyRecord(zor::detail::PropertyRecord::Kind::Iterated, phrase, plural,
                                    indexType, objectType, resultType, userData, fingerprint);
    record->stateSize = stateSize;
    record->construct = construct;
    record->destroyState = destroy;
    record->first = first;
    record->next = next;
    Registry::instance().addProperty(block, std::move(record));
}

void Register_Cast(void* block, unsigned long blockSize, char const* phrase, char const* sourceType,
                   char const* targetType, CastThunk cast, void const* userData,
                   FingerprintFunction fingerprint) {
    zor::detail::checkBlock("Register_Cast", block, blockSize, sizeof(void*));
    if (!phrase || !sourceType || !targetType || !cast)
        zor::detail::registrationFault("Register_Cast", "phrase, types and thunk needed");
    auto record = std::make_shared<zor::detail::CastRecord>();
    record->phrase = phrase;
    record->sourceType = sourceType;
    record->targetType = targetType;
    record->thunk = cast;
    record->userData = userData;
    record->fingerprint = fingerprint;
    Registry::instance().addCast(block, std::move(record));
}

void Register_Binary_Operator(void* block, unsigned long blockSize, int operatorCode,
                              char const* leftType, char const* rightType, char const* resultType,
                              OperatorThunk op, void const* userData,
                              FingerprintFunction fingerprint) {
    zor::detail::checkBlock("Register_Binary_Operator", block, blockSize, sizeof(void*));
    if (!leftType || !rightType || !resultType || !op)
        zor::detail::registrationFault("Register_Binary_Operator", "types and thunk needed");
    auto record = std::make_shared<zor::detail::OperatorRecord>();
    record->code = operatorCode;
    record->leftType = leftType;
    record->rightType = rightType;
    record->resultType = resultType;
    record->thunk = op;
    record->userData = userData;
    record->fingerprint = fingerprint;
    Registry::instance().addOperator(block, std::move(record));
}

void Unregister_Type(void* block) {
    Registry::instance().remove(block, "Unregister_Type");
}
void Unregister_Property(void* block) {
    Registry::instance().remove(block, "Unregister_Property");
}
void Unregister_Cast(void* block) {
    Registry::instance().remove(block, "Unregister_Cast");
}
void Unregister_Binary_Operator(void* block) {
    Registry::instance().remove(block, "Unregister_Binary_Operator");
}

} // extern "C"

std::string MakeTupleTypeName(char const* first, char const* second) {
    return std::string("( ") + first + ", " + second + " )";
}
