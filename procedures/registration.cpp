#include <string>
#include <utility>

#include "procedures/arguments.h"
#include "procedures/host_boundary.h"
#include "procedures/procedures.h"

namespace orlimbara::procedures {

namespace {

/// The host's callback for the procedure of one row.
template <std::size_t kRow>
host_cursor Call(call_context context, const host_value* arguments) noexcept {
    static constexpr const TableProcedure& kProcedure = kTableProcedures[kRow];
    return RunAtBoundary<host_cursor>(context, kProcedure.unexpected_message, nullptr, [&] {
        return kProcedure.body(ArgumentView(context, arguments, kProcedure.name));
    });
}

void ReportRefusal(call_context context, const char* name) {
    try {
        ReportError(context, std::string("Cannot register ") + name + " procedure.");
    } catch (...) { // no memory for the text; still try the other procedures
    }
}

template <std::size_t kRow>
void Register(call_context context) {
    const TableProcedure& procedure = kTableProcedures[kRow];
    const procedure_descriptor descriptor = {procedure.name,
                                             procedure.minimum_arguments,
                                             procedure.maximum_arguments,
                                             procedure.signature,
                                             procedure.description,
                                             0,
                                             0,
                                             Call<kRow>};
    if (GetProcedureApi()->register_procedure(context, &descriptor) != 0) {
        ReportRefusal(context, procedure.name);
    }
}

} // namespace

void RegisterProcedures(call_context context) noexcept {
    if (!GetProcedureApi()) {
        return; // the host never bound its table
    }
    [&]<std::size_t... kRows>(std::index_sequence<kRows...>) { (Register<kRows>(context), ...); }
    (std::make_index_sequence<kTableProcedures.size()>());
}

} // namespace orlimbara::procedures
