/// @file
/// Writing the envelope: the JSON text in which a DuckDB value that has no host type of its own leaves.
/// statement/ reads it.
#pragma once

#include <string>
#include <string_view>

#include "host/unknown.h"
#include "host/value.h"

namespace orkit::orsql {

/// A text as the inside of a JSON string (RFC 8259): the double quote, the backslash and what lies below 0x20
/// escaped, all other bytes as they are.
std::string EscapeJsonString(std::string_view inText);
/// The same behind the end of another text.
void AppendEscapedJson(std::string& ioJson, std::string_view inText);

/// Appends the JSON text of an envelope, `{"duckdb_variant":true,"variant_type":"...","value":"..."}`.
/// @param inTypeName, inText UTF-8.
void AppendEnvelope(std::string& ioJson, std::string_view inTypeName, std::string_view inText);

/// A JSON value of such a text.
/// @param inTypeName, inText UTF-8.
smart_ptr<I_Value> MakeEnvelopeValue(std::string_view inTypeName, std::string_view inText);

} // namespace orkit::orsql
