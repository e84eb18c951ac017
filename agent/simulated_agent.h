// The simulated agent: the inspector contexts of an agent, filled from an
// agent-state file, over the real setting stores. A host installs one for its
// evaluations (EvaluationOptions::context); it offers exactly the kinds the
// file describes, and always the settings kinds.
#pragma once

#include <cstddef>
#include <cstdint>
#include <typeinfo>
#include <unordered_map>
#include <vector>

#include "agent/agent_state.h"
#include "evaluator/context.h"
#include "framework/contexts.h"
#include "framework/settings_context.h"

class SimulatedAgent final : public InspectorContext,
                             public InspectorKindFilter,
                             public InspectorAnalysisContext,
                             public InspectorActionContext,
                             public InspectorSystemContext,
                             public InspectorSettingsContext,
                             public ZORSettingsContext,
                             public InspectorServerContext,
                             public ZORAgentVersionContext,
                             public ClientLocationInspectorContext,
                             public PendingRestartInspectorContext,
                             public InspectorStorageContext,
                             public InspectorSiteContext,
                             public InspectorQuamelContext,
                             public InspectorProcessTableContext,
                             public HostSelectorInspectorContext {
public:
    // Without a state, an agent that knows nothing but its settings.
    SimulatedAgent();
    // Throws AgentStateError when more actions carry parameters than
    // kMaxActionsWithParameters.
    explicit SimulatedAgent(AgentState state);
    SimulatedAgent(SimulatedAgent const&) = delete;
    SimulatedAgent& operator=(SimulatedAgent const&) = delete;

    bool OffersKind(std::type_info const& kind) const override;

    char const* VersionOfClient() const override;
    char const* ClientFolder() const override;
    boolean PendingRestart() const override;
    boolean PendingRestart(ConstData name) const override;
    HostSelectorEntry const& SelectedServer() const override;

    // The agent serving the evaluation now: the operations of the records
    // receive no agent pointer.
    static SimulatedAgent const& Current();
    // The storage folder's global and sites folders; NoSuchObject when the
    // file gives the storage context no folder.
    MacintoshPlatform::FileLocation const& GlobalLocation() const;
    MacintoshPlatform::FileLocation const& SitesFolder() const;
    // The agent's site whose record that is, or null.
    AgentSite const* SiteOf(SiteMap const* map) const;

    AgentState const& State() const { return state_; }
    // The action with that id, or null.
    AgentAction const* ActionById(std::uint32_t id) const;
    // The action given the parameter lookup of that number.
    AgentAction const& ActionWithParameters(std::size_t lookup) const;

private:
    void InstallOperations();
    void InstallContentOperations();

    AgentState state_;
    std::unordered_map<std::uint32_t, std::size_t> actionsById_;
    std::vector<std::size_t> actionsWithParameters_; // record index by lookup number
    std::optional<MacintoshPlatform::FileLocation> globalLocation_;
    std::optional<MacintoshPlatform::FileLocation> sitesFolder_;
    std::unordered_map<SiteMap const*, AgentSite const*> sitesByMap_;
};

// Each action with parameters needs one of a fixed set of lookup functions.
inline constexpr std::size_t kMaxActionsWithParameters = 256;
