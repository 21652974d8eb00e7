/// @file
/// The stand-in host's side of the procedure table: what tests, the shell and benchmarks need to play the
/// host to table procedures. It provides the table, holds the registered procedures, makes arguments, calls
/// procedures, moves their cursors and reads their values.
///
/// Every call that breaks the contract of host/procedure_api.h (a reserved entry, a record whose zero fields
/// are not zero, a null state ...) ends the process with a message on stderr: it is a bug of the module.
///
/// host_standin/faults.h makes its entries fail, host_standin/live_objects.h counts its handles.
///
/// Threads: the registered procedures can be used from any thread. A call context, a value and a cursor
/// belong to one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/procedure_api.h"
#include "host_standin/date_text.h"

namespace orkit::standin {

using ProcedureDate = DateParts;
using ProcedureTime = TimeParts;

struct ProcedureDateTime {
    ProcedureDate date;
    ProcedureTime time;
    bool operator==(const ProcedureDateTime&) const = default;
};

/// To and from the packed forms of host/procedure_api.h.
std::uint32_t PackDate(const ProcedureDate& inDate);
std::uint32_t PackTime(const ProcedureTime& inTime);
std::uint64_t PackDateTime(const ProcedureDateTime& inDateTime);
ProcedureDate UnpackDate(std::uint32_t inPacked);
ProcedureTime UnpackTime(std::uint32_t inPacked);
ProcedureDateTime UnpackDateTime(std::uint64_t inPacked);

/// One host value, shared: copies are the same value, and the last one frees it.
class ProcedureValue {
public:
    /// No value: the null handle, as for an omitted argument.
    ProcedureValue() = default;
    ProcedureValue(const ProcedureValue& inOther);
    ProcedureValue(ProcedureValue&& inOther) noexcept : mHandle(std::exchange(inOther.mHandle, nullptr)) {}
    ProcedureValue& operator=(ProcedureValue inOther) noexcept;
    ~ProcedureValue();

    /// A value that is SQL NULL, of kind 9; not the same as no value.
    static ProcedureValue Null();
    static ProcedureValue Bool(bool inValue);
    static ProcedureValue Int64(std::int64_t inValue);
    static ProcedureValue UInt64(std::uint64_t inValue);
    static ProcedureValue Double(double inValue);
    static ProcedureValue Text(std::string_view inBytes);
    static ProcedureValue Binary(std::string_view inBytes);
    static ProcedureValue Date(const ProcedureDate& inDate);
    static ProcedureValue Time(const ProcedureTime& inTime);
    static ProcedureValue DateTime(const ProcedureDateTime& inDateTime);
    static ProcedureValue Array(std::vector<ProcedureValue> inElements);

    /// Takes a handle that a procedure or a cursor returned; may be null.
    static ProcedureValue Adopt(host_value inHandle);

    /// The handle for the module; this object keeps it.
    host_value get_Handle() const { return mHandle; }
    /// Whether there is no value, or it is SQL NULL.
    bool IsNull() const;
    /// The kind, a number of `host_type`; HOST_TYPE_NULL for no value.
    std::int32_t get_Type() const;

    /// The payload. Each throws std::logic_error for a value of another kind.
    bool get_Bool() const;
    std::int64_t get_Int64() const;
    std::uint64_t get_UInt64() const;
    double get_Double() const;
    /// The bytes of a text or a binary value.
    std::string get_Bytes() const;
    ProcedureDate get_Date() const;
    ProcedureTime get_Time() const;
    ProcedureDateTime get_DateTime() const;

    /// A copy of what `value_text` returns: the bytes of texts and binaries; decimal digits; the shortest
    /// digits that read back as the same double; "true" and "false"; "2024-01-31", "23:59:59.999" and both
    /// with a space between (years beyond four digits with a sign). Empty if `value_text` returns null: for
    /// no value, SQL NULL and arrays.
    std::string AsText() const;

    /// Same kind and same payload; SQL NULL and no value are equal to each other.
    friend bool operator==(const ProcedureValue& inLeft, const ProcedureValue& inRight);

private:
    explicit ProcedureValue(host_value inHandle) : mHandle(inHandle) {}

    host_value mHandle = nullptr;
};

/// One call of the host into the module. It owns the values made through it until they are taken (by a
/// cursor, or ProcedureValue::Adopt), and frees the rest at its end.
class ProcedureContext {
public:
    explicit ProcedureContext(std::vector<ProcedureValue> inArguments = {});
    ProcedureContext(const ProcedureContext&) = delete;
    ProcedureContext& operator=(const ProcedureContext&) = delete;
    ~ProcedureContext();

    call_context get_Handle() const { return mImp.get(); }
    /// The arguments for a procedure; null if there are none.
    const host_value* get_ArgumentHandles() const;
    /// The texts given to `report_error`, in order.
    const std::vector<std::string>& get_Errors() const;

private:
    std::unique_ptr<orlimbara_call_context> mImp;
};

/// A cursor that a procedure returned; move-only. The destructor calls the cursor's `destroy`, exactly once.
class ProcedureCursor {
public:
    ProcedureCursor() = default;
    /// Takes the handle; may be null.
    explicit ProcedureCursor(host_cursor inHandle) : mHandle(inHandle) {}
    ProcedureCursor(ProcedureCursor&& inOther) noexcept : mHandle(std::exchange(inOther.mHandle, nullptr)) {}
    ProcedureCursor& operator=(ProcedureCursor&& inOther) noexcept;
    ~ProcedureCursor();

    /// Whether there is a cursor. All members below need one.
    explicit operator bool() const { return mHandle != nullptr; }

    std::size_t get_ColumnCount() const;
    /// Column numbers count from 0; `inColumn` must be a column. A zero-terminated text that the cursor
    /// holds.
    const char* get_ColumnName(std::size_t inColumn) const;
    /// The declared kind of the column's values, a number of `host_type`; 0 for a cursor of given rows, which
    /// declares none.
    std::int32_t get_ColumnType(std::size_t inColumn) const;
    std::int64_t get_RowCount() const;

    // A failure that a callback reports is thrown as std::runtime_error with its text.

    /// @return whether there is a current row now. A new cursor is before row 0.
    bool NextRow();
    /// Rows count from 0. If it returns false, the position is unchanged.
    bool SeekRow(std::int64_t inRow);
    /// A cell of the current row; no value for SQL NULL, or if there is nothing to read.
    ProcedureValue ReadValue(std::int32_t inColumn) const;

    /// The record of a cursor of callbacks; null for a cursor of given rows.
    const cursor_descriptor* get_Descriptor() const;

private:
    host_cursor mHandle = nullptr;
};

/// A registered procedure, as the module described it.
struct RegisteredProcedure {
    std::string name;
    std::int32_t minimumArguments = 0;
    std::int32_t maximumArguments = 0;
    std::string signature;
    std::string description;
    procedure_callback callback = nullptr;
};

/// The outcome of a call: a cursor, or none and the reported errors.
struct ProcedureAnswer {
    ProcedureCursor cursor;
    std::vector<std::string> errors;
};

/// The table to give to `orlimbara_extension_bind_api`; one for the whole process.
const procedure_api* GetProcedureTable();

/// The registered procedures, in the order of their registration. A name registered again replaces the first.
std::vector<RegisteredProcedure> ListProcedures();

/// Removes all procedures; call it before their module is unloaded.
void ForgetProcedures();

/// Calls a registered procedure as the host does: an unknown name or a wrong number of arguments is refused
/// with the stand-in's own error, without calling the module.
ProcedureAnswer CallProcedure(std::string_view inName, const std::vector<ProcedureValue>& inArguments);

/// Calls a procedure regardless of its minimum and maximum.
ProcedureAnswer CallUnchecked(procedure_callback inCallback, const std::vector<ProcedureValue>& inArguments);

/// Frees a value that came from the table directly; for loops without ProcedureValue.
void ReleaseProcedureValue(host_value inHandle);

} // namespace orkit::standin
