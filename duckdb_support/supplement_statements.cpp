#include "duckdb_support/supplement.h"

#include "duckdb_support/duckdb_internals.h"

#include <duckdb/main/prepared_statement.hpp>

#include <memory>

namespace internals = orlimbara::duckdb_support::internals;
using internals::OrElse;
using internals::Unwrap;

namespace {

/// The statement at an index, or null if there is none or it was removed from the list.
duckdb::SQLStatement* FindStatement(duckdb_extracted_statements inStatements, idx_t inIndex) {
    if (inStatements == nullptr || inIndex >= Unwrap(inStatements).statements.size()) {
        return nullptr;
    }
    return Unwrap(inStatements).statements[inIndex].get();
}

} // namespace

extern "C" {

#if ORLIMBARA_SUPPLY_EXTRACTED_STATEMENT_SQL
char* duckdb_extracted_statement_sql(duckdb_extracted_statements statements, idx_t index) {
    return OrElse<char*>(nullptr,
                         [&] { return orlimbara::duckdb_support::statement_sql(statements, index); });
}
#endif

} // extern "C"

namespace orlimbara::duckdb_support {

char* statement_sql(duckdb_extracted_statements statements, idx_t index) {
    const duckdb::SQLStatement* const statement = FindStatement(statements, index);
    if (statement == nullptr) {
        return nullptr;
    }
    // The parser has already reduced the text to the statement's part.
    return internals::CopyText(statement->query);
}

duckdb_state prepare_extracted_copy(duckdb_connection connection, duckdb_extracted_statements statements,
                                    idx_t index, duckdb_prepared_statement* out) {
    if (out == nullptr) {
        return DuckDBError;
    }
    *out = nullptr;
    const duckdb::SQLStatement* statement = FindStatement(statements, index);
    if (connection == nullptr || statement == nullptr) {
        return DuckDBError;
    }
    auto wrapper = std::make_unique<duckdb::PreparedStatementWrapper>();
    try {
        wrapper->statement = Unwrap(connection).Prepare(statement->Copy());
        if (!wrapper->statement->HasError()) {
            for (const auto& [name, parameter] : wrapper->statement->named_param_map) {
                wrapper->param_index_to_name[parameter] = name;
            }
        }
    } catch (const std::exception& error) {
        wrapper->success = false;
        wrapper->error_data = duckdb::ErrorData(error);
    }
    const bool failed = !wrapper->success || wrapper->statement->HasError();
    *out = reinterpret_cast<duckdb_prepared_statement>(wrapper.release());
    return failed ? DuckDBError : DuckDBSuccess;
}

} // namespace orlimbara::duckdb_support
