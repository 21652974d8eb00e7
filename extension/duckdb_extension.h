/// @file
/// The module's root object.
#pragma once

#include <cstdint>
#include <memory>

#include "host/duckdb_objects.h"
#include "object_support/ref_count.h"

namespace orkit::orsql {
class RunControl;
}

/// The object behind I_DuckDBExtension. Its only state is its count and the running restores. The module
/// keeps no pointer to it and asks the host with GetDuckDBExtension. It is in the global namespace, where the
/// host expects it.
class DuckDBExtension final
    : public orkit::orsql::RefCounted<orkit::orsql::I_DuckDBExtension, orkit::orsql::I_DuckDBRunControl> {
public:
    DuckDBExtension();
    ~DuckDBExtension() override;

    void* QueryInterface(std::uint32_t inInterfaceId) override;

    const char* get_LibraryVersion() const override;
    orkit::smart_ptr<orkit::orsql::I_DuckDBDatabase>
    CreateDatabase(orkit::smart_ptr<orkit::I_Location> inLocation) override;
    orkit::smart_ptr<orkit::orsql::RowArray>
    get_ClientCursorRows(orkit::smart_ptr<orkit::orsql::I_DuckDBCursor> inCursor) override;
    bool get_IsClientCursor(orkit::smart_ptr<orkit::orsql::I_DuckDBCursor> inCursor) override;
    bool get_IsKnownDatabase(const orkit::String& inPath) override;
    bool get_IsDuckDBFile(orkit::smart_ptr<orkit::I_Location> inLocation) override;
    bool get_IsMemoryPath(const orkit::String& inPath) const override;
    orkit::smart_ptr<orkit::orsql::I_DuckDBDatabase>
    RestoreDatabase(orkit::smart_ptr<orkit::I_Location> inLocation,
                    orkit::smart_ptr<orkit::I_Location> inBackupLocation) override;

    /// Stops and watches the import of RestoreDatabase.
    void Interrupt() override;
    orkit::orsql::DuckDBProgress get_Progress() const override;

private:
    const std::shared_ptr<orkit::orsql::RunControl> mRestores; // the runs of RestoreDatabase
};
