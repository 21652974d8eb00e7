#include "host_standin/live_objects.h"

#include <mutex>
#include <utility>

#include "host/arrays.h"
#include "host/runtime.h"
#include "host/unknown.h"
#include "host_standin/thread_objects.h"

namespace orkit {

namespace standin {

using detail::Count;
using detail::Counted;

constinit thread_local detail::Counters* detail::gThreadCounters = nullptr;

namespace {

struct AllCounters {
    std::mutex mMutex;
    class ThreadCounters* mFirst = nullptr; // of the threads that count; guarded by mMutex
    detail::Counters mOthers{};             // what ended threads counted
};

/// Never destroyed: threads may outlive static objects. (A mutex of Windows can't be initialised statically.)
AllCounters& All() noexcept {
    static AllCounters& all = *new AllCounters;
    return all;
}

/// The counters of a thread, until it ends.
class ThreadCounters : noncopyable {
public:
    ThreadCounters() noexcept {
        const std::lock_guard lock(All().mMutex);
        mNext = std::exchange(All().mFirst, this);
        detail::gThreadCounters = &mCounters;
    }
    ~ThreadCounters() {
        const std::lock_guard lock(All().mMutex);
        detail::gThreadCounters = nullptr;
        for (std::size_t kind = 0; kind < mCounters.size(); ++kind) {
            All().mOthers[kind].fetch_add(mCounters[kind].load());
        }
        ThreadCounters** link = &All().mFirst;
        while (*link != this) {
            link = &(*link)->mNext;
        }
        *link = mNext;
    }

    static std::int64_t Sum(std::size_t inKind) noexcept {
        const std::lock_guard lock(All().mMutex);
        std::int64_t sum = All().mOthers[inKind].load();
        for (const ThreadCounters* thread = All().mFirst; thread; thread = thread->mNext) {
            sum += thread->mCounters[inKind].load(std::memory_order_relaxed);
        }
        return sum;
    }

private:
    detail::Counters mCounters{};
    ThreadCounters* mNext;
};

std::int64_t CountOf(Counted inKind) noexcept {
    return ThreadCounters::Sum(static_cast<std::size_t>(inKind));
}

} // namespace

void detail::CountApart(Counted inKind, std::int64_t inChange) noexcept {
    thread_local bool isCounting = false;
    if (!std::exchange(isCounting, true)) {
        ThreadObject<ThreadCounters>();
        Count(inKind, inChange);
    } else { // the thread is ending, its counters are gone
        All().mOthers[static_cast<std::size_t>(inKind)].fetch_add(inChange);
    }
}

LiveObjects CountLiveObjects() {
    return {.mValues = CountOf(Counted::Values),
            .mLocations = CountOf(Counted::Locations),
            .mFiles = CountOf(Counted::Files),
            .mArrays = CountOf(Counted::Arrays),
            .mForeignPlugins = CountOf(Counted::ForeignPlugins),
            .mProcedureValues = CountOf(Counted::ProcedureValues),
            .mProcedureCursors = CountOf(Counted::ProcedureCursors),
            .mProcedureContexts = CountOf(Counted::ProcedureContexts)};
}

std::uint64_t get_Init3Count() { return static_cast<std::uint64_t>(CountOf(Counted::Init3Calls)); }

} // namespace standin

void OrlimbaraInit3() { standin::Count(standin::Counted::Init3Calls, +1); }
void CountLiveArray(int inChange) noexcept { standin::Count(standin::Counted::Arrays, inChange); }

void* InterfaceTableQueryInterface(void* inObject, const INTERFACE_ITEM* inTable,
                                   std::uint32_t inInterfaceId) {
    for (const INTERFACE_ITEM* row = inTable; row->mInterfaceId != interface_id::kEnd; ++row) {
        if (row->mInterfaceId == inInterfaceId) {
            return row->mCast(inObject);
        }
    }
    return nullptr;
}

ForeignPlugin_imp::ForeignPlugin_imp() { standin::Count(standin::Counted::ForeignPlugins, +1); }

ForeignPlugin_imp::~ForeignPlugin_imp() {
    if (mFinalize) {
        mFinalize(mBackRef);
    }
    standin::Count(standin::Counted::ForeignPlugins, -1);
}

void* ForeignPlugin_imp::get_Xtra() const { return mXtra; }
void ForeignPlugin_imp::put_Xtra(void* inXtra) { mXtra = inXtra; }
void* ForeignPlugin_imp::get_BackRef() const { return mBackRef; }
void ForeignPlugin_imp::put_BackRef(void* inBackRef) { mBackRef = inBackRef; }
void ForeignPlugin_imp::put_Finalize(Finalize inFinalize) { mFinalize = inFinalize; }

} // namespace orkit
