// CallGuard: which call into an extension is in flight, written where it outlives the
// process. Before each call that the manager makes on an extension's behalf (the
// installer's load and unload, the visits of its UI and resource files) the guard notes the
// extension, the call and when it began, and clears the note when the call returns, also
// by an exception. The memory is the session marker's (HeldFile::Map): when the process
// dies in the call, by a crash or a kill, the note stays in the marker that it leaves
// behind, and the next start knows which extension took the host down.
//
// A note costs a few stores to memory and no system call. Without memory (before the
// session began) the guard notes nothing. The guard also times each call, per extension,
// for the host to read (ExtensionTimings) and to hold against a budget. Used on the main
// thread only.
#pragma once

#include "OvxComponent/platform/cstring.h"
#include "extensions/log/extension_log.h"
#include "OvxComponent/platform/guid.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string_view>

namespace OvxComponent {

// The calls the manager makes into an extension; the numbers are kept in markers.
enum class ExtensionCall : std::uint32_t { Load = 1, Unload = 2, UiVisit = 3, ResourceVisit = 4 };
// "load", "unload", "UI visit", "resource visit".
CString CallText(ExtensionCall call);

// A call that was in flight when its process ended.
struct InFlightCall {
    OvxUtils::Guid documentId;
    ExtensionCall call = ExtensionCall::Load;
    std::int64_t started = 0;  // 100 ns ticks since 1970, as log entries have them
};

// How long the calls into one extension took, by call.
struct CallTimes {
    struct Total {
        int calls = 0;
        std::chrono::nanoseconds time{0};
        std::chrono::nanoseconds longest{0};
    };
    std::map<ExtensionCall, Total> byCall;
};

class CallGuard {
public:
    // Times every call it notes; a call over the budget (none at first) is logged as a
    // Warning under its extension.
    explicit CallGuard(ExtensionLog& log) : m_log(log) {}
    CallGuard(const CallGuard&) = delete;
    CallGuard& operator=(const CallGuard&) = delete;

    // The bytes the guard needs in the memory it writes to.
    static constexpr std::size_t kMemorySize = 64;

    // Memory of at least kMemorySize bytes that outlives the process; empty to note nothing.
    void Attach(std::span<unsigned char> memory);

    // The note of one call, taken back when it ends: the note that was there before (of an
    // outer call, or none) is there again.
    class [[nodiscard]] Scope {
    public:
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;
        ~Scope();

    private:
        friend class CallGuard;
        Scope(CallGuard& guard, const std::optional<InFlightCall>& call);
        CallGuard& m_guard;
        std::optional<InFlightCall> m_outer;
        std::optional<InFlightCall> m_call;
        std::chrono::steady_clock::time_point m_began;
    };
    // Without a document ID (a call for several extensions) nothing new is noted.
    Scope Enter(const std::optional<OvxUtils::Guid>& documentId, ExtensionCall call);

    // The call in flight in the bytes of a marker; nothing when none was.
    static std::optional<InFlightCall> InFlight(std::string_view marker);

    // How long the calls into each extension took in this session.
    const std::map<OvxUtils::Guid, CallTimes>& Times() const { return m_times; }
    // A call that takes longer is logged as a Warning; zero for no budget.
    void SetBudget(std::chrono::nanoseconds budget) { m_budget = budget; }

private:
    void Write(const std::optional<InFlightCall>& call);
    std::optional<InFlightCall> Current() const;
    void Count(const InFlightCall& call, std::chrono::nanoseconds took);

    ExtensionLog& m_log;
    std::span<unsigned char> m_memory;
    std::map<OvxUtils::Guid, CallTimes> m_times;
    std::chrono::nanoseconds m_budget{0};
};

}  // namespace OvxComponent
