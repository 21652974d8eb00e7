/// @file
/// The host's table of functions, as the whole procedure side sees it.
#pragma once

#include "host/procedure_api.h"

namespace orlimbara::procedures {

/// Keeps the host's table for all later calls. The table stays the host's and must outlive the module's last
/// call. Called once, before any other operation of this folder; from then on the pointer is only read, from
/// any thread, without a lock.
void BindProcedureApi(const procedure_api* table) noexcept;

namespace detail {

/// Inline, because it is read once per cell.
inline const procedure_api* gProcedureApi = nullptr;

} // namespace detail

/// Gives the table that was bound; null until then.
[[nodiscard]] inline const procedure_api* GetProcedureApi() noexcept { return detail::gProcedureApi; }

} // namespace orlimbara::procedures
