/// @file
/// Reading the envelope: a JSON object that names a DuckDB type and gives a value of it as text.
/// result/text_buffer.h writes it.
///
/// These functions take no lock and keep no state. Failures are xDuckDBError with the context "value" or
/// "variant", but for std::bad_alloc.
#pragma once

#include <string_view>

#include "duckdb_support/handles.h"
#include "host/value.h"

namespace orkit::orsql {

/// The value as an envelope: a JSON object whose member "duckdb_value" or "duckdb_variant" is true.
/// @return null for every other value; no reference is added.
I_ValueJSON* FindEnvelope(I_Value* inValue);

/// A new value with an envelope's content; never empty. Throws for a malformed envelope and for a text that
/// the type doesn't accept.
orlimbara::duckdb_support::OwnedValue EnvelopeToDuckDB(const I_ValueJSON& inEnvelope);

/// A new value of a named type from its text; never empty. Throws for an unknown name and for a text that the
/// type doesn't accept.
/// @param inTypeName, inText UTF-8; names are compared as bytes.
orlimbara::duckdb_support::OwnedValue TypedTextToDuckDB(std::string_view inTypeName, std::string_view inText);

} // namespace orkit::orsql
