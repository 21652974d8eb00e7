#include "procedures/procedure_api_binding.h"

namespace orlimbara::procedures {

void BindProcedureApi(const procedure_api* table) noexcept { detail::gProcedureApi = table; }

} // namespace orlimbara::procedures
