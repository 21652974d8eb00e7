#include "duckdb_support/supplement.h"

#include "duckdb_support/duckdb_internals.h"

#include <duckdb/common/type_visitor.hpp>

#include <memory>
#include <mutex>
#include <stdexcept>

namespace internals = orlimbara::duckdb_support::internals;
using internals::Unwrap;

namespace {

/// An empty DuckDB for the casts to and from JSON, which don't work without an instance. It is opened at the
/// first such cast and lives until the process ends.
class CastInstance {
public:
    /// Casts in the context of a connection; may throw.
    static bool TryCast(const duckdb::Value& inValue, const duckdb::LogicalType& inType,
                        duckdb::Value& outValue, std::string& outError) {
        // Never destroyed: at exit the main thread's thread-local state of DuckDB is destroyed before static
        // objects, and an instance that closes after that writes to freed memory.
        static CastInstance& instance = *new CastInstance;
        const std::lock_guard lock(instance.mMutex);
        duckdb::Connection connection(instance.Database());
        return inValue.TryCastAs(*connection.context, inType, outValue, &outError);
    }

private:
    /// Opened here, so that a failed attempt is repeated. The lock must be held.
    duckdb::DuckDB& Database() {
        if (mDatabase == nullptr) {
            duckdb::DBConfig config;
            config.SetOptionByName("threads", duckdb::Value::UBIGINT(1)); // only the caller's
            config.SetOptionByName("autoload_known_extensions", duckdb::Value::BOOLEAN(false));
            config.SetOptionByName("autoinstall_known_extensions", duckdb::Value::BOOLEAN(false));
            config.SetOptionByName("enable_external_access", duckdb::Value::BOOLEAN(false));
            auto database = std::make_unique<duckdb::DuckDB>(nullptr, &config);
            if (!database->ExtensionIsLoaded("json")) {
                // Without this every text would be accepted as JSON.
                throw std::runtime_error("This build of DuckDB has no casts to JSON");
            }
            mDatabase = std::move(database);
        }
        return *mDatabase;
    }

    std::mutex mMutex;
    std::unique_ptr<duckdb::DuckDB> mDatabase;
};

bool HoldsJson(const duckdb::LogicalType& inType) {
    return duckdb::TypeVisitor::Contains(
        inType, [](const duckdb::LogicalType& inPart) { return inPart.IsJSONType(); });
}

/// Casts without an instance give the same as an instance with the time zone UTC, and are used wherever they
/// exist. Of the casts with JSON those are the ones that copy or split a JSON text.
bool NeedsInstance(const duckdb::LogicalType& inFrom, const duckdb::LogicalType& inTo) {
    if (!HoldsJson(inFrom) && !HoldsJson(inTo)) {
        return false;
    }
    const bool copies_or_splits =
        inTo.id() == duckdb::LogicalTypeId::VARIANT || inTo.id() == duckdb::LogicalTypeId::VARCHAR;
    return !inFrom.IsJSONType() || !copies_or_splits;
}

/// False for types that exist only while DuckDB binds a query, which no value can have.
bool IsCastable(const duckdb::LogicalType& inType) {
    return !duckdb::TypeVisitor::Contains(inType, [](const duckdb::LogicalType& inPart) {
        switch (inPart.id()) {
        case duckdb::LogicalTypeId::INVALID:
        case duckdb::LogicalTypeId::UNKNOWN:
        case duckdb::LogicalTypeId::ANY:
        case duckdb::LogicalTypeId::UNBOUND:
        case duckdb::LogicalTypeId::TEMPLATE:
        case duckdb::LogicalTypeId::STRING_LITERAL:
        case duckdb::LogicalTypeId::INTEGER_LITERAL:
            return true;
        default:
            return false;
        }
    });
}

/// VARIANT as `duckdb_create_logical_type` creates it: without the fields that its vectors consist of.
bool IsBareVariant(const duckdb::LogicalType& inType) {
    return inType.id() == duckdb::LogicalTypeId::VARIANT && inType.AuxInfo() == nullptr;
}

/// The type with every VARIANT in it complete.
duckdb::LogicalType Complete(const duckdb::LogicalType& inType) {
    if (!duckdb::TypeVisitor::Contains(inType, IsBareVariant)) {
        return inType;
    }
    return duckdb::TypeVisitor::VisitReplace(inType, [](const duckdb::LogicalType& inPart) {
        return IsBareVariant(inPart) ? duckdb::LogicalType::VARIANT() : inPart;
    });
}

/// DuckDB parses JSON recursively, on the stack of a host's thread.
constexpr int kMaxJsonDepth = 1000;

bool IsTooDeep(const duckdb::Value& inValue) {
    if (!inValue.type().IsJSONType() || inValue.IsNull()) {
        return false;
    }
    int depth = 0;
    bool in_string = false;
    bool escaped = false;
    for (const char byte : duckdb::StringValue::Get(inValue)) {
        if (escaped) {
            escaped = false;
        } else if (in_string) {
            escaped = byte == '\\';
            in_string = byte != '"';
        } else if (byte == '"') {
            in_string = true;
        } else if ((byte == '[' || byte == '{') && ++depth > kMaxJsonDepth) {
            return true;
        } else if (byte == ']' || byte == '}') {
            --depth;
        }
    }
    return false;
}

bool TryCast(const duckdb::Value& inValue, const duckdb::LogicalType& inType, duckdb::Value& outValue,
             std::string& outError) {
    try {
        if (!IsCastable(inType)) {
            outError = "Cannot cast a value to the type " + inType.ToString();
            return false;
        }
        const duckdb::LogicalType type = Complete(inType);
        if (type.id() != duckdb::LogicalTypeId::VARCHAR && IsTooDeep(inValue)) {
            outError = "JSON is nested deeper than " + std::to_string(kMaxJsonDepth) + " levels";
            return false;
        }
        return NeedsInstance(inValue.type(), type) ? CastInstance::TryCast(inValue, type, outValue, outError)
                                                   : inValue.DefaultTryCastAs(type, outValue, &outError);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& error) {
        outError = duckdb::ErrorData(error).RawMessage();
        return false;
    }
}

} // namespace

namespace orlimbara::duckdb_support {

duckdb_state cast_value(duckdb_value value, duckdb_logical_type type, duckdb_value* out, char** out_error) {
    if (out_error != nullptr) {
        *out_error = nullptr;
    }
    if (out == nullptr) {
        return DuckDBError;
    }
    *out = nullptr;
    if (value == nullptr || type == nullptr) {
        return DuckDBError;
    }
    duckdb::Value result;
    std::string error;
    if (TryCast(Unwrap(value), Unwrap(type), result, error)) {
        *out = internals::WrapNew(std::move(result));
        return DuckDBSuccess;
    }
    if (out_error != nullptr && !error.empty()) {
        *out_error = internals::CopyText(error);
    }
    return DuckDBError;
}

} // namespace orlimbara::duckdb_support

#if ORLIMBARA_SUPPLY_CAST_VALUE
extern "C" duckdb_state duckdb_cast_value(duckdb_value value, duckdb_logical_type type, duckdb_value* out,
                                          char** out_error) {
    return internals::OrElse(
        DuckDBError, [&] { return orlimbara::duckdb_support::cast_value(value, type, out, out_error); });
}
#endif
