#include "host_standin/faults.h"

namespace orkit::standin {

namespace detail {

constinit std::array<std::atomic<std::uint32_t>, kFaultCount> gCallsToFault{};

bool CountDown(std::atomic<std::uint32_t>& ioCallsToFault) noexcept {
    std::uint32_t left = ioCallsToFault.load();
    while (left != 0) {
        if (ioCallsToFault.compare_exchange_weak(left, left - 1)) {
            return left == 1;
        }
    }
    return false;
}

} // namespace detail

void FailCall(Fault inFault, std::uint32_t inNth) {
    detail::gCallsToFault[static_cast<std::size_t>(inFault)].store(inNth);
}

void ClearFaults() {
    for (auto& left : detail::gCallsToFault) {
        left.store(0);
    }
    put_HasEngineLock(true);
}

} // namespace orkit::standin
