// Binds host values to parameters, and reads the content of a VARIANT.
//
//     values_and_variant LIBDIR/orlimbara/orlimbara_duckdb.so

#include "host/value.h"
#include "load_module.h"

using namespace orkit;
using namespace orkit::orsql;

namespace {

smart_ptr<I_Value> LongValue(std::int32_t inNumber) {
    smart_ptr<I_Value> value(CreateValueLong(true, nullptr, nullptr));
    value->put_Long(inNumber);
    return value;
}

smart_ptr<I_Value> TextValue(const String& inText) {
    smart_ptr<I_Value> value(CreateValueString(true, nullptr, nullptr));
    value->put_MaxLength(static_cast<std::uint32_t>(2 * inText.get_Length() + 2)); // bytes, with a terminator
    value->put_String(inText);
    return value;
}

smart_ptr<I_Value> DateValue(std::int32_t inYear, std::uint16_t inMonth, std::uint16_t inDay) {
    smart_ptr<I_Value> value(CreateValueDate(true, nullptr, nullptr));
    QueryAspect<I_ValueDate>(value.get())->put_Date(inYear, inMonth, inDay);
    return value;
}

void Run(const LoadedModule& inModule) {
    const auto database = inModule.MakeDatabase(":memory:");
    database->Create();
    database->SqlExecute("CREATE TABLE readings (station VARCHAR, what VARIANT)", nullptr);

    // Held rows: the statement runs once per row, and the statement takes the arrays by reference.
    const smart_ptr<RowArray> rows(new RowArray(3));
    for (const auto& what : {LongValue(42), TextValue("calm"), DateValue(2024, 1, 31)}) {
        const smart_ptr<ValueArray> row(new ValueArray(2));
        row->Append(TextValue("harbour"));
        row->Append(what);
        rows->Append(row);
    }
    const auto insert = database->CreateStatement("INSERT INTO readings VALUES ($1, $2)");
    insert->BindRows(rows);
    insert->PrepareNext();
    insert->SqlExecute();

    // A DECIMAL has no host type. It is passed as a JSON envelope, into a VARIANT and back.
    const smart_ptr<I_Value> envelope(CreateValueJSON(true, nullptr, nullptr));
    envelope->put_String(R"({"duckdb_variant": true, "variant_type": "DECIMAL", "value": "1.50"})");
    const smart_ptr<ValueArray> parameters(new ValueArray(1));
    parameters->Append(envelope);
    database->SqlExecute("INSERT INTO readings VALUES ('airport', $1)", parameters);

    // A VARIANT's cell is a host value with its content: ask it for its type.
    const auto cursor = database->SqlSelect("FROM readings", kCursorLocationClient, nullptr);
    while (cursor->NextRecord()) {
        const smart_ptr<I_Value> what = cursor->get_Value(1);
        std::printf("%s: type %u, %s\n", TextOf(*cursor->get_Value(0)).c_str(), what->get_Type(),
                    TextOf(*what).c_str());
        if (const auto* const json = QueryAspect<I_ValueJSON>(what.get())) {
            std::printf("    DuckDB's type is %s\n", TextOf(*json->get_Member("variant_type")).c_str());
        }
    }
}

} // namespace

int main(int, char** inArguments) {
    try {
        Run(LoadedModule(inArguments[1]));
        return 0;
    } catch (...) {
        std::fprintf(stderr, "error: %s\n", CurrentFailure().c_str());
        return 1;
    }
}
