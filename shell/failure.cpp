#include "shell/failure.h"

#include <algorithm>
#include <array>
#include <charconv>

#include <fmt/format.h>
#include <rapidjson/document.h>

#include "host/exceptions.h"
#include "shell/interrupts.h"
#include "shell/requests.h"
#include "shell/text.h"

namespace orlimbara::shell {

namespace {

/// The words before " Error: " in DuckDB's plain error texts.
constexpr std::array<std::string_view, 42> kErrorTypes = {
    "Invalid",
    "Out of Range",
    "Conversion",
    "Unknown Type",
    "Decimal",
    "Mismatch Type",
    "Divide by Zero",
    "Object Size",
    "Invalid type",
    "Serialization",
    "TransactionContext",
    "Not implemented",
    "Expression",
    "Catalog",
    "Parser",
    "Binder",
    "Planner",
    "Scheduler",
    "Executor",
    "Constraint",
    "Index",
    "Stat",
    "Connection",
    "Syntax",
    "Settings",
    "Optimizer",
    "NullPointer",
    "IO",
    "INTERRUPT",
    "FATAL",
    "INTERNAL",
    "Invalid Input",
    "Out of Memory",
    "Permission",
    "Parameter Not Resolved",
    "Parameter Not Allowed",
    "Dependency",
    "Missing Extension",
    "HTTP",
    "Extension Autoloading",
    "Sequence",
    "Invalid Configuration",
};
constexpr const char* kShellClass = "orsql";
constexpr std::string_view kErrorMark = " Error: ";

std::string StringMember(const rapidjson::Value& inObject, const char* inName) {
    const auto member = inObject.FindMember(inName);
    if (member == inObject.MemberEnd() || !member->value.IsString()) {
        return {};
    }
    return std::string(member->value.GetString(), member->value.GetStringLength());
}

std::optional<std::int64_t> PositionMember(const rapidjson::Value& inObject) {
    const auto member = inObject.FindMember("position");
    if (member != inObject.MemberEnd() && member->value.IsInt64()) {
        return member->value.GetInt64();
    }
    const std::string digits = StringMember(inObject, "position");
    std::int64_t position = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), position);
    const bool isNumber = error == std::errc() && end == digits.data() + digits.size() && !digits.empty();
    return isNumber ? std::optional(position) : std::nullopt;
}

bool TakeJsonApart(std::string_view inText, ErrorParts& outParts) {
    rapidjson::Document document;
    document.Parse<rapidjson::kParseIterativeFlag>(inText.data(), inText.size());
    if (document.HasParseError() || !document.IsObject() || !document.HasMember("exception_message")) {
        return false;
    }
    outParts.readable = StringMember(document, "exception_message");
    if (const std::string type = StringMember(document, "exception_type"); !type.empty()) {
        outParts.type = type;
    }
    outParts.position = PositionMember(document);
    return true;
}

void Describe(Failure& outFailure, const char* inClass, const orkit::xException& inException) {
    outFailure.className = inClass;
    outFailure.code = inException.get_Code();
    const orkit::String* const first = inException.get_Text(0);
    const orkit::String* const second = inException.get_Text(1);
    if (second) {
        outFailure.message = ToUtf8(*second);
        if (first) {
            outFailure.context = ToUtf8(*first);
        }
    } else if (first) {
        outFailure.message = ToUtf8(*first);
    }
}

constexpr std::size_t kWidthWithoutTerminal = 80;
constexpr std::string_view kIndent = "  ";

constexpr const char* kInterruptType = "INTERRUPT";

/// The statement's line that contains byte `inPosition`, and a caret under it.
std::string ShowPlace(std::string_view inStatement, std::size_t inPosition, std::size_t inWidth) {
    const std::size_t position = std::min(inPosition, inStatement.size());
    const std::size_t before = inStatement.substr(0, position).rfind('\n');
    const std::size_t start = before == std::string_view::npos ? 0 : before + 1;
    const std::size_t end = std::min(inStatement.find('\n', position), inStatement.size());
    std::string head = OneLine(inStatement.substr(start, position - start));
    std::string tail = OneLine(inStatement.substr(position, end - position));
    // A line wider than the terminal loses its beginning, so that the place stays visible.
    const std::size_t width = (inWidth ? inWidth : kWidthWithoutTerminal) - kIndent.size();
    constexpr std::string_view kCut = "…";
    while (DisplayWidth(head) > width / 2 && DisplayWidth(head) + DisplayWidth(tail) > width) {
        head = head.substr(head.starts_with(kCut) ? kCut.size() : 0);
        do {
            head.erase(0, 1);
        } while (!head.empty() && (static_cast<unsigned char>(head.front()) & 0xC0) == 0x80);
        head.insert(0, kCut);
    }
    const std::size_t column = DisplayWidth(head);
    return fmt::format("{}{}\n{}{}^\n", kIndent, head + CutToWidth(tail, std::max(width - column, width / 4)),
                       kIndent, std::string(column, ' '));
}

} // namespace

void Origin::Mark(Failure& ioFailure) const {
    ioFailure.statement = statement;
    ioFailure.places.assign(places.rbegin(), places.rend());
    const std::int64_t position = PartsOf(ioFailure).position.value_or(0);
    if (!places.empty() && !isOneLine && position > 0) {
        const std::string_view before =
            std::string_view(statement).substr(0, static_cast<std::size_t>(position));
        ioFailure.places.front().line +=
            static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
    }
}

Failure CurrentFailure() {
    Failure failure;
    try {
        throw;
    } catch (const Explanation& explanation) {
        try {
            std::rethrow_if_nested(explanation);
        } catch (...) {
            failure = CurrentFailure();
        }
        failure.words = explanation.what();
    } catch (const orkit::orsql::xDuckDBError& error) {
        Describe(failure, "xDuckDBError", error);
    } catch (const orkit::orsql::xORSQLException& error) {
        Describe(failure, "xORSQLException", error);
    } catch (const orkit::xFeatureError& error) {
        Describe(failure, "xFeatureError", error);
    } catch (const orkit::xDBError& error) {
        Describe(failure, "xDBError", error);
    } catch (const orkit::xException& error) {
        Describe(failure, "xException", error);
    } catch (const RequestError& error) {
        failure = FailureOf(error);
        failure.column = error.get_Column();
    } catch (const ShellError& error) {
        failure = FailureOf(error);
    } catch (const ProcedureError& error) {
        failure.className = "procedure";
        failure.message = ValidUtf8(error.what());
    } catch (const std::exception& error) {
        failure.className = "std::exception";
        failure.message = ValidUtf8(error.what());
    } catch (...) {
        failure.className = "unknown";
    }
    failure.isInterrupted = IsInterrupted() && PartsOf(failure).type == kInterruptType;
    return failure;
}

Failure FailureOf(const ShellError& inError) {
    Failure failure;
    failure.className = kShellClass;
    failure.message = ValidUtf8(inError.what());
    return failure;
}

ErrorParts TakeApart(const std::string& inMessage) {
    ErrorParts parts;
    if (TakeJsonApart(inMessage, parts)) {
        return parts;
    }
    parts.readable = inMessage;
    const std::size_t mark = inMessage.find(kErrorMark);
    if (mark == std::string::npos) {
        return parts;
    }
    const std::string_view word = std::string_view(inMessage).substr(0, mark);
    for (const std::string_view type : kErrorTypes) {
        if (word == type) {
            parts.type = word;
            TakeJsonApart(std::string_view(inMessage).substr(mark + kErrorMark.size()), parts);
        }
    }
    return parts;
}

ErrorParts PartsOf(const Failure& inFailure) {
    if (inFailure.className == kShellClass) {
        return {inFailure.message, {}, {}};
    }
    return TakeApart(inFailure.message);
}

std::string DescribeFailure(const Failure& inFailure, const ErrorStyle& inStyle) {
    const ErrorParts parts = inFailure.isInterrupted ? ErrorParts{"interrupted", {}, {}} : PartsOf(inFailure);
    std::string message = parts.readable;
    if (message.empty() && !inFailure.words.empty()) {
        message = inFailure.words;
    } else if (message.empty()) {
        message =
            inFailure.code ? fmt::format("{} {}", inFailure.className, *inFailure.code) : inFailure.className;
    }
    std::string details;
    if (!parts.type.empty() && !message.starts_with(parts.type)) {
        details = "type: " + parts.type;
    }
    if (parts.position) {
        details += fmt::format("{}position: {}", details.empty() ? "" : ", ", *parts.position);
    }
    std::string text =
        fmt::format("{}error:{} {}\n", inStyle.hasColor ? "\x1b[1;31m" : "",
                    inStyle.hasColor ? "\x1b[0m" : "", inStyle.isTerminal ? Harmless(message) : message);
    if (!details.empty()) {
        text += fmt::format("{}{}\n", kIndent, details);
    }
    if (inStyle.isTerminal && parts.position && *parts.position >= 0 && !inFailure.statement.empty()) {
        text += ShowPlace(inFailure.statement, static_cast<std::size_t>(*parts.position), inStyle.width);
    }
    if (message != inFailure.words && !inFailure.words.empty()) {
        text += fmt::format("{}{}\n", kIndent, inFailure.words);
    }
    for (const SourceLine& place : inFailure.places) {
        text += fmt::format("{}at {}:{}\n", kIndent,
                            inStyle.isTerminal ? OneLine(place.source) : place.source, place.line);
    }
    return text;
}

} // namespace orlimbara::shell
