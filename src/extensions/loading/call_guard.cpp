// CallGuard: the note of the call in flight, and reading it back from a marker.
#include "extensions/loading/call_guard.h"

#include "OvxComponent/platform/result.h"
#include "extensions/log/log_timestamp.h"

#include <algorithm>
#include <atomic>
#include <cstring>

namespace OvxComponent {

namespace {

// The note's layout: a tag, whether a call is in flight, the extension's document ID, the
// call and when it began; little-endian as every platform built here is.
constexpr std::uint32_t kTag = 0x4C4C4143;  // "CALL"
constexpr std::size_t kTagAt = 0, kStateAt = 4, kGuidAt = 8, kCallAt = 24, kStartedAt = 32, kEnd = 40;
static_assert(kEnd <= CallGuard::kMemorySize);

template <class T>
void Put(std::span<unsigned char> memory, std::size_t at, const T& value) {
    std::memcpy(memory.data() + at, &value, sizeof value);
}

template <class T>
T Get(std::string_view bytes, std::size_t at) {
    T value{};
    std::memcpy(&value, bytes.data() + at, sizeof value);
    return value;
}

}  // namespace

CString CallText(ExtensionCall call) {
    switch (call) {
        case ExtensionCall::Load: return u"load";
        case ExtensionCall::Unload: return u"unload";
        case ExtensionCall::UiVisit: return u"UI visit";
        case ExtensionCall::ResourceVisit: return u"resource visit";
    }
    return u"call";
}

void CallGuard::Attach(std::span<unsigned char> memory) {
    m_memory = memory.size() >= kMemorySize ? memory : std::span<unsigned char>();
    if (!m_memory.empty()) Write(std::nullopt);
}

CallGuard::Scope::Scope(CallGuard& guard, const std::optional<InFlightCall>& call)
    : m_guard(guard), m_outer(guard.Current()), m_call(call), m_began(std::chrono::steady_clock::now()) {
    if (call) m_guard.Write(call);
}

CallGuard::Scope::~Scope() {
    if (m_call) m_guard.Count(*m_call, std::chrono::steady_clock::now() - m_began);
    m_guard.Write(m_outer);
}

CallGuard::Scope CallGuard::Enter(const std::optional<OvxUtils::Guid>& documentId, ExtensionCall call) {
    if (!documentId) return Scope(*this, std::nullopt);
    return Scope(*this, InFlightCall{*documentId, call, LogClockNow()});
}

void CallGuard::Count(const InFlightCall& call, std::chrono::nanoseconds took) {
    CallTimes::Total& total = m_times[call.documentId].byCall[call.call];
    ++total.calls;
    total.time += took;
    total.longest = std::max(total.longest, took);
    if (m_budget.count() > 0 && took > m_budget) {
        using std::chrono::duration_cast;
        using std::chrono::milliseconds;
        m_log.WriteByGuid(ExtensionLogLevel::Warning, call.documentId,
                          u"the " + CallText(call.call) + u" call took " +
                              OvxUtils::DecimalText(static_cast<unsigned long long>(duration_cast<milliseconds>(took).count())) +
                              u" ms, over the host's budget of " +
                              OvxUtils::DecimalText(static_cast<unsigned long long>(duration_cast<milliseconds>(m_budget).count())) +
                              u" ms");
    }
}

void CallGuard::Write(const std::optional<InFlightCall>& call) {
    if (m_memory.empty()) return;
    // The state goes last when a call begins and first when it ends, so that a process that
    // dies between two stores leaves either no call or a whole one.
    if (!call) {
        Put(m_memory, kStateAt, std::uint32_t{0});
        return;
    }
    Put(m_memory, kStateAt, std::uint32_t{0});
    std::atomic_signal_fence(std::memory_order_seq_cst);
    Put(m_memory, kTagAt, kTag);
    Put(m_memory, kGuidAt, call->documentId);
    Put(m_memory, kCallAt, static_cast<std::uint32_t>(call->call));
    Put(m_memory, kStartedAt, call->started);
    std::atomic_signal_fence(std::memory_order_seq_cst);
    Put(m_memory, kStateAt, std::uint32_t{1});
}

std::optional<InFlightCall> CallGuard::Current() const {
    if (m_memory.empty()) return std::nullopt;
    return InFlight({reinterpret_cast<const char*>(m_memory.data()), m_memory.size()});
}

std::optional<InFlightCall> CallGuard::InFlight(std::string_view marker) {
    if (marker.size() < kEnd || Get<std::uint32_t>(marker, kTagAt) != kTag || Get<std::uint32_t>(marker, kStateAt) != 1) {
        return std::nullopt;
    }
    const auto call = Get<std::uint32_t>(marker, kCallAt);
    if (call < static_cast<std::uint32_t>(ExtensionCall::Load) || call > static_cast<std::uint32_t>(ExtensionCall::ResourceVisit)) {
        return std::nullopt;
    }
    return InFlightCall{Get<OvxUtils::Guid>(marker, kGuidAt), static_cast<ExtensionCall>(call),
                        Get<std::int64_t>(marker, kStartedAt)};
}

}  // namespace OvxComponent
