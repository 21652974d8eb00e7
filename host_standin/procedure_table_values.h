/// @file
/// What the parts of the stand-in's procedure table share: the records behind the opaque handles. Not for
/// users of the stand-in.
#pragma once

#include <cstdint>
#include <new>
#include <string>
#include <vector>

#include "host_standin/procedure_table.h"

/// Behind `host_value`. A value is held by shares; one of them may be its context's, which keeps its values
/// in a ring through mPrevious and mNext.
struct orlimbara_host_value {
    std::int32_t mType = HOST_TYPE_NULL;
    std::uint32_t mShares = 1;
    orlimbara_host_value* mPrevious = nullptr;
    orlimbara_host_value* mNext = nullptr;
    /// Numbers, Booleans and packed forms as they are; a double by its bits.
    std::uint64_t mNumber = 0;
    /// The bytes of a text or binary.
    std::string mBytes;
    std::vector<orkit::standin::ProcedureValue> mElements;
};

/// Behind `call_context`.
struct orlimbara_call_context {
    orlimbara_call_context();
    orlimbara_call_context(const orlimbara_call_context&) = delete;
    orlimbara_call_context& operator=(const orlimbara_call_context&) = delete;
    ~orlimbara_call_context();

    std::vector<orkit::standin::ProcedureValue> mArguments;
    std::vector<host_value> mArgumentHandles;
    std::vector<std::string> mErrors;
    /// Start and end of the ring of values that nobody took yet.
    orlimbara_host_value mUntaken;
};

namespace orkit::standin::detail {

/// Ends the process with a message when the module broke the contract of the table.
void Require(bool inKept, const char* inWhatIsRequired) noexcept;

/// What an entry answers instead, when it refuses or memory runs out.
template <class Answer, class Body>
Answer WithoutThrowing(Answer inFailure, Body inBody) noexcept {
    try {
        return inBody();
    } catch (const std::bad_alloc&) {
        return inFailure;
    }
}

/// What an entry answers that was made to fail: -1, 1 and INT_MIN in turn, since only 0 means success.
std::int32_t Refusal() noexcept;

/// Overwrites the text that `value_text` gave last on this thread: it is valid only until the next entry.
void SpoilText() noexcept;

/// A new value in the context's ring; null when a value was made to fail or memory runs out.
host_value NewValue(call_context inContext, std::int32_t inType, std::uint64_t inNumber) noexcept;

/// Takes a value out of its context's ring; the share is the caller's.
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
