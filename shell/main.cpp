/// @file
/// The program: reads options, loads the module, opens the database, runs the scripts.
#include <cstdio>
#include <iostream>
#include <memory>
#include <optional>

#include <fmt/format.h>

#include "shell/answers.h"
#include "shell/interactive.h"
#include "shell/interrupts.h"
#include "shell/module.h"
#include "shell/options.h"
#include "shell/session.h"
#include "shell/shell.h"
#include "shell/system.h"

namespace {

using namespace orlimbara::shell;

bool IsInteractive(const Options& inOptions) {
    return inOptions.scripts.empty() && inOptions.input == InputForm::Sql && IsTerminal(kStandardInput) &&
           IsTerminal(kStandardOutput);
}

/// Whether a line of progress may be drawn: for a user at a terminal, and not within the output.
bool CanShowProgress(const Options& inOptions) {
    return IsTerminal(kStandardError) && !IsDumbTerminal() &&
           (IsInteractive(inOptions) || !IsTerminal(kStandardOutput));
}

/// Runs the scripts, standard input or an interactive session. @return the exit status.
int Run(Options& ioOptions, Session& inSession, Answers& inAnswers) {
    Shell shell(ioOptions, inSession, inAnswers);
    if (IsInteractive(ioOptions)) {
        shell.put_IsInteractive(true);
        RunInteractive(shell);
        return exit_status::kGood;
    }
    if (ioOptions.scripts.empty()) {
        ioOptions.scripts.push_back({Script::Kind::File, "-"});
    }
    shell.RunScripts();
    if (IsInterrupted()) {
        return exit_status::kInterrupted;
    }
    return inAnswers.HasFailed() ? exit_status::kFailed : exit_status::kGood;
}

/// Everything after the command line is read, up to the end of the output.
int RunAll(Options& ioOptions, Answers& inAnswers) {
    std::unique_ptr<Module> module;
    std::optional<Session> session;
    try {
        module = std::make_unique<Module>(ioOptions.module.empty() ? DefaultModulePath() : ioOptions.module);
        if (ioOptions.showsVersion) {
            std::cout << fmt::format("orsql {}\nDuckDB {}\n", ShellVersion(),
                                     module->get_Extension().get_LibraryVersion())
                      << std::flush;
            return std::cout ? exit_status::kGood : exit_status::kFailed;
        }
        session.emplace(*module, ioOptions);
        session->Open(ioOptions.database, false);
    } catch (...) {
        inAnswers.Fail(CurrentFailure());
        inAnswers.Finish();
        return exit_status::kNotOpened;
    }
    int status = Run(ioOptions, *session, inAnswers);
    try {
        session->Close();
    } catch (...) {
        inAnswers.Fail(CurrentFailure());
        status = status == exit_status::kGood ? exit_status::kFailed : status;
    }
    inAnswers.Finish();
    return status;
}

} // namespace

int main(int inCount, char** inArguments) {
    const Arguments arguments = PrepareProgram(inCount, inArguments);
    InstallInterrupts();
    int status = exit_status::kGood;
    std::optional<Options> options = ReadCommandLine(arguments.count, arguments.texts, status);
    if (!options) {
        return status;
    }
    options->canShowProgress = CanShowProgress(*options);
    RenderSettings settings;
    settings.nullText = options->nullText;
    settings.maxRows = options->maxRows;
    settings.maxWidth = options->maxWidth;
    settings.hasHeader = options->hasHeader;
    const Mode usual = options->input == InputForm::Jsonl ? Mode::Jsonl
                       : IsTerminal(kStandardOutput)      ? Mode::Box
                                                          : Mode::Csv;
    Answers answers(options->mode.value_or(usual), options->color, settings);
    try {
        return RunAll(*options, answers);
    } catch (const OutputError& error) {
        if (!error.IsReaderGone()) {
            answers.Notice(fmt::format("error: {}\n", error.what()));
            return exit_status::kFailed;
        }
        return answers.HasFailed() ? exit_status::kFailed : exit_status::kGood;
    } catch (const std::exception& error) {
        answers.Notice(fmt::format("error: {}\n", error.what()));
        return exit_status::kFailed;
    }
}
