// zorq's phrase listing: its columns line up and its JSON form is sorted,
// which no fixed transcript can check while phrases keep being added.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>

#include "tests/support/subprocess.h"

namespace zorq::testing {
namespace {

using Json = nlohmann::json;

std::vector<std::string> lines(std::string const& text) {
    std::vector<std::string> result;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        result.push_back(line);
    return result;
}

TEST(ZorqCli, PhraseListingAsAlignedTableAndSortedJson) {
    auto const table = run(ZORQ_PATH, {"--phrases"});
    EXPECT_EQ(table.status, 0);
    auto const rows = lines(table.out);
    ASSERT_GT(rows.size(), 20u);
    std::regex const stringLength("property +length +lengths +string +- +integer");
    EXPECT_TRUE(std::any_of(rows.begin(), rows.end(), [&](auto const& row) {
        return std::regex_search(row, stringLength);
    })) << table.out;
    for (char const* heading : {"PHRASE", "PLURAL", "OBJECT", "INDEX", "RESULT"}) {
        auto const column = rows[0].find(heading);
        ASSERT_NE(column, std::string::npos) << heading;
        for (auto const& row : rows) {
            EXPECT_TRUE(row[column - 1] == ' ' && row[column] != ' ') << heading << ": " << row;
            EXPECT_NE(row.back(), ' ') << row;
        }
    }

    auto const objects = lines(run(ZORQ_PATH, {"--phrases", "--json"}).out);
    EXPECT_EQ(objects.size(), rows.size() - 1) << "one object per table row";
    auto text = [](Json const& value) { return value.is_null() ? "" : value.get<std::string>(); };
    std::vector<std::string> previous;
    for (auto const& line : objects) {
        auto const entry = Json::parse(line);
        std::vector<std::string> key{text(entry["phrase"]), text(entry["object"]),
                                     text(entry["index"])};
        EXPECT_LE(previous, key) << "sorted by phrase, object and index";
        previous = key;
        if (key == std::vector<std::string>{"length", "string", ""}) {
            EXPECT_TRUE(entry["index"].is_null() && entry["result"] == "integer") << line;
        }
    }
}

} // namespace
} // namespace zorq::testing
