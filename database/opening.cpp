// Create and Open: a DuckDB handle, shared with the other objects on the path if possible, and this object's
// own connection.

#include <array>
#include <exception>
#include <stdexcept>
#include <string>
#include <utility>

#include "database/duckdb_database.h"
#include "extension/engine_lock_guard.h"
#include "host/exceptions.h"
#include "host/runtime.h"
#include "object_support/text.h"

namespace orkit::orsql {

namespace support = orlimbara::duckdb_support;

namespace {

constexpr const char* kReadWrite = "READ_WRITE";
constexpr const char* kReadOnly = "READ_ONLY";
constexpr std::uint16_t kAccessModeReadOnly = 0;

/// The result is ignored: DuckDB reports a value that it rejects when it opens, if at all.
void SetOption(duckdb_config inConfig, const char* inName, const char* inValue) {
    duckdb_set_config(inConfig, inName, inValue);
}

void SetOption(duckdb_config inConfig, const char* inName, const String& inValue) {
    SetOption(inConfig, inName, ToUTF8(inValue).c_str());
}

support::OwnedConfig MakeConfig() {
    support::OwnedConfig config;
    if (duckdb_create_config(config.Put()) != DuckDBSuccess) {
        throw std::runtime_error("Failed to create DuckDB config");
    }
    return config;
}

/// DuckDB's text, or the fixed one if there is none.
std::string TextOr(const support::OwnedText& inDuckDBText, const char* inFixedText) {
    return orsql::TextOr(inDuckDBText.Get(), inFixedText);
}

} // namespace

void DuckDBDatabase::Create() {
    try {
        Drop();
    } catch (...) {
        // Others hold the path open, and this object joins them; or there was no file to delete.
    }
    const EngineLockGuard guard;
    Close();                  // another thread may have opened this object in the meantime
    SetHandle(Row().mHandle); // the path's shared handle, or none
    Failure failure;
    try {
        if (!mHandle) {
            failure = CreateHandle();
        }
        if (!failure && !Connect()) {
            failure = "Failed to create DuckDB connection";
        }
    } catch (const std::exception& error) {
        failure = error.what();
    } catch (...) {
        failure = "Unknown DuckDB database creation error";
    }
    if (failure) {
        ThrowError(failure->c_str());
    }
    FinishOpening();
}

void DuckDBDatabase::Open() {
    Close();
    const EngineLockGuard guard;
    Close(); // another thread may have opened this object meanwhile
    if (IsFile() && !get_Exists()) {
        ThrowError("File does not exist");
    }
    SetHandle(Row().mHandle); // the path's shared handle, or none
    if (!mHandle) {
        const support::OwnedConfig config = MakeConfig();
        if (!mMotherDuckToken.isEmpty()) {
            SetOption(config.Get(), "motherduck_token", mMotherDuckToken);
            if (!mCustomUserAgent.isEmpty()) {
                SetOption(config.Get(), "custom_user_agent", mCustomUserAgent);
            }
        }
        if (mHasSettings) {
            ApplySettings(config.Get());
        }
        const bool readOnlyWanted = mHasSettings && mSettings.mAccessMode == kAccessModeReadOnly;
        SetHandle(OpenHandle(config.Get(), readOnlyWanted));
        if (!mIsReadOnly) {
            Row().mHandle = mHandle;
        }
    }
    if (!Connect()) {
        throw xException(error_code::kOpen, "Failed to create DuckDB connection");
    }
    FinishOpening();
}

bool DuckDBDatabase::IsFile() const {
    if (!mMotherDuckToken.isEmpty()) {
        return false;
    }
    const smart_ptr<I_DuckDBExtension> extension = GetDuckDBExtension();
    return extension && !extension->get_IsMemoryPath(mPath);
}

void DuckDBDatabase::ApplySettings(duckdb_config inConfig) const {
    if (mSettings.mThreads != 0) {
        SetOption(inConfig, "threads", std::to_string(mSettings.mThreads).c_str());
    }
    if (mSettings.mMaxMemory != 0) {
        SetOption(inConfig, "max_memory", (std::to_string(mSettings.mMaxMemory) + "MB").c_str());
    }
    if (!mSettings.mTempDirectory.isEmpty()) {
        SetOption(inConfig, "temp_directory", mSettings.mTempDirectory);
    }
    SetOption(inConfig, "enable_external_access", mSettings.mEnableExternalAccess ? "true" : "false");
    const std::array<std::pair<const char*, const String&>, 3> directories = {{
        {"home_directory", mSettings.mHomeDirectory},
        {"secret_directory", mSettings.mSecretDirectory},
        {"extension_directory", mSettings.mExtensionDirectory},
    }};
    for (const auto& [name, value] : directories) {
        if (!value.isEmpty()) {
            SetOption(inConfig, name, value);
        }
    }
}

DuckDBDatabase::Failure DuckDBDatabase::CreateHandle() {
    const support::OwnedConfig config = MakeConfig();
    SetOption(config.Get(), "access_mode", kReadWrite);
    if (mHasSettings) {
        ApplySettings(config.Get());
    }
    if (!mStorageVersion.isEmpty() || mBlockSize > 0) {
        if (Failure failure = MakeFile(config.Get())) {
            return failure;
        }
    }
    auto cell = std::make_shared<DatabaseCell>();
    support::OwnedText error;
    const StFromUTF16 path = ToUTF8(mPath);
    if (duckdb_open_ext(path.c_str(), cell->Put(), config.Get(), error.Put()) != DuckDBSuccess) {
        return TextOr(error, "Unknown DuckDB database open error");
    }
    SetHandle(cell);
    Row().mHandle = std::move(cell);
    return std::nullopt;
}

DuckDBDatabase::Failure DuckDBDatabase::MakeFile(duckdb_config inConfig) const {
    Failure failure;
    support::OwnedText error;
    {
        support::OwnedDatabase throwAway;
        const bool isOpen = duckdb_open_ext(nullptr, throwAway.Put(), inConfig, error.Put()) == DuckDBSuccess;
        support::OwnedConnection connection;
        // Without a connection there is no ATTACH: the open that follows creates the file.
        if (isOpen && duckdb_connect(throwAway.Get(), connection.Put()) == DuckDBSuccess) {
            support::OwnedResult result;
            const StFromUTF16 attach = ToUTF8(AttachText());
            if (duckdb_query(connection.Get(), attach.c_str(), result.Put()) != DuckDBSuccess) {
                failure = orsql::TextOr(duckdb_result_error(result.Get()), "");
            }
        }
    }
    if (!failure && error) {
        failure = error.Get();
    }
    return failure;
}

String DuckDBDatabase::AttachText() const {
    const OwnedTextU path(EscapeStringU(mPath.c_str(), 0));
    String attach = "ATTACH '";
    attach << path.get() << "' ( READ_WRITE";
    if (!mStorageVersion.isEmpty()) {
        attach << ", STORAGE_VERSION '" << mStorageVersion << "'";
    }
    if (mBlockSize != 0) {
        attach << ", BLOCK_SIZE " << mBlockSize;
    }
    attach << " );";
    return attach;
}

std::shared_ptr<DatabaseCell> DuckDBDatabase::OpenHandle(duckdb_config inConfig, bool inReadOnlyWanted) {
    const StFromUTF16 path = ToUTF8(mPath);
    auto cell = std::make_shared<DatabaseCell>();
    support::OwnedText error;
    const auto open = [&](const char* inAccessMode) {
        SetOption(inConfig, "access_mode", inAccessMode);
        error.Reset();
        return duckdb_open_ext(path.c_str(), cell->Put(), inConfig, error.Put()) == DuckDBSuccess;
    };
    if (!inReadOnlyWanted && open(kReadWrite)) {
        mIsReadOnly = false;
        return cell;
    }
    // Even if writing was requested: a database that can't be opened for writing may still be readable.
    if (!open(kReadOnly)) {
        throw xException(error_code::kOpen, TextOr(error, "Failed to open DuckDB database").c_str());
    }
    mIsReadOnly = true;
    return cell;
}

bool DuckDBDatabase::Connect() {
    auto cell = std::make_shared<ConnectionCell>();
    if (duckdb_connect(mHandle->Get(), cell->Put()) != DuckDBSuccess) {
        return false;
    }
    mRuns->put_Connection(cell->Get());
    mConnection = std::move(cell);
    return true;
}

void DuckDBDatabase::FinishOpening() {
    support::OwnedResult result;
    duckdb_query(mConnection->Get(), "SET errors_as_json = true;", result.Put());
    ++Row().mConnectionCount;
}

} // namespace orkit::orsql
