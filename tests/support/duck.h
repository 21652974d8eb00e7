/// @file
/// A test's own DuckDB, without the module.
#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "duckdb_support/handles.h"

namespace tests_support {

/// An open DuckDB in a file, or in memory for an empty path.
class Duck {
public:
    explicit Duck(const std::string& inPath = {}) {
        if (duckdb_open(inPath.empty() ? nullptr : inPath.c_str(), mDatabase.Put()) != DuckDBSuccess ||
            duckdb_connect(mDatabase.Get(), mConnection.Put()) != DuckDBSuccess) {
            throw std::runtime_error("no DuckDB at " + inPath);
        }
    }

    duckdb_connection Connection() const { return mConnection.Get(); }

    /// Runs an SQL text that must succeed.
    orlimbara::duckdb_support::OwnedResult Run(const std::string& inSql) const {
        orlimbara::duckdb_support::OwnedResult result;
        if (duckdb_query(mConnection.Get(), inSql.c_str(), result.Put()) != DuckDBSuccess) {
            throw std::runtime_error(inSql + ": " + duckdb_result_error(result.Get()));
        }
        return result;
    }

    /// The cells of the first column, which must be VARCHAR, as bytes; "NULL" for NULL.
    std::vector<std::string> Texts(const std::string& inSql) const {
        using orlimbara::duckdb_support::OwnedDataChunk;
        std::vector<std::string> texts;
        const auto result = Run(inSql);
        while (const auto chunk = OwnedDataChunk(duckdb_fetch_chunk(result.Struct()))) {
            duckdb_vector vector = duckdb_data_chunk_get_vector(chunk.Get(), 0);
            auto* const data = static_cast<duckdb_string_t*>(duckdb_vector_get_data(vector));
            std::uint64_t* const validity = duckdb_vector_get_validity(vector);
            for (idx_t row = 0; row < duckdb_data_chunk_get_size(chunk.Get()); ++row) {
                const bool isValid = !validity || duckdb_validity_row_is_valid(validity, row);
                texts.push_back(
                    isValid ? std::string(duckdb_string_t_data(&data[row]), duckdb_string_t_length(data[row]))
                            : "NULL");
            }
        }
        return texts;
    }

private:
    orlimbara::duckdb_support::OwnedDatabase mDatabase;
    orlimbara::duckdb_support::OwnedConnection mConnection;
};

} // namespace tests_support
