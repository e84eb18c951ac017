// A faulty agent-state file is refused whole, with the key path of its first
// fault; what the transcripts cannot show, since zorq reports it as a usage
// error before evaluating anything.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "agent/agent_state.h"
#include "agent/simulated_agent.h"
#include "evaluator/evaluator.h"

namespace {

std::string Refusal(std::string const& text) {
    try {
        ParseAgentState(text, "/base");
    } catch (AgentStateError const& error) {
        return error.what();
    }
    return "accepted";
}

} // namespace

TEST(AgentState, FaultsNameTheirKeyPath) {
    struct Case {
        char const* text;
        char const* refusal;
    };
    Case const cases[] = {
        {"[]", "the top level: not an object"},
        {R"({"system": {"lock_controller": -922337203685477e805}})",
         "not valid JSON: number overflow parsing '-922337203685477e805'"},
        {R"({"sites": {"lst": []}})", "sites.lst: unknown key"},
        {R"({"sites": {"list": [{"name": "a"}]}})",
         "sites.list[0].url: missing: every site has a url"},
        {R"({"sites": {"list": [{"url": "no scheme"}]}})",
         "sites.list[0].url: character not allowed in path at offset 2 of \"no scheme\""},
        {R"({"sites": {"current": "b", "list": [{"name": "a", "url": "http://h/a"}]}})",
         "sites.current: no site in the list is named \"b\""},
        {R"({"sites": {"list": [{"url": "http://h/a", "gather_schedule": "weekly"}]}})",
         "sites.list[0].gather_schedule: not one of \"publisher\", \"custom\", \"manual\", "
         "\"disable\" or their number"},
        {R"({"sites": {"list": [{"url": "h:", "content": [{"headers": [["A B", "x"]]}]}]}})",
         "sites.list[0].content[0].headers[0]: malformed field name in header line 1"},
        {R"({"sites": {"list": [{"url": "h:", "content": [{"headers": [["A", " x"]]}]}]}})",
         "sites.list[0].content[0].headers[0]: not a header the agent could read back unchanged"},
        {R"({"usage": {"e": {"events": [{"time": 0}]}}})",
         "usage.e.events[0].type: missing: every event has a type"},
        {R"({"selected_server": {"address": "1.2.3"}})",
         "selected_server.address: not an IPv4 address: \"1.2.3\""},
        {R"({"selected_server": {"distance": [1]}})",
         "selected_server.distance: not a [lower, upper] pair"},
        {R"({"selected_server": {"record": "r", "port": 1}})",
         "selected_server.record: a record file stands alone, without other fields"},
        {R"({"selected_server": {"record": "/nonexistent/r"}})",
         "selected_server.record: cannot open \"/nonexistent/r\": No such file or directory"},
        {R"({"actions": {"records": [{"id": 1}, {"id": 2, "pendng": true}]}})",
         "actions.records[1].pendng: unknown key"},
        {R"({"actions": {"records": [{"id": 4294967296}]}})",
         "actions.records[0].id: not an integer from 0 to 4294967295"},
        {R"({"actions": {"records": [{"constraint_code": -1}]}})",
         "actions.records[0].constraint_code: not an integer from 0 to 255"},
        {R"({"actions": {"records": [{"active_count": 1.5}]}})",
         "actions.records[0].active_count: not an integer from 0 to 65535"},
        {R"({"actions": {"records": [{"pending": 1}]}})",
         "actions.records[0].pending: not true or false"},
        {R"({"actions": {"records": [{"id": 3}, {"id": 3}]}})",
         "actions.records[1].id: another record has this id"},
        {R"({"actions": {"current": 5, "records": []}})", "actions.current: no record has id 5"},
        {R"({"actions": {"records": [{"parameters": {"a": 1}}]}})",
         "actions.records[0].parameters.a: not a text"},
        {R"({"analysis": {"last_time": "yesterday"}})",
         "analysis.last_time: not a time: \"yesterday\""},
        {R"({"analysis": {"last_time": true}})",
         "analysis.last_time: not a time (microseconds since 1970, or a time text)"},
        {R"({"system": {"action_lock_controller": "admin"}})",
         "system.action_lock_controller: not \"client\", \"console\", \"nobody\" or a number"},
        {R"({"servers": {"download": {"name": "a\u0000b"}}})",
         "servers.download.name: holds a NUL byte"},
        {R"({"servers": {"registration": {"version": "1.2.3.4.5.6.7.8.9.10.11.12.13.14.15"}}})",
         "servers.registration.version: longer than 31 bytes"},
        {R"({"client": {"folder": ""}})", "client.folder: not a folder path"},
        {R"({"pending_restart": {"names": "x"}})", "pending_restart.names: not a list"},
        {R"({"actions": )", "not valid JSON: parse error at line 1, column 13: syntax error "
                            "while parsing value - unexpected end of input; expected '[', "
                            "'{', or a literal"},
    };
    for (Case const& c : cases) {
        EXPECT_EQ(Refusal(c.text), c.refusal) << c.text;
    }
}

TEST(AgentState, DeepNestingAndHugeFilesAreRefusedBeforeParsing) {
    std::string const deep = std::string(100000, '[') + std::string(100000, ']');
    EXPECT_EQ(Refusal(deep), "nested deeper than 32 levels at byte 32");
    // Brackets inside texts are not nesting.
    EXPECT_EQ(Refusal(R"({"client": {"version": ")" + std::string(100, '[') + "\"}}"), "accepted");

    std::filesystem::path const file =
        std::filesystem::temp_directory_path() / "zor-agent-state-huge.json";
    {
        std::ofstream out(file);
        out << std::string(kMaxAgentStateBytes + 1, ' ');
    }
    try {
        ReadAgentState(file);
        ADD_FAILURE() << "a file past the limit was read";
    } catch (AgentStateError const& error) {
        EXPECT_EQ(error.what(), file.string() + ": larger than 16777216 bytes");
    }
    std::filesystem::remove(file);
    EXPECT_THROW(ReadAgentState("/nonexistent/agent.json"), AgentStateError);
}

TEST(SimulatedAgent, OnlyAFixedNumberOfActionsMayCarryParameters) {
    std::string text = R"({"actions": {"records": [)";
    for (std::size_t i = 0; i <= kMaxActionsWithParameters; ++i) {
        text += (i ? "," : "") + std::string(R"({"id": )") + std::to_string(i) +
                R"(, "parameters": {}})";
    }
    text += "]}}";
    EXPECT_THROW(SimulatedAgent{ParseAgentState(text, "/")}, AgentStateError);
}

// A host that keeps answers by fingerprint drops them when the agent
// replaces its site list, and never keeps what has no fingerprint.
TEST(SimulatedAgent, ANewSiteListInstanceChangesTheFingerprint) {
    auto const names = zor::Expression::compile("names of sites");
    auto const fingerprint = [&names](std::string const& instance) {
        SimulatedAgent agent(ParseAgentState(R"({"sites": {"instance": )" + instance +
                                                 R"(, "list": [{"url": "http://h/a"}]}})",
                                             "/"));
        return names.fingerprint({.context = &agent, .budget = {}});
    };
    EXPECT_TRUE(names.cacheable());
    EXPECT_EQ(fingerprint("7"), fingerprint("7"));
    EXPECT_NE(fingerprint("7"), fingerprint("8"));
    EXPECT_FALSE(zor::Expression::compile("name of current site").cacheable());
}
