#include "shell/csv_reader.h"

#include <algorithm>

#include <fmt/format.h>

#include "shell/failure.h"

namespace orlimbara::shell {

namespace {

class CsvReader {
public:
    explicit CsvReader(std::string_view inText) : mRest(inText) {
        constexpr std::string_view kByteOrderMark = "\uFEFF";
        if (mRest.starts_with(kByteOrderMark)) {
            mRest.remove_prefix(kByteOrderMark.size());
        }
    }

    bool IsAtEnd() const { return mRest.empty(); }

    CsvRecord ReadRecord() {
        CsvRecord record;
        do {
            record.push_back(ReadCell());
        } while (Accept(","));
        if (!AcceptLineEnd() && !mRest.empty()) {
            Fail("text behind a quoted cell");
        }
        ++mLine;
        return record;
    }

private:
    std::optional<std::string> ReadCell() {
        if (Accept("\"")) {
            return ReadQuoted();
        }
        std::size_t length = std::min(mRest.find_first_of(",\"\n"), mRest.size());
        if (length < mRest.size() && mRest[length] == '"') {
            Fail("a quote inside a cell that isn't quoted");
        }
        const bool isLineEnd = length < mRest.size() && mRest[length] == '\n';
        if (isLineEnd && length > 0 && mRest[length - 1] == '\r') {
            --length;
        }
        std::string cell(mRest.substr(0, length));
        mRest.remove_prefix(length);
        return cell.empty() ? std::nullopt : std::optional(std::move(cell));
    }

    std::string ReadQuoted() {
        std::string cell;
        for (;;) {
            const std::size_t end = mRest.find('"');
            if (end == std::string_view::npos) {
                Fail("a quote is not closed");
            }
            cell += mRest.substr(0, end);
            mRest.remove_prefix(end + 1);
            if (!Accept("\"")) {
                mLine += static_cast<std::size_t>(std::count(cell.begin(), cell.end(), '\n'));
                return cell;
            }
            cell += '"';
        }
    }

    bool Accept(std::string_view inText) {
        const bool isThere = mRest.starts_with(inText);
        mRest.remove_prefix(isThere ? inText.size() : 0);
        return isThere;
    }

    bool AcceptLineEnd() { return Accept("\n") || Accept("\r\n"); }

    [[noreturn]] void Fail(std::string_view inWhat) const {
        throw ShellError(fmt::format("line {}: {}", mLine, inWhat));
    }

    std::string_view mRest;
    std::size_t mLine = 1;
};

} // namespace

std::vector<CsvRecord> ReadCsv(std::string_view inText) {
    std::vector<CsvRecord> records;
    CsvReader reader(inText);
    while (!reader.IsAtEnd()) {
        records.push_back(reader.ReadRecord());
    }
    return records;
}

} // namespace orlimbara::shell
