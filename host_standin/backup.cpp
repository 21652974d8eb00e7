#include "host/backup.h"

#include <array>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <mutex>
#include <string>
#include <system_error>

#include "host_standin/errors.h"
#include "host_standin/faults.h"
#include "host_standin/locations.h"
#include "host_standin/paths.h"
#include "host_standin/utf.h"

namespace orkit {

namespace {

namespace fs = std::filesystem;
using standin::detail::TakeFault;

struct LastBackup {
    std::mutex mMutex;
    std::int64_t mMillis = 0; // since 1970-01-01, UTC
    unsigned mSequence = 0;
    String mPath;
};

LastBackup& GetLastBackup() {
    // Never destroyed: threads may still use it while the process exits.
    static auto* const last = new LastBackup;
    return *last;
}

constexpr unsigned kMaxSequence = 9999;

// Advances to a name after all earlier ones, even if the clock went back.
void Advance(LastBackup& ioLast) {
    const auto now = std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
    const std::int64_t millis = now.time_since_epoch().count();
    if (millis > ioLast.mMillis || ioLast.mSequence == kMaxSequence) {
        ioLast.mMillis = std::max(millis, ioLast.mMillis + 1);
        ioLast.mSequence = 0;
    }
    ++ioLast.mSequence;
}

// For instance "20240131T123000.123-0001".
std::string MakeName(const LastBackup& inLast) {
    const std::chrono::sys_time<std::chrono::milliseconds> time{std::chrono::milliseconds(inLast.mMillis)};
    const auto day = std::chrono::floor<std::chrono::days>(time);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss clock(time - day);
    std::array<char, 64> name;
    const int length =
        std::snprintf(name.data(), name.size(), "%04d%02u%02uT%02d%02d%02d.%03d-%04u",
                      static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                      static_cast<unsigned>(date.day()), static_cast<int>(clock.hours().count()),
                      static_cast<int>(clock.minutes().count()), static_cast<int>(clock.seconds().count()),
                      static_cast<int>(clock.subseconds().count()), inLast.mSequence);
    return std::string(name.data(), static_cast<std::size_t>(length));
}

// Whether it was created now; false if it existed.
bool MakeFolder(const String& inPath) {
    const std::string path = standin::ToUtf8(inPath);
    std::error_code error;
    const bool isNew = fs::create_directory(standin::PathOf(path), error);
    if (error) {
        standin::ThrowFileError(path, "can't make folder", error);
    }
    return isNew;
}

smart_ptr<I_Location> CreateBackupLocation(smart_ptr<I_Location> inFolder) {
    if (!inFolder) {
        standin::ThrowFileError("", "no folder for backups");
    }
    if (TakeFault(standin::Fault::CreateBackupLocation)) {
        standin::ThrowFileError(standin::ToUtf8(inFolder->get_Path()), "can't make folder: fault on purpose");
    }
    LastBackup& last = GetLastBackup();
    const std::lock_guard lock(last.mMutex);
    while (true) {
        Advance(last);
        smart_ptr<I_Location> location = inFolder->get_ChildLocation(standin::FromUtf8(MakeName(last)));
        // Another process may have taken the name.
        if (MakeFolder(location->get_Path())) {
            last.mPath = location->get_Path();
            return location;
        }
    }
}

} // namespace

smart_ptr<I_Location> PrepareFolder(smart_ptr<I_Location> inParent, const String& inName) {
    if (!inParent) {
        return nullptr;
    }
    smart_ptr<I_Location> folder = inParent->get_ChildLocation(inName);
    const std::string path = standin::ToUtf8(folder->get_Path());
    if (TakeFault(standin::Fault::PrepareFolder)) {
        standin::ThrowFileError(path, "can't make folder: fault on purpose");
    }
    std::error_code error;
    fs::create_directories(standin::PathOf(path), error);
    if (error) {
        standin::ThrowFileError(path, "can't make folder", error);
    }
    return folder;
}

std::optional<smart_ptr<I_Location>> (*gServerBackupLocation)() =
    []() -> std::optional<smart_ptr<I_Location>> { return std::nullopt; };

smart_ptr<I_Location> (*gCreateBackupLocation)(smart_ptr<I_Location>) = CreateBackupLocation;

const char* const gorDuckDB_backup_sfx = "orduckdb_backup";

namespace standin {

smart_ptr<I_Location> get_LastBackupLocation() {
    LastBackup& last = GetLastBackup();
    const std::lock_guard lock(last.mMutex);
    return last.mPath.isEmpty() ? nullptr : MakeLocation(last.mPath);
}

} // namespace standin
} // namespace orkit
