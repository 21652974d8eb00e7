#include "host_standin/json_text.h"

#include <utility>

#include "host/json.h"
#include "host_standin/rapidjson_setup.h"
#include "host_standin/value_support.h"

namespace orkit::standin {

namespace {

using Encoding = rapidjson::UTF16<char16_t>;

bool IsDigit(char16_t inUnit) { return inUnit >= u'0' && inUnit <= u'9'; }

// A text of known length; a zero character inside it or at its end stops the reader. Of a run of digits
// outside strings the reader sees only the first (two after a leading zero, which must stay an error): it
// would refuse numbers beyond the range of a double, and the numbers' values aren't needed here.
class TextStream {
public:
    using Ch = char16_t;

    explicit TextStream(std::u16string_view inText) : mText(inText) {}

    Ch Peek() const { return mPosition < mText.size() ? mText[mPosition] : Ch{0}; }
    Ch Take() {
        if (mPosition == mText.size()) {
            return 0;
        }
        const Ch before = std::exchange(mLast, mText[mPosition++]);
        if (mLast == u'"' && !mIsEscaped) {
            mIsInString = !mIsInString;
        }
        mIsEscaped = mIsInString && mLast == u'\\' && !mIsEscaped;
        if (!mIsInString && IsDigit(mLast) &&
            (mLast != u'0' || before == u'.' || before == u'e' || before == u'E')) {
            while (IsDigit(Peek())) {
                ++mPosition;
            }
        }
        return mLast;
    }
    std::size_t Tell() const { return mPosition; }
    bool IsAtEnd() const { return mPosition == mText.size(); }

    // For parsing in place, which isn't used.
    Ch* PutBegin() { return nullptr; }
    void Put(Ch) {}
    std::size_t PutEnd(Ch*) { return 0; }

private:
    const std::u16string_view mText;
    std::size_t mPosition = 0;
    Ch mLast = 0;
    bool mIsInString = false;
    bool mIsEscaped = false;
};

bool IsOfNumber(char16_t inUnit) {
    return IsDigit(inUnit) || inUnit == u'-' || inUnit == u'+' || inUnit == u'.' || inUnit == u'e' ||
           inUnit == u'E';
}

// Handles the reader's events: finds the kind of the whole text, and picks members of the top-level object.
class Events {
public:
    using Ch = char16_t;
    using Size = rapidjson::SizeType;

    Events(std::u16string_view inText, const TextStream& inStream) : mText(inText), mStream(inStream) {}

    // Collects only members of this name; null for all. Without either call, collects none.
    void PickMembers(const std::u16string_view* inName) {
        mIsPicking = true;
        mWantedName = inName;
    }

    JsonKind get_Kind() const { return mKind; }
    std::vector<JsonMember>& get_Members() { return mMembers; }

    bool Null() { return Scalar(JsonKind::Null, u"null"); }
    bool Bool(bool inValue) { return Scalar(JsonKind::Boolean, inValue ? u"true" : u"false"); }
    bool String(const Ch* inText, Size inLength, bool) {
        return Scalar(JsonKind::String, {inText, inLength});
    }
    bool Int(int) { return Number(); }
    bool Uint(unsigned) { return Number(); }
    bool Int64(std::int64_t) { return Number(); }
    bool Uint64(std::uint64_t) { return Number(); }
    bool Double(double) { return Number(); }
    bool RawNumber(const Ch*, Size, bool) { return Number(); }

    bool Key(const Ch* inText, Size inLength, bool) {
        if (mDepth == 1 && mIsPicking) {
            const std::u16string_view name(inText, inLength);
            mIsWanted = !mWantedName || name == *mWantedName;
            if (mIsWanted) {
                mName = name;
            }
        }
        return true;
    }

    bool StartObject() { return Start(JsonKind::Object); }
    bool StartArray() { return Start(JsonKind::Array); }
    bool EndObject(Size) { return End(JsonKind::Object); }
    bool EndArray(Size) { return End(JsonKind::Array); }

private:
    bool IsWantedMember() const { return mDepth == 1 && mIsWanted && mKind == JsonKind::Object; }

    bool Scalar(JsonKind inKind, std::u16string_view inText) {
        if (mDepth == 0) {
            mKind = inKind;
        } else if (IsWantedMember()) {
            Add(inKind, inText);
        }
        return true;
    }

    // The reader is after the number, and gives only its binary value.
    bool Number() {
        const std::size_t end = mStream.Tell();
        std::size_t begin = end;
        while (IsWantedMember() && begin > 0 && IsOfNumber(mText[begin - 1])) {
            --begin;
        }
        return Scalar(JsonKind::Number, mText.substr(begin, end - begin));
    }

    // The reader is at the bracket, both at the start and at the end.
    bool Start(JsonKind inKind) {
        if (mDepth == 0) {
            mKind = inKind;
        } else if (IsWantedMember()) {
            mBegin = mStream.Tell();
        }
        ++mDepth;
        return true;
    }
    bool End(JsonKind inKind) {
        --mDepth;
        if (IsWantedMember()) {
            Add(inKind, mText.substr(mBegin, mStream.Tell() + 1 - mBegin));
        }
        return true;
    }

    void Add(JsonKind inKind, std::u16string_view inText) {
        mMembers.push_back({std::move(mName), inKind, std::u16string(inText)});
        mIsWanted = false;
    }

    const std::u16string_view mText;
    const TextStream& mStream;
    bool mIsPicking = false;
    const std::u16string_view* mWantedName = nullptr;
    JsonKind mKind = JsonKind::Null;
    std::size_t mDepth = 0;
    bool mIsWanted = false; // whether the current member is to be collected
    std::u16string mName;
    std::size_t mBegin = 0;
    std::vector<JsonMember> mMembers;
};

// Whether the whole text is one JSON value.
bool Parse(TextStream& ioStream, Events& ioEvents) {
    rapidjson::GenericReader<Encoding, Encoding> reader;
    try {
        return !reader.Parse<rapidjson::kParseIterativeFlag>(ioStream, ioEvents).IsError() &&
               ioStream.IsAtEnd();
    } catch (const detail::RapidJsonRefusal&) {
        return false;
    }
}

} // namespace

std::optional<JsonKind> CheckJson(std::u16string_view inText) {
    TextStream stream(inText);
    Events events(inText, stream);
    return Parse(stream, events) ? std::optional(events.get_Kind()) : std::nullopt;
}

std::optional<std::vector<JsonMember>> ReadJsonMembers(std::u16string_view inText) {
    TextStream stream(inText);
    Events events(inText, stream);
    events.PickMembers(nullptr);
    return Parse(stream, events) ? std::optional(std::move(events.get_Members())) : std::nullopt;
}

std::optional<JsonMember> FindJsonMember(std::u16string_view inText, std::u16string_view inName) {
    TextStream stream(inText);
    Events events(inText, stream);
    events.PickMembers(&inName);
    if (!Parse(stream, events) || events.get_Members().empty()) {
        return std::nullopt;
    }
    return std::move(events.get_Members().front());
}

} // namespace orkit::standin

namespace orkit {

struct Json::Imp {
    std::optional<std::vector<standin::JsonMember>> mMembers; // nothing if the text isn't JSON
};

Json::Json(const char* inText) : mImp(std::make_unique<Imp>()) {
    const String text(inText);
    mImp->mMembers = standin::ReadJsonMembers(orsql::detail::ViewOf(text));
}

Json::~Json() = default;

bool Json::isValid() const noexcept { return mImp->mMembers.has_value(); }

String Json::get_JsonValue(const String& inName) const {
    if (mImp->mMembers) {
        for (const standin::JsonMember& member : *mImp->mMembers) {
            if (member.mName == orsql::detail::ViewOf(inName)) {
                return member.mKind == standin::JsonKind::Null ? String()
                                                               : orsql::detail::ToString(member.mText);
            }
        }
    }
    return String();
}

} // namespace orkit
