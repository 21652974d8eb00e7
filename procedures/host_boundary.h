/// @file
/// The boundary with the host: its table of functions, and the wrapper that keeps every exception inside.
#pragma once

#include <exception>
#include <string_view>
#include <utility>

#include "host/procedure_api.h"

namespace orlimbara::procedures {

namespace detail {

/// Inline, because it is read once per cell.
inline const procedure_api* gProcedureApi = nullptr;

} // namespace detail

/// Stores the host's table for all later calls. The host owns the table, which must outlive the module's last
/// call. Call this once, before any other function of this folder; from then on the pointer is only read,
/// from any thread, without a lock.
inline void BindProcedureApi(const procedure_api* table) noexcept { detail::gProcedureApi = table; }

/// The table that was bound; null before that.
[[nodiscard]] inline const procedure_api* GetProcedureApi() noexcept { return detail::gProcedureApi; }

/// Reports a failure of the current call to the host.
inline void ReportError(call_context context, std::string_view message) noexcept {
    GetProcedureApi()->report_error(context, message.data(), message.size());
}

/// Runs the whole body of a procedure or a cursor callback. An exception becomes one `report_error` and
/// `failure_answer`: a std::exception is reported by its own text, anything else by `unexpected_message`.
template <typename Answer, typename Body>
[[nodiscard]] Answer RunAtBoundary(call_context context, std::string_view unexpected_message,
                                   Answer failure_answer, Body&& body) noexcept {
    try {
        return std::forward<Body>(body)();
    } catch (const std::exception& failure) {
        ReportError(context, failure.what());
    } catch (...) {
        ReportError(context, unexpected_message);
    }
    return failure_answer;
}

} // namespace orlimbara::procedures
