// The process environment as inspector types: the environment as a whole,
// its variables in order, a variable by name, and each variable's name and
// value. Every call reads the live environment; nothing is cached.
#pragma once

#include <cstdint>

#include "evaluator/values.h"

// The environment as a whole; no data of its own.
struct environment {
    static char const* TypeName() { return "environment"; }
};

// A variable: its name and value bytes, pointing into the environment block
// (or, for a variable fetched by name, at the name the expression gave).
struct environment_variable {
    static char const* TypeName() { return "environment variable"; }
    inspector_string name;
    inspector_string value;
};
static_assert(sizeof(void*) != 4 || sizeof(environment_variable) == 16,
              "a variable is four 32-bit words on a 32-bit build");

// Walks the environment array, ending at the first entry that has no name,
// no equals sign or an empty value.
class environment_var_iterator {
public:
    environment_var_iterator();
    ~environment_var_iterator();
    environment_var_iterator(environment_var_iterator const&) = delete;
    environment_var_iterator& operator=(environment_var_iterator const&) = delete;

    environment_variable First(environment const&);
    environment_variable Next(environment const&);

private:
    char* const* position_;
};
static_assert(sizeof(void*) != 4 || sizeof(environment_var_iterator) == 4,
              "the iterator state is one pointer");

environment Environment_of_world();
environment_variable variable_of(unsigned char const* name, unsigned long length,
                                 environment const&);
inspector_string name_of(environment_variable const& variable);
inspector_string value_of(environment_variable const& variable);
inspector_string AsString(environment_variable const& variable);
