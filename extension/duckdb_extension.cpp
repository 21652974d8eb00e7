#include "extension/duckdb_extension.h"

#include <array>
#include <cstring>

#include <duckdb.h>

#include "database/duckdb_database.h"
#include "database/shared_handles.h"
#include "extension/engine_lock_guard.h"
#include "host/exceptions.h"
#include "host/file.h"
#include "result/client_cursor.h"

using namespace orkit;
using namespace orkit::orsql;

namespace {

/// DuckDB's magic bytes in a database file, after a checksum of 8 bytes.
constexpr std::array kMagic = {'D', 'U', 'C', 'K'};
constexpr std::uint64_t kMagicOffset = 8;

DuckDBCursor_client* AsClientCursor(const smart_ptr<I_DuckDBCursor>& inCursor) {
    return dynamic_cast<DuckDBCursor_client*>(inCursor.get());
}

} // namespace

DuckDBExtension::DuckDBExtension() : mRestores(std::make_shared<RunControl>()) {}

DuckDBExtension::~DuckDBExtension() = default;

void* DuckDBExtension::QueryInterface(std::uint32_t inInterfaceId) {
    static constexpr std::array kTable = {
        InterfaceRow<DuckDBExtension, DuckDBExtension>(interface_id::kDuckDBExtension),
        InterfaceRow<DuckDBExtension, I_DuckDBRunControl>(I_DuckDBRunControl::kInterfaceId),
        kInterfaceTableEnd,
    };
    return InterfaceTableQueryInterface(this, kTable.data(), inInterfaceId);
}

const char* DuckDBExtension::get_LibraryVersion() const { return duckdb_library_version(); }

smart_ptr<I_DuckDBDatabase> DuckDBExtension::CreateDatabase(smart_ptr<I_Location> inLocation) {
    if (!inLocation) {
        throw xDBError(error_code::kNullLocation);
    }
    const EngineLockGuard guard;
    return smart_ptr<I_DuckDBDatabase>(new DuckDBDatabase(inLocation));
}

smart_ptr<RowArray> DuckDBExtension::get_ClientCursorRows(smart_ptr<I_DuckDBCursor> inCursor) {
    const DuckDBCursor_client* const cursor = AsClientCursor(inCursor);
    return cursor ? cursor->get_Rows() : nullptr;
}

bool DuckDBExtension::get_IsClientCursor(smart_ptr<I_DuckDBCursor> inCursor) {
    return AsClientCursor(inCursor) != nullptr;
}

bool DuckDBExtension::get_IsKnownDatabase(const String& inPath) {
    const EngineLockGuard guard;
    return gSharedDatabases.contains(inPath);
}

bool DuckDBExtension::get_IsDuckDBFile(smart_ptr<I_Location> inLocation) {
    const smart_ptr<FileWin> file(new FileWin);
    file->put_Location(inLocation);
    file->put_IsReadOnly(true);
    bool isDuckDBFile = false;
    try {
        file->Open();
        if (file->get_Size() == 0) {
            isDuckDBFile = true; // the host counts an empty file as one
        } else {
            std::array<char, kMagic.size()> bytes = {};
            file->Read(bytes.data(), kMagicOffset, static_cast<std::uint32_t>(bytes.size()));
            isDuckDBFile = bytes == kMagic;
        }
        file->Close();
    } catch (...) {
        // No such file, or one that can't be read; or only closing it failed, and the answer stands.
        try {
            file->Close();
        } catch (...) { // the question was another one
        }
    }
    return isDuckDBFile;
}

void DuckDBExtension::Interrupt() { mRestores->Interrupt(); }

DuckDBProgress DuckDBExtension::get_Progress() const { return mRestores->get_Progress(); }

bool DuckDBExtension::get_IsMemoryPath(const String& inPath) const { return inPath == String(":memory:"); }
