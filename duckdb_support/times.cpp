#include "duckdb_support/times.h"

#include "duckdb_support/duckdb_internals.h"

#include <duckdb/catalog/catalog.hpp>
#include <duckdb/common/type_visitor.hpp>
#include <duckdb/common/types/variant.hpp>
#include <duckdb/parser/parsed_data/create_scalar_function_info.hpp>

#include <algorithm>
#include <cstring>

namespace orlimbara::duckdb_support {

namespace {

using duckdb::LogicalTypeId;
using duckdb::VariantLogicalType;
using internals::Unwrap;

bool IsInRange(std::int64_t inTime, std::int64_t inPerDay) { return inTime >= 0 && inTime <= inPerDay; }

bool IsMicrosInRange(std::int64_t inMicros) { return IsInRange(inMicros, duckdb::Interval::MICROS_PER_DAY); }

bool IsNanosInRange(std::int64_t inNanos) { return IsInRange(inNanos, duckdb::Interval::NANOS_PER_DAY); }

bool IsTimeTzInRange(std::uint64_t inBits) {
    const duckdb::dtime_tz_t time(inBits);
    // The bits can't hold a greater offset than the greatest.
    return IsMicrosInRange(time.time().micros) && time.offset() >= duckdb::dtime_tz_t::MIN_OFFSET;
}

bool CanHoldTimes(const duckdb::LogicalType& inType) {
    return duckdb::TypeVisitor::Contains(inType, [](const duckdb::LogicalType& inPart) {
        return inPart.id() == LogicalTypeId::TIME || inPart.id() == LogicalTypeId::TIME_NS ||
               inPart.id() == LogicalTypeId::TIME_TZ || inPart.id() == LogicalTypeId::VARIANT;
    });
}

template <typename Number>
bool IsEachInRange(duckdb::Vector& ioVector, duckdb::idx_t inCount, bool (*inIsInRange)(Number)) {
    duckdb::UnifiedVectorFormat rows;
    ioVector.ToUnifiedFormat(inCount, rows);
    const auto* const numbers = reinterpret_cast<const Number*>(rows.data);
    for (duckdb::idx_t row = 0; row < inCount; ++row) {
        const duckdb::idx_t index = rows.sel->get_index(row);
        if (rows.validity.RowIsValid(index) && !inIsInRange(numbers[index])) {
            return false;
        }
    }
    return true;
}

/// A VARIANT lists its whole content, at any depth, as pairs of a type and an offset into its bytes.
bool IsEachVariantInRange(duckdb::Vector& ioVector, duckdb::idx_t inCount) {
    duckdb::RecursiveUnifiedVectorFormat format;
    duckdb::Vector::RecursiveToUnifiedFormat(ioVector, inCount, format);
    const duckdb::UnifiedVariantVectorData variants(format);
    for (duckdb::idx_t row = 0; row < inCount; ++row) {
        const duckdb::idx_t count = variants.RowIsValid(row) ? variants.GetValuesListEntry(row).length : 0;
        for (duckdb::idx_t index = 0; index < count; ++index) {
            const VariantLogicalType type = variants.GetTypeId(row, index);
            if (type != VariantLogicalType::TIME_MICROS && type != VariantLogicalType::TIME_NANOS &&
                type != VariantLogicalType::TIME_MICROS_TZ) {
                continue;
            }
            std::int64_t number = 0;
            std::memcpy(&number, variants.GetData(row).GetData() + variants.GetByteOffset(row, index),
                        sizeof(number));
            const bool is_in_range = type == VariantLogicalType::TIME_MICROS ? IsMicrosInRange(number)
                                     : type == VariantLogicalType::TIME_NANOS
                                         ? IsNanosInRange(number)
                                         : IsTimeTzInRange(static_cast<std::uint64_t>(number));
            if (!is_in_range) {
                return false;
            }
        }
    }
    return true;
}

} // namespace

/// May change the form of the vector, not its content. Each level is tested for NULL on its own, as in
/// DuckDB's casts, which also cast the parts of a NULL row that aren't NULL themselves.
bool internals::AreTimesInRange(duckdb::Vector& ioVector, duckdb::idx_t inCount) {
    const duckdb::LogicalType& type = ioVector.GetType();
    if (!CanHoldTimes(type)) {
        return true;
    }
    switch (type.id()) {
    case LogicalTypeId::TIME:
        return IsEachInRange(ioVector, inCount, IsMicrosInRange);
    case LogicalTypeId::TIME_NS:
        return IsEachInRange(ioVector, inCount, IsNanosInRange);
    case LogicalTypeId::TIME_TZ:
        return IsEachInRange(ioVector, inCount, IsTimeTzInRange);
    default:
        break;
    }
    ioVector.Flatten(inCount); // the children of a nested vector ignore a dictionary around it
    switch (type.id()) {
    case LogicalTypeId::VARIANT:
        return IsEachVariantInRange(ioVector, inCount);
    case LogicalTypeId::LIST:
    case LogicalTypeId::MAP:
        return AreTimesInRange(duckdb::ListVector::GetEntry(ioVector),
                               duckdb::ListVector::GetListSize(ioVector));
    case LogicalTypeId::ARRAY:
        return AreTimesInRange(duckdb::ArrayVector::GetEntry(ioVector),
                               inCount * duckdb::ArrayType::GetSize(type));
    default: // STRUCT and UNION
        return std::ranges::all_of(duckdb::StructVector::GetEntries(ioVector),
                                   [inCount](auto& ioPart) { return AreTimesInRange(*ioPart, inCount); });
    }
}

namespace {

duckdb::unique_ptr<duckdb::FunctionData>
BindTimeCheck(duckdb::ClientContext&, duckdb::ScalarFunction& ioFunction,
              duckdb::vector<duckdb::unique_ptr<duckdb::Expression>>& inArguments) {
    ioFunction.arguments[0] = inArguments[0]->return_type;
    ioFunction.SetReturnType(inArguments[0]->return_type);
    return nullptr;
}

/// Returns a copy, so that a cast of the result sees only the rows that were checked.
void CheckTimes(duckdb::DataChunk& inArguments, duckdb::ExpressionState&, duckdb::Vector& outResult) {
    const duckdb::idx_t count = inArguments.size();
    duckdb::VectorOperations::Copy(inArguments.data[0], outResult, count, 0, 0);
    if (!internals::AreTimesInRange(outResult, count)) {
        throw duckdb::InvalidInputException(kTimeOutOfRange);
    }
}

} // namespace

bool CanHoldTimes(duckdb_logical_type inType) { return CanHoldTimes(Unwrap(inType)); }

bool AreTimesInRange(duckdb_value inValue) {
    duckdb::Vector vector(Unwrap(inValue));
    return internals::AreTimesInRange(vector, 1);
}

void AddTimeCheck(duckdb_connection inConnection) {
    duckdb::ClientContext& context = *Unwrap(inConnection).context;
    duckdb::ScalarFunction function(std::strrchr(kTimeCheck, '.') + 1, {duckdb::LogicalType::ANY},
                                    duckdb::LogicalType::ANY, CheckTimes, BindTimeCheck);
    function.SetFallible();
    duckdb::CreateScalarFunctionInfo info(function);
    context.RunFunctionInTransaction(
        [&] { duckdb::Catalog::GetSystemCatalog(context).CreateFunction(context, info); });
}

} // namespace orlimbara::duckdb_support
