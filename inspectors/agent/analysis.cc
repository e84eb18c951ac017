#include "evaluator/helpers.h"
#include "framework/contexts.h"
#include "framework/registration.h"
#include "inspectors/agent/action.h"

analysis::analysis(InspectorAnalysisData& source) : data(source) {}

analysis CurrentAnalysis_of_world() {
    InspectorAnalysisContext const& context = GetInspectorContext<InspectorAnalysisContext>();
    InspectorAnalysisData data{};
    if (!context.GetCurrentAnalysisData(&data)) {
        throw NoSuchObject();
    }
    return analysis(data);
}

moment LastTime_of(analysis const& current) {
    if (current.data.lastTime == 0) {
        throw NoSuchObject();
    }
    return january_1_1970() + microsecond_of() * current.data.lastTime;
}

namespace {

Type<analysis> analysisType;
GlobalProperty<analysis> analysisOfWorld("analysis", "analysiss", CurrentAnalysis_of_world,
                                         nullptr);
Property<analysis, moment> lastTimeOfAnalysis("last time", "last times", LastTime_of, nullptr);

} // namespace
