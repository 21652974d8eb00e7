#include "host_standin/json_text.h"

#include "host/duckdb_objects.h"
#include "host/runtime.h"
#include "host_standin/rapidjson_setup.h"
#include "host_standin/value_support.h"

namespace orkit {

namespace {

using Encoding = standin::rapidjson::UTF16<char16_t>;
using Buffer = standin::rapidjson::GenericStringBuffer<Encoding>;
using Writer = standin::rapidjson::Writer<Buffer, Encoding, Encoding>;
using orsql::detail::ViewOf;

void WriteString(std::u16string_view inText, Writer& ioWriter) {
    ioWriter.String(inText.data(), static_cast<standin::rapidjson::SizeType>(inText.size()));
}

void WriteRaw(std::u16string_view inText, Writer& ioWriter) {
    ioWriter.RawValue(inText.data(), inText.size(), standin::rapidjson::kObjectType);
}

void WriteNumber(std::u16string_view inText, Writer& ioWriter) {
    const char16_t last = inText.back();
    const bool isFinite = last >= u'0' && last <= u'9';
    isFinite ? WriteRaw(inText, ioWriter) : WriteString(inText, ioWriter);
}

void WriteValue(const orsql::I_Value* inValue, Writer& ioWriter) {
    namespace type = orsql::value_type;
    if (!inValue || inValue->get_IsNull()) {
        ioWriter.Null();
        return;
    }
    // QueryInterface doesn't change a value.
    auto* const value = const_cast<orsql::I_Value*>(inValue);
    const std::uint32_t valueType = inValue->get_Type();
    if (const auto* const array = QueryAspect<orsql::I_ValueArray>(value)) {
        ioWriter.StartArray();
        for (std::uint32_t i = 1; i <= array->get_Count(); ++i) {
            WriteValue(array->get_Item(i).get(), ioWriter);
        }
        ioWriter.EndArray();
        return;
    }
    if (const auto* const holder = QueryAspect<orsql::I_ValueHolder>(value)) {
        WriteValue(holder->get_Inner().get(), ioWriter);
        return;
    }
    if (valueType == type::kBoolean) {
        ioWriter.Bool(inValue->get_Boolean());
        return;
    }
    String text;
    inValue->get_String(text, -1);
    if (valueType >= type::kByte && valueType <= type::kNumeric) {
        WriteNumber(ViewOf(text), ioWriter);
    } else if (valueType == type::kJSON) {
        text.isEmpty() ? static_cast<void>(ioWriter.Null()) : WriteRaw(ViewOf(text), ioWriter);
    } else {
        WriteString(ViewOf(text), ioWriter);
    }
}

String TextOf(const Buffer& inBuffer) {
    // Its size is in bytes.
    return String(inBuffer.GetString(), static_cast<std::ptrdiff_t>(inBuffer.GetSize() / sizeof(char16_t)));
}

} // namespace

String standin::ValueToJson(const orsql::I_Value& inValue) {
    Buffer buffer;
    Writer writer(buffer);
    WriteValue(&inValue, writer);
    return TextOf(buffer);
}

// An array of objects with one member per column, named like the column. Columns of the same name all appear.
String orsql::CursorToJSON(smart_ptr<I_DuckDBCursor> inCursor) {
    if (!inCursor) {
        return u"null";
    }
    Buffer buffer;
    Writer writer(buffer);
    writer.StartArray();
    const std::uint32_t columns = inCursor->get_ColumnCount();
    while (inCursor->NextRecord()) {
        writer.StartObject();
        for (std::uint32_t i = 0; i < columns; ++i) {
            WriteString(ViewOf(inCursor->get_ColumnName(i)), writer);
            WriteValue(inCursor->get_Value(i).get(), writer);
        }
        writer.EndObject();
    }
    writer.EndArray();
    return TextOf(buffer);
}

} // namespace orkit
