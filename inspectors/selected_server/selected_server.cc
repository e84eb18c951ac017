// The server the agent has selected among its candidates, as inspector
// types: its host, distance in hops and the gateways on the way.
#include "framework/contexts.h"
#include "framework/memory.h"
#include "framework/prop.h"
#include "inspectors/selected_server/host_selector.h"

namespace {

// A handle to the agent's entry, valid during the evaluation that made it.
struct selected_server {
    static char const* TypeName() { return "selected server"; }
    HostSelectorEntry const* entry;
};

struct integer_range {
    static char const* TypeName() { return "integer range"; }
    integer lower;
    integer upper;
};

HostSelectorEntry const& EntryOf(selected_server const& server) {
    return *server.entry;
}

// An entry without a name means no server is selected.
selected_server SelectedServer() {
    auto const& entry = GetInspectorContext<HostSelectorInspectorContext>().SelectedServer();
    if (entry.name.empty())
        throw NoSuchObject();
    return selected_server{&entry};
}

inspector_string NameOf(Of, selected_server const& server) {
    return AsInspectorString(ConstData(EntryOf(server).name));
}
ipv4_address IPAddressOf(Of, selected_server const& server) {
    return ipv4_address{EntryOf(server).address.ip};
}
integer PortNumberOf(Of, selected_server const& server) {
    return EntryOf(server).address.port;
}
integer PriorityOf(Of, selected_server const& server) {
    return EntryOf(server).priority;
}
integer WeightOf(Of, selected_server const& server) {
    return EntryOf(server).weight;
}
integer_range DistanceOf(Of, selected_server const& server) {
    return {EntryOf(server).distanceLowerBound, EntryOf(server).distanceUpperBound};
}
integer CompetitionSizeOf(Of, selected_server const& server) {
    return EntryOf(server).competitionSize;
}
integer CompetitionWeightOf(Of, selected_server const& server) {
    return EntryOf(server).competitionWeight;
}

// Counted from 0 within the valid gateways; an empty slot is no gateway.
ipv4_address GatewayOf(integer const& index, Of, selected_server const& server) {
    auto const gateways = EntryOf(server).GatewayAddresses();
    if (index < 0 || static_cast<std::uint64_t>(index) >= gateways.size() ||
        gateways[static_cast<std::size_t>(index)] == 0)
        throw NoSuchObject();
    return ipv4_address{gateways[static_cast<std::size_t>(index)]};
}

class gateway_iterator {
public:
    ipv4_address First(Of, selected_server const& server) {
        next_ = 0;
        return Next(Of(), server);
    }
    ipv4_address Next(Of, selected_server const& server) {
        auto const gateways = EntryOf(server).GatewayAddresses();
        while (next_ < gateways.size()) {
            if (IPAddress const gateway = gateways[next_++])
                return ipv4_address{gateway};
        }
        throw NoSuchObject();
    }

private:
    std::size_t next_ = 0;
};

integer LowerBoundOf(Of, integer_range const& range) {
    return range.lower;
}
integer UpperBoundOf(Of, integer_range const& range) {
    return range.upper;
}

Type<selected_server> serverType;
Type<integer_range> rangeType;
Prop server("selected server", "selected servers", SelectedServer, nullptr);
Prop name("name", "names", NameOf, nullptr);
Prop address("ip address", "ip addresses", IPAddressOf, nullptr);
Prop port("port number", "port numbers", PortNumberOf, nullptr);
Prop priority("priority", "priorities", PriorityOf, nullptr);
Prop weight("weight", "weights", WeightOf, nullptr);
Prop distance("distance", "distances", DistanceOf, nullptr);
Prop competitionSize("competition size", "competition sizes", CompetitionSizeOf, nullptr);
Prop competitionWeight("competition weight", "competition weights", CompetitionWeightOf, nullptr);
Prop gatewayByNumber("gateway address", "gateway addresses", GatewayOf, nullptr);
Prop gateways("gateway address", "gateway addresses", &gateway_iterator::First,
              &gateway_iterator::Next, nullptr);
Prop lowerBound("lower bound", "lower bounds", LowerBoundOf, nullptr);
Prop upperBound("upper bound", "upper bounds", UpperBoundOf, nullptr);

} // namespace
