// Fingerprint functions: what a registered value depends on, so that the host
// can keep results until that changes.
#pragma once

#include "evaluator/errors.h"

class Fingerprinter;

// The value depends on nothing but its object and index.
void DependsOnlyOnParameters(Fingerprinter& fingerprinter);

// The value changes whenever the agent replaces its site list.
void DependsOnSiteList(Fingerprinter& fingerprinter);

// For a type that must be nameable as a noun but has no value in the world.
template <class R> R NoPropertyOfWorld() {
    throw NoSuchObject();
}
