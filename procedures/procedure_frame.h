/// @file
/// The two frames through which the host's calls that can fail enter this folder. No exception of any kind
/// leaves them.
#pragma once

#include <exception>
#include <string_view>
#include <utility>

#include "procedures/procedure_api_binding.h"

namespace orlimbara::procedures {

/// Reports a failure of the current call to the host.
inline void ReportError(call_context context, std::string_view message) noexcept {
    GetProcedureApi()->report_error(context, message.data(), message.size());
}

/// Runs the whole body of a procedure: a callable that gives a cursor, never null, or raises. A failure
/// becomes one `report_error` and a null cursor: one of the standard family with its own text, any other with
/// `unexpected_message`.
template <typename Body>
[[nodiscard]] host_cursor RunInProcedureFrame(call_context context, std::string_view unexpected_message,
                                              Body&& body) noexcept {
    try {
        return std::forward<Body>(body)();
    } catch (const std::exception& failure) {
        ReportError(context, failure.what());
    } catch (...) {
        ReportError(context, unexpected_message);
    }
    return nullptr;
}

/// Runs the body of a cursor callback. A failure becomes `failure_answer`; the host gets no message, since a
/// callback has no way to tell one.
template <typename Answer, typename Body>
[[nodiscard]] Answer RunInCursorFrame(Answer failure_answer, Body&& body) noexcept {
    try {
        return std::forward<Body>(body)();
    } catch (...) {
        return failure_answer;
    }
}

} // namespace orlimbara::procedures
