#include "host_standin/live_objects.h"

#include "host/arrays.h"
#include "host_standin/object_counts.h"

namespace orkit {

namespace standin {

namespace detail {

constinit ObjectCounter gValueCounter;
constinit ObjectCounter gLocationCounter;
constinit ObjectCounter gFileCounter;
constinit ObjectCounter gArrayCounter;
constinit ObjectCounter gForeignPluginCounter;
constinit ObjectCounter gInit3Counter;

} // namespace detail

LiveObjects CountLiveObjects() {
    return {.mValues = detail::gValueCounter.get(),
            .mLocations = detail::gLocationCounter.get(),
            .mFiles = detail::gFileCounter.get(),
            .mArrays = detail::gArrayCounter.get(),
            .mForeignPlugins = detail::gForeignPluginCounter.get()};
}

std::uint64_t get_Init3Count() { return static_cast<std::uint64_t>(detail::gInit3Counter.get()); }

} // namespace standin

void CountLiveArray(int inChange) noexcept { standin::detail::gArrayCounter.Add(inChange); }

} // namespace orkit
