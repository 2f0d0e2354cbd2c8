/// \file
/// IFetcher: how the update channel reaches a repository. The library brings one for the
/// system (libcurl on Linux, WinHTTP on Windows); a host that needs its own proxy, its own
/// authentication or its own network stack hands the channel a fetcher of its own.
#pragma once

#include "OvxComponent/platform/ovx_export.h"
#include "OvxComponent/platform/result.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace OvxUpdate {

/// What one download may cost. A response over any of these is cut, and the fetch fails
/// with the limit it broke.
struct FetchLimits {
    /// The most bytes the body may have; a longer body, or one announced longer, is cut.
    std::uint64_t maxBytes = 0;
    /// The longest wait for a connection.
    std::chrono::milliseconds connectTimeout{10'000};
    /// The longest time without a single byte received.
    std::chrono::milliseconds stallTimeout{15'000};
    /// The longest the whole download may take: a body that drips in slowly is cut here.
    std::chrono::milliseconds totalTimeout{120'000};
};

/// Takes each part of a body as it arrives; a failure stops the download.
using BodySink = std::function<OvxUtils::Result<void>(std::string_view part)>;

/// Fetches a URL for the update channel. Fetch is called from the channel's own thread,
/// one fetch at a time; Cancel from any thread.
class IFetcher {
public:
    virtual ~IFetcher() = default;
    /// Fetches url within limits. The body of a 200 answer goes to sink part by part;
    /// the body of any other answer is not delivered.
    /// \param url The address, http or https.
    /// \param limits What the download may cost.
    /// \param sink Takes the body of a 200 answer.
    /// \return The HTTP status of the answer, or the failure (no connection, a reset, a
    /// broken limit, the sink's own failure).
    virtual OvxUtils::Result<unsigned> Fetch(const std::string& url, const FetchLimits& limits,
                                             const BodySink& sink) = 0;
    /// Asks a fetch in progress to stop soon, and every later one at once: the channel
    /// calls it from another thread when it stops, so that a host that closes is not held
    /// up by a slow server. A fetch so stopped fails.
    virtual void Cancel() = 0;
};

/// The system's fetcher: libcurl on Linux, WinHTTP on Windows.
/// \return A new fetcher.
OVX_API std::unique_ptr<IFetcher> MakeSystemFetcher();

}  // namespace OvxUpdate
