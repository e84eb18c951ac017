#include "agent/simulated_agent.h"

#include <array>
#include <cstring>
#include <utility>

#include "settings/agent_settings.h"

namespace {

SimulatedAgent const& CurrentAgent() {
    return SimulatedAgent::Current();
}

// Copies a part's data out; false when the part holds none.
template <class T> bool Fill(AgentPart<T> const& part, T* data) {
    if (!part || !*part) {
        return false;
    }
    *data = **part;
    return true;
}

bool CurrentAnalysisData(InspectorAnalysisData* data) {
    return Fill(CurrentAgent().State().analysis, data);
}

bool SystemData(InspectorSystemData* data) {
    return Fill(CurrentAgent().State().system, data);
}

bool ServerData(InspectorServerData* data) {
    return Fill(CurrentAgent().State().servers, data);
}

bool FillAction(AgentAction const* found, InspectorActionData* data) {
    if (!found) {
        return false;
    }
    std::memcpy(data, &found->data, sizeof *data);
    return true;
}

template <std::optional<std::size_t> AgentActions::*Which>
bool ChosenActionData(InspectorActionData* data) {
    auto const& actions = CurrentAgent().State().actions;
    if (!actions || !*actions || !((**actions).*Which)) {
        return false;
    }
    return FillAction(&(**actions).records[*((**actions).*Which)], data);
}

bool ActionDataById(unsigned long id, InspectorActionData* data, void (*)()) {
    if (id > UINT32_MAX) {
        return false;
    }
    return FillAction(CurrentAgent().ActionById(static_cast<std::uint32_t>(id)), data);
}

template <std::size_t N> bool LookUpParameter(ConstData name, ConstData* value) {
    auto const& parameters = *CurrentAgent().ActionWithParameters(N).parameters;
    auto const found = parameters.find(name.view());
    if (found == parameters.end()) {
        return false;
    }
    *value = ConstData(found->second);
    return true;
}

template <std::size_t... N>
constexpr std::array<ActionParameterLookup, sizeof...(N)> MakeLookups(std::index_sequence<N...>) {
    return {&LookUpParameter<N>...};
}

constexpr auto kParameterLookups =
    MakeLookups(std::make_index_sequence<kMaxActionsWithParameters>());

InspectorSettingStore* SettingStoreOfAgent() {
    return &MacintoshPlatform::ZORSettingStore();
}

InspectorSettingStore* SitesStoreOfAgent() {
    return &MacintoshPlatform::ZORSitesStore();
}

} // namespace

SimulatedAgent::SimulatedAgent()
    : InspectorAnalysisContext(), InspectorActionContext(), InspectorSystemContext(),
      InspectorSettingsContext(), InspectorServerContext(), InspectorStorageContext(),
      InspectorSiteContext(), InspectorQuamelContext(), InspectorProcessTableContext() {
    InstallOperations();
}

SimulatedAgent const& SimulatedAgent::Current() {
    return static_cast<SimulatedAgent const&>(*Get_Generic_Inspector_Context());
}

SimulatedAgent::SimulatedAgent(AgentState state) : SimulatedAgent() {
    state_ = std::move(state);
    if (state_.storage && *state_.storage) {
        MacintoshPlatform::FileLocation const storage(**state_.storage);
        globalLocation_ = storage.Child("global");
        sitesFolder_ = storage.Child("sites");
    }
    if (state_.sites && *state_.sites) {
        for (AgentSite const& site : (**state_.sites).list)
            sitesByMap_.emplace(site.map.get(), &site);
    }
    if (!state_.actions || !*state_.actions) {
        return;
    }
    auto& records = (**state_.actions).records;
    for (std::size_t i = 0; i < records.size(); ++i) {
        actionsById_.emplace(records[i].data.id, i);
        if (!records[i].parameters) {
            continue;
        }
        if (actionsWithParameters_.size() == kParameterLookups.size()) {
            throw AgentStateError(
                "actions.records[" + std::to_string(i) + "].parameters: more than " +
                std::to_string(kMaxActionsWithParameters) + " actions have parameters");
        }
        records[i].data.parameterLookup = kParameterLookups[actionsWithParameters_.size()];
        actionsWithParameters_.push_back(i);
    }
}

void SimulatedAgent::InstallOperations() {
    getCurrentAnalysisData = CurrentAnalysisData;
    getActiveActionData = ChosenActionData<&AgentActions::active>;
    getCurrentActionData = ChosenActionData<&AgentActions::current>;
    getActionDataById = ActionDataById;
    getSystemData = SystemData;
    getInspectorSettingStore = SettingStoreOfAgent;
    getInspectorSitesStore = SitesStoreOfAgent;
    getServerData = ServerData;
    InstallContentOperations();
}

bool SimulatedAgent::OffersKind(std::type_info const& kind) const {
    if (kind == typeid(InspectorAnalysisContext)) {
        return state_.analysis.has_value();
    }
    if (kind == typeid(InspectorActionContext)) {
        return state_.actions.has_value();
    }
    if (kind == typeid(InspectorSystemContext)) {
        return state_.system.has_value();
    }
    if (kind == typeid(InspectorServerContext)) {
        return state_.servers.has_value();
    }
    if (kind == typeid(InspectorVersionContext) || kind == typeid(ZORAgentVersionContext)) {
        return state_.clientVersion.has_value();
    }
    if (kind == typeid(ClientLocationInspectorContext)) {
        return state_.clientFolder.has_value();
    }
    if (kind == typeid(PendingRestartInspectorContext)) {
        return state_.pendingRestart.has_value();
    }
    if (kind == typeid(InspectorStorageContext)) {
        return state_.storage.has_value();
    }
    if (kind == typeid(InspectorSiteContext)) {
        return state_.sites.has_value();
    }
    if (kind == typeid(InspectorQuamelContext)) {
        return state_.content.has_value();
    }
    if (kind == typeid(InspectorProcessTableContext)) {
        return state_.usage.has_value();
    }
    if (kind == typeid(HostSelectorInspectorContext)) {
        return state_.selectedServer.has_value();
    }
    return true;
}

char const* SimulatedAgent::VersionOfClient() const {
    return state_.clientVersion->c_str();
}

char const* SimulatedAgent::ClientFolder() const {
    return state_.clientFolder->c_str();
}

boolean SimulatedAgent::PendingRestart() const {
    return *state_.pendingRestart && (**state_.pendingRestart).pending;
}

boolean SimulatedAgent::PendingRestart(ConstData name) const {
    if (!*state_.pendingRestart) {
        return false;
    }
    for (std::string const& pending : (**state_.pendingRestart).names) {
        if (ConstData(pending) == name) {
            return true;
        }
    }
    return false;
}

AgentAction const* SimulatedAgent::ActionById(std::uint32_t id) const {
    auto const found = actionsById_.find(id);
    return found == actionsById_.end() ? nullptr : &(**state_.actions).records[found->second];
}

AgentAction const& SimulatedAgent::ActionWithParameters(std::size_t lookup) const {
    return (**state_.actions).records[actionsWithParameters_[lookup]];
}
