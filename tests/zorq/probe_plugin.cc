// A tiny loadable library for the plug-in loader tests. When loaded with
// ZORQ_PROBE_REPORT set, it writes the preferences folder it sees there, as
// a settings store starting up inside a plug-in would read it.
#include <cstdlib>
#include <fstream>

extern "C" int zorq_probe_answer() {
    return 42;
}

namespace {

struct ReportOnLoad {
    ReportOnLoad() {
        char const* report = std::getenv("ZORQ_PROBE_REPORT");
        char const* folder = std::getenv("ZOR_PREFERENCES_DIR");
        if (report != nullptr)
            std::ofstream(report) << (folder != nullptr ? folder : "(unset)");
    }
} const reportOnLoad;

} // namespace
