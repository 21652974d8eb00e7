/// @file
/// How many rows of a chunk are worth converting at once.
#pragma once

#include <algorithm>
#include <cstddef>

#include <duckdb.h>

#include "result/cell_reader.h"

namespace orkit::orsql {

/// The run of rows that a reader has converted. Converting many rows at once costs less per row, but is
/// wasted on rows that aren't read. So the first run is one row, and each next run is eight times as long as
/// the previous one if at least half of that was read; otherwise it is one row again. The length is kept from
/// chunk to chunk: a caller that reads everything soon gets whole chunks, and one that reads a few rows pays
/// only for those. A caller that reads every cell begins with 64 rows. Long rows make short runs.
class ConversionWindow {
public:
    explicit ConversionWindow(ChunkAccess inAccess) noexcept
        : mLength(inAccess == ChunkAccess::EveryCell ? kGrowth : 0) {}

    /// Counts a read. @return whether the row is in the run.
    bool Take(idx_t inRow) noexcept {
        ++mReads;
        return inRow - mFirst < mHeld;
    }

    /// Starts the next run at the row that was last asked for.
    /// @param inChunkSize rows of the chunk, more than `inRow`.
    void MoveTo(idx_t inRow, idx_t inChunkSize) noexcept {
        const idx_t readsOfLast = mReads - 1;
        const bool wasWorth = 2 * readsOfLast >= mCount;
        mLength = wasWorth ? std::clamp<idx_t>(mLength * kGrowth, 1, kLongest) : 1;
        if (mCount == 1) {
            mBytesPerRow /= 2; // single rows aren't measured: try two again after some of them
        }
        mLength = std::min(mLength, std::max<idx_t>(kMostBytes / std::max<idx_t>(mBytesPerRow, 1), 1));
        mReads = 1;
        mFirst = inRow;
        mCount = std::min(mLength, inChunkSize - inRow);
        mHeld = mCount;
    }

    /// Sets how many bytes the run took, which also limits the next one.
    void put_Bytes(std::size_t inBytes) noexcept { mBytesPerRow = inBytes / std::max<idx_t>(mCount, 1); }

    /// Drops what was converted, but keeps the length of the run.
    void Close() noexcept { mHeld = 0; }

    idx_t get_First() const noexcept { return mFirst; }
    idx_t get_Count() const noexcept { return mCount; }

private:
    static constexpr idx_t kGrowth = 8;
    static constexpr idx_t kLongest = idx_t{1} << 20;   // more than any chunk has
    static constexpr idx_t kMostBytes = idx_t{1} << 20; // of a run, if its rows are as long as the last run's

    idx_t mFirst = 0;
    idx_t mHeld = 0;        // rows that can be read; mCount or, after Close, 0
    idx_t mCount = 0;       // of the last run
    idx_t mLength;          // of the last run, if its chunk was long enough
    idx_t mReads = 0;       // in the last run
    idx_t mBytesPerRow = 0; // of the last run
};

} // namespace orkit::orsql
