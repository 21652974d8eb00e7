#include <memory>
#include <span>

#include "host_standin/faults.h"
#include "host_standin/live_objects.h"
#include "host_standin/procedure_table_values.h"

/// The record of a `host_cursor`: given rows, or the callbacks of mDescriptor.
struct orlimbara_host_cursor {
    const cursor_descriptor* mDescriptor = nullptr;
    std::vector<std::string> mNames;
    std::vector<std::vector<orkit::standin::ProcedureValue>> mRows;
    /// For given rows: -1 before the first.
    std::int64_t mRow = -1;
    /// For the callbacks.
    orlimbara_call_context mContext;
};

namespace orkit::standin {

namespace detail {

namespace {

/// Returns a complete cursor through `outCursor`. @return the entry's result.
std::int32_t GiveCursor(std::unique_ptr<orlimbara_host_cursor> inCursor, host_cursor* outCursor) noexcept {
    Count(Counted::ProcedureCursors, +1);
    *outCursor = inCursor.release();
    return 0;
}

/// Throws the error that the last callback reported.
void ThrowReported(orlimbara_call_context& ioContext) {
    if (!ioContext.mErrors.empty()) {
        const std::string error = ioContext.mErrors.front();
        ioContext.mErrors.clear();
        throw std::runtime_error(error);
    }
}

} // namespace

std::int32_t MakeRowCursor(call_context inContext, std::uint64_t inColumns, std::uint64_t inRows,
                           const char* const* inNames, const host_value* const* inValues,
                           host_cursor* outCursor) noexcept {
    Require(inContext != nullptr && outCursor != nullptr, "make_row_cursor needs a context and a place");
    Require((inColumns == 0 || inNames != nullptr) && (inRows == 0 || inValues != nullptr),
            "make_row_cursor needs its arrays");
    return WithoutThrowing(-1, [&] {
        // Values that aren't taken because memory ran out stay with the context, which frees them.
        std::vector<std::vector<ProcedureValue>> rows;
        rows.reserve(inRows);
        for (const host_value* row : std::span(inValues, inRows)) {
            std::vector<ProcedureValue>& taken = rows.emplace_back();
            taken.reserve(inColumns);
            for (const host_value value : std::span(row, inColumns)) {
                taken.push_back(ProcedureValue::Adopt(value));
            }
        }
        if (TakeFault(Fault::MakeRowCursor)) {
            return Refusal();
        }
        auto cursor = std::make_unique<orlimbara_host_cursor>();
        cursor->mNames.assign(inNames, inNames + inColumns);
        cursor->mRows = std::move(rows);
        return GiveCursor(std::move(cursor), outCursor);
    });
}

std::int32_t MakeCallbackCursor(call_context inContext, const cursor_descriptor* inDescriptor,
                                host_cursor* outCursor) noexcept {
    Require(inContext != nullptr && inDescriptor != nullptr && outCursor != nullptr,
            "make_callback_cursor needs a context, a descriptor and a place");
    Require(inDescriptor->state != nullptr && inDescriptor->destroy != nullptr &&
                inDescriptor->read_value != nullptr && inDescriptor->seek_row != nullptr &&
                inDescriptor->next_row != nullptr && inDescriptor->row_count != nullptr,
            "a cursor descriptor has a state and five callbacks");
    Require(inDescriptor->column_count == 0 ||
                (inDescriptor->column_names != nullptr && inDescriptor->column_types != nullptr),
            "a cursor descriptor has names and types for its columns");
    Require(inDescriptor->zero_8 == 0, "the second word of a cursor descriptor is zero");
    for (const std::uint64_t word : inDescriptor->zero_80) {
        Require(word == 0, "the last words of a cursor descriptor are zero");
    }
    if (TakeFault(Fault::MakeCallbackCursor)) {
        return Refusal();
    }
    return WithoutThrowing(-1, [&] {
        auto cursor = std::make_unique<orlimbara_host_cursor>();
        cursor->mDescriptor = inDescriptor;
        return GiveCursor(std::move(cursor), outCursor);
    });
}

} // namespace detail

ProcedureCursor& ProcedureCursor::operator=(ProcedureCursor&& inOther) noexcept {
    ProcedureCursor old(std::exchange(mHandle, std::exchange(inOther.mHandle, nullptr)));
    return *this;
}

ProcedureCursor::~ProcedureCursor() {
    if (mHandle == nullptr) {
        return;
    }
    if (const cursor_descriptor* descriptor = mHandle->mDescriptor) {
        descriptor->destroy(&mHandle->mContext, descriptor->state);
    }
    delete mHandle;
    detail::Count(detail::Counted::ProcedureCursors, -1);
}

std::size_t ProcedureCursor::get_ColumnCount() const {
    return mHandle->mDescriptor != nullptr ? mHandle->mDescriptor->column_count : mHandle->mNames.size();
}

const char* ProcedureCursor::get_ColumnName(std::size_t inColumn) const {
    return mHandle->mDescriptor != nullptr ? mHandle->mDescriptor->column_names[inColumn]
                                           : mHandle->mNames.at(inColumn).c_str();
}

std::int32_t ProcedureCursor::get_ColumnType(std::size_t inColumn) const {
    return mHandle->mDescriptor != nullptr ? mHandle->mDescriptor->column_types[inColumn] : 0;
}

std::int64_t ProcedureCursor::get_RowCount() const {
    if (const cursor_descriptor* descriptor = mHandle->mDescriptor) {
        return descriptor->row_count(&mHandle->mContext, descriptor->state);
    }
    return static_cast<std::int64_t>(mHandle->mRows.size());
}

bool ProcedureCursor::NextRow() {
    if (const cursor_descriptor* descriptor = mHandle->mDescriptor) {
        const std::int32_t answer = descriptor->next_row(&mHandle->mContext, descriptor->state);
        detail::ThrowReported(mHandle->mContext);
        return answer == 0;
    }
    return SeekRow(mHandle->mRow + 1);
}

bool ProcedureCursor::SeekRow(std::int64_t inRow) {
    if (const cursor_descriptor* descriptor = mHandle->mDescriptor) {
        const std::int32_t answer = descriptor->seek_row(&mHandle->mContext, descriptor->state, inRow);
        detail::ThrowReported(mHandle->mContext);
        return answer == 0;
    }
    if (inRow < 0 || inRow >= get_RowCount()) {
        return false;
    }
    mHandle->mRow = inRow;
    return true;
}

ProcedureValue ProcedureCursor::ReadValue(std::int32_t inColumn) const {
    if (const cursor_descriptor* descriptor = mHandle->mDescriptor) {
        ProcedureValue value =
            ProcedureValue::Adopt(descriptor->read_value(&mHandle->mContext, descriptor->state, inColumn));
        detail::ThrowReported(mHandle->mContext);
        return value;
    }
    const bool isThere =
        mHandle->mRow >= 0 && inColumn >= 0 && static_cast<std::size_t>(inColumn) < mHandle->mNames.size();
    if (!isThere) {
        return {};
    }
    return mHandle->mRows[static_cast<std::size_t>(mHandle->mRow)][static_cast<std::size_t>(inColumn)];
}

const cursor_descriptor* ProcedureCursor::get_Descriptor() const { return mHandle->mDescriptor; }

} // namespace orkit::standin
