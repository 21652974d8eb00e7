// The examples run as they stand and show what they say.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "shell_runner.h"

namespace orsql_test {
namespace {

struct Example {
    std::string command;
    std::vector<std::string> shown; // in this order
};

TEST(Examples, RunAndShowWhatTheySay) {
    const std::string folder = EXAMPLES;
    const std::vector<Example> examples = {
        {"$ORSQL books.db -f " + folder + "/1_first_database.sql",
         {"│ A Field Guide to Clouds    │    96 │ NULL       │", "read_on = (not yet)", "main,books,table",
          "CREATE TABLE books(", "books\n3\n"}},
        {"$ORSQL -f " + folder + "/2_parquet_procedures.sql",
         {"│ fetch_duckdb     │", "│       3 │ value │ DECIMAL     │ DOUBLE       │", "│  1000 │",
          "│   100 │", "│ 903 │ reading 903 │", "│ 1000 │ reading 1000 │ 500.0 │"}},
        {"$ORSQL -f " + folder + "/3_parameters_and_variant.sql",
         {"│ harbour │ 2024-01-31 12:30:00.25 │    -3.5 │", "│ UUID │ 1b671a64-40d5-491e-99b0-da01ff1f3341 │",
          R"([[{"date":"2024-01-31"},{"json":"{\"duckdb_variant\":true,)", "[\"DECIMAL(3,2)\",1.25]"}},
        {"sh " + folder + "/4_backup_and_restore.sh",
         {"ships.parquet", "ships_in_copy\n3\n", "ship 1\nship 2\nship 3\n"}},
    };
    for (const Example& example : examples) {
        const TempFolder empty;
        const ShellRun run = RunScript(example.command);
        EXPECT_EQ(run.status, 0) << example.command;
        EXPECT_EQ(run.err, "") << example.command;
        std::size_t position = 0;
        for (const std::string& text : example.shown) {
            const std::size_t found = run.out.find(text, position);
            EXPECT_NE(found, std::string::npos) << text << "\nis missing in\n" << run.out;
            position = found == std::string::npos ? position : found;
        }
    }
}

} // namespace
} // namespace orsql_test
