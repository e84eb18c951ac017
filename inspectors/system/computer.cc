#include "inspectors/system/computer.h"

#include <algorithm>
#include <string>
#include <vector>

#include "evaluator/errors.h"
#include "evaluator/helpers.h"
#include "evaluator/registration.h"
#include "framework/fingerprints.h"
#include "framework/memory.h"
#include "framework/prop.h"
#include "platform/linux/system_info.h"

namespace {

// What os-release says the NAME is when the file does not say.
constexpr char kDefaultSystemName[] = "Linux";

inspector_string Copy(std::string const& text) {
    return CopyToInspectorString(ConstData(text));
}

std::string SystemName(platform::OsRelease const& release) {
    return release.name.empty() ? std::string(kDefaultSystemName) : release.name;
}

// The release's components; NoSuchObject when the system states none.
std::vector<std::uint64_t> ReleaseComponents(platform::OsRelease const& release) {
    if (release.versionId.empty()) {
        throw NoSuchObject();
    }
    return TextToVersionComponents(ConstData(release.versionId));
}

// A processor description: the table's name when the code is known, else
// the system's own text, else "unknown".
inspector_string ProcessorText(std::uint32_t code, std::string const& text) {
    if (code != 0 || text.empty()) {
        return AsInspectorString(ConstData(ProcessorName(code)));
    }
    return Copy(text);
}

} // namespace

char const* ProcessorName(std::uint32_t response) {
    using platform::FourCharCode;
    switch (response) {
    case 257:
        return "PowerPC 601";
    case 259:
        return "PowerPC 603";
    case 260:
        return "PowerPC 604";
    case 262:
        return "PowerPC 603e";
    case 263:
        return "PowerPC 603ev";
    case 264:
        return "PowerPC G3";
    case 265:
        return "PowerPC 604e";
    case 266:
        return "PowerPC 604ev";
    case 268:
        return "PowerPC G4 7440";
    case 272:
        return "PowerPC G4 7450";
    case 273:
        return "PowerPC G4 7455";
    case 274:
        return "PowerPC G4 7447";
    case 288:
        return "PowerPC G4 750FX";
    case 313:
        return "PowerPC G5 970";
    case 316:
        return "PowerPC G5 970FX";
    case FourCharCode("i486"):
        return "i486";
    case FourCharCode("i586"):
        return "i586";
    case FourCharCode("i5pr"):
        return "i5pr";
    case FourCharCode("i5ii"):
        return "i5ii";
    case FourCharCode("ixxx"):
        return "ixxx";
    default:
        return "unknown";
    }
}

Computer computer() {
    return {};
}

inspector_string hostname() {
    std::optional<std::string> name = platform::System().HostName();
    if (!name) {
        throw NoSuchObject();
    }
    return Copy(*name);
}

inspector_string name_of_computer(Of, Computer const&) {
    return hostname();
}

OperatingSystem operating_system() {
    std::optional<platform::KernelIdentity> kernel = platform::System().Kernel();
    if (!kernel) {
        throw NoSuchObject();
    }
    return {Stringy(kernel->machine), Stringy(kernel->version)};
}

inspector_string AsString(OperatingSystem const&) {
    platform::OsRelease const release = platform::System().OperatingSystemRelease();
    std::string const name = SystemName(release);
    std::vector<std::uint64_t> components = ReleaseComponents(release);
    std::string const text =
        VersionText(version{components.data(), static_cast<std::uint32_t>(components.size())});
    ConstData const pieces[] = {ConstData(name), ConstData(" "), ConstData(text)};
    return CopyToInspectorString(ConstDataRopeReference(pieces));
}

inspector_string name_of_operating_system(Of, OperatingSystem const&) {
    return Copy(SystemName(platform::System().OperatingSystemRelease()));
}

version release_of_operating_system(Of, OperatingSystem const&) {
    std::vector<std::uint64_t> const components =
        ReleaseComponents(platform::System().OperatingSystemRelease());
    auto* const stored = static_cast<std::uint64_t*>(
        Allocate_Inspector_Memory(components.size() * sizeof(std::uint64_t)));
    std::copy(components.begin(), components.end(), stored);
    return {stored, static_cast<std::uint32_t>(components.size())};
}

inspector_string BuildOf(Of, OperatingSystem const& system) {
    return AsInspectorString(system.version.Data());
}

inspector_string ArchOf(Of, OperatingSystem const& system) {
    return AsInspectorString(system.machine.Data());
}

moment Boot_Time_of(OperatingSystem const&) {
    try {
        integer const seconds = platform::System().BootSecondsSince1970();
        return january_1_1970() + second_of() * seconds;
    } catch (DebuggableException const&) {
        throw NoSuchObject();
    }
}

time_interval Up_Time_of(OperatingSystem const& system) {
    try {
        return moment_now() - Boot_Time_of(system);
    } catch (DebuggableException const&) {
        throw NoSuchObject();
    }
}

inspector_string build_number_of_operating_system(Of, OperatingSystem const&) {
    return Copy(platform::System().BuildNumber());
}

InspectorProcessor ProcessorIterator::First() {
    count_ = platform::System().OnlineProcessorCount();
    next_ = 0;
    return Next();
}

InspectorProcessor ProcessorIterator::Next() {
    if (next_++ == count_) {
        throw NoSuchObject();
    }
    return {};
}

InspectorProcessor main_processor_of() {
    return {};
}

hertz speed_of_processor(Of, InspectorProcessor const&) {
    std::optional<std::uint64_t> const speed = platform::System().ProcessorSpeedHertz();
    if (!speed || *speed > static_cast<std::uint64_t>(INT64_MAX)) {
        throw NoSuchObject();
    }
    return {static_cast<std::int64_t>(*speed)};
}

inspector_string family_name_of_processor(Of, InspectorProcessor const&) {
    platform::ProcessorIdentity const processor = platform::System().MainProcessor();
    return ProcessorText(processor.code, processor.vendor);
}

inspector_string processor_name_of_processor(Of, InspectorProcessor const&) {
    platform::ProcessorIdentity const processor = platform::System().MainProcessor();
    return ProcessorText(processor.code, processor.model);
}

RAMInspector ram_of() {
    return {};
}

integer size_of_ram(Of, RAMInspector const&) {
    std::optional<std::uint64_t> const bytes = platform::System().PhysicalMemoryBytes();
    if (!bytes || *bytes > static_cast<std::uint64_t>(INT64_MAX)) {
        throw NoSuchObject();
    }
    return static_cast<integer>(*bytes);
}

namespace {

Type<Computer> computerType;
GlobalProperty<Computer> computerOfWorld("computer", "computers", computer,
                                         DependsOnlyOnParameters);
Prop nameOfComputer("name", "names", name_of_computer, nullptr);
GlobalProperty<inspector_string> hostnameOfWorld("hostname", "hostnames", hostname, nullptr);
GlobalProperty<inspector_string> dnsNameOfWorld("dns name", "dns names", hostname, nullptr);
GlobalProperty<inspector_string> computerNameOfWorld("computer name", "computer names", hostname,
                                                     nullptr);

Type<OperatingSystem> operatingSystemType;
GlobalProperty<OperatingSystem> operatingSystemOfWorld("operating system", "operating systems",
                                                       operating_system, DependsOnlyOnParameters);
Cast<OperatingSystem, inspector_string> operatingSystemAsString("string", AsString, nullptr);
Prop nameOfOperatingSystem("name", "names", name_of_operating_system, DependsOnlyOnParameters);
Prop releaseOfOperatingSystem("release", "releases", release_of_operating_system, nullptr);
Prop buildOfOperatingSystem("build", "builds", BuildOf, nullptr);
Prop architectureOfOperatingSystem("architecture", "architectures", ArchOf, nullptr);
Property<OperatingSystem, moment> bootTimeOfOperatingSystem("boot time", "boot times", Boot_Time_of,
                                                            nullptr);
Property<OperatingSystem, time_interval> uptimeOfOperatingSystem("uptime", "uptimes", Up_Time_of,
                                                                 nullptr);
Prop buildNumberOfOperatingSystem("build number", "build numbers", build_number_of_operating_system,
                                  nullptr);

Type<InspectorProcessor> processorType;
GlobalProperty<InspectorProcessor> mainProcessorOfWorld("main processor", "main processors",
                                                        main_processor_of, DependsOnlyOnParameters);
IteratedGlobalProperty<ProcessorIterator, InspectorProcessor>
    processorsOfWorld("processor", "processors", nullptr);
Prop speedOfProcessor("speed", "speeds", speed_of_processor, nullptr);
Prop familyNameOfProcessor("family name", "family names", family_name_of_processor,
                           DependsOnlyOnParameters);
Prop typeOfProcessor("type", "types", processor_name_of_processor, DependsOnlyOnParameters);

Type<RAMInspector> ramType;
GlobalProperty<RAMInspector> ramOfWorld("ram", "rams", ram_of, DependsOnlyOnParameters);
Prop sizeOfRam("size", "sizes", size_of_ram, nullptr);

} // namespace
