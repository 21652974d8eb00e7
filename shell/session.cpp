#include "shell/session.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "host/exceptions.h"
#include "shell/failure.h"
#include "shell/files.h"
#include "shell/interrupts.h"
#include "shell/progress.h"
#include "shell/system.h"
#include "shell/text.h"

namespace orlimbara::shell {

namespace {

using orkit::smart_ptr;
using orkit::orsql::I_DuckDBDatabase;
using orkit::orsql::I_DuckDBQueryResult;
using orkit::orsql::I_DuckDBStatement;

std::uint32_t HostLocation(CursorLocation inLocation) {
    return inLocation == CursorLocation::Client ? orkit::orsql::kCursorLocationClient
                                                : orkit::orsql::kCursorLocationServer;
}

/// Keeps an outcome if it has something to show.
void Note(const I_DuckDBQueryResult& inResult, Outcome& ioOutcome) {
    const std::uint32_t flags = inResult.get_ResultFlags();
    if (flags & I_DuckDBQueryResult::kResultHasCursor) {
        ioOutcome = {inResult.get_Cursor(), false, 0};
    } else if (flags & I_DuckDBQueryResult::kResultHasRowsChanged) {
        ioOutcome = {nullptr, true, inResult.get_RowsChanged()};
    }
}

/// Runs the statement to its end. @param outOwnsTransaction whether DuckDB began a transaction around the
/// statements that it expanded this one into, which it does only if none was open.
Outcome Walk(I_DuckDBStatement& inStatement, std::uint32_t inLocation, bool& outOwnsTransaction) {
    Outcome outcome;
    bool isFirst = true;
    do {
        inStatement.PrepareNext();
        if (std::exchange(isFirst, false)) {
            outOwnsTransaction = inStatement.get_RemainingStatements() > 0 &&
                                 StartsIgnoringCase(ToUtf8(inStatement.get_Sql()), "BEGIN");
        }
        Note(*inStatement.SqlQuery(inLocation), outcome);
    } while (inStatement.get_RemainingStatements() > 0);
    return outcome;
}

void Rollback(I_DuckDBDatabase& inDatabase) {
    try {
        inDatabase.SqlExecute("ROLLBACK", nullptr);
    } catch (...) {
        // The failure may already have ended the transaction.
    }
}

} // namespace

Session::Session(Module& inModule, const Options& inOptions) : mModule(inModule), mOptions(inOptions) {}

orkit::orsql::DuckDBSettings Session::MakeSettings(bool inIsReadOnly) const {
    orkit::orsql::DuckDBSettings settings;
    settings.mAccessMode = inIsReadOnly ? 0 : 1;
    settings.mThreads = mOptions.threads;
    settings.mMaxMemory = mOptions.maxMemory;
    settings.mTempDirectory = ToHost(mOptions.tempDirectory);
    settings.mEnableExternalAccess = mOptions.hasExternalAccess;
    settings.mHomeDirectory = ToHost(mOptions.homeDirectory);
    settings.mSecretDirectory = ToHost(mOptions.secretDirectory);
    settings.mExtensionDirectory = ToHost(mOptions.extensionDirectory);
    return settings;
}

std::string Session::ReadToken() const {
    if (!mOptions.tokenFile.empty()) {
        return std::string(Trim(ReadFile(mOptions.tokenFile)));
    }
    return Environment("motherduck_token");
}

Session::Database Session::MakeDatabase(const smart_ptr<orkit::I_Location>& inLocation, bool inIsReadOnly) {
    Database database = mModule.get_Extension().CreateDatabase(inLocation);
    if (std::find(mUsedPaths.begin(), mUsedPaths.end(), database->get_Path()) == mUsedPaths.end()) {
        mUsedPaths.push_back(database->get_Path());
    }
    database->put_Settings(MakeSettings(inIsReadOnly));
    return database;
}

void Session::Open(const std::string& inPath, bool inIsReadOnly) {
    Close();
    mDatabase.reset();
    if (const auto refusal = RefuseFileOptions(mOptions, inPath)) {
        throw ShellError(*refusal);
    }
    const bool isReadOnly = inIsReadOnly || mOptions.isReadOnly;
    const Database database = MakeDatabase(LocationOf(inPath), isReadOnly);
    const ActivityScope busy(Activity::Busy);
    if (IsRemotePath(inPath)) {
        database->put_MotherDuckAccess(ToHost(ReadToken()), ToHost(mOptions.userAgent));
        database->Open();
    } else if (isReadOnly || database->get_Exists()) {
        database->Open();
    } else {
        database->put_BlockSize(mOptions.blockSize);
        database->put_StorageVersion(ToHost(mOptions.storageVersion));
        database->Create();
    }
    Adopt(database);
}

/// Prepares an open database. DuckDB reports progress only if it is asked to, and prints it unless it is
/// asked not to.
void Session::Adopt(const Database& inDatabase) {
    mDatabase = inDatabase;
    if (mOptions.canShowProgress) {
        try {
            mDatabase->SqlExecute("SET enable_progress_bar_print = false; SET enable_progress_bar = true",
                                  nullptr);
        } catch (const orkit::xException&) {
            // The line of progress then shows only the time.
        }
    }
}

void Session::OpenExisting(const smart_ptr<orkit::I_Location>& inLocation) {
    Close();
    mDatabase.reset();
    const Database database = MakeDatabase(inLocation, mOptions.isReadOnly);
    const ActivityScope busy(Activity::Busy);
    database->Open();
    Adopt(database);
}

void Session::Close() {
    if (mDatabase) {
        const ActivityScope busy(Activity::Busy);
        mDatabase->Close();
    }
}

void Session::Drop() {
    if (!mDatabase) {
        throw ShellError("no database is open");
    }
    const ActivityScope busy(Activity::Busy);
    mDatabase->Drop();
}

I_DuckDBDatabase& Session::get_OpenDatabase() const {
    if (!mDatabase || !mDatabase->get_IsOpen()) {
        throw ShellError("no database is open");
    }
    return *mDatabase;
}

void Session::HoldValues(smart_ptr<orkit::orsql::ValueArray> inValues) {
    mRows.reset();
    mValues = std::move(inValues);
}

void Session::HoldRows(smart_ptr<orkit::orsql::RowArray> inRows) {
    mValues.reset();
    mRows = std::move(inRows);
}

Session::Held Session::Exchange(Held inHeld) {
    return {std::exchange(mValues, std::move(inHeld.values)), std::exchange(mRows, std::move(inHeld.rows))};
}

Outcome Session::Run(const std::string& inSql, CursorLocation inLocation) {
    I_DuckDBDatabase& database = get_OpenDatabase();
    const smart_ptr<I_DuckDBStatement> statement = database.CreateStatement(ToHost(inSql));
    if (mRows) {
        statement->BindRows(mRows);
    } else if (mValues) {
        statement->BindValues(mValues);
    }
    bool ownsTransaction = false;
    try {
        const RunScope run(&database);
        const ProgressLine progress(mOptions, DescribeRun(run.get_Control()));
        return Walk(*statement, HostLocation(inLocation), ownsTransaction);
    } catch (...) {
        if (ownsTransaction) {
            Rollback(database);
        }
        if ((mRows || mValues) && CurrentFailure().message.find("parameter") != std::string::npos) {
            std::throw_with_nested(Explanation("values are held for it; .bind alone clears them"));
        }
        throw;
    }
}

smart_ptr<orkit::orsql::I_DuckDBCursor> Session::Select(const char* inSql,
                                                        smart_ptr<orkit::orsql::ValueArray> inValues) const {
    // Ctrl-C doesn't stop it: that would abort an open transaction because of a prompt or a completion.
    return get_OpenDatabase().SqlSelect(inSql, orkit::orsql::kCursorLocationServer, std::move(inValues));
}

bool Session::IsInTransaction() const {
    // Outside a transaction each statement has its own.
    try {
        const auto id = [this] {
            const auto cursor = Select("SELECT txid_current()", nullptr);
            return cursor->NextRecord() ? cursor->get_Value(0)->get_LLong() : -1;
        };
        const std::int64_t first = id();
        return id() == first;
    } catch (...) {
        return CurrentFailure().message.find("transaction is aborted") != std::string::npos;
    }
}

} // namespace orlimbara::shell
