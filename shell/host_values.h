/// @file
/// Host literals as the host's two kinds of value.
#pragma once

#include "host/value.h"
#include "host_standin/procedure_table.h"
#include "shell/literals.h"

namespace orlimbara::shell {

/// The value object of a literal, for the object side.
orkit::smart_ptr<orkit::orsql::I_Value> MakeHostValue(const Literal& inLiteral);
/// A text value.
orkit::smart_ptr<orkit::orsql::I_Value> MakeTextValue(const orkit::String& inText);
/// A null value.
orkit::smart_ptr<orkit::orsql::I_Value> MakeNullValue();

/// The value of a literal for a table procedure's argument. Throws ShellError for a year that the packed form
/// can't hold.
orkit::standin::ProcedureValue MakeProcedureValue(const Literal& inLiteral);

} // namespace orlimbara::shell
