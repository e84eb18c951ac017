#include "inspectors/environment/environment.h"

#include <cstring>

#include "evaluator/errors.h"
#include "framework/memory.h"
#include "framework/registration.h"
#include "platform/linux/environment.h"

namespace {

// Longest name looked up; the copy needs one more byte for its terminator.
constexpr unsigned long kMaxNameLength = 2047;

inspector_string Bytes(char const* begin, char const* end) {
    return AsInspectorString(ConstData(reinterpret_cast<unsigned char const*>(begin),
                                       reinterpret_cast<unsigned char const*>(end)));
}

// An entry "name=value" with a non-empty name and value, else NoSuchObject.
environment_variable ParseEntry(char const* entry) {
    char const* equals = std::strchr(entry, '=');
    if (!equals || equals == entry) {
        throw NoSuchObject();
    }
    char const* value = equals + 1;
    char const* end = value + std::strlen(value);
    if (value == end) {
        throw NoSuchObject();
    }
    return {Bytes(entry, equals), Bytes(value, end)};
}

} // namespace

environment_var_iterator::environment_var_iterator() : position_(platform::EnvironmentEntries()) {}

environment_var_iterator::~environment_var_iterator() {
    position_ = nullptr;
}

environment_variable environment_var_iterator::First(environment const& env) {
    position_ = platform::EnvironmentEntries();
    return Next(env);
}

environment_variable environment_var_iterator::Next(environment const&) {
    if (!position_ || !*position_) {
        throw NoSuchObject();
    }
    char const* entry = *position_++;
    return ParseEntry(entry);
}

environment Environment_of_world() {
    return {};
}

environment_variable variable_of(unsigned char const* name, unsigned long length,
                                 environment const&) {
    if (!name || length > kMaxNameLength) {
        throw NoSuchObject();
    }
    char terminated[kMaxNameLength + 1];
    std::memcpy(terminated, name, length);
    terminated[length] = '\0';
    char const* value = platform::EnvironmentValue(terminated);
    if (!value) {
        throw NoSuchObject();
    }
    return {AsInspectorString(ConstData(name, length)), Bytes(value, value + std::strlen(value))};
}

inspector_string name_of(environment_variable const& variable) {
    return variable.name;
}

inspector_string value_of(environment_variable const& variable) {
    return variable.value;
}

inspector_string AsString(environment_variable const& variable) {
    ConstData const pieces[] = {AsConstData(variable.name), ConstData(" = "),
                                AsConstData(variable.value)};
    return CopyToInspectorString(ConstDataRopeReference(pieces));
}

namespace {

Type<environment> environment_type;
Type<environment_variable> environment_variable_type;

GlobalProperty<environment> makeEnvironment("environment", "environments", Environment_of_world,
                                            nullptr);
IteratedProperty<environment_var_iterator, environment, environment_variable>
    varsofEnvironment("variable", "variables", nullptr);
NamedProperty<environment, environment_variable> varofEnvironment("variable", "variables",
                                                                  variable_of, nullptr);
Property<environment_variable, inspector_string> nameofVar("name", "names", name_of, nullptr);
Property<environment_variable, inspector_string> valueofVar("value", "values", value_of, nullptr);
Cast<environment_variable, inspector_string> asEnvString("string", AsString, nullptr);

} // namespace
