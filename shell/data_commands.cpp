// The dot commands about values for statements and table procedures.
#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "host_standin/procedure_table.h"
#include "shell/commands.h"
#include "shell/csv_reader.h"
#include "shell/failure.h"
#include "shell/files.h"
#include "shell/host_values.h"
#include "shell/interrupts.h"
#include "shell/literals.h"
#include "shell/row_source.h"
#include "shell/shell.h"
#include "shell/text.h"

namespace orlimbara::shell {

namespace {

using orkit::smart_ptr;
using orkit::orsql::RowArray;
using orkit::orsql::ValueArray;
namespace standin = orkit::standin;

const standin::RegisteredProcedure&
FindProcedure(const std::vector<standin::RegisteredProcedure>& inProcedures, const std::string& inName) {
    const auto found = std::find_if(inProcedures.begin(), inProcedures.end(),
                                    [&](const auto& procedure) { return procedure.name == inName; });
    if (found == inProcedures.end()) {
        throw ShellError(fmt::format("there is no procedure {}; .procedures lists them", inName));
    }
    return *found;
}

std::string Joined(const std::vector<std::string>& inTexts) {
    std::string joined;
    for (const std::string& text : inTexts) {
        joined += joined.empty() ? text : "\n" + text;
    }
    return joined;
}

CommandAnswer Bind(Shell& inShell, std::string_view inArguments) {
    const std::vector<Literal> literals = ParseLiterals(inArguments);
    smart_ptr<ValueArray> values;
    if (!literals.empty()) {
        values = new ValueArray(literals.size());
        for (const Literal& literal : literals) {
            values->Append(MakeHostValue(literal));
        }
    }
    inShell.get_Session().HoldValues(values);
    return CommandAnswer::Pending;
}

CommandAnswer Rows(Shell& inShell, std::string_view inArguments) {
    const std::string path = TakeWords(inArguments, 1, 1).front();
    const std::string text = ReadFile(path);
    std::vector<CsvRecord> records;
    try {
        records = ReadCsv(text);
    } catch (const ShellError& error) {
        throw ShellError(fmt::format("{}: {}", path, error.what()));
    }
    const smart_ptr<RowArray> rows = new RowArray(records.size());
    for (const CsvRecord& record : records) {
        const smart_ptr<ValueArray> values = new ValueArray(record.size());
        for (const std::optional<std::string>& cell : record) {
            values->Append(cell ? MakeTextValue(ToHost(*cell)) : MakeNullValue());
        }
        rows->Append(values);
    }
    inShell.get_Session().HoldRows(rows);
    return CommandAnswer::Pending;
}

CommandAnswer Call(Shell& inShell, std::string_view inArguments) {
    std::string_view rest;
    const std::string name = TakeWord(inArguments, rest);
    if (name.empty()) {
        throw UsageError("an argument is missing");
    }
    std::vector<standin::ProcedureValue> arguments;
    for (const Literal& literal : ParseLiterals(rest)) {
        arguments.push_back(MakeProcedureValue(literal));
    }
    const std::vector<standin::RegisteredProcedure> procedures = standin::ListProcedures();
    const standin::RegisteredProcedure& procedure = FindProcedure(procedures, name);
    const auto count = static_cast<std::int64_t>(arguments.size());
    if (count < procedure.minimumArguments || count > procedure.maximumArguments) {
        throw ShellError(fmt::format("{} takes {} to {} arguments ({}), not {}", name,
                                     procedure.minimumArguments, procedure.maximumArguments,
                                     procedure.signature, count));
    }
    standin::ProcedureAnswer answer;
    {
        const ActivityScope busy(Activity::Busy);
        answer = standin::CallProcedure(name, arguments);
    }
    if (!answer.cursor) {
        throw ProcedureError(Joined(answer.errors));
    }
    ProcedureRows rows(std::move(answer.cursor));
    inShell.get_Answers().Rows(rows);
    return CommandAnswer::Given;
}

CommandAnswer Procedures(Shell& inShell, std::string_view inArguments) {
    TakeWords(inArguments, 0, 0);
    TableRows rows({"name", "minimum", "maximum", "signature", "description"});
    for (const standin::RegisteredProcedure& procedure : standin::ListProcedures()) {
        rows.Add({TextCell(procedure.name), NumberCell(procedure.minimumArguments),
                  NumberCell(procedure.maximumArguments), TextCell(procedure.signature),
                  TextCell(procedure.description)});
    }
    inShell.get_Answers().Rows(rows);
    return CommandAnswer::Given;
}

constexpr auto kRows = std::to_array<DotCommand>({
    {"bind", "[VALUE...]", "hold values for the parameters of the next statements; without values, hold none",
     nullptr, Bind},
    {"rows", "FILE.csv", "hold rows of text values; the next statements run once per row", CompleteFiles,
     Rows, command_trait::kOutside},
    {"call", "PROCEDURE [ARG...]", "call a table procedure and show its rows", CompleteCall, Call,
     command_trait::kOutside},
    {"procedures", "", "list the table procedures", nullptr, Procedures},
});

} // namespace

std::span<const DotCommand> DataCommands() { return kRows; }

} // namespace orlimbara::shell
