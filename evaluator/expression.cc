// The host API: compile, evaluate, format answers, list registrations.
#include <cxxabi.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <typeinfo>

#include "evaluator/binder.h"
#include "evaluator/errors.h"
#include "evaluator/evaluator.h"
#include "evaluator/values.h"

namespace zor {

struct Expression::Impl {
    std::string text;
    std::string typeName;
    bool plural = false;
    detail::BoundExpression bound;

    void bindText() {
        auto syntax = detail::parse(text);
        bound = detail::bind(*syntax);
        typeName = bound.root->type->name;
        plural = bound.root->plural;
    }

    // A registration the tree uses was withdrawn: bind again against what is
    // live now, or fail with the binding error.
    void refresh() {
        if (bound.generation != detail::Registry::instance().generation() && bound.withdrawn())
            bindText();
    }
};

namespace {

std::string demangled(std::type_info const& type) {
    int status = 0;
    std::unique_ptr<char, void (*)(void*)> name(
        abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), std::free);
    return status == 0 && name ? name.get() : type.name();
}

// Names an inspector's exception, with its message when it has one of its own.
std::string describe(DebuggableException const& e) {
    std::string name = demangled(typeid(e));
    std::string what = e.what();
    if (what == name || what == "DebuggableException")
        return name;
    return name + ": " + what;
}

detail::Type const& typeOf(void const* type) {
    return *static_cast<detail::Type const*>(type);
}

std::string text(std::shared_ptr<detail::Type> const& type, void const* bytes);

std::string tupleText(detail::Type const& type, void const* bytes) {
    std::string result;
    auto const* node = static_cast<tuple_node const*>(bytes);
    for (std::size_t i = 0; i < type.items.size() && node; ++i, node = node->next) {
        if (i)
            result += ", ";
        result += text(type.items[i], node->value);
    }
    return result;
}

std::string text(std::shared_ptr<detail::Type> const& type, void const* bytes) {
    auto& registry = detail::Registry::instance();
    if (type->isTuple())
        return tupleText(*type, bytes);
    if (registry.derivesFrom(*type, type_names::string)) {
        auto const* s = static_cast<inspector_string const*>(bytes);
        return std::string(reinterpret_cast<char const*>(s->pointer), s->length);
    }
    auto cast = registry.findCast(type_names::string, type);
    if (!cast)
        return "<" + type->name + ">";
    inspector_string result{nullptr, 0};
    cast->thunk(&result, bytes, cast->userData);
    return std::string(reinterpret_cast<char const*>(result.pointer), result.length);
}

} // namespace

std::string const& Answer::typeName() const {
    return typeOf(type_).name;
}

std::string Answer::text() const {
    auto& registry = detail::Registry::instance();
    auto type = registry.type(typeOf(type_).name);
    if (!type)
        return "<" + typeOf(type_).name + ">";
    return zor::text(type, bytes_);
}

integer Answer::asInteger() const {
    integer value;
    std::memcpy(&value, bytes_, sizeof value);
    return value;
}

bool Answer::asBoolean() const {
    return *static_cast<unsigned char const*>(bytes_) != 0;
}

std::string_view Answer::asString() const {
    auto const* s = static_cast<inspector_string const*>(bytes_);
    return {reinterpret_cast<char const*>(s->pointer), s->length};
}

Expression Expression::compile(std::string_view text) {
    auto impl = std::make_shared<Impl>();
    impl->text = std::string(text);
    impl->bindText();
    return Expression(std::move(impl));
}

std::string const& Expression::text() const {
    return impl_->text;
}
std::string const& Expression::typeName() const {
    return impl_->typeName;
}
bool Expression::plural() const {
    return impl_->plural;
}
bool Expression::cacheable() const {
    return impl_->bound.cacheable;
}

std::uint64_t Expression::fingerprint(EvaluationOptions const& options) const {
    impl_->refresh();
    ScopedInspectorContext context(options.context);
    Fingerprinter fingerprinter;
    for (auto function : impl_->bound.fingerprints)
        function(fingerprinter);
    return fingerprinter.value();
}

void Expression::evaluate(EvaluationOptions const& options,
                          std::function<void(Answer const&)> const& onAnswer) const {
    impl_->refresh();
    detail::Runtime runtime(options);
    detail::Node const& root = *impl_->bound.root;
    auto deliver = [&](detail::Ref const& value) {
        onAnswer(Answer(&value.type(), value.bytes()));
    };
    try {
        if (root.plural) {
            auto values = root.open(runtime);
            while (detail::Ref value = values->next(runtime)) {
                deliver(value);
                runtime.step();
            }
        } else {
            deliver(root.need(runtime));
        }
    } catch (ExpressionError const&) {
        throw;
    } catch (NoSuchObject const&) {
        detail::nonexistent();
    } catch (DebuggableException const& e) {
        detail::evaluationError(describe(e));
    } catch (std::exception const& e) {
        // Not one of the inspector classes, but the host still gets an error
        // that names it rather than an exception it cannot expect.
        detail::evaluationError(demangled(typeid(e)) + ": " + e.what());
    }
}

std::vector<std::string> Expression::answers(EvaluationOptions const& options) const {
    std::vector<std::string> result;
    evaluate(options, [&](Answer const& answer) { result.push_back(answer.text()); });
    return result;
}

std::vector<PhraseInfo> listRegistrations() {
    std::vector<PhraseInfo> result;
    detail::Registry::instance().forEach([&](detail::Registry::Entry const& entry) {
        if (entry.type)
            result.push_back({"type", entry.type->name, "", "", "", entry.type->baseName});
        if (auto const& p = entry.property) {
            static char const* const kinds[] = {"property", "iterated property", "aggregate",
                                                "property"};
            result.push_back({kinds[static_cast<int>(p->kind)], p->phrase, p->plural, p->indexType,
                              p->objectType, p->resultType});
        }
        if (auto const& c = entry.cast)
            result.push_back({"cast", c->phrase, "", "", c->sourceType, c->targetType});
        if (auto const& o = entry.op) {
            static char const* const symbols[] = {"?",         "+",        "-", "*",  "/",
                                                  "mod",       "=",        "<", "<=", "starts with",
                                                  "ends with", "contains", "&"};
            char const* symbol = o->code >= 0 && o->code <= 12 ? symbols[o->code] : "?";
            result.push_back({"operator", symbol, "", o->rightType, o->leftType, o->resultType});
        }
    });
    return result;
}

} // namespace zor
