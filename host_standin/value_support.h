/// @file
/// What the value classes share.
#pragma once

#include <cstdint>
#include <new>
#include <string_view>
#include <utility>

#include "host/value.h"
#include "host_standin/errors.h"
#include "host_standin/faults.h"

namespace orkit::orsql::detail {

/// Makes a value, unless this creation must fail. @return the value, without a reference.
template <class Value, class... Arguments>
I_Value* NewValue(Arguments&&... inArguments) {
    if (standin::detail::TakeFault(standin::Fault::ValueCreation)) {
        throw std::bad_alloc();
    }
    return new Value(std::forward<Arguments>(inArguments)...);
}

/// Returns a text through `outText`, truncated to `inMaxLength` code units; -1 means no limit.
void GiveText(std::u16string_view inText, std::int32_t inMaxLength, String& outText);
void GiveText(std::string_view inAscii, std::int32_t inMaxLength, String& outText);

inline std::u16string_view ViewOf(const String& inText) noexcept {
    return {inText.c_str(), inText.get_Length()};
}
inline String ToString(std::u16string_view inText) {
    return String(inText.data(), static_cast<std::ptrdiff_t>(inText.size()));
}

} // namespace orkit::orsql::detail
