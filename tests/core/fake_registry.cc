#include "tests/core/fake_registry.h"

#include <algorithm>
#include <memory>

namespace fake {
namespace {

std::vector<Registration>& Table() {
    static std::vector<Registration> table;
    return table;
}

std::vector<std::unique_ptr<std::max_align_t[]>>& Blocks() {
    static std::vector<std::unique_ptr<std::max_align_t[]>> blocks;
    return blocks;
}

std::string Name(char const* text) {
    return text == nullptr ? std::string() : text;
}

template <class Match> Registration const& Single(Match match, std::string const& what) {
    Registration const* found = nullptr;
    for (Registration const& r : Table()) {
        if (!match(r))
            continue;
        if (found != nullptr)
            throw std::logic_error("more than one " + what);
        found = &r;
    }
    if (found == nullptr)
        throw std::logic_error("no " + what);
    return *found;
}

void Remove(void* block, char const* kind) {
    auto& table = Table();
    auto at = std::find_if(table.begin(), table.end(), [&](Registration const& r) {
        return r.block == block && r.kind.ends_with(kind);
    });
    if (at == table.end())
        throw std::logic_error(std::string("unregistering unknown ") + kind);
    table.erase(at);
}

} // namespace

std::vector<Registration> const& Registrations() {
    return Table();
}

Registration const& Type(std::string const& name) {
    return Single([&](Registration const& r) { return r.kind == "type" && r.phrase == name; },
                  "type " + name);
}

Registration const& Property(std::string const& phrase, std::string const& indexType,
                             std::string const& objectType) {
    return Single(
        [&](Registration const& r) {
            return (r.kind == "property" || r.kind == "iterated property") &&
                   (r.phrase == phrase || r.plural == phrase) && r.indexType == indexType &&
                   r.objectType == objectType;
        },
        "property " + phrase + " of " + objectType);
}

Registration const& Cast(std::string const& phrase, std::string const& sourceType) {
    return Single(
        [&](Registration const& r) {
            return r.kind == "cast" && r.phrase == phrase && r.objectType == sourceType;
        },
        "cast " + sourceType + " as " + phrase);
}

Registration const& Operator(int code, std::string const& leftType, std::string const& rightType) {
    return Single(
        [&](Registration const& r) {
            return r.kind == "operator" && r.code == code && r.objectType == leftType &&
                   r.rightType == rightType;
        },
        "operator " + std::to_string(code) + " of " + leftType + " and " + rightType);
}

void ReleaseEvaluationMemory() {
    Blocks().clear();
}
std::size_t EvaluationBlockCount() {
    return Blocks().size();
}

} // namespace fake

using fake::Name;
using fake::Registration;
using fake::Table;

extern "C" {

void Register_Type(void* block, unsigned long, char const* name, unsigned long valueSize,
                   DestroyFunction destroy, char const* baseName, int) {
    Registration r;
    r.kind = "type";
    r.block = block;
    r.phrase = Name(name);
    r.resultType = Name(baseName);
    r.size = valueSize;
    r.destroy = destroy;
    Table().push_back(r);
}

void Register_Property(void* block, unsigned long, char const* phrase, char const* plural,
                       char const* indexType, char const* objectType, char const* resultType,
                       PropertyThunk get, void const* userData, FingerprintFunction fingerprint) {
    Registration r;
    r.kind = "property";
    r.block = block;
    r.phrase = Name(phrase);
    r.plural = Name(plural);
    r.indexType = Name(indexType);
    r.objectType = Name(objectType);
    r.resultType = Name(resultType);
    r.get = get;
    r.userData = userData;
    r.fingerprint = fingerprint;
    Table().push_back(r);
}

void Register_Iterated_Property(void* block, unsigned long, char const* phrase, char const* plural,
                                char const* indexType, char const* objectType,
                                char const* resultType, unsigned long stateSize,
                                ConstructFunction construct, DestroyFunction destroy,
                                PropertyThunk first, PropertyThunk next, void const* userData,
                                FingerprintFunction fingerprint) {
    Registration r;
    r.kind = "iterated property";
    r.block = block;
    r.phrase = Name(phrase);
    r.plural = Name(plural);
    r.indexType = Name(indexType);
    r.objectType = Name(objectType);
    r.resultType = Name(resultType);
    r.size = stateSize;
    r.construct = construct;
    r.destroy = destroy;
    r.get = first;
    r.next = next;
    r.userData = userData;
    r.fingerprint = fingerprint;
    Table().push_back(r);
}

void Register_Cast(void* block, unsigned long, char const* phrase, char const* sourceType,
                   char const* targetType, CastThunk cast, void const* userData,
                   FingerprintFunction fingerprint) {
    Registration r;
    r.kind = "cast";
    r.block = block;
    r.phrase = Name(phrase);
    r.objectType = Name(sourceType);
    r.resultType = Name(targetType);
    r.cast = cast;
    r.userData = userData;
    r.fingerprint = fingerprint;
    Table().push_back(r);
}

void Register_Binary_Operator(void* block, unsigned long, int operatorCode, char const* leftType,
                              char const* rightType, char const* resultType, OperatorThunk op,
                              void const* userData, FingerprintFunction fingerprint) {
    Registration r;
    r.kind = "operator";
    r.block = block;
    r.code = operatorCode;
    r.objectType = Name(leftType);
    r.rightType = Name(rightType);
    r.resultType = Name(resultType);
    r.apply = op;
    r.userData = userData;
    r.fingerprint = fingerprint;
    Table().push_back(r);
}

void Unregister_Type(void* block) {
    fake::Remove(block, "type");
}
void Unregister_Property(void* block) {
    fake::Remove(block, "property");
}
void Unregister_Cast(void* block) {
    fake::Remove(block, "cast");
}
void Unregister_Binary_Operator(void* block) {
    fake::Remove(block, "operator");
}

void* Allocate_Inspector_Memory(unsigned long size) {
    auto& blocks = fake::Blocks();
    blocks.push_back(std::make_unique<std::max_align_t[]>(size / sizeof(std::max_align_t) + 1));
    return blocks.back().get();
}

void Check_For_Inspector_Interruption() {}

void Fingerprint_Byte_Range(Fingerprinter&, void const*, void const*) {}

} // extern "C"
