#include "shell/renderers.h"

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "shell/rows_loop.h"
#include "shell/text.h"

namespace orlimbara::shell {

namespace {

using Buffer = rapidjson::StringBuffer;
using CompactWriter = rapidjson::Writer<Buffer>;

/// What RapidJSON writes to.
class OutputStream {
public:
    using Ch = char;
    explicit OutputStream(Output& inOutput) : mOutput(inOutput) {}
    void Put(Ch inCharacter) { mOutput.Put(inCharacter); }
    void Flush() {}

private:
    Output& mOutput;
};

template <class Writer>
void PutString(Writer& ioWriter, std::string_view inText) {
    ioWriter.String(inText.data(), static_cast<rapidjson::SizeType>(inText.size()));
}

template <class Writer>
void PutKey(Writer& ioWriter, std::string_view inName) {
    ioWriter.Key(inName.data(), static_cast<rapidjson::SizeType>(inName.size()));
}

/// A member that is a text.
template <class Writer>
void PutMember(Writer& ioWriter, std::string_view inName, std::string_view inText) {
    PutKey(ioWriter, inName);
    PutString(ioWriter, inText);
}

template <class Writer>
void PutRaw(Writer& ioWriter, std::string_view inJson, rapidjson::Type inType) {
    ioWriter.RawValue(inJson.data(), inJson.size(), inType);
}

std::string_view WrapperName(Cell::Kind inKind) {
    switch (inKind) {
    case Cell::Kind::Special:
        return "double";
    case Cell::Kind::Binary:
        return "binary";
    case Cell::Kind::Date:
        return "date";
    case Cell::Kind::Time:
        return "time";
    case Cell::Kind::DateTime:
        return "datetime";
    default:
        return "json";
    }
}

void PutEscaped(Output& ioOutput, unsigned char inByte) {
    constexpr std::string_view kShort = "\"\"\\\\\bb\ff\nn\rr\tt"; // each with its letter behind it
    constexpr std::string_view kDigits = "0123456789ABCDEF";
    for (std::size_t i = 0; i < kShort.size(); i += 2) {
        if (static_cast<unsigned char>(kShort[i]) == inByte) {
            ioOutput.Put('\\');
            ioOutput.Put(kShort[i + 1]);
            return;
        }
    }
    ioOutput.Put("\\u00");
    ioOutput.Put(kDigits[inByte >> 4]);
    ioOutput.Put(kDigits[inByte & 0xF]);
}

void PutQuoted(Output& ioOutput, std::string_view inText) {
    ioOutput.Put('"');
    if (!HasAny(inText,
                [](Bytes8 bytes) { return bytes.HasBelow(' ') || bytes.Has('"') || bytes.Has('\\'); })) {
        ioOutput.Put(inText);
    } else {
        for (const char c : inText) {
            const auto byte = static_cast<unsigned char>(c);
            if (byte < ' ' || byte == '"' || byte == '\\') {
                PutEscaped(ioOutput, byte);
            } else {
                ioOutput.Put(c);
            }
        }
    }
    ioOutput.Put('"');
}

/// Cells are most of the output, so they don't go through RapidJSON, which writes byte by byte.
void PutCell(Output& ioOutput, const Cell& inCell) {
    switch (inCell.kind) {
    case Cell::Kind::Null:
        ioOutput.Put("null");
        return;
    case Cell::Kind::Boolean:
    case Cell::Kind::Number:
        ioOutput.Put(inCell.text);
        return;
    case Cell::Kind::Text:
        PutQuoted(ioOutput, inCell.text);
        return;
    default:
        ioOutput.Put("{\"");
        ioOutput.Put(WrapperName(inCell.kind));
        ioOutput.Put("\":");
        PutQuoted(ioOutput, inCell.text);
        ioOutput.Put('}');
    }
}

void PutColumn(CompactWriter& ioWriter, const Column& inColumn) {
    ioWriter.StartObject();
    PutMember(ioWriter, "name", inColumn.name);
    if (inColumn.type) {
        PutMember(ioWriter, "type", *inColumn.type);
        PutKey(ioWriter, "id");
        ioWriter.Uint(inColumn.typeId);
    }
    if (inColumn.hostType) {
        PutMember(ioWriter, "host_type", *inColumn.hostType);
    }
    ioWriter.EndObject();
}

template <class Writer>
void PutFailureMembers(Writer& ioWriter, const Failure& inFailure) {
    PutMember(ioWriter, "class", inFailure.className);
    if (inFailure.code) {
        PutKey(ioWriter, "code");
        ioWriter.Uint(*inFailure.code);
    }
    if (inFailure.context) {
        PutMember(ioWriter, "context", *inFailure.context);
    }
    PutMember(ioWriter, "message", inFailure.message);
    const ErrorParts parts = PartsOf(inFailure);
    if (!parts.type.empty()) {
        PutMember(ioWriter, "type", parts.type);
    }
    if (parts.position) {
        PutKey(ioWriter, "position");
        ioWriter.Int64(*parts.position);
    }
    if (inFailure.column) {
        PutKey(ioWriter, "column");
        ioWriter.Uint64(*inFailure.column);
    }
    for (std::size_t i = 0; i < inFailure.places.size(); ++i) {
        if (i == 1) {
            PutKey(ioWriter, "from");
            ioWriter.StartArray();
        }
        if (i > 0) {
            ioWriter.StartObject();
        }
        PutMember(ioWriter, "source", inFailure.places[i].source);
        PutKey(ioWriter, "line");
        ioWriter.Uint64(inFailure.places[i].line);
        if (i > 0) {
            ioWriter.EndObject();
        }
    }
    if (inFailure.places.size() > 1) {
        ioWriter.EndArray();
    }
    if (inFailure.isInterrupted) {
        PutKey(ioWriter, "interrupted");
        ioWriter.Bool(true);
    }
}

/// Writes one object per answer; derived classes write what surrounds the objects.
template <class Writer>
class JsonObjects : public Renderer {
public:
    JsonObjects(Output& inOutput, const RenderSettings& inSettings)
        : mOutput(inOutput), mStream(inOutput), mWriter(mStream), mSettings(inSettings) {}

    bool WritesFailures() const override { return true; }

    RowsEnd WriteRows(RowSource& inRows) override {
        Begin("rows");
        PutKey(mWriter, "columns");
        mWriter.StartArray();
        for (const Column& column : inRows.get_Columns()) {
            PutScratch([&](CompactWriter& writer) { PutColumn(writer, column); });
        }
        mWriter.EndArray();
        PutKey(mWriter, "rows");
        mWriter.StartArray();
        RowsEnd end = ReadRows(inRows, [this](const Row& row) {
            PutRaw(mWriter, "", rapidjson::kArrayType); // what stands before a value
            char separator = '[';
            for (const Cell& cell : row) {
                mOutput.Put(separator);
                PutCell(mOutput, cell);
                separator = ',';
            }
            mOutput.Write(row.empty() ? "[]" : "]");
        });
        mWriter.EndArray();
        if (end.failure) {
            PutKey(mWriter, "error");
            mWriter.StartObject();
            PutFailureMembers(mWriter, *end.failure);
            mWriter.EndObject();
        } else if (end.isInterrupted) {
            PutKey(mWriter, "interrupted");
            mWriter.Bool(true);
        } else {
            PutKey(mWriter, "count");
            mWriter.Uint64(end.count);
        }
        End();
        return end;
    }

    void WriteChanged(std::int64_t inCount) override {
        Begin("changed");
        PutKey(mWriter, "count");
        mWriter.Int64(inCount);
        End();
    }

    void WriteDone() override {
        Begin("done");
        End();
    }

    void WriteText(std::string_view inText) override {
        Begin("text");
        PutMember(mWriter, "text", ValidUtf8(inText));
        End();
    }

    void WriteFailure(const Failure& inFailure) override {
        Begin("error");
        PutFailureMembers(mWriter, inFailure);
        End();
    }

protected:
    virtual void BeforeObject() = 0;
    virtual void AfterObject() = 0;

    Output& mOutput;
    OutputStream mStream;
    Writer mWriter;

private:
    void Begin(std::string_view inKind) {
        BeforeObject();
        mWriter.StartObject();
        PutMember(mWriter, "kind", inKind);
        if (mSettings.requestId) {
            PutKey(mWriter, "id");
            PutRaw(mWriter, *mSettings.requestId, rapidjson::kNumberType);
        }
    }

    void End() {
        mWriter.EndObject();
        AfterObject();
    }

    /// One value on one line, also inside indented JSON.
    template <class Put>
    void PutScratch(Put inPut) {
        mScratch.Clear();
        mScratchWriter.Reset(mScratch);
        inPut(mScratchWriter);
        PutRaw(mWriter, {mScratch.GetString(), mScratch.GetSize()}, rapidjson::kObjectType);
    }

    const RenderSettings& mSettings;
    Buffer mScratch;
    CompactWriter mScratchWriter{mScratch};
};

/// One object per line, each flushed at once.
class JsonlRenderer final : public JsonObjects<rapidjson::Writer<OutputStream>> {
public:
    using JsonObjects::JsonObjects;

private:
    void BeforeObject() override { mWriter.Reset(mStream); }
    void AfterObject() override {
        mOutput.Put('\n');
        mOutput.Flush();
    }
};

/// One indented array of all objects.
class JsonRenderer final : public JsonObjects<rapidjson::PrettyWriter<OutputStream>> {
public:
    JsonRenderer(Output& inOutput, const RenderSettings& inSettings) : JsonObjects(inOutput, inSettings) {
        mWriter.SetIndent(' ', 2);
    }

    void Finish() override {
        BeforeObject();
        mWriter.EndArray();
        mOutput.Write("\n");
    }

private:
    void BeforeObject() override {
        if (!mHasBegun) {
            mWriter.StartArray();
            mHasBegun = true;
        }
    }
    void AfterObject() override { mOutput.Flush(); }

    bool mHasBegun = false;
};

} // namespace

std::unique_ptr<Renderer> MakeJsonRenderer(Output& inOutput, const RenderSettings& inSettings) {
    return std::make_unique<JsonRenderer>(inOutput, inSettings);
}

std::unique_ptr<Renderer> MakeJsonlRenderer(Output& inOutput, const RenderSettings& inSettings) {
    return std::make_unique<JsonlRenderer>(inOutput, inSettings);
}

} // namespace orlimbara::shell
