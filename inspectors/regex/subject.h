// The bytes of a subject string as the regex library is given them: matched
// in place through REG_STARTEND, never copied or terminated.
#pragma once

#include "evaluator/values.h"

// An empty string may come without bytes; the library still wants a pointer.
inline char const* SubjectBegin(inspector_string const& subject) {
    return subject.pointer ? reinterpret_cast<char const*>(subject.pointer) : "";
}

inline char const* SubjectEnd(inspector_string const& subject) {
    return SubjectBegin(subject) + subject.length;
}
