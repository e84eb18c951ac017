#include "framework/contexts.h"

char const* ZORAgentVersionContext::VersionOfClient() const {
    return "6.0.9.55";
}
