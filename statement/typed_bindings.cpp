// The typed bindings, and the steps that they share.

#include <cstdint>
#include <exception>
#include <optional>
#include <string>

#include "database/duckdb_database.h"
#include "extension/engine_lock_guard.h"
#include "object_support/text.h"
#include "statement/duckdb_statement.h"

namespace orkit::orsql {

namespace support = orlimbara::duckdb_support;

namespace {

// A step takes the prepared statement, the index and the arguments. It returns DuckDB's answer, or nothing if
// there is no value to bind and DuckDB's binding function isn't called.

/// The step of a type whose arguments are the members of one of DuckDB's structs.
template <class Record, class Function>
auto WithRecord(Function inFunction) {
    return [inFunction](duckdb_prepared_statement inPrepared, idx_t inIndex, const auto&... inParts) {
        return inFunction(inPrepared, inIndex, Record{inParts...});
    };
}

/// Binds a new value, which may be null.
std::optional<duckdb_state> BindNew(duckdb_prepared_statement inPrepared, idx_t inIndex,
                                    duckdb_value inValue) {
    const support::OwnedValue value(inValue);
    return value ? std::optional(duckdb_bind_value(inPrepared, inIndex, inValue)) : std::nullopt;
}

/// The step of a type that DuckDB can't bind directly: makes a value of the arguments and binds it.
template <class Create>
auto WithValue(Create inCreate) {
    return [inCreate](duckdb_prepared_statement inPrepared, idx_t inIndex, const auto&... inArgs) {
        return BindNew(inPrepared, inIndex, inCreate(inArgs...));
    };
}

/// The same for arguments that are the members of a struct.
template <class Record, class Create>
auto WithValueOfRecord(Create inCreate) {
    return WithValue([inCreate](const auto&... inParts) { return inCreate(Record{inParts...}); });
}

duckdb_state BindBool(duckdb_prepared_statement inPrepared, idx_t inIndex, std::uint8_t inValue) {
    return duckdb_bind_boolean(inPrepared, inIndex, inValue != 0);
}

duckdb_state BindCalendarDate(duckdb_prepared_statement inPrepared, idx_t inIndex, std::int32_t inYear,
                              std::int32_t inMonth, std::int32_t inDay) {
    const duckdb_date_struct parts = {inYear, static_cast<std::int8_t>(inMonth),
                                      static_cast<std::int8_t>(inDay)};
    return duckdb_bind_date(inPrepared, inIndex, duckdb_to_date(parts));
}

duckdb_state BindText(duckdb_prepared_statement inPrepared, idx_t inIndex, const String& inValue) {
    const StFromUTF16 text = ToUTF8(inValue);
    return duckdb_bind_varchar_length(inPrepared, inIndex, text.c_str(), text.get_Length());
}

duckdb_value CreateTimeTz(std::int64_t inMicros, std::int32_t inOffset) {
    return duckdb_create_time_tz_value(duckdb_create_time_tz(inMicros, inOffset));
}

// DuckDB's byte structs have no const, but its functions only read. They accept any bytes, even invalid ones
// that DuckDB would later read past the end of: those give no value.

duckdb_value CreateBit(const std::uint8_t* inData, std::uint64_t inSize) {
    constexpr std::uint64_t kMinSize = 2; // the padding, and at least one bit
    constexpr std::uint8_t kMaxPadding = 7;
    if (!inData || inSize < kMinSize || inData[0] > kMaxPadding) {
        return nullptr;
    }
    return duckdb_create_bit({const_cast<std::uint8_t*>(inData), inSize});
}

duckdb_value CreateBignum(const std::uint8_t* inData, std::uint64_t inSize, bool inIsNegative) {
    constexpr std::uint64_t kMaxSize = 0x7FFFFF;
    if (!inData || inSize == 0 || inSize > kMaxSize) {
        return nullptr;
    }
    return duckdb_create_bignum({const_cast<std::uint8_t*>(inData), inSize, inIsNegative});
}

} // namespace

template <class Step, class... Args>
void DuckDBStatement::Bind(const char* inTypeName, Step inStep, std::uint32_t inIndex,
                           const Args&... inArgs) {
    const EngineLockGuard guard;
    DropHeldArrays();
    if (!mPrepared) {
        return;
    }
    std::optional<duckdb_state> state;
    try {
        state = inStep(mPrepared.Get(), inIndex, inArgs...);
    } catch (const std::exception& failure) { // DuckDB throws these for values beyond its ranges
        ThrowError(failure.what());
    }
    if (state != DuckDBSuccess) {
        const std::string refused = std::string("Failed to bind ") + inTypeName + " statement parameter";
        ThrowError(state ? TextOr(duckdb_prepare_error(mPrepared.Get()), refused.c_str()) : refused.c_str());
    }
}

void DuckDBStatement::BindNull(std::uint32_t inIndex) { Bind("NULL", duckdb_bind_null, inIndex); }

void DuckDBStatement::BindBoolean(std::uint32_t inIndex, std::uint8_t inValue) {
    Bind("BOOLEAN", BindBool, inIndex, inValue);
}

void DuckDBStatement::BindTinyInt(std::uint32_t inIndex, std::int8_t inValue) {
    Bind("TINYINT", duckdb_bind_int8, inIndex, inValue);
}

void DuckDBStatement::BindUTinyInt(std::uint32_t inIndex, std::uint8_t inValue) {
    Bind("UTINYINT", duckdb_bind_uint8, inIndex, inValue);
}

void DuckDBStatement::BindSmallInt(std::uint32_t inIndex, std::int16_t inValue) {
    Bind("SMALLINT", duckdb_bind_int16, inIndex, inValue);
}

void DuckDBStatement::BindUSmallInt(std::uint32_t inIndex, std::uint16_t inValue) {
    Bind("USMALLINT", duckdb_bind_uint16, inIndex, inValue);
}

void DuckDBStatement::BindInteger(std::uint32_t inIndex, std::int32_t inValue) {
    Bind("INTEGER", duckdb_bind_int32, inIndex, inValue);
}

void DuckDBStatement::BindUInteger(std::uint32_t inIndex, std::uint32_t inValue) {
    Bind("UINTEGER", duckdb_bind_uint32, inIndex, inValue);
}

void DuckDBStatement::BindBigInt(std::uint32_t inIndex, std::int64_t inValue) {
    Bind("BIGINT", duckdb_bind_int64, inIndex, inValue);
}

void DuckDBStatement::BindUBigInt(std::uint32_t inIndex, std::uint64_t inValue) {
    Bind("UBIGINT", duckdb_bind_uint64, inIndex, inValue);
}

void DuckDBStatement::BindHugeInt(std::uint32_t inIndex, std::uint64_t inLower, std::int64_t inUpper) {
    Bind("HUGEINT", WithRecord<duckdb_hugeint>(duckdb_bind_hugeint), inIndex, inLower, inUpper);
}

void DuckDBStatement::BindUHugeInt(std::uint32_t inIndex, std::uint64_t inLower, std::uint64_t inUpper) {
    Bind("UHUGEINT", WithRecord<duckdb_uhugeint>(duckdb_bind_uhugeint), inIndex, inLower, inUpper);
}

void DuckDBStatement::BindDecimal(std::uint32_t inIndex, std::uint8_t inWidth, std::uint8_t inScale,
                                  std::uint64_t inLower, std::int64_t inUpper) {
    Bind("DECIMAL", WithRecord<duckdb_decimal>(duckdb_bind_decimal), inIndex, inWidth, inScale,
         duckdb_hugeint{inLower, inUpper});
}

void DuckDBStatement::BindFloat(std::uint32_t inIndex, float inValue) {
    Bind("FLOAT", duckdb_bind_float, inIndex, inValue);
}

void DuckDBStatement::BindDouble(std::uint32_t inIndex, double inValue) {
    Bind("DOUBLE", duckdb_bind_double, inIndex, inValue);
}

void DuckDBStatement::BindDate(std::uint32_t inIndex, std::int32_t inYear, std::int32_t inMonth,
                               std::int32_t inDay) {
    Bind("DATE", BindCalendarDate, inIndex, inYear, inMonth, inDay);
}

void DuckDBStatement::BindTime(std::uint32_t inIndex, std::int64_t inMicros) {
    Bind("TIME", WithRecord<duckdb_time>(duckdb_bind_time), inIndex, inMicros);
}

void DuckDBStatement::BindTimeNs(std::uint32_t inIndex, std::int64_t inNanos) {
    Bind("TIME_NS", WithValueOfRecord<duckdb_time_ns>(duckdb_create_time_ns), inIndex, inNanos);
}

void DuckDBStatement::BindTimeTz(std::uint32_t inIndex, std::int64_t inMicros, std::int32_t inOffset) {
    Bind("TIME_TZ", WithValue(CreateTimeTz), inIndex, inMicros, inOffset);
}

void DuckDBStatement::BindTimestamp(std::uint32_t inIndex, std::int64_t inMicros) {
    Bind("TIMESTAMP", WithRecord<duckdb_timestamp>(duckdb_bind_timestamp), inIndex, inMicros);
}

void DuckDBStatement::BindTimestampTz(std::uint32_t inIndex, std::int64_t inMicros) {
    Bind("TIMESTAMP_TZ", WithRecord<duckdb_timestamp>(duckdb_bind_timestamp_tz), inIndex, inMicros);
}

void DuckDBStatement::BindTimestampS(std::uint32_t inIndex, std::int64_t inSeconds) {
    Bind("TIMESTAMP_S", WithValueOfRecord<duckdb_timestamp_s>(duckdb_create_timestamp_s), inIndex, inSeconds);
}

void DuckDBStatement::BindTimestampMs(std::uint32_t inIndex, std::int64_t inMillis) {
    Bind("TIMESTAMP_MS", WithValueOfRecord<duckdb_timestamp_ms>(duckdb_create_timestamp_ms), inIndex,
         inMillis);
}

void DuckDBStatement::BindTimestampNs(std::uint32_t inIndex, std::int64_t inNanos) {
    Bind("TIMESTAMP_NS", WithValueOfRecord<duckdb_timestamp_ns>(duckdb_create_timestamp_ns), inIndex,
         inNanos);
}

void DuckDBStatement::BindInterval(std::uint32_t inIndex, std::int32_t inMonths, std::int32_t inDays,
                                   std::int64_t inMicros) {
    Bind("INTERVAL", WithRecord<duckdb_interval>(duckdb_bind_interval), inIndex, inMonths, inDays, inMicros);
}

void DuckDBStatement::BindVarchar(std::uint32_t inIndex, const String& inValue) {
    Bind("VARCHAR", BindText, inIndex, inValue);
}

void DuckDBStatement::BindBlob(std::uint32_t inIndex, const void* inData, std::uint64_t inLength) {
    Bind("BLOB", duckdb_bind_blob, inIndex, inData, inLength);
}

void DuckDBStatement::BindBit(std::uint32_t inIndex, const std::uint8_t* inData, std::uint64_t inSize) {
    Bind("BIT", WithValue(CreateBit), inIndex, inData, inSize);
}

void DuckDBStatement::BindBignum(std::uint32_t inIndex, const std::uint8_t* inData, std::uint64_t inSize,
                                 bool inIsNegative) {
    Bind("BIGNUM", WithValue(CreateBignum), inIndex, inData, inSize, inIsNegative);
}

void DuckDBStatement::BindUuid(std::uint32_t inIndex, std::uint64_t inLower, std::uint64_t inUpper) {
    Bind("UUID", WithValueOfRecord<duckdb_uhugeint>(duckdb_create_uuid), inIndex, inLower, inUpper);
}

} // namespace orkit::orsql
