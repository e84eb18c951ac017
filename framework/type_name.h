// How a registration names the C++ type of a value to the evaluator.
#pragma once

#include "evaluator/values.h"

// An inspector type names itself with a static TypeName(); the evaluator's
// core values, which are plain records or aliases, are named here.
template <class T> struct InspectorTypeName {
    static char const* Get() { return T::TypeName(); }
};

#define ZOR_CORE_TYPE_NAME(Type, Name)                                                             \
    template <> struct InspectorTypeName<Type> {                                                   \
        static char const* Get() { return Name; }                                                  \
    }

ZOR_CORE_TYPE_NAME(inspector_string, type_names::string);
ZOR_CORE_TYPE_NAME(integer, type_names::integer);
ZOR_CORE_TYPE_NAME(boolean, type_names::boolean);
ZOR_CORE_TYPE_NAME(substring, type_names::substring);
ZOR_CORE_TYPE_NAME(moment, type_names::time);
ZOR_CORE_TYPE_NAME(time_interval, type_names::time_interval);
ZOR_CORE_TYPE_NAME(time_range, type_names::time_range);
ZOR_CORE_TYPE_NAME(hertz, type_names::hertz);
ZOR_CORE_TYPE_NAME(ipv4_address, type_names::ipv4_address);
ZOR_CORE_TYPE_NAME(version, type_names::version);

#undef ZOR_CORE_TYPE_NAME

template <class T> char const* TypeNameOf() {
    return InspectorTypeName<T>::Get();
}
