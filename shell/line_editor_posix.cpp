// Reading lines with libedit.
#include "shell/line_editor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <string>
#include <utility>

#include <langinfo.h>
#include <poll.h>
#include <unistd.h>
#include <utf8proc.h>

#include "shell/history.h"
#include "shell/interrupts.h"
#include "shell/libedit_posix.h"
#include "shell/system.h"
#include "shell/terminal.h"
#include "shell/text.h"

namespace orlimbara::shell {

namespace {

using namespace libedit; // in place of the functions that histedit.h declares

constexpr int kHistorySize = 1000;
constexpr std::size_t kMostListed = 200;
constexpr int kResizeInterval = 1000; // milliseconds, for a resize just before the wait

/// The library counts characters by the locale; every text here is UTF-8.
void UseUtf8() {
    std::setlocale(LC_CTYPE, "");
    if (std::string_view(nl_langinfo(CODESET)) != "UTF-8") {
        std::setlocale(LC_CTYPE, "C.UTF-8");
    }
}

/// The common beginning of all texts.
std::string CommonStart(const std::vector<std::string>& inTexts) {
    std::string common = inTexts.front();
    for (const std::string& text : inTexts) {
        const auto end = std::mismatch(common.begin(), common.end(), text.begin(), text.end()).first;
        common.erase(end, common.end());
    }
    while (!common.empty() && (static_cast<unsigned char>(common.back()) & 0xC0) == 0x80) {
        common.pop_back(); // part of a character
    }
    return common;
}

void List(std::vector<std::string> inTexts) {
    std::size_t widest = 1;
    for (std::string& text : inTexts) {
        text = OneLine(text);
        widest = std::max(widest, DisplayWidth(text) + 2);
    }
    const std::size_t perLine = std::max<std::size_t>(1, TerminalWidth(STDOUT_FILENO) / widest);
    std::string out;
    for (std::size_t i = 0; i < inTexts.size() && i < kMostListed; ++i) {
        out += i % perLine == 0 ? "\n" : "";
        out += inTexts[i] + std::string(widest - DisplayWidth(inTexts[i]), ' ');
    }
    out += inTexts.size() > kMostListed ? "\n…\n" : "\n";
    std::fputs(out.c_str(), stdout);
}

constexpr utf8proc_uint8_t kCtrlD = 4;

bool IsLineEmpty(EditLine* inEditor) {
    const LineInfo* const line = el_line(inEditor);
    return line->lastchar == line->buffer;
}

bool HasInput() {
    pollfd file = {STDIN_FILENO, POLLIN, 0};
    return poll(&file, 1, 0) > 0;
}

/// Resizes of the terminal that the displayed line doesn't reflect yet.
volatile std::sig_atomic_t gResizes = 0;

extern "C" void OnResize(int) { gResizes = 1; }

void HandleResizes() {
    struct sigaction action = {};
    action.sa_handler = OnResize; // without SA_RESTART: the wait for a key ends
    sigemptyset(&action.sa_mask);
    sigaction(SIGWINCH, &action, nullptr);
}

/// Has the terminal mark pasted text, for its lifetime.
class BracketedPaste {
public:
    BracketedPaste() { Send("\x1b[?2004h"); }
    BracketedPaste(const BracketedPaste&) = delete;
    BracketedPaste& operator=(const BracketedPaste&) = delete;
    ~BracketedPaste() { Send("\x1b[?2004l"); }

private:
    static void Send(const char* inSequence) {
        if (!IsDumbTerminal()) {
            std::fputs(inSequence, stdout);
            std::fflush(stdout);
        }
    }
};

/// Reads one character. @return 1, 0 at the end, -1 for Ctrl-C.
/// @param inEditor the editor whose empty line Ctrl-D ends; may be null.
int ReadBytes(wchar_t* outCharacter, EditLine* inEditor = nullptr) {
    std::array<utf8proc_uint8_t, 4> bytes{};
    std::size_t count = 0;
    while (count < bytes.size()) {
        if (!WaitForInput(STDIN_FILENO)) {
            return -1;
        }
        const ssize_t got = read(STDIN_FILENO, bytes.data() + count, 1);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got <= 0) {
            return static_cast<int>(got);
        }
        ++count;
        if (inEditor && bytes[0] == kCtrlD && IsLineEmpty(inEditor)) {
            return 0;
        }
        utf8proc_int32_t character = 0;
        if (utf8proc_iterate(bytes.data(), static_cast<utf8proc_ssize_t>(count), &character) > 0) {
            *outCharacter = static_cast<wchar_t>(character);
            return 1;
        }
    }
    *outCharacter = L'\uFFFD';
    return 1;
}

/// Reads one character from the terminal. Ctrl-C is reported to the library as a failure, which ends the
/// line. Ctrl-D on an empty line ends the input here, because while the terminal switches to a new line the
/// library's own binding can miss it.
int ReadCharacter(EditLine* inEditor, wchar_t* outCharacter) {
    while (!HasInput() && !IsInterrupted()) {
        if (gResizes != 0) {
            gResizes = 0;
            // The library assumes that the cursor is at the start of an empty line afterwards.
            std::fputs(IsDumbTerminal() ? "\n" : "\r\x1b[J", stdout);
            el_resize(inEditor);
            el_set(inEditor, EL_REFRESH);
        }
        pollfd file = {STDIN_FILENO, POLLIN, 0};
        poll(&file, 1, kResizeInterval);
    }
    return ReadBytes(outCharacter, inEditor);
}

} // namespace

struct LineEditor::Imp {
    EditLine* editor = nullptr;
    History* history = nullptr;
    std::string historyPath;
    std::string prompt;
    Completer completer;

    static Imp& Of(EditLine* inEditor) {
        Imp* imp = nullptr;
        el_get(inEditor, EL_CLIENTDATA, &imp);
        return *imp;
    }

    static char* Prompt(EditLine* inEditor) { return Of(inEditor).prompt.data(); }

    static unsigned char Complete(EditLine* inEditor, int) {
        if (HasInput()) {
            return el_insertstr(inEditor, "\t") == 0 ? CC_REFRESH : CC_REFRESH_BEEP; // it was pasted
        }
        const LineInfo* const line = el_line(inEditor);
        const std::string_view before(line->buffer, static_cast<std::size_t>(line->cursor - line->buffer));
        const Completions found = Of(inEditor).completer(before);
        if (found.texts.empty()) {
            return CC_REFRESH_BEEP;
        }
        const std::string_view typed = before.substr(found.start);
        const std::string common = CommonStart(found.texts);
        // The library shows what could act on a terminal as it is, so names with such characters are listed.
        const bool isHarmless = OneLine(common) == common;
        const bool isOne = found.texts.size() == 1;
        if (isHarmless && (common.size() > typed.size() || (isOne && common != typed))) {
            el_deletestr(inEditor, CharactersIn(typed));
            return el_insertstr(inEditor, common.c_str()) == 0 ? CC_REFRESH : CC_REFRESH_BEEP;
        }
        if (isHarmless && isOne) {
            return CC_REFRESH;
        }
        List(found.texts);
        return CC_REDISPLAY;
    }

    /// Inserts pasted text unchanged, up to the mark of its end.
    static unsigned char Paste(EditLine* inEditor, int) {
        constexpr std::wstring_view kEnd = L"\x1b[201~";
        std::wstring text;
        wchar_t character = 0;
        while (!text.ends_with(kEnd)) {
            if (ReadBytes(&character) <= 0) {
                return CC_EOF;
            }
            text += character == L'\r' ? L'\n' : character;
        }
        text.resize(text.size() - kEnd.size());
        std::erase(text, L'\0');
        if (text.ends_with(L'\n')) {
            // The line is complete, as if Enter had been pressed at its end.
            text.pop_back();
            return el_winsertstr(inEditor, text.c_str()) == 0 || text.empty() ? FinishLine(inEditor)
                                                                              : CC_ERROR;
        }
        return text.empty() || el_winsertstr(inEditor, text.c_str()) == 0 ? CC_REFRESH : CC_REFRESH_BEEP;
    }

    /// Moves to the line above in a statement of several lines; from the first one, to the history.
    static unsigned char Up(EditLine* inEditor, int) {
        const auto [before, after] = AroundCursor(inEditor);
        const std::size_t end = before.rfind('\n');
        if (end == std::string_view::npos) {
            el_push(inEditor, "\x10"); // Ctrl-P
            return CC_REFRESH;
        }
        const int column = CharactersIn(before.substr(end + 1));
        const int length = CharactersIn(before.substr(before.rfind('\n', end - 1) + 1)) - column - 1;
        el_cursor(inEditor, -(column + 1 + std::max(0, length - column)));
        return CC_REFRESH;
    }

    /// Moves to the line below; from the last one, to the history.
    static unsigned char Down(EditLine* inEditor, int) {
        const auto [before, after] = AroundCursor(inEditor);
        const std::size_t end = after.find('\n');
        if (end == std::string_view::npos) {
            el_push(inEditor, "\x0e"); // Ctrl-N
            return CC_REFRESH;
        }
        const int column = CharactersIn(before.substr(before.rfind('\n') + 1));
        const std::string_view below = after.substr(end + 1);
        const int length = CharactersIn(below.substr(0, below.find('\n')));
        el_cursor(inEditor, CharactersIn(after.substr(0, end + 1)) + std::min(column, length));
        return CC_REFRESH;
    }

    /// The text before the cursor, and the text behind it.
    static std::pair<std::string_view, std::string_view> AroundCursor(EditLine* inEditor) {
        const LineInfo* const line = el_line(inEditor);
        return {{line->buffer, static_cast<std::size_t>(line->cursor - line->buffer)},
                {line->cursor, static_cast<std::size_t>(line->lastchar - line->cursor)}};
    }

    static unsigned char FinishLine(EditLine* inEditor) {
        const LineInfo* const line = el_line(inEditor);
        el_cursor(inEditor,
                  CharactersIn({line->cursor, static_cast<std::size_t>(line->lastchar - line->cursor)}));
        el_push(inEditor, "\n");
        return CC_REFRESH;
    }

    /// Our own keys, in all key tables of the library.
    static void Bind(EditLine* inEditor) {
        constexpr std::array<std::array<const char*, 2>, 10> kKeys = {{
            {"^I", "orsql-complete"},
            {"^R", "em-inc-search-prev"},
            {"\\e[200~", "orsql-paste"},
            {"\\e[1;5C", "em-next-word"},
            {"\\e[1;5D", "ed-prev-word"},
            {"\\e[A", "orsql-up"},
            {"\\eOA", "orsql-up"},
            {"\\e[B", "orsql-down"},
            {"\\eOB", "orsql-down"},
            {"\\e[3~", "ed-delete-next-char"},
        }};
        for (const auto& [key, function] : kKeys) {
            el_set(inEditor, EL_BIND, key, function, nullptr);
        }
    }

    static int CharactersIn(std::string_view inText) {
        return static_cast<int>(std::count_if(inText.begin(), inText.end(), [](char c) {
            return (static_cast<unsigned char>(c) & 0xC0) != 0x80;
        }));
    }
};

LineEditor::LineEditor(Completer inCompleter) : mImp(std::make_unique<Imp>()) {
    UseUtf8();
    HandleResizes();
    mImp->historyPath = HistoryPath();
    mImp->completer = std::move(inCompleter);
    mImp->editor = el_init("orsql", stdin, stdout, stderr);
    mImp->history = history_init();
    HistEvent event;
    history(mImp->history, &event, H_SETSIZE, kHistorySize);
    history(mImp->history, &event, H_SETUNIQUE, 1);
    if (!mImp->historyPath.empty()) {
        for (const std::string& entry : LoadHistory(mImp->historyPath, kHistorySize)) {
            history(mImp->history, &event, H_ENTER, entry.c_str());
        }
    }
    EditLine* const editor = mImp->editor;
    el_set(editor, EL_CLIENTDATA, mImp.get());
    el_set(editor, EL_PROMPT, &Imp::Prompt);
    el_set(editor, EL_EDITOR, "emacs");
    el_set(editor, EL_SIGNAL, 0);
    el_set(editor, EL_HIST, history.get_Address(), mImp->history);
    el_wset(editor, EL_GETCFN, &ReadCharacter);
    // The wide form keeps these pointers; the narrow one makes copies that are never freed.
    el_wset(editor, EL_ADDFN, L"orsql-complete", L"Complete", &Imp::Complete);
    el_wset(editor, EL_ADDFN, L"orsql-paste", L"Insert pasted text", &Imp::Paste);
    el_wset(editor, EL_ADDFN, L"orsql-up", L"Line above, or history", &Imp::Up);
    el_wset(editor, EL_ADDFN, L"orsql-down", L"Line below, or history", &Imp::Down);
    Imp::Bind(editor);
    el_source(editor, nullptr); // what the user has in .editrc
    Imp::Bind(editor);          // which may have chosen other key tables
}

LineEditor::~LineEditor() {
    el_end(mImp->editor);
    history_end(mImp->history);
}

LineEditor::Answer LineEditor::Read(const std::string& inPrompt, std::string& outLine) {
    const ActivityScope prompting(Activity::Prompting);
    const BracketedPaste paste;
    mImp->prompt = inPrompt;
    gResizes = 0;
    el_resize(mImp->editor);
    // Otherwise the prompt would be there while the terminal still takes keys as for a whole line.
    el_set(mImp->editor, EL_PREP_TERM, 1);
    int length = 0;
    const char* const line = el_gets(mImp->editor, &length);
    if (IsInterrupted()) {
        std::fputs("^C\n", stdout);
        std::fflush(stdout);
        el_reset(mImp->editor);
        return Answer::Interrupted;
    }
    if (!line || length <= 0) {
        return Answer::End;
    }
    outLine = line;
    return Answer::Line;
}

void LineEditor::Remember(const std::string& inEntry) {
    HistEvent event;
    history(mImp->history, &event, H_ENTER, inEntry.c_str());
    if (!mImp->historyPath.empty()) {
        AppendHistory(mImp->historyPath, inEntry);
    }
}

} // namespace orlimbara::shell
