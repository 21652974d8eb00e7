// Envelopes from an untrusted source: JSON text that begins with "{", or a type's name and its text on the
// following lines. Each is refused with a text, or becomes a value that DuckDB can write as text.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string_view>

#include <duckdb.h>

#include "duckdb_support/handle_count.h"
#include "duckdb_support/handles.h"
#include "host/exceptions.h"
#include "host_standin/live_objects.h"
#include "statement/envelope_reader.h"
#include "statement/parameters.h"

namespace {

namespace support = orlimbara::duckdb_support;
using namespace orkit;
using namespace orkit::orsql;

void Require(bool inCondition, const char* inMessage) {
    if (!inCondition) {
        std::fprintf(stderr, "%s\n", inMessage);
        std::abort();
    }
}

support::OwnedValue Read(std::string_view inInput) {
    if (inInput.starts_with('{')) {
        const smart_ptr<I_Value> json(CreateValueJSON(true, nullptr, nullptr));
        json->put_String(String(inInput.data(), static_cast<std::ptrdiff_t>(inInput.size())));
        return ValueToDuckDB(json.get());
    }
    const std::size_t end = inInput.find('\n');
    return TypedTextToDuckDB(inInput.substr(0, end), end == inInput.npos ? "" : inInput.substr(end + 1));
}

void ReadAndWrite(std::string_view inInput) {
    try {
        const support::OwnedValue value = Read(inInput);
        Require(static_cast<bool>(value), "an envelope gave neither a value nor a failure");
        try {
            Require(duckdb_is_null_value(value.Get()) || support::OwnedText(duckdb_get_varchar(value.Get())),
                    "a value gave neither a text nor a failure");
        } catch (const std::exception&) { // it has none, such as an object with two members of one name
        }
    } catch (const xDuckDBError& failure) {
        Require(failure.get_Code() == error_code::kDuckDB && failure.get_Text(0) && failure.get_Text(1),
                "a failure without its texts");
    } catch (const xException&) { // the text isn't JSON
        Require(inInput.starts_with('{'), "a foreign failure");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize) {
    ReadAndWrite({reinterpret_cast<const char*>(inData), inSize});
    Require(support::LiveHandleCount() == 0, "a handle is left");
    Require(standin::CountLiveObjects().get_Total() == 0, "a host object is left");
    return 0;
}
