// The evaluator's core value types and their text forms: each type has a
// cast to "string", which is also how answers are printed.
#include "evaluator/core/registrar.h"
#include "evaluator/helpers.h"

namespace {

using namespace zor::core;

CoreTypeRegistration<boolean> booleanType;
CoreTypeRegistration<integer> integerType;
CoreTypeRegistration<inspector_string> stringType;
CoreTypeRegistration<substring> substringType(type_names::string);
CoreTypeRegistration<moment> timeType;
CoreTypeRegistration<time_interval> timeIntervalType;
CoreTypeRegistration<time_range> timeRangeType;
CoreTypeRegistration<version> versionType;
CoreTypeRegistration<ipv4_address> ipv4AddressType;
CoreTypeRegistration<hertz> hertzType;

inspector_string StringOfBoolean(boolean const& value) {
    std::string_view text = BooleanText(value);
    return {reinterpret_cast<unsigned char const*>(text.data()),
            static_cast<std::uint32_t>(text.size())};
}
inspector_string StringOfInteger(integer const& value) {
    return CopyToEvaluation(Numeral(value).view());
}
inspector_string StringOfString(inspector_string const& value) {
    return value;
}
inspector_string StringOfSubstring(substring const& value) {
    return {value.pointer, value.length};
}
inspector_string StringOfTime(moment const& value) {
    return CopyToEvaluation(TimeText(value));
}
inspector_string StringOfTimeInterval(time_interval const& value) {
    return CopyToEvaluation(TimeIntervalText(value));
}
inspector_string StringOfTimeRange(time_range const& value) {
    return CopyToEvaluation(TimeRangeText(value));
}
inspector_string StringOfVersion(version const& value) {
    return CopyToEvaluation(VersionText(value));
}
inspector_string StringOfIpv4Address(ipv4_address const& value) {
    return CopyToEvaluation(Ipv4AddressText(value));
}
inspector_string StringOfHertz(hertz const& value) {
    return CopyToEvaluation(HertzText(value));
}

CastRegistration<boolean, inspector_string> booleanAsString(&StringOfBoolean);
CastRegistration<integer, inspector_string> integerAsString(&StringOfInteger);
CastRegistration<inspector_string, inspector_string> stringAsString(&StringOfString);
CastRegistration<substring, inspector_string> substringAsString(&StringOfSubstring);
CastRegistration<moment, inspector_string> timeAsString(&StringOfTime);
CastRegistration<time_interval, inspector_string> timeIntervalAsString(&StringOfTimeInterval);
CastRegistration<time_range, inspector_string> timeRangeAsString(&StringOfTimeRange);
CastRegistration<version, inspector_string> versionAsString(&StringOfVersion);
CastRegistration<ipv4_address, inspector_string> ipv4AddressAsString(&StringOfIpv4Address);
CastRegistration<hertz, inspector_string> hertzAsString(&StringOfHertz);

} // namespace
