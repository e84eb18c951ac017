#include "framework/fingerprints.h"

#include <cstdint>

#include "evaluator/registration.h"
#include "framework/contexts.h"

void DependsOnlyOnParameters(Fingerprinter&) {}

void DependsOnSiteList(Fingerprinter& fingerprinter) {
    std::uint32_t const instance = GetInspectorContext<InspectorSiteContext>().GetSiteMapInstance();
    Fingerprint_Byte_Range(fingerprinter, &instance, &instance + 1);
}
