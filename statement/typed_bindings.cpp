// The typed bindings: one row for each, and the steps that all of them share.

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

/// A typed binding.
/// @tparam Step takes the prepared statement, the index and the arguments, and gives DuckDB's answer, or
/// nothing where there is no value to bind and DuckDB's binding function isn't called.
template <class Step>
struct Row {
    const char* mTypeName; ///< as it stands in the message of a failure
    Step mBind;
};
template <class Step>
Row(const char*, Step) -> Row<Step>;

/// The step of a type whose arguments are the parts of one of DuckDB's records.
template <class Record, class Function>
auto WithRecord(Function inFunction) {
    return [inFunction](duckdb_prepared_statement inPrepared, idx_t inIndex, const auto&... inParts) {
        return inFunction(inPrepared, inIndex, Record{inParts...});
    };
}

/// The step of a type that DuckDB can't bind at once: a value is made of the arguments, and bound.
template <class Create>
auto WithValue(Create inCreate) {
    return [inCreate](duckdb_prepared_statement inPrepared, idx_t inIndex,
                      const auto&... inArgs) -> std::optional<duckdb_state> {
        const support::OwnedValue value(inCreate(inArgs...));
        return value ? std::optional(duckdb_bind_value(inPrepared, inIndex, value.Get())) : std::nullopt;
    };
}

/// The same for arguments that are the parts of a record.
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
    const StFromUTF16 text(inValue, GetConverter_UTF8());
    return duckdb_bind_varchar_length(inPrepared, inIndex, text.c_str(), text.get_Length());
}

duckdb_value CreateTimeTz(std::int64_t inMicros, std::int32_t inOffset) {
    return duckdb_create_time_tz_value(duckdb_create_time_tz(inMicros, inOffset));
}

// DuckDB's records of bytes have no const, but its functions only read. They take any bytes, also such as no
// value has, with which DuckDB would later read past their end: those give no value.

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

const Row kNull{"NULL", duckdb_bind_null};
const Row kBoolean{"BOOLEAN", BindBool};
const Row kTinyInt{"TINYINT", duckdb_bind_int8};
const Row kUTinyInt{"UTINYINT", duckdb_bind_uint8};
const Row kSmallInt{"SMALLINT", duckdb_bind_int16};
const Row kUSmallInt{"USMALLINT", duckdb_bind_uint16};
const Row kInteger{"INTEGER", duckdb_bind_int32};
const Row kUInteger{"UINTEGER", duckdb_bind_uint32};
const Row kBigInt{"BIGINT", duckdb_bind_int64};
const Row kUBigInt{"UBIGINT", duckdb_bind_uint64};
const Row kHugeInt{"HUGEINT", WithRecord<duckdb_hugeint>(duckdb_bind_hugeint)};
const Row kUHugeInt{"UHUGEINT", WithRecord<duckdb_uhugeint>(duckdb_bind_uhugeint)};
const Row kDecimal{"DECIMAL", WithRecord<duckdb_decimal>(duckdb_bind_decimal)};
const Row kFloat{"FLOAT", duckdb_bind_float};
const Row kDouble{"DOUBLE", duckdb_bind_double};
const Row kDate{"DATE", BindCalendarDate};
const Row kTime{"TIME", WithRecord<duckdb_time>(duckdb_bind_time)};
const Row kTimeNs{"TIME_NS", WithValueOfRecord<duckdb_time_ns>(duckdb_create_time_ns)};
const Row kTimeTz{"TIME_TZ", WithValue(CreateTimeTz)};
const Row kTimestamp{"TIMESTAMP", WithRecord<duckdb_timestamp>(duckdb_bind_timestamp)};
const Row kTimestampTz{"TIMESTAMP_TZ", WithRecord<duckdb_timestamp>(duckdb_bind_timestamp_tz)};
const Row kTimestampS{"TIMESTAMP_S", WithValueOfRecord<duckdb_timestamp_s>(duckdb_create_timestamp_s)};
const Row kTimestampMs{"TIMESTAMP_MS", WithValueOfRecord<duckdb_timestamp_ms>(duckdb_create_timestamp_ms)};
const Row kTimestampNs{"TIMESTAMP_NS", WithValueOfRecord<duckdb_timestamp_ns>(duckdb_create_timestamp_ns)};
const Row kInterval{"INTERVAL", WithRecord<duckdb_interval>(duckdb_bind_interval)};
const Row kVarchar{"VARCHAR", BindText};
const Row kBlob{"BLOB", duckdb_bind_blob};
const Row kBit{"BIT", WithValue(CreateBit)};
const Row kBignum{"BIGNUM", WithValue(CreateBignum)};
const Row kUuid{"UUID", WithValueOfRecord<duckdb_uhugeint>(duckdb_create_uuid)};

} // namespace

template <class Row, class... Args>
void DuckDBStatement::Bind(const Row& inRow, std::uint32_t inIndex, const Args&... inArgs) {
    const EngineLockGuard guard;
    DropHeldArrays();
    if (!mPrepared) {
        return;
    }
    std::optional<duckdb_state> state;
    try {
        state = inRow.mBind(mPrepared.Get(), inIndex, inArgs...);
    } catch (const std::exception& failure) { // DuckDB lets these out for values beyond its ranges
        ThrowError(failure.what());
    }
    if (state != DuckDBSuccess) {
        const std::string refused = std::string("Failed to bind ") + inRow.mTypeName + " statement parameter";
        ThrowError(state ? TextOr(duckdb_prepare_error(mPrepared.Get()), refused.c_str()) : refused.c_str());
    }
}

void DuckDBStatement::BindNull(std::uint32_t inIndex) { Bind(kNull, inIndex); }

void DuckDBStatement::BindBoolean(std::uint32_t inIndex, std::uint8_t inValue) {
    Bind(kBoolean, inIndex, inValue);
}

void DuckDBStatement::BindTinyInt(std::uint32_t inIndex, std::int8_t inValue) {
    Bind(kTinyInt, inIndex, inValue);
}

void DuckDBStatement::BindUTinyInt(std::uint32_t inIndex, std::uint8_t inValue) {
    Bind(kUTinyInt, inIndex, inValue);
}

void DuckDBStatement::BindSmallInt(std::uint32_t inIndex, std::int16_t inValue) {
    Bind(kSmallInt, inIndex, inValue);
}

void DuckDBStatement::BindUSmallInt(std::uint32_t inIndex, std::uint16_t inValue) {
    Bind(kUSmallInt, inIndex, inValue);
}

void DuckDBStatement::BindInteger(std::uint32_t inIndex, std::int32_t inValue) {
    Bind(kInteger, inIndex, inValue);
}

void DuckDBStatement::BindUInteger(std::uint32_t inIndex, std::uint32_t inValue) {
    Bind(kUInteger, inIndex, inValue);
}

void DuckDBStatement::BindBigInt(std::uint32_t inIndex, std::int64_t inValue) {
    Bind(kBigInt, inIndex, inValue);
}

void DuckDBStatement::BindUBigInt(std::uint32_t inIndex, std::uint64_t inValue) {
    Bind(kUBigInt, inIndex, inValue);
}

void DuckDBStatement::BindHugeInt(std::uint32_t inIndex, std::uint64_t inLower, std::int64_t inUpper) {
    Bind(kHugeInt, inIndex, inLower, inUpper);
}

void DuckDBStatement::BindUHugeInt(std::uint32_t inIndex, std::uint64_t inLower, std::uint64_t inUpper) {
    Bind(kUHugeInt, inIndex, inLower, inUpper);
}

void DuckDBStatement::BindDecimal(std::uint32_t inIndex, std::uint8_t inWidth, std::uint8_t inScale,
                                  std::uint64_t inLower, std::int64_t inUpper) {
    Bind(kDecimal, inIndex, inWidth, inScale, duckdb_hugeint{inLower, inUpper});
}

void DuckDBStatement::BindFloat(std::uint32_t inIndex, float inValue) { Bind(kFloat, inIndex, inValue); }

void DuckDBStatement::BindDouble(std::uint32_t inIndex, double inValue) { Bind(kDouble, inIndex, inValue); }

void DuckDBStatement::BindDate(std::uint32_t inIndex, std::int32_t inYear, std::int32_t inMonth,
                               std::int32_t inDay) {
    Bind(kDate, inIndex, inYear, inMonth, inDay);
}

void DuckDBStatement::BindTime(std::uint32_t inIndex, std::int64_t inMicros) {
    Bind(kTime, inIndex, inMicros);
}

void DuckDBStatement::BindTimeNs(std::uint32_t inIndex, std::int64_t inNanos) {
    Bind(kTimeNs, inIndex, inNanos);
}

void DuckDBStatement::BindTimeTz(std::uint32_t inIndex, std::int64_t inMicros, std::int32_t inOffset) {
    Bind(kTimeTz, inIndex, inMicros, inOffset);
}

void DuckDBStatement::BindTimestamp(std::uint32_t inIndex, std::int64_t inMicros) {
    Bind(kTimestamp, inIndex, inMicros);
}

void DuckDBStatement::BindTimestampTz(std::uint32_t inIndex, std::int64_t inMicros) {
    Bind(kTimestampTz, inIndex, inMicros);
}

void DuckDBStatement::BindTimestampS(std::uint32_t inIndex, std::int64_t inSeconds) {
    Bind(kTimestampS, inIndex, inSeconds);
}

void DuckDBStatement::BindTimestampMs(std::uint32_t inIndex, std::int64_t inMillis) {
    Bind(kTimestampMs, inIndex, inMillis);
}

void DuckDBStatement::BindTimestampNs(std::uint32_t inIndex, std::int64_t inNanos) {
    Bind(kTimestampNs, inIndex, inNanos);
}

void DuckDBStatement::BindInterval(std::uint32_t inIndex, std::int32_t inMonths, std::int32_t inDays,
                                   std::int64_t inMicros) {
    Bind(kInterval, inIndex, inMonths, inDays, inMicros);
}

void DuckDBStatement::BindVarchar(std::uint32_t inIndex, const String& inValue) {
    Bind(kVarchar, inIndex, inValue);
}

void DuckDBStatement::BindBlob(std::uint32_t inIndex, const void* inData, std::uint64_t inLength) {
    Bind(kBlob, inIndex, inData, inLength);
}

void DuckDBStatement::BindBit(std::uint32_t inIndex, const std::uint8_t* inData, std::uint64_t inSize) {
    Bind(kBit, inIndex, inData, inSize);
}

void DuckDBStatement::BindBignum(std::uint32_t inIndex, const std::uint8_t* inData, std::uint64_t inSize,
                                 bool inIsNegative) {
    Bind(kBignum, inIndex, inData, inSize, inIsNegative);
}

void DuckDBStatement::BindUuid(std::uint32_t inIndex, std::uint64_t inLower, std::uint64_t inUpper) {
    Bind(kUuid, inIndex, inLower, inUpper);
}

} // namespace orkit::orsql
