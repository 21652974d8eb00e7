/// @file
/// The fixture of all tests on the object side: the module's code bound to the stand-in host, and the check
/// that nothing is alive after a test.
#pragma once

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <initializer_list>

#include "duckdb_support/handle_count.h"
#include "extension/exports.h"
#include "host/backup.h"
#include "host/duckdb_objects.h"
#include "host/runtime.h"
#include "host_standin/procedure_table.h"
#include "tests_support/host_fixture.h"

namespace orkit::orsql::test {

using namespace orkit::test;
namespace support = orlimbara::duckdb_support;

using support::HandleKind;
using support::LiveHandleCount;
using Cursor = smart_ptr<I_DuckDBCursor>;
using Database = smart_ptr<I_DuckDBDatabase>;
using QueryResult = smart_ptr<I_DuckDBQueryResult>;
using Statement = smart_ptr<I_DuckDBStatement>;
using Value = smart_ptr<I_Value>;

using orkit::test::Text;
/// A cell as text: "NULL", the host's text of the value, or the bytes of a binary value as "x'CAFE'".
inline std::string Text(const Value& inValue) {
    if (!inValue || inValue->get_IsNull()) {
        return inValue ? "NULL" : "no value";
    }
    String wide;
    inValue->get_String(wide, -1);
    std::string text = Text(wide), upper = text;
    std::ranges::transform(text, upper.begin(), [](unsigned char digit) { return std::toupper(digit); });
    return QueryAspect<I_ValueBinary>(inValue.get()) ? "x'" + upper + "'" : text;
}

/// Reads a cursor from its position to its end.
inline Rows ReadAll(const Cursor& inCursor) {
    Rows rows;
    while (inCursor->NextRecord()) {
        std::vector<std::string>& row = rows.emplace_back();
        for (std::uint32_t column = 0; column < inCursor->get_ColumnCount(); ++column) {
            row.push_back(Text(inCursor->get_Value(column)));
        }
    }
    return rows;
}

inline Value Number(std::int32_t inNumber) {
    Value value(CreateValueLong(true, nullptr, nullptr));
    value->put_Long(inNumber);
    return value;
}

/// A text, or a JSON value.
inline Value TextValue(std::string_view inText, bool inIsJson = false) {
    Value value((inIsJson ? CreateValueJSON : CreateValueString)(true, nullptr, nullptr));
    if (!inIsJson) {
        value->put_MaxLength(static_cast<std::uint32_t>(2 * inText.size() + 2));
    }
    value->put_String(Wide(inText));
    return value;
}

template <class Item>
smart_ptr<ArrayOfSmartPtrs<Item>> ArrayOf(std::initializer_list<smart_ptr<Item>> inItems) {
    smart_ptr<ArrayOfSmartPtrs<Item>> array(new ArrayOfSmartPtrs<Item>(inItems.size()));
    for (const smart_ptr<Item>& item : inItems) {
        array->Append(item);
    }
    return array;
}
inline smart_ptr<ValueArray> Values(std::initializer_list<Value> inValues) {
    return ArrayOf<I_Value>(inValues);
}
inline smart_ptr<RowArray> RowsOf(std::initializer_list<smart_ptr<ValueArray>> inRows) {
    return ArrayOf<ValueArray>(inRows);
}

/// Checks that a call throws xDuckDBError, code 468225, with these two texts and no others.
inline void ExpectError(const std::function<void()>& inCall, const std::string& inContext,
                        const std::string& inMessage) {
    EXPECT_EQ(Catch(inCall), "xDuckDBError 468225|" + inContext + "|" + inMessage);
}
/// The same for a message of DuckDB's, which must contain `inPart`.
inline void ExpectErrorWith(const std::function<void()>& inCall, const std::string& inContext,
                            const std::string& inPart) {
    const std::string thrown = Catch(inCall), begin = "xDuckDBError 468225|" + inContext + "|";
    EXPECT_TRUE(thrown.starts_with(begin) && thrown.find(inPart) != thrown.npos) << inPart << ": " << thrown;
}

/// Base of the tests: no handle may be alive after each of them, when the members of its class are gone.
class ObjectTest : public HostTest {
protected:
    ObjectTest() {
        if (!GetDuckDBExtension()) { // once in this process, as the host does
            standin::ProcedureContext context;
            orlimbara_extension_bind_api(standin::GetProcedureTable());
            orlimbara_extension_init(context.get_Handle());
        }
    }
    ~ObjectTest() override {
        mDatabase.reset();
        for (std::size_t kind = 0; kind < support::kHandleKindNames.size(); ++kind) {
            EXPECT_EQ(LiveHandleCount(static_cast<HandleKind>(kind)), 0) << support::kHandleKindNames[kind];
        }
    }

    /// The root object, obtained as by the host.
    static smart_ptr<I_DuckDBExtension> Extension() { return GetDuckDBExtension(); }
    /// A closed database object in the folder, or in memory.
    Database MakeDatabase(const std::string& inName) const { return Extension()->CreateDatabase(At(inName)); }
    /// A new, open database.
    Database CreateDatabase(const std::string& inName = ":memory:") const {
        Database database = MakeDatabase(inName);
        database->Create();
        return database;
    }
    /// Opens an existing database.
    Database OpenDatabase(const std::string& inName, bool inReadOnly = false) const {
        Database database = MakeDatabase(inName);
        DuckDBSettings settings;
        settings.mAccessMode = inReadOnly ? 0 : 1;
        database->put_Settings(settings);
        database->Open();
        return database;
    }

    /// Runs a script without values. @return the sum of the rows changed.
    static std::int64_t Execute(const Database& inDatabase, std::string_view inSql) {
        return inDatabase->SqlExecute(Wide(inSql), nullptr);
    }
    /// SqlSelect without values.
    static Cursor OpenCursor(const Database& inDatabase, std::string_view inSql,
                             std::uint32_t inCursorLocation = kCursorLocationServer) {
        return inDatabase->SqlSelect(Wide(inSql), inCursorLocation, nullptr);
    }
    /// All rows of a text's only statement.
    static Rows Select(const Database& inDatabase, std::string_view inSql) {
        return ReadAll(OpenCursor(inDatabase, inSql));
    }
    /// The only cell of such a text.
    static std::string SelectOne(const Database& inDatabase, std::string_view inSql) {
        const Rows rows = Select(inDatabase, inSql);
        return rows.size() == 1 && rows[0].size() == 1 ? rows[0][0] : "not one cell";
    }

    /// Backs up to the folder "backups". @return the new backup.
    smart_ptr<I_Location> Backup(const Database& inDatabase) const {
        fs::create_directory(Folder() / "backups");
        inDatabase->Backup(At("backups"));
        return standin::get_LastBackupLocation();
    }
    /// The path of the last backup, also of one that failed.
    static fs::path LastBackup() { return Text(standin::get_LastBackupLocation()->get_Path()); }
    Database Restore(const std::string& inName, const smart_ptr<I_Location>& inBackup) const {
        return Extension()->RestoreDatabase(At(inName), inBackup);
    }

    Database mDatabase; ///< for the test's use; released before the final checks
};

} // namespace orkit::orsql::test
