#include "shell/requests.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include "shell/host_values.h"
#include "shell/literals.h"
#include "shell/text.h"
#include "shell/text_reader.h"

namespace orlimbara::shell {

namespace {

using orkit::smart_ptr;
using orkit::orsql::RowArray;
using orkit::orsql::ValueArray;

std::size_t SkipDigits(TextReader& ioReader) {
    std::size_t count = 0;
    for (; IsDigit(ioReader.Peek()); ++count) {
        ioReader.Skip(1);
    }
    return count;
}

/// The length of the JSON number that a text begins with; 0 if it begins with none.
std::size_t NumberLength(std::string_view inText) {
    TextReader reader(inText);
    reader.Accept('-');
    if (!reader.Accept('0') && SkipDigits(reader) == 0) {
        return 0;
    }
    TextReader behind = reader;
    if (behind.Accept('.') && SkipDigits(behind) > 0) {
        reader = behind;
    }
    behind = reader;
    if (behind.Accept('e') || behind.Accept('E')) {
        if (!behind.Accept('-')) {
            behind.Accept('+');
        }
        if (SkipDigits(behind) > 0) {
            reader = behind;
        }
    }
    return inText.size() - reader.get_Rest().size();
}

/// The line with another number of the same length in place of each: the library refuses large ones, even
/// where it is to leave numbers as they are.
std::string WithSmallNumbers(std::string_view inLine) {
    std::string line(inLine);
    bool isInText = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '"') {
            isInText = !isInText;
        } else if (isInText) {
            i += line[i] == '\\' ? 1 : 0;
        } else if (const std::size_t length = NumberLength(inLine.substr(i)); length > 0) {
            std::fill_n(line.begin() + static_cast<std::ptrdiff_t>(i), length, '0');
            line[i] = length > 1 ? '1' : '0';
            line[i + 1] = length > 2 ? '.' : line[i + 1];
            i += length - 1;
        }
    }
    return line;
}

/// A JSON value. Numbers are kept as they were written.
struct Node {
    enum class Kind { Null, Boolean, Number, Text, Array, Object };
    Kind kind = Kind::Null;
    bool boolean = false;
    std::string text; ///< of Number and Text
    std::vector<Node> items;
    std::vector<std::string> names; ///< of an object's items
};

/// Builds the tree of a line from the same line with small numbers, and notes the text of its member "id".
class TreeBuilder : public rapidjson::BaseReaderHandler<rapidjson::UTF8<>, TreeBuilder> {
public:
    TreeBuilder(std::string_view inLine, const rapidjson::MemoryStream& inStream,
                std::optional<std::string>& outId)
        : mLine(inLine), mStream(inStream), mId(outId) {}

    Node TakeRoot() { return std::move(mRoot); }
    bool IsTooDeep() const { return mOpen.size() >= kDeepest; }

    bool Null() { return Add({}); }
    bool Bool(bool inValue) { return Add({Node::Kind::Boolean, inValue, {}, {}, {}}); }
    bool RawNumber(const char*, rapidjson::SizeType inLength, bool) {
        const std::string_view text = mLine.substr(mStream.Tell() - inLength, inLength);
        return Add({Node::Kind::Number, false, std::string(text), {}, {}});
    }
    bool String(const char* inText, rapidjson::SizeType inLength, bool) {
        return Add({Node::Kind::Text, false, std::string(inText, inLength), {}, {}});
    }
    bool StartObject() { return Open(Node::Kind::Object); }
    bool StartArray() { return Open(Node::Kind::Array); }
    bool EndObject(rapidjson::SizeType) { return Close(); }
    bool EndArray(rapidjson::SizeType) { return Close(); }
    bool Key(const char* inText, rapidjson::SizeType inLength, bool) {
        mOpen.back().names.emplace_back(inText, inLength);
        if (mOpen.size() == 1 && mOpen.back().kind == Node::Kind::Object) {
            mIsId = mOpen.back().names.back() == "id" && !mId;
            mStart = mStream.Tell();
        }
        return true;
    }

private:
    static constexpr std::size_t kDeepest = 64;

    bool Open(Node::Kind inKind) {
        mOpen.push_back({inKind, false, {}, {}, {}});
        return !IsTooDeep();
    }

    bool Close() {
        Node node = std::move(mOpen.back());
        mOpen.pop_back();
        return Add(std::move(node));
    }

    bool Add(Node inNode) {
        if (mOpen.empty()) {
            mRoot = std::move(inNode);
            return true;
        }
        mOpen.back().items.push_back(std::move(inNode));
        if (mOpen.size() == 1 && std::exchange(mIsId, false)) {
            std::string_view text = Trim(mLine.substr(mStart, mStream.Tell() - mStart));
            text.remove_prefix(1); // the colon
            mId = std::string(Trim(text));
        }
        return true;
    }

    std::string_view mLine;
    const rapidjson::MemoryStream& mStream;
    std::optional<std::string>& mId;
    Node mRoot;
    std::vector<Node> mOpen;
    bool mIsId = false;
    std::size_t mStart = 0;
};

Node ParseTree(std::string_view inLine, std::optional<std::string>& outId) {
    if (const std::size_t zero = inLine.find('\0'); zero != std::string_view::npos) {
        throw RequestError("the line holds a zero byte", zero + 1);
    }
    const std::string line = WithSmallNumbers(inLine);
    rapidjson::MemoryStream stream(line.data(), line.size());
    TreeBuilder builder(inLine, stream, outId);
    rapidjson::Reader reader;
    const rapidjson::ParseResult result =
        reader.Parse<rapidjson::kParseNumbersAsStringsFlag | rapidjson::kParseValidateEncodingFlag>(stream,
                                                                                                    builder);
    if (!result) {
        throw RequestError(builder.IsTooDeep() ? std::string("the JSON is nested too deep")
                                               : fmt::format("the line is not JSON: {}",
                                                             rapidjson::GetParseError_En(result.Code())),
                           std::min(result.Offset(), inLine.size()) + 1);
    }
    return builder.TakeRoot();
}

std::string Quote(std::string_view inText) {
    std::string quoted = "'";
    for (const char c : inText) {
        quoted += c == '\'' ? "''" : std::string(1, c);
    }
    return quoted + '\'';
}

/// The literal for an envelope such as {"date":"2024-01-31"}.
Literal OpenEnvelope(const std::string& inName, const std::string& inText) {
    if (inName == "double") {
        constexpr std::array<std::pair<std::string_view, double>, 3> kSpecials = {
            {{"NaN", std::numeric_limits<double>::quiet_NaN()},
             {"Infinity", std::numeric_limits<double>::infinity()},
             {"-Infinity", -std::numeric_limits<double>::infinity()}}};
        for (const auto& [name, number] : kSpecials) {
            if (name == inText) {
                Literal literal;
                literal.kind = Literal::Kind::Double;
                literal.real = number;
                return literal;
            }
        }
    }
    for (const std::string_view name : {"binary", "date", "time", "datetime", "json"}) {
        if (name == inName) {
            return ParseLiterals((name == "binary" ? "x" : std::string(name)) + Quote(inText)).front();
        }
    }
    throw RequestError(fmt::format("{{\"{}\":…}} is no value", inName));
}

smart_ptr<orkit::orsql::I_Value> MakeValue(const Node& inNode) {
    switch (inNode.kind) {
    case Node::Kind::Null:
        return MakeNullValue();
    case Node::Kind::Boolean: {
        Literal literal;
        literal.kind = Literal::Kind::Boolean;
        literal.boolean = inNode.boolean;
        return MakeHostValue(literal);
    }
    case Node::Kind::Number:
        return MakeHostValue(ParseLiterals(inNode.text).front());
    case Node::Kind::Text:
        return MakeTextValue(ToHost(inNode.text));
    case Node::Kind::Object:
        if (inNode.items.size() == 1 && inNode.items.front().kind == Node::Kind::Text) {
            return MakeHostValue(OpenEnvelope(inNode.names.front(), inNode.items.front().text));
        }
        throw RequestError("an object that is a value has one member, a text");
    case Node::Kind::Array:
        break;
    }
    throw RequestError("an array is no value");
}

void RequireKind(const Node& inNode, Node::Kind inKind, std::string_view inName) {
    if (inNode.kind != inKind) {
        throw RequestError(
            fmt::format("\"{}\" must be {}", inName, inKind == Node::Kind::Text ? "a text" : "an array"));
    }
}

smart_ptr<ValueArray> MakeValues(const Node& inNode, std::string_view inName) {
    RequireKind(inNode, Node::Kind::Array, inName);
    const smart_ptr<ValueArray> values = new ValueArray(inNode.items.size());
    for (const Node& item : inNode.items) {
        values->Append(MakeValue(item));
    }
    return values;
}

void TakeMember(const std::string& inName, const Node& inNode, Request& ioRequest) {
    if (inName == "id") {
        return;
    }
    if (inName == "sql" || inName == "command") {
        RequireKind(inNode, Node::Kind::Text, inName);
        (inName == "sql" ? ioRequest.sql : ioRequest.command) = inNode.text;
    } else if (inName == "values") {
        const smart_ptr<ValueArray> values = MakeValues(inNode, inName);
        ioRequest.values = inNode.items.empty() ? nullptr : values;
        ioRequest.holdsValues = true;
    } else if (inName == "rows") {
        RequireKind(inNode, Node::Kind::Array, inName);
        ioRequest.rows = new RowArray(inNode.items.size());
        for (const Node& row : inNode.items) {
            ioRequest.rows->Append(MakeValues(row, "an item of rows"));
        }
        ioRequest.holdsValues = true;
    } else {
        throw RequestError(fmt::format("there is no member \"{}\"", inName));
    }
}

} // namespace

Request ParseRequest(std::string_view inLine, std::optional<std::string>& outId) {
    const Node root = ParseTree(inLine, outId);
    if (root.kind != Node::Kind::Object) {
        throw RequestError("the line is not an object");
    }
    const auto has = [&root](std::string_view name) {
        return std::find(root.names.begin(), root.names.end(), name) != root.names.end();
    };
    for (const std::string& name : root.names) {
        if (std::count(root.names.begin(), root.names.end(), name) > 1) {
            throw RequestError(fmt::format("\"{}\" is there twice", name));
        }
    }
    if (has("sql") == has("command")) {
        throw RequestError("a request has either \"sql\" or \"command\"");
    }
    if ((has("values") && has("rows")) || (has("command") && (has("values") || has("rows")))) {
        throw RequestError("\"values\" or \"rows\" go with \"sql\", and only one of them");
    }
    Request request;
    for (std::size_t i = 0; i < root.names.size(); ++i) {
        try {
            TakeMember(root.names[i], root.items[i], request);
        } catch (const RequestError&) {
            throw;
        } catch (const ShellError& error) {
            throw RequestError(error.what());
        }
    }
    return request;
}

} // namespace orlimbara::shell
