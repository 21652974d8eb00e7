/// @file
/// Makes the table procedures known to the host.
#pragma once

#include "host/procedure_api.h"

namespace orlimbara::procedures {

/// Registers all five procedures; BindProcedureApi comes before. One that the host refuses is told to
/// `report_error` and doesn't stop the others. Nothing is raised.
void RegisterProcedures(call_context context) noexcept;

} // namespace orlimbara::procedures
