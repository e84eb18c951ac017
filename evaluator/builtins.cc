// Phrases the evaluator answers itself because they read a whole stream
// (sum, minimum, concatenation, ...) or depend on the expression's own tuple
// types. They go into the same tables as every registration, so listings are
// complete.
#include <algorithm>
#include <cstring>
#include <limits>

#include "evaluator/helpers.h"
#include "evaluator/nodes.h"
#include "evaluator/values.h"

namespace zor::detail {
namespace {

std::int64_t number(Ref const& value) {
    std::int64_t n;
    std::memcpy(&n, value.bytes(), sizeof n);
    return n;
}

Ref sum(Runtime& runtime, Stream& values, Type const&, Type const& result, Ref const*) {
    std::int64_t total = 0;
    while (Ref value = values.next(runtime))
        total = CheckedAdd(total, number(value));
    return makeInteger(result, total);
}

// Orders two values with the "<" the registrations define for their type.
class Order {
public:
    explicit Order(Type const& type) {
        auto& registry = Registry::instance();
        auto shared = registry.type(type.name);
        less_ = shared ? registry.findOperator(kOperatorLess, shared, shared) : nullptr;
        if (!less_)
            evaluationError("values of type \"" + type.name + "\" cannot be ordered");
    }
    bool operator()(Ref const& a, Ref const& b) const {
        unsigned char result = 0;
        less_->thunk(&result, a.bytes(), b.bytes(), less_->userData);
        return result != 0;
    }

private:
    std::shared_ptr<OperatorRecord> less_;
};

template <bool Largest>
Ref extreme(Runtime& runtime, Stream& values, Type const& element, Type const&, Ref const*) {
    Order less(element);
    Ref best = values.next(runtime);
    while (Ref value = values.next(runtime))
        if (Largest ? less(best, value) : less(value, best))
            best = std::move(value);
    return best;
}

std::string_view bytesOf(Ref const& value) {
    auto const* s = static_cast<inspector_string const*>(value.bytes());
    return {reinterpret_cast<char const*>(s->pointer), s->length};
}

Ref concatenation(Runtime& runtime, Stream& values, Type const&, Type const& result,
                  Ref const* separator) {
    std::string joined;
    bool first = true;
    while (Ref value = values.next(runtime)) {
        if (!first && separator)
            joined += bytesOf(*separator);
        joined += bytesOf(value);
        first = false;
    }
    if (joined.size() > std::numeric_limits<std::uint32_t>::max())
        evaluationError("the concatenation is longer than a string can be");
    auto* memory = static_cast<unsigned char*>(runtime.allocate(joined.size()));
    std::memcpy(memory, joined.data(), joined.size());
    Ref text = newValue(&result);
    *static_cast<inspector_string*>(text.bytes()) =
        inspector_string{memory, static_cast<std::uint32_t>(joined.size())};
    box(text).constructed = true;
    return text;
}

Ref uniqueValues(Runtime& runtime, Stream& values, Type const& element, Type const&, Ref const*) {
    Order less(element);
    std::vector<Ref> all;
    while (Ref value = values.next(runtime))
        all.push_back(std::move(value));
    std::stable_sort(all.begin(), all.end(), less);
    auto end = std::unique(all.begin(), all.end(),
                           [&](Ref const& a, Ref const& b) { return !less(a, b) && !less(b, a); });
    Ref bundle = newBundle(static_cast<std::size_t>(end - all.begin()));
    auto& items = static_cast<Bundle&>(*bundle.get());
    std::move(all.begin(), end, items.items);
    return bundle;
}

void itemPlaceholder(void*, void const*, void const*, void*, void const*) {}

struct Builtins {
    Builtins() {
        namespace n = type_names;
        for (char const* t : {n::integer, n::time_interval})
            registerAggregate("sum", "", "", t, t, sum, false);
        for (char const* t : {n::integer, n::time, n::time_interval, n::version, n::string,
                              n::ipv4_address, n::hertz}) {
            registerAggregate("minimum", "", "", t, t, extreme<false>, false);
            registerAggregate("maximum", "", "", t, t, extreme<true>, false);
        }
        registerAggregate("concatenation", "", "", n::string, n::string, concatenation, false);
        registerAggregate("concatenation", "", n::string, n::string, n::string, concatenation,
                          false);
        for (char const* t : {n::integer, n::time, n::version, n::string})
            registerAggregate("unique value", "unique values", "", t, t, uniqueValues, true);
        // "item N of" is resolved by the binder for each tuple type; this entry
        // only makes it appear in listings.
        Register_Property(&itemBlock, sizeof itemBlock, "item", "items", n::integer, "tuple",
                          "the item's type", itemPlaceholder, nullptr, nullptr);
    }
    void* itemBlock[2] = {};
};

Builtins const builtins;

} // namespace
} // namespace zor::detail
