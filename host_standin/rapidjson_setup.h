/// @file
/// Includes RapidJSON under a name of the stand-in's own, so that nobody else's copy in the process is mixed
/// up with this one, which throws where RapidJSON's would end the process.
#pragma once

namespace orkit::standin::detail {
/// RapidJSON found itself misused; it asserts this also for some texts that are not JSON.
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
