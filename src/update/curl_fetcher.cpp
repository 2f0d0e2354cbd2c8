// The system's fetcher on Linux: libcurl, one easy handle per fetcher so that a refresh's
// requests share a connection.
#include "OvxComponent/update/fetcher.h"

#include "update/update_error.h"

#include <curl/curl.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <optional>

namespace OvxUpdate {

namespace {

using OvxUtils::Result;

// libcurl wants its global set-up once per process before any handle exists.
void InitializeCurlOnce() {
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

class CurlFetcher final : public IFetcher {
public:
    CurlFetcher() : m_handle(curl_easy_init()) {}
    ~CurlFetcher() override {
        if (m_handle) curl_easy_cleanup(m_handle);
    }
    CurlFetcher(const CurlFetcher&) = delete;
    CurlFetcher& operator=(const CurlFetcher&) = delete;

    void Cancel() override { m_cancelled.store(true); }

    Result<unsigned> Fetch(const std::string& url, const FetchLimits& limits, const BodySink& sink) override {
        if (!m_handle) return Refused("cannot download " + Named(url) + ": libcurl did not start");
        if (m_cancelled.load()) return Refused("download of " + Named(url) + " cancelled");
        Transfer transfer{m_handle, &limits, &sink, 0, std::nullopt, false};
        curl_easy_reset(m_handle);
        curl_easy_setopt(m_handle, CURLOPT_URL, url.c_str());
        curl_easy_setopt(m_handle, CURLOPT_PROTOCOLS_STR, "http,https");
        curl_easy_setopt(m_handle, CURLOPT_NOSIGNAL, 1L);
        curl_easy_setopt(m_handle, CURLOPT_FOLLOWLOCATION, 0L);
        curl_easy_setopt(m_handle, CURLOPT_CONNECTTIMEOUT_MS,
                         static_cast<long>(limits.connectTimeout.count()));
        curl_easy_setopt(m_handle, CURLOPT_TIMEOUT_MS, static_cast<long>(limits.totalTimeout.count()));
        // Fewer than one byte a second for the stall time: the server has stopped sending.
        curl_easy_setopt(m_handle, CURLOPT_LOW_SPEED_LIMIT, 1L);
        curl_easy_setopt(m_handle, CURLOPT_LOW_SPEED_TIME,
                         std::max(1L, static_cast<long>(limits.stallTimeout.count() / 1000)));
        // A body announced longer than allowed is refused before it is read.
        curl_easy_setopt(m_handle, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(limits.maxBytes));
        curl_easy_setopt(m_handle, CURLOPT_WRITEFUNCTION, &Transfer::OnBody);
        curl_easy_setopt(m_handle, CURLOPT_WRITEDATA, &transfer);
        // Large parts: fewer writes and hash calls for a package of many megabytes.
        curl_easy_setopt(m_handle, CURLOPT_BUFFERSIZE, 512L * 1024);
        // libcurl asks about once a second, also while it waits for a byte.
        curl_easy_setopt(m_handle, CURLOPT_NOPROGRESS, 0L);
        curl_easy_setopt(m_handle, CURLOPT_XFERINFOFUNCTION, &CurlFetcher::OnProgress);
        curl_easy_setopt(m_handle, CURLOPT_XFERINFODATA, &m_cancelled);
        CURLcode code = curl_easy_perform(m_handle);
        if (transfer.failure) {
            transfer.failure->text =
                u"download of " + ::CString::FromUtf8(Named(url)) + u" failed: " + transfer.failure->text;
            return std::move(*transfer.failure);
        }
        if (code == CURLE_ABORTED_BY_CALLBACK) return Refused("download of " + Named(url) + " cancelled");
        if (code != CURLE_OK && !transfer.bodyDropped) {
            std::string reason = curl_easy_strerror(code);
            if (code == CURLE_OPERATION_TIMEDOUT) reason = "too slow: " + reason;
            if (code == CURLE_COULDNT_CONNECT || code == CURLE_COULDNT_RESOLVE_HOST ||
                code == CURLE_COULDNT_RESOLVE_PROXY)
                reason = "server unreachable: " + reason;
            if (code == CURLE_FILESIZE_EXCEEDED)
                reason = "response too long: announced as more than the " + std::to_string(limits.maxBytes) +
                         " bytes allowed";
            return Refused("download of " + Named(url) + " failed: " + reason);
        }
        return transfer.Status();
    }

private:
    struct Transfer {
        CURL* handle;
        const FetchLimits* limits;
        const BodySink* sink;
        std::uint64_t received = 0;
        std::optional<OvxUtils::Error> failure;
        bool bodyDropped = false;

        unsigned Status() const {
            long status = 0;
            curl_easy_getinfo(handle, CURLINFO_RESPONSE_CODE, &status);
            return static_cast<unsigned>(status);
        }

        // Only the body of a 200 answer is the file; at another answer the transfer stops.
        static std::size_t OnBody(char* data, std::size_t, std::size_t count, void* user) {
            auto& transfer = *static_cast<Transfer*>(user);
            if (transfer.Status() != 200) {
                transfer.bodyDropped = true;
                return 0;
            }
            transfer.received += count;
            if (transfer.received > transfer.limits->maxBytes) {
                transfer.failure = Refused("response too long: more than the " +
                                           std::to_string(transfer.limits->maxBytes) + " bytes allowed");
                return 0;
            }
            if (auto taken = (*transfer.sink)(std::string_view(data, count)); !taken) {
                transfer.failure = taken.TakeError();
                return 0;
            }
            return count;
        }
    };

    static int OnProgress(void* cancelled, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
        return static_cast<std::atomic<bool>*>(cancelled)->load() ? 1 : 0;
    }

    CURL* m_handle;
    std::atomic<bool> m_cancelled{false};
};

}  // namespace

std::unique_ptr<IFetcher> MakeSystemFetcher() {
    InitializeCurlOnce();
    return std::make_unique<CurlFetcher>();
}

}  // namespace OvxUpdate
