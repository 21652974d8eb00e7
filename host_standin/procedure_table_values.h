/// @file
/// The records of the opaque handles, for the sources of the stand-in's procedure table only.
#pragma once

#include <cstdint>
#include <new>
#include <string>
#include <vector>

#include "host_standin/procedure_table.h"

/// The record of a `host_value`, with shared ownership; one owner may be its context, which keeps its values
/// in a ring through mPrevious and mNext.
struct orlimbara_host_value {
    std::int32_t mType = HOST_TYPE_NULL;
    std::uint32_t mShares = 1;
    orlimbara_host_value* mPrevious = nullptr;
    orlimbara_host_value* mNext = nullptr;
    /// Numbers, Booleans and packed forms; a double as its bits.
    std::uint64_t mNumber = 0;
    /// The bytes of a text or binary.
    std::string mBytes;
    std::vector<orkit::standin::ProcedureValue> mElements;
};

/// The record of a `call_context`.
struct orlimbara_call_context {
    orlimbara_call_context();
    orlimbara_call_context(const orlimbara_call_context&) = delete;
    orlimbara_call_context& operator=(const orlimbara_call_context&) = delete;
    ~orlimbara_call_context();

    std::vector<orkit::standin::ProcedureValue> mArguments;
    std::vector<host_value> mArgumentHandles;
    std::vector<std::string> mErrors;
    /// Start and end of the ring of values that haven't been taken.
    orlimbara_host_value mUntaken;
};

namespace orkit::standin::detail {

/// Ends the process with a message if the module breaks the contract of the table.
void Require(bool inKept, const char* inWhatIsRequired) noexcept;

/// An entry's result if it refuses or memory runs out.
template <class Answer, class Body>
Answer WithoutThrowing(Answer inFailure, Body inBody) noexcept {
    try {
        return inBody();
    } catch (const std::bad_alloc&) {
        return inFailure;
    }
}

/// The result of an entry that was made to fail: -1, 1 and INT_MIN in turn, since only 0 means success.
std::int32_t Refusal() noexcept;

/// Overwrites the text that `value_text` last returned on this thread, which is valid only until the next
/// entry.
void SpoilText() noexcept;

/// A new value in the context's ring; null if it was made to fail or memory runs out.
host_value NewValue(call_context inContext, std::int32_t inType, std::uint64_t inNumber) noexcept;

/// Takes a value out of its context's ring; the caller owns it then.
void TakeValue(host_value inValue) noexcept;

/// The table's cursor entries; see host/procedure_api.h.
std::int32_t MakeRowCursor(call_context inContext, std::uint64_t inColumns, std::uint64_t inRows,
                           const char* const* inNames, const host_value* const* inValues,
                           host_cursor* outCursor) noexcept;
std::int32_t MakeCallbackCursor(call_context inContext, const cursor_descriptor* inDescriptor,
                                host_cursor* outCursor) noexcept;

/// The table's entries that read values; see host/procedure_api.h.
std::uint8_t ValueIsNull(host_value inValue) noexcept;
std::int32_t ValueType(host_value inValue) noexcept;
std::int64_t ArraySize(host_value inValue) noexcept;
host_value ArrayElement(host_value inValue, std::int64_t inIndex) noexcept;
std::int64_t ValueInt64(host_value inValue) noexcept;
std::uint64_t ValueUInt64(host_value inValue) noexcept;
const char* ValueText(call_context inContext, host_value inValue, std::uint64_t* outLength) noexcept;

} // namespace orkit::standin::detail
