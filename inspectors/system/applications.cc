#include "inspectors/system/applications.h"

#include <algorithm>
#include <optional>
#include <set>
#include <string_view>

#include "evaluator/errors.h"
#include "framework/memory.h"
#include "framework/prop.h"
#include "platform/linux/xdg.h"

namespace {

std::string_view View(inspector_string const& text) {
    return AsConstData(text).view();
}

bool SameIgnoringCase(std::string_view a, std::string_view b) {
    auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(),
                                              [&](char x, char y) { return lower(x) == lower(y); });
}

std::vector<platform::InstalledApplication> Installed() {
    return platform::InstalledApplications(platform::XdgSearchPathsFromEnvironment());
}

// The program's file-system object as it was when its entry was read.
filesystem_object ProgramObject(platform::FoundProgram const& program) {
    return filesystem_object(MacintoshPlatform::FileItem(
        MacintoshPlatform::MakeFileLocation(program.path), program.status));
}

} // namespace

filesystem_object ApplicationByName(inspector_string const& name) {
    std::string_view const wanted = View(name);
    for (auto const& application : Installed()) {
        std::string_view id = application.id;
        bool byId =
            id == wanted || (id.ends_with(".desktop") && id.substr(0, id.size() - 8) == wanted);
        if (byId || SameIgnoringCase(application.name, wanted)) {
            return ProgramObject(application.program);
        }
    }
    throw NoSuchObject();
}

filesystem_object ApplicationBySignature(file_signature const&) {
    throw NoSuchObject();
}

filesystem_object regapp_iterator::First() {
    programs_.clear();
    std::set<std::string> seen;
    for (auto& application : Installed()) {
        if (seen.insert(application.program.path).second) {
            programs_.push_back(std::move(application.program));
        }
    }
    index_ = 0;
    return Next();
}

filesystem_object regapp_iterator::Next() {
    if (index_ >= programs_.size()) {
        throw NoSuchObject();
    }
    return ProgramObject(programs_[index_++]);
}

namespace {

Prop applicationByName("application", "applications", ApplicationByName, nullptr);
Prop applicationBySignature("application", "applications", ApplicationBySignature, nullptr);
Prop registeredApplicationByName("registered application", "registered applications",
                                 ApplicationByName, nullptr);
Prop regappByName("regapp", "regapps", ApplicationByName, nullptr);
Prop regapps("regapp", "regapps", &regapp_iterator::First, &regapp_iterator::Next, nullptr);
Prop applications("application", "applications", &regapp_iterator::First, &regapp_iterator::Next,
                  nullptr);

} // namespace
