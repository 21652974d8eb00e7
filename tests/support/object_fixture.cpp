#include "tests_support/object_fixture.h"

#include <exception>

#include "duckdb_support/handle_count.h"
#include "extension/exports.h"
#include "host/runtime.h"
#include "host_standin/faults.h"
#include "host_standin/live_objects.h"
#include "host_standin/locations.h"
#include "host_standin/procedure_table.h"

namespace orkit::standin {

void PrintTo(const LiveObjects& inLive, std::ostream* ioStream) {
    *ioStream << inLive.mValues << " values, " << inLive.mLocations << " locations, " << inLive.mFiles
              << " files, " << inLive.mArrays << " arrays, " << inLive.mForeignPlugins << " plug-in objects, "
              << inLive.mProcedureValues << " procedure values, " << inLive.mProcedureCursors
              << " procedure cursors, " << inLive.mProcedureContexts << " procedure calls";
}

} // namespace orkit::standin

namespace orkit::orsql::test {

namespace {

namespace support = orlimbara::duckdb_support;

constexpr char kHexDigits[] = "0123456789ABCDEF";

std::string HexText(const I_ValueBinary& inBinary, std::uint32_t inLength) {
    std::string bytes(inLength, '\0');
    bytes.resize(inBinary.ReadBytes(bytes.data(), inLength));
    std::string text = "x'";
    for (const char byte : bytes) {
        const auto number = static_cast<unsigned char>(byte);
        text += kHexDigits[number >> 4];
        text += kHexDigits[number & 0xF];
    }
    return text + "'";
}

std::optional<std::string> OptionalText(const String* inText) {
    return inText ? std::optional(Text(*inText)) : std::nullopt;
}

Raised Describe(const char* inClass, const xException& inError) {
    return {inClass, inError.get_Code(), OptionalText(inError.get_Text(0)), OptionalText(inError.get_Text(1)),
            inError.get_Text(2) != nullptr || inError.get_Text(3) != nullptr};
}

std::string MessageOfDuckDBError(const std::function<void()>& inCall, std::string_view inContext) {
    const Raised raised = Catch(inCall);
    EXPECT_EQ(raised.mClass, "xDuckDBError");
    EXPECT_EQ(raised.mCode, 468225u);
    EXPECT_EQ(raised.mContext.value_or("none"), inContext);
    EXPECT_FALSE(raised.mHasMoreTexts);
    return raised.mMessage.value_or("none");
}

/// Loads the module's code once in this process, as the host does.
void LoadOnce() {
    if (GetDuckDBExtension()) {
        return;
    }
    standin::ProcedureContext context;
    orlimbara_extension_bind_api(standin::GetProcedureTable());
    orlimbara_extension_init(context.get_Handle());
}

void ExpectNothingAlive() {
    for (std::size_t kind = 0; kind < support::kHandleKindNames.size(); ++kind) {
        EXPECT_EQ(support::LiveHandleCount(static_cast<support::HandleKind>(kind)), 0)
            << "DuckDB handles: " << support::kHandleKindNames[kind];
    }
    EXPECT_EQ(standin::CountLiveObjects(), standin::LiveObjects{});
}

} // namespace

std::string Text(const String& inText) {
    const StFromUTF16 narrow(inText, GetConverter_UTF8());
    return {narrow.c_str(), narrow.get_Length()};
}

std::string Text(const smart_ptr<I_Value>& inValue) {
    if (!inValue) {
        return "no value";
    }
    if (inValue->get_IsNull()) {
        return "NULL";
    }
    if (const auto* const binary = QueryAspect<I_ValueBinary>(inValue.get())) {
        return HexText(*binary, inValue->get_Length());
    }
    String text;
    inValue->get_String(text, -1);
    return Text(text);
}

Rows ReadAll(const smart_ptr<I_DuckDBCursor>& inCursor) {
    Rows rows;
    while (inCursor->NextRecord()) {
        std::vector<std::string>& row = rows.emplace_back();
        for (std::uint32_t column = 0; column < inCursor->get_ColumnCount(); ++column) {
            row.push_back(Text(inCursor->get_Value(column)));
        }
    }
    return rows;
}

Raised Catch(const std::function<void()>& inCall) {
    try {
        inCall();
    } catch (const xDuckDBError& error) {
        return Describe("xDuckDBError", error);
    } catch (const xFeatureError& error) {
        return Describe("xFeatureError", error);
    } catch (const xDBError& error) {
        return Describe("xDBError", error);
    } catch (const xException& error) {
        return Describe("xException", error);
    } catch (const std::exception& error) {
        return {"std::exception", 0, std::nullopt, error.what(), false};
    }
    return {};
}

void ExpectDuckDBError(const std::function<void()>& inCall, std::string_view inContext,
                       std::string_view inMessage) {
    EXPECT_EQ(MessageOfDuckDBError(inCall, inContext), inMessage);
}

void ExpectDuckDBErrorWith(const std::function<void()>& inCall, std::string_view inContext,
                           std::string_view inPart) {
    const std::string message = MessageOfDuckDBError(inCall, inContext);
    EXPECT_NE(message.find(inPart), std::string::npos) << inPart << " isn't in: " << message;
}

void ObjectTest::SetUp() {
    LoadOnce();
    standin::ClearFaults();
    ExpectNothingAlive();
}

void ObjectTest::TearDown() {
    standin::ClearFaults();
    ExpectNothingAlive();
}

smart_ptr<I_DuckDBExtension> ObjectTest::Extension() { return GetDuckDBExtension(); }

smart_ptr<I_Location> ObjectTest::At(std::string_view inName) const {
    return standin::MakeLocation(inName == ":memory:" ? String(":memory:")
                                                      : Wide((Folder() / inName).string()));
}

smart_ptr<I_DuckDBDatabase> ObjectTest::MakeDatabase(std::string_view inName) const {
    return Extension()->CreateDatabase(At(inName));
}

smart_ptr<I_DuckDBDatabase> ObjectTest::CreateDatabase(std::string_view inName) const {
    smart_ptr<I_DuckDBDatabase> database = MakeDatabase(inName);
    database->Create();
    return database;
}

smart_ptr<I_DuckDBDatabase> ObjectTest::OpenDatabase(std::string_view inName, bool inReadOnly) const {
    smart_ptr<I_DuckDBDatabase> database = MakeDatabase(inName);
    if (inReadOnly) {
        DuckDBSettings settings;
        settings.mAccessMode = 0;
        database->put_Settings(settings);
    }
    database->Open();
    return database;
}

Rows ObjectTest::Select(const smart_ptr<I_DuckDBDatabase>& inDatabase, std::string_view inSql,
                        std::uint32_t inCursorLocation) {
    return ReadAll(OpenCursor(inDatabase, inSql, inCursorLocation));
}

std::string ObjectTest::SelectOne(const smart_ptr<I_DuckDBDatabase>& inDatabase, std::string_view inSql) {
    const Rows rows = Select(inDatabase, inSql);
    if (rows.size() != 1 || rows.front().size() != 1) {
        ADD_FAILURE() << "not one cell: " << inSql;
        return {};
    }
    return rows.front().front();
}

std::int64_t ObjectTest::Execute(const smart_ptr<I_DuckDBDatabase>& inDatabase, std::string_view inSql) {
    return inDatabase->SqlExecute(Wide(inSql), nullptr);
}

smart_ptr<I_DuckDBCursor> ObjectTest::OpenCursor(const smart_ptr<I_DuckDBDatabase>& inDatabase,
                                                 std::string_view inSql, std::uint32_t inCursorLocation) {
    return inDatabase->SqlSelect(Wide(inSql), inCursorLocation, nullptr);
}

String Wide(std::string_view inText) {
    return String(inText.data(), static_cast<std::ptrdiff_t>(inText.size()));
}

} // namespace orkit::orsql::test
