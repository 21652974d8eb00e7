#include "host_standin/procedure_table.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <mutex>

#include "host_standin/faults.h"
#include "host_standin/live_objects.h"
#include "host_standin/procedure_table_values.h"

orlimbara_call_context::orlimbara_call_context() {
    mUntaken.mPrevious = mUntaken.mNext = &mUntaken;
    mErrors.reserve(1);
}

orlimbara_call_context::~orlimbara_call_context() {
    while (mUntaken.mNext != &mUntaken) {
        orkit::standin::ReleaseProcedureValue(mUntaken.mNext);
    }
}

namespace orkit::standin {

namespace detail {

void Require(bool inKept, const char* inWhatIsRequired) noexcept {
    if (!inKept) {
        std::fprintf(stderr, "procedure table: %s\n", inWhatIsRequired);
        std::abort();
    }
}

std::int32_t Refusal() noexcept {
    static constexpr std::array<std::int32_t, 3> kAnswers = {-1, 1, std::numeric_limits<std::int32_t>::min()};
    static std::atomic<std::size_t> refusals = 0;
    return kAnswers[refusals.fetch_add(1) % kAnswers.size()];
}

} // namespace detail

namespace {

using detail::NewValue;
using detail::Require;

struct ProcedureRegistry {
    std::mutex mMutex;
    std::vector<RegisteredProcedure> mProcedures;
};

ProcedureRegistry& GetRegistry() {
    static ProcedureRegistry registry;
    return registry;
}

std::int32_t RegisterProcedure(call_context inContext, const procedure_descriptor* inDescriptor) noexcept {
    Require(inContext != nullptr && inDescriptor != nullptr,
            "register_procedure needs a context and a record");
    Require(inDescriptor->name != nullptr && inDescriptor->signature != nullptr &&
                inDescriptor->description != nullptr && inDescriptor->callback != nullptr,
            "a procedure descriptor has three texts and a callback");
    Require(inDescriptor->zero_32 == 0 && inDescriptor->zero_40 == 0,
            "two words of a procedure descriptor are zero");
    if (detail::TakeFault(Fault::RegisterProcedure)) {
        return detail::Refusal();
    }
    return detail::WithoutThrowing(-1, [&] {
        RegisteredProcedure procedure{
            inDescriptor->name,      inDescriptor->minimum_arguments, inDescriptor->maximum_arguments,
            inDescriptor->signature, inDescriptor->description,       inDescriptor->callback};
        ProcedureRegistry& registry = GetRegistry();
        const std::lock_guard lock(registry.mMutex);
        const auto known =
            std::ranges::find(registry.mProcedures, procedure.name, &RegisteredProcedure::name);
        if (known != registry.mProcedures.end()) {
            *known = std::move(procedure);
        } else {
            registry.mProcedures.push_back(std::move(procedure));
        }
        return 0;
    });
}

std::int32_t ArgumentCount(call_context inContext) noexcept {
    Require(inContext != nullptr, "argument_count needs a context");
    return static_cast<std::int32_t>(inContext->mArguments.size());
}

void ReportError(call_context inContext, const char* inText, std::uint64_t inLength) noexcept {
    Require(inContext != nullptr && inText != nullptr, "report_error needs a context and a text");
    // Short enough not to need memory.
    const char* const kNoMemory = "out of memory";
    detail::WithoutThrowing(0, [&] {
        std::vector<std::string>& errors = inContext->mErrors;
        errors.emplace_back(kNoMemory); // capacity is reserved for the first
        errors.back().assign(inText, inLength);
        return 0;
    });
}

host_value NewBytes(call_context inContext, std::int32_t inType, const char* inBytes, std::uint64_t inLength,
                    std::uint64_t inZero) noexcept {
    Require(inBytes != nullptr || inLength == 0, "new_text and new_binary need their bytes");
    Require(inZero == 0, "the last argument of new_text and new_binary is 0");
    host_value value = NewValue(inContext, inType, 0);
    if (value == nullptr || inLength == 0) {
        return value;
    }
    // A value without its bytes stays in the context, which frees it.
    return detail::WithoutThrowing<host_value>(nullptr, [&] {
        value->mBytes.assign(inBytes, inLength);
        return value;
    });
}

host_value NewBinary(call_context inContext, const char* inBytes, std::uint64_t inLength,
                     std::uint64_t inZero) noexcept {
    return NewBytes(inContext, HOST_TYPE_BINARY, inBytes, inLength, inZero);
}
host_value NewText(call_context inContext, const char* inBytes, std::uint64_t inLength,
                   std::uint64_t inZero) noexcept {
    return NewBytes(inContext, HOST_TYPE_TEXT, inBytes, inLength, inZero);
}
host_value NewBool(call_context inContext, std::uint8_t inValue) noexcept {
    return NewValue(inContext, HOST_TYPE_BOOL, inValue != 0 ? 1 : 0);
}
host_value NewDate(call_context inContext, std::uint32_t inPacked) noexcept {
    return NewValue(inContext, HOST_TYPE_DATE, inPacked);
}
host_value NewDateTime(call_context inContext, std::uint64_t inPacked) noexcept {
    return NewValue(inContext, HOST_TYPE_DATETIME, inPacked);
}
host_value NewDouble(call_context inContext, double inValue) noexcept {
    return NewValue(inContext, HOST_TYPE_DOUBLE, std::bit_cast<std::uint64_t>(inValue));
}
host_value NewInt64(call_context inContext, std::int64_t inValue) noexcept {
    return NewValue(inContext, HOST_TYPE_INT64, static_cast<std::uint64_t>(inValue));
}
host_value NewTime(call_context inContext, std::uint32_t inPacked) noexcept {
    return NewValue(inContext, HOST_TYPE_TIME, inPacked);
}
host_value NewUInt64(call_context inContext, std::uint64_t inValue) noexcept {
    return NewValue(inContext, HOST_TYPE_UINT64, inValue);
}

template <int Index>
void Reserved() noexcept {
    std::fprintf(stderr, "procedure table: entry %d is reserved\n", Index);
    std::abort();
}

/// An entry of the table: each call invalidates the text that was returned last.
template <auto kEntry>
struct Entry;
template <class Answer, class... Arguments, Answer (*kEntry)(Arguments...) noexcept>
struct Entry<kEntry> {
    static Answer Call(Arguments... inArguments) noexcept {
        detail::SpoilText();
        return kEntry(inArguments...);
    }
};

constexpr procedure_api kTable = {
    .reserved_0 = {Reserved<0>, Reserved<1>},
    .register_procedure = Entry<RegisterProcedure>::Call,
    .reserved_3 = {Reserved<3>, Reserved<4>, Reserved<5>},
    .argument_count = Entry<ArgumentCount>::Call,
    .reserved_7 = {Reserved<7>, Reserved<8>, Reserved<9>},
    .report_error = Entry<ReportError>::Call,
    .reserved_11 = {Reserved<11>, Reserved<12>, Reserved<13>, Reserved<14>},
    .make_row_cursor = Entry<detail::MakeRowCursor>::Call,
    .reserved_16 = {Reserved<16>},
    .make_callback_cursor = Entry<detail::MakeCallbackCursor>::Call,
    .reserved_18 = {Reserved<18>, Reserved<19>},
    .new_binary = Entry<NewBinary>::Call,
    .new_bool = Entry<NewBool>::Call,
    .new_date = Entry<NewDate>::Call,
    .new_datetime = Entry<NewDateTime>::Call,
    .new_double = Entry<NewDouble>::Call,
    .new_int64 = Entry<NewInt64>::Call,
    .reserved_26 = {Reserved<26>, Reserved<27>},
    .new_text = Entry<NewText>::Call,
    .reserved_29 = {Reserved<29>},
    .new_time = Entry<NewTime>::Call,
    .new_uint64 = Entry<NewUInt64>::Call,
    .reserved_32 = {Reserved<32>},
    .value_is_null = Entry<detail::ValueIsNull>::Call,
    .value_type = Entry<detail::ValueType>::Call,
    .array_size = Entry<detail::ArraySize>::Call,
    .array_element = Entry<detail::ArrayElement>::Call,
    .reserved_37 = {Reserved<37>, Reserved<38>, Reserved<39>, Reserved<40>, Reserved<41>},
    .value_int64 = Entry<detail::ValueInt64>::Call,
    .reserved_43 = {Reserved<43>},
    .value_uint64 = Entry<detail::ValueUInt64>::Call,
    .value_text = Entry<detail::ValueText>::Call,
};

/// An exception that leaves the module ends the process here.
host_cursor Invoke(procedure_callback inCallback, const ProcedureContext& inContext) noexcept {
    return inCallback(inContext.get_Handle(), inContext.get_ArgumentHandles());
}

} // namespace

ProcedureContext::ProcedureContext(std::vector<ProcedureValue> inArguments)
    : mImp(std::make_unique<orlimbara_call_context>()) {
    mImp->mArguments = std::move(inArguments);
    for (const ProcedureValue& argument : mImp->mArguments) {
        mImp->mArgumentHandles.push_back(argument.get_Handle());
    }
    detail::Count(detail::Counted::ProcedureContexts, +1);
}

ProcedureContext::~ProcedureContext() { detail::Count(detail::Counted::ProcedureContexts, -1); }

const host_value* ProcedureContext::get_ArgumentHandles() const {
    return mImp->mArgumentHandles.empty() ? nullptr : mImp->mArgumentHandles.data();
}

const std::vector<std::string>& ProcedureContext::get_Errors() const { return mImp->mErrors; }

const procedure_api* GetProcedureTable() { return &kTable; }

std::vector<RegisteredProcedure> ListProcedures() {
    ProcedureRegistry& registry = GetRegistry();
    const std::lock_guard lock(registry.mMutex);
    return registry.mProcedures;
}

void ForgetProcedures() {
    ProcedureRegistry& registry = GetRegistry();
    const std::lock_guard lock(registry.mMutex);
    registry.mProcedures.clear();
}

ProcedureAnswer CallProcedure(std::string_view inName, const std::vector<ProcedureValue>& inArguments) {
    const std::vector<RegisteredProcedure> procedures = ListProcedures();
    const auto procedure = std::ranges::find(procedures, inName, &RegisteredProcedure::name);
    if (procedure == procedures.end()) {
        return {{}, {"There is no procedure " + std::string(inName) + "."}};
    }
    const auto count = static_cast<std::int64_t>(inArguments.size());
    if (count < procedure->minimumArguments || count > procedure->maximumArguments) {
        return {{}, {"Wrong number of arguments: " + procedure->name + "(" + procedure->signature + ")."}};
    }
    return CallUnchecked(procedure->callback, inArguments);
}

ProcedureAnswer CallUnchecked(procedure_callback inCallback, const std::vector<ProcedureValue>& inArguments) {
    const ProcedureContext context(inArguments);
    ProcedureAnswer answer;
    answer.cursor = ProcedureCursor(Invoke(inCallback, context));
    answer.errors = context.get_Errors();
    Require(answer.errors.size() == (answer.cursor ? 0 : 1),
            "a procedure gives a cursor, or reports exactly one error");
    return answer;
}

} // namespace orkit::standin
