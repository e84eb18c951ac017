// The registration tables: types, properties, casts and operators, keyed the
// way binding looks them up.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "evaluator/registration.h"

namespace zor::detail {

class Runtime;
class Ref;
class Stream;

struct Type {
    std::string name;
    unsigned long size = 0;
    DestroyFunction destroy = nullptr;
    std::string baseName;
    std::vector<std::shared_ptr<Type>> items; // for tuple types, the item types
    bool live = true;

    bool isTuple() const { return !items.empty(); }
};

// An aggregate reads a whole stream of values and yields a stream of results.
using AggregateFunction = Ref (*)(Runtime&, Stream&, Type const& elementType,
                                  Type const& resultType, Ref const* index);

struct PropertyRecord {
    enum class Kind { Plain, Iterated, Aggregate, Item };
    Kind kind = Kind::Plain;
    std::string phrase, plural, indexType, objectType, resultType;
    PropertyThunk get = nullptr;
    PropertyThunk first = nullptr;
    PropertyThunk next = nullptr;
    ConstructFunction construct = nullptr;
    DestroyFunction destroyState = nullptr;
    unsigned long stateSize = 0;
    void const* userData = nullptr;
    FingerprintFunction fingerprint = nullptr;
    AggregateFunction aggregate = nullptr;
    bool aggregateYieldsMany = false;
    bool live = true;
};

struct CastRecord {
    std::string phrase, sourceType, targetType;
    CastThunk thunk = nullptr;
    void const* userData = nullptr;
    FingerprintFunction fingerprint = nullptr;
    bool live = true;
};

struct OperatorRecord {
    int code = 0;
    std::string leftType, rightType, resultType;
    OperatorThunk thunk = nullptr;
    void const* userData = nullptr;
    FingerprintFunction fingerprint = nullptr;
    bool live = true;
};

class Registry {
public:
    static Registry& instance();

    void addType(void* block, std::shared_ptr<Type> type);
    void addProperty(void* block, std::shared_ptr<PropertyRecord> record);
    void addCast(void* block, std::shared_ptr<CastRecord> record);
    void addOperator(void* block, std::shared_ptr<OperatorRecord> record);
    void remove(void* block, char const* call);

    // A live type by name; tuple types ("( a, b )") are made on first use.
    std::shared_ptr<Type> type(std::string_view name);
    std::shared_ptr<Type> tupleType(std::vector<std::shared_ptr<Type>> items);
    std::shared_ptr<Type> base(Type const& type);
    // True when `type` is `ancestor` or derives from it.
    bool derivesFrom(Type const& type, std::string_view ancestor);

    // The type followed by its bases, most derived first.
    std::vector<std::shared_ptr<Type>> lineage(std::shared_ptr<Type> type);
    // The operator or cast that applies to these types, most derived match first.
    std::shared_ptr<OperatorRecord> findOperator(int code, std::shared_ptr<Type> const& left,
                                                 std::shared_ptr<Type> const& right);
    std::shared_ptr<CastRecord> findCast(std::string const& phrase,
                                         std::shared_ptr<Type> const& source);

    std::vector<std::shared_ptr<PropertyRecord>> const& properties(std::string const& words,
                                                                   bool plural) const;
    std::vector<std::shared_ptr<CastRecord>> const& casts(std::string const& phrase) const;
    std::vector<std::shared_ptr<OperatorRecord>> const& operators(int code) const;

    // Every live registration, in registration order.
    template <typename Visit> void forEach(Visit&& visit) const {
        for (auto const& entry : order_)
            visit(entry);
    }

    std::uint64_t generation() const { return generation_; }

    struct Entry {
        void* block;
        std::shared_ptr<Type> type;
        std::shared_ptr<PropertyRecord> property;
        std::shared_ptr<CastRecord> cast;
        std::shared_ptr<OperatorRecord> op;
    };

private:
    Registry() = default;
    void add(void* block, Entry entry);

    std::unordered_map<std::string, std::shared_ptr<Type>> types_;
    std::unordered_map<std::string, std::vector<std::shared_ptr<PropertyRecord>>> singular_;
    std::unordered_map<std::string, std::vector<std::shared_ptr<PropertyRecord>>> plural_;
    std::unordered_map<std::string, std::vector<std::shared_ptr<CastRecord>>> casts_;
    std::unordered_map<int, std::vector<std::shared_ptr<OperatorRecord>>> operators_;
    std::unordered_map<void*, std::size_t> blocks_; // block -> index in order_
    std::vector<Entry> order_;
    std::uint64_t generation_ = 0;
};

// Registers an evaluator-internal phrase that reads a whole stream.
void registerAggregate(char const* phrase, char const* plural, char const* indexType,
                       char const* elementType, char const* resultType, AggregateFunction function,
                       bool yieldsMany);

} // namespace zor::detail
