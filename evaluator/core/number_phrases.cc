// Integer arithmetic, and the comparisons and casts of booleans, versions,
// IPv4 addresses and frequencies.
#include "evaluator/core/registrar.h"
#include "evaluator/helpers.h"

namespace {

using namespace zor::core;

integer Plus(integer const& a, integer const& b) {
    return CheckedAdd(a, b);
}
integer Minus(integer const& a, integer const& b) {
    return CheckedSubtract(a, b);
}
integer Times(integer const& a, integer const& b) {
    return CheckedMultiply(a, b);
}
integer Divide(integer const& a, integer const& b) {
    return CheckedDivide(a, b);
}
integer Modulo(integer const& a, integer const& b) {
    return CheckedModulo(a, b);
}

OperatorRegistration<integer, integer, integer> integerPlus(kOperatorPlus, &Plus);
OperatorRegistration<integer, integer, integer> integerMinus(kOperatorMinus, &Minus);
OperatorRegistration<integer, integer, integer> integerTimes(kOperatorTimes, &Times);
OperatorRegistration<integer, integer, integer> integerDivide(kOperatorDivide, &Divide);
OperatorRegistration<integer, integer, integer> integerModulo(kOperatorMod, &Modulo);
ComparisonRegistrations<integer, integer, &ThreeWay<integer>> compareIntegers;

boolean EqualBooleans(boolean const& a, boolean const& b) {
    return a == b;
}
OperatorRegistration<boolean, boolean, boolean> equalBooleans(kOperatorEqual, &EqualBooleans);

// Hexadecimal shows the 64-bit pattern, so -1 reads "ffffffffffffffff".
inspector_string HexadecimalOfInteger(integer const& value) {
    return CopyToEvaluation(Numeral(static_cast<std::uint64_t>(value), 16).view());
}
CastRegistration<integer, inspector_string> integerAsHexadecimal("hexadecimal",
                                                                 &HexadecimalOfInteger);

integer IntegerOfHertz(hertz const& frequency) {
    return frequency.value;
}
hertz HertzOfInteger(integer const& value) {
    return hertz{value};
}
CastRegistration<hertz, integer> hertzAsInteger(&IntegerOfHertz);
CastRegistration<integer, hertz> integerAsHertz(&HertzOfInteger);
ComparisonRegistrations<hertz, hertz, &ThreeWay<hertz>> compareHertz;

ComparisonRegistrations<ipv4_address, ipv4_address, &ThreeWay<ipv4_address>> compareIpv4Addresses;

// A version compares with the text of a version too, so `version of x >= "10.2"`
// needs no cast; text that is no version is no object.
version VersionOfText(inspector_string const& text, std::vector<std::uint64_t>& storage) {
    storage = TextToVersionComponents(ConstData(text.pointer, text.length));
    return {storage.data(), static_cast<std::uint32_t>(storage.size())};
}
std::strong_ordering CompareVersionWithText(version const& v, inspector_string const& text) {
    std::vector<std::uint64_t> storage;
    return CompareVersions(v, VersionOfText(text, storage));
}
std::strong_ordering CompareTextWithVersion(inspector_string const& text, version const& v) {
    std::vector<std::uint64_t> storage;
    return CompareVersions(VersionOfText(text, storage), v);
}

ComparisonRegistrations<version, version, &CompareVersions> compareVersions;
ComparisonRegistrations<version, inspector_string, &CompareVersionWithText> compareVersionWithText;
ComparisonRegistrations<inspector_string, version, &CompareTextWithVersion> compareTextWithVersion;

} // namespace
