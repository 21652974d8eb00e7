/// @file
/// The fixture of all tests on the object side: the module's code bound to the stand-in host, a folder for
/// each test, and the check that nothing is alive after it.
#pragma once

#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "duckdb_support/handle_count.h"
#include "extension/exports.h"
#include "host/backup.h"
#include "host/duckdb_objects.h"
#include "host/exceptions.h"
#include "host/runtime.h"
#include "host_standin/faults.h"
#include "host_standin/live_objects.h"
#include "host_standin/locations.h"
#include "host_standin/procedure_table.h"
#include "tests_support/table.h"
#include "tests_support/temp_folder.h"

namespace orkit::orsql::test {

namespace fs = std::filesystem;
namespace support = orlimbara::duckdb_support;

using support::HandleKind;
using support::LiveHandleCount;
using tests_support::Rows;
using tests_support::Table;
using Cursor = smart_ptr<I_DuckDBCursor>;
using Database = smart_ptr<I_DuckDBDatabase>;
using QueryResult = smart_ptr<I_DuckDBQueryResult>;
using Statement = smart_ptr<I_DuckDBStatement>;
using Value = smart_ptr<I_Value>;

/// A String of UTF-8.
inline String Wide(std::string_view inText) {
    return String(inText.data(), static_cast<std::ptrdiff_t>(inText.size()));
}

/// A text for messages and comparisons, in UTF-8.
inline std::string Text(const String& inText) {
    const StFromUTF16 narrow(inText, GetConverter_UTF8());
    return {narrow.c_str(), narrow.get_Length()};
}

/// A cell as text: "NULL", the host's text of the value, or the bytes of a binary value as "x'CAFE'".
inline std::string Text(const Value& inValue) {
    if (!inValue || inValue->get_IsNull()) {
        return inValue ? "NULL" : "no value";
    }
    if (const auto* const binary = QueryAspect<I_ValueBinary>(inValue.get())) {
        std::vector<unsigned char> bytes(inValue->get_Length());
        bytes.resize(binary->ReadBytes(bytes.data(), inValue->get_Length()));
        std::string text = "x'";
        for (const unsigned char byte : bytes) {
            char hex[3];
            std::snprintf(hex, sizeof hex, "%02X", byte);
            text += hex;
        }
        return text + "'";
    }
    String text;
    inValue->get_String(text, -1);
    return Text(text);
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

/// Calls a function. @return what it threw: "CLASS CODE" and the exception's texts, each after a '|'; for a
/// std::exception "std::exception|" and its `what`; "" if it threw nothing.
inline std::string Catch(const std::function<void()>& inCall) {
    const auto describe = [](const char* inClass, const xException& inError) {
        std::string text = inClass + std::to_string(inError.get_Code());
        for (std::size_t index = 0; index < xException::kTextCount; ++index) {
            text += inError.get_Text(index) ? "|" + Text(*inError.get_Text(index)) : "";
        }
        return text;
    };
    try {
        inCall();
        return "";
    } catch (const xDuckDBError& error) {
        return describe("xDuckDBError ", error);
    } catch (const xFeatureError& error) {
        return describe("xFeatureError ", error);
    } catch (const xDBError& error) {
        return describe("xDBError ", error);
    } catch (const xException& error) {
        return describe("xException ", error);
    } catch (const std::exception& error) {
        return std::string("std::exception|") + error.what();
    }
}

/// Checks that a call throws xDuckDBError, code 468225, with these two texts and no others.
inline void ExpectError(const std::function<void()>& inCall, const std::string& inContext,
                        const std::string& inMessage) {
    EXPECT_EQ(Catch(inCall), "xDuckDBError 468225|" + inContext + "|" + inMessage);
}
/// The same for a message of DuckDB's, which must contain `inPart`.
inline void ExpectErrorWith(const std::function<void()>& inCall, const std::string& inContext,
                            const std::string& inPart) {
    const std::string thrown = Catch(inCall);
    EXPECT_TRUE(thrown.starts_with("xDuckDBError 468225|" + inContext + "|")) << thrown;
    EXPECT_NE(thrown.find(inPart), std::string::npos) << inPart << " isn't in: " << thrown;
}

/// Base of the tests: no object may be alive before and after each of them, when the members of its class
/// are gone.
class ObjectTest : public ::testing::Test {
protected:
    ObjectTest() {
        if (!GetDuckDBExtension()) { // once in this process, as the host does
            standin::ProcedureContext context;
            orlimbara_extension_bind_api(standin::GetProcedureTable());
            orlimbara_extension_init(context.get_Handle());
        }
        standin::ClearFaults();
        ExpectNothingAlive();
    }
    ~ObjectTest() override {
        mDatabase.reset();
        standin::ClearFaults();
        ExpectNothingAlive();
    }

    /// The root object, obtained as by the host.
    static smart_ptr<I_DuckDBExtension> Extension() { return GetDuckDBExtension(); }
    /// This test's own folder, empty at the start and deleted at the end.
    const fs::path& Folder() const { return mFolder.Path(); }
    /// A location of a file in the test's folder, or of ":memory:".
    smart_ptr<I_Location> At(const std::string& inName) const {
        return standin::MakeLocation(Wide(inName == ":memory:" ? inName : (Folder() / inName).string()));
    }
    /// A closed database object there.
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
        if (inReadOnly) {
            DuckDBSettings settings;
            settings.mAccessMode = 0;
            database->put_Settings(settings);
        }
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

private:
    static void ExpectNothingAlive() {
        for (std::size_t kind = 0; kind < support::kHandleKindNames.size(); ++kind) {
            EXPECT_EQ(LiveHandleCount(static_cast<HandleKind>(kind)), 0) << support::kHandleKindNames[kind];
        }
        // A failure prints them as bytes, in the order of the members.
        EXPECT_EQ(standin::CountLiveObjects(), standin::LiveObjects{});
    }

    tests_support::TempFolder mFolder;
};

} // namespace orkit::orsql::test
