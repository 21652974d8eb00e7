/// @file
/// Includes RapidJSON in a namespace of the stand-in's, so that it isn't mixed up with another copy in the
/// process: this one throws where RapidJSON would end the process.
#pragma once

namespace orkit::standin::detail {
/// RapidJSON's assertion failed; this also happens for some texts that are not JSON.
struct RapidJsonRefusal {};
} // namespace orkit::standin::detail

#define RAPIDJSON_NAMESPACE orkit::standin::rapidjson
#define RAPIDJSON_NAMESPACE_BEGIN namespace orkit::standin::rapidjson {
#define RAPIDJSON_NAMESPACE_END }
#define RAPIDJSON_ASSERT(inCondition)                                                                        \
    ((inCondition) ? static_cast<void>(0) : throw ::orkit::standin::detail::RapidJsonRefusal{})

#include <rapidjson/encodings.h>
#include <rapidjson/reader.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
