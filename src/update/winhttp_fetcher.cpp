// The system's fetcher on Windows: WinHTTP, with one session for the fetcher's life, so that
// its connections stay open from one fetch to the next.
#include "OvxComponent/update/fetcher.h"

#include "update/update_error.h"

#include <windows.h>

#include <winhttp.h>

#include <algorithm>
#include <climits>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

namespace OvxUpdate {

namespace {

using OvxUtils::DecimalText;
using OvxUtils::Error;
using OvxUtils::Result;
using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr const wchar_t* kUserAgent = L"OvxComponent";
constexpr DWORD kReadSize = 64 * 1024;

struct CloseInternet {
    void operator()(HINTERNET handle) const { ::WinHttpCloseHandle(handle); }
};
using UniqueInternet = std::unique_ptr<void, CloseInternet>;

// WinHTTP's own error codes have no words in the system's message table.
CString Reason(DWORD code) {
    switch (code) {
        case ERROR_WINHTTP_TIMEOUT:
        case WSAETIMEDOUT: return u"the server did not answer in time";
        case ERROR_WINHTTP_NAME_NOT_RESOLVED: return u"server unreachable: its name could not be resolved";
        case ERROR_WINHTTP_CANNOT_CONNECT: return u"server unreachable: no connection could be made";
        case ERROR_WINHTTP_CONNECTION_ERROR: return u"the connection was reset or broken";
        case ERROR_WINHTTP_SECURE_CHANNEL_ERROR:
        case ERROR_WINHTTP_SECURE_FAILURE: return u"the secure connection or the server's certificate failed";
        case ERROR_WINHTTP_INVALID_SERVER_RESPONSE: return u"the server's answer is not valid HTTP";
        default: return OvxUtils::SystemErrorText(code);
    }
}

// Wine reports a receive that timed out as the socket's WSAETIMEDOUT.
bool IsTimeout(DWORD code) { return code == ERROR_WINHTTP_TIMEOUT || code == WSAETIMEDOUT; }

CString Duration(milliseconds time) {
    return DecimalText(static_cast<unsigned long long>(time.count())) + u" ms";
}

// A limit as WinHTTP takes it, where 0 would mean none.
int TimeoutValue(milliseconds time) {
    return static_cast<int>(std::clamp<milliseconds::rep>(time.count(), 1, INT_MAX));
}

bool SetNumber(HINTERNET handle, DWORD option, DWORD value) {
    return ::WinHttpSetOption(handle, option, &value, sizeof value) != FALSE;
}

// A download's failure texts: "download of "url" failed: reason".
class Failures {
public:
    explicit Failures(const std::string& url) : m_what(u"download of " + CString::FromUtf8(Named(url))) {}
    Error Because(const CString& reason, DWORD code = 0) const {
        return Error{m_what + u" failed: " + reason, code};
    }
    Error System(DWORD code) const { return Because(Reason(code), code); }
    Error Cancelled() const { return Error{m_what + u" cancelled"}; }

private:
    CString m_what;
};

class WinHttpFetcher final : public IFetcher {
public:
    Result<unsigned> Fetch(const std::string& url, const FetchLimits& limits, const BodySink& sink) override;
    void Cancel() override;

private:
    Result<HINTERNET> Connection(const std::wstring& host, INTERNET_PORT port, const Failures& failed);
    Result<unsigned> Exchange(const FetchLimits& limits, const BodySink& sink, const Failures& failed,
                              Clock::time_point start);
    Result<std::optional<std::uint64_t>> ContentLength(const Failures& failed);
    // Run call on the request in progress and give its error, 0 on success. A call that
    // cannot wait runs under m_lock, so that it never gets a handle Cancel has closed; one
    // that can wait runs outside it, so that Cancel can close the request to end the wait.
    template <class Call>
    DWORD OnRequest(Call call);
    template <class Call>
    DWORD WaitOnRequest(Call call);
    bool IsCancelled();
    void CloseRequest();

    UniqueInternet m_session;
    // The last server's connection, kept for the next fetch from the same server.
    UniqueInternet m_connection;
    std::wstring m_host;
    INTERNET_PORT m_port = 0;

    std::mutex m_lock;
    // The request in progress. Closing it is how WinHTTP stops a call that waits, so
    // whichever of Fetch and Cancel comes first closes it.
    HINTERNET m_request = nullptr;
    bool m_cancelled = false;
};

template <class Call>
DWORD WinHttpFetcher::OnRequest(Call call) {
    const std::lock_guard lock(m_lock);
    if (m_request == nullptr) return ERROR_OPERATION_ABORTED;
    return call(m_request) ? 0 : ::GetLastError();
}

template <class Call>
DWORD WinHttpFetcher::WaitOnRequest(Call call) {
    HINTERNET request = nullptr;
    {
        const std::lock_guard lock(m_lock);
        request = m_request;
    }
    if (request == nullptr) return ERROR_OPERATION_ABORTED;
    return call(request) ? 0 : ::GetLastError();
}

bool WinHttpFetcher::IsCancelled() {
    const std::lock_guard lock(m_lock);
    return m_cancelled;
}

void WinHttpFetcher::CloseRequest() {
    const std::lock_guard lock(m_lock);
    if (m_request != nullptr) ::WinHttpCloseHandle(std::exchange(m_request, nullptr));
}

void WinHttpFetcher::Cancel() {
    {
        const std::lock_guard lock(m_lock);
        m_cancelled = true;
    }
    CloseRequest();
}

Result<HINTERNET> WinHttpFetcher::Connection(const std::wstring& host, INTERNET_PORT port,
                                             const Failures& failed) {
    if (!m_session) {
        HINTERNET session = ::WinHttpOpen(kUserAgent, WINHTTP_ACCESS_TYPE_AUTOMATIC_PROXY,
                                          WINHTTP_NO_PROXY_NAME, WINHTTP_NO_PROXY_BYPASS, 0);
        // Before Windows 8.1 there is no automatic proxy: the system's WinHTTP proxy then.
        if (session == nullptr) {
            session = ::WinHttpOpen(kUserAgent, WINHTTP_ACCESS_TYPE_DEFAULT_PROXY, WINHTTP_NO_PROXY_NAME,
                                    WINHTTP_NO_PROXY_BYPASS, 0);
        }
        if (session == nullptr) {
            const DWORD error = ::GetLastError();
            return failed.Because(u"WinHTTP cannot start: " + Reason(error), error);
        }
        m_session.reset(session);
        // Windows 7 offers TLS 1.2 only when asked; TLS 1.3 is known from Windows 11 on.
        if (!SetNumber(session, WINHTTP_OPTION_SECURE_PROTOCOLS,
                       WINHTTP_FLAG_SECURE_PROTOCOL_TLS1_2 | WINHTTP_FLAG_SECURE_PROTOCOL_TLS1_3)) {
            SetNumber(session, WINHTTP_OPTION_SECURE_PROTOCOLS, WINHTTP_FLAG_SECURE_PROTOCOL_TLS1_2);
        }
    }
    if (!m_connection || m_host != host || m_port != port) {
        m_connection.reset(::WinHttpConnect(m_session.get(), host.c_str(), port, 0));
        if (!m_connection) return failed.System(::GetLastError());
        m_host = host;
        m_port = port;
    }
    return m_connection.get();
}

Result<unsigned> WinHttpFetcher::Fetch(const std::string& url, const FetchLimits& limits,
                                       const BodySink& sink) {
    const Clock::time_point start = Clock::now();
    const Failures failed(url);
    if (IsCancelled()) return failed.Cancelled();
    const CString wideUrl = CString::FromUtf8(url);
    URL_COMPONENTS parts{};
    parts.dwStructSize = sizeof parts;
    parts.dwHostNameLength = parts.dwUrlPathLength = parts.dwExtraInfoLength = static_cast<DWORD>(-1);
    if (!::WinHttpCrackUrl(wideUrl.GetString(), static_cast<DWORD>(wideUrl.GetLength()), 0, &parts) ||
        (parts.nScheme != INTERNET_SCHEME_HTTP && parts.nScheme != INTERNET_SCHEME_HTTPS)) {
        return failed.Because(u"it is not an http or https address");
    }
    std::wstring path(parts.lpszUrlPath, parts.dwUrlPathLength);
    const std::wstring_view query(parts.lpszExtraInfo, parts.dwExtraInfoLength);
    path += query.substr(0, query.find(L'#'));  // the fragment is the client's own
    if (path.empty()) path = L"/";

    Result<HINTERNET> connection =
        Connection(std::wstring(parts.lpszHostName, parts.dwHostNameLength), parts.nPort, failed);
    if (!connection) return connection.TakeError();
    HINTERNET request = ::WinHttpOpenRequest(
        *connection, L"GET", path.c_str(), nullptr, WINHTTP_NO_REFERER, WINHTTP_DEFAULT_ACCEPT_TYPES,
        parts.nScheme == INTERNET_SCHEME_HTTPS ? WINHTTP_FLAG_SECURE : 0);
    if (request == nullptr) return failed.System(::GetLastError());
    {
        const std::lock_guard lock(m_lock);
        if (m_cancelled) {
            ::WinHttpCloseHandle(request);
            return failed.Cancelled();
        }
        m_request = request;
    }
    Result<unsigned> status = Exchange(limits, sink, failed, start);
    CloseRequest();
    if (IsCancelled()) return failed.Cancelled();
    return status;
}

Result<unsigned> WinHttpFetcher::Exchange(const FetchLimits& limits, const BodySink& sink,
                                          const Failures& failed, Clock::time_point start) {
    const int connect = TimeoutValue(limits.connectTimeout);
    const int stall = TimeoutValue(std::min(limits.stallTimeout, limits.totalTimeout));
    DWORD error = OnRequest([&](HINTERNET request) {
        // As on Linux, a redirection is the caller's answer, not followed.
        return ::WinHttpSetTimeouts(request, connect, connect, stall, stall) &&
               SetNumber(request, WINHTTP_OPTION_RECEIVE_RESPONSE_TIMEOUT, static_cast<DWORD>(stall)) &&
               SetNumber(request, WINHTTP_OPTION_REDIRECT_POLICY, WINHTTP_OPTION_REDIRECT_POLICY_NEVER);
    });
    if (error == 0) {
        error = WaitOnRequest([](HINTERNET request) {
            return ::WinHttpSendRequest(request, WINHTTP_NO_ADDITIONAL_HEADERS, 0, WINHTTP_NO_REQUEST_DATA, 0,
                                        0, 0);
        });
    }
    if (error == 0) {
        error = WaitOnRequest([](HINTERNET request) { return ::WinHttpReceiveResponse(request, nullptr); });
    }
    DWORD status = 0;
    if (error == 0) {
        error = OnRequest([&](HINTERNET request) {
            DWORD size = sizeof status;
            return ::WinHttpQueryHeaders(request, WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER,
                                         WINHTTP_HEADER_NAME_BY_INDEX, &status, &size,
                                         WINHTTP_NO_HEADER_INDEX);
        });
    }
    if (error != 0) return failed.System(error);
    if (status != 200) return static_cast<unsigned>(status);

    Result<std::optional<std::uint64_t>> announced = ContentLength(failed);
    if (!announced) return announced.TakeError();
    if (*announced && **announced > limits.maxBytes) {
        return failed.Because(u"response too long: the server announces " + DecimalText(**announced) +
                              u" bytes, more than the " + DecimalText(limits.maxBytes) + u" allowed");
    }
    std::vector<char> buffer(kReadSize);
    std::uint64_t total = 0;
    const auto tooSlow = [&] {
        return failed.Because(u"too slow: the download took longer than the " +
                              Duration(limits.totalTimeout) + u" allowed, after " + DecimalText(total) +
                              u" bytes");
    };
    for (;;) {
        const auto left =
            std::chrono::duration_cast<milliseconds>(limits.totalTimeout - (Clock::now() - start));
        if (left.count() <= 0) return tooSlow();
        // Each wait ends at the stall limit, or sooner where the whole download's limit does.
        const auto wait = static_cast<DWORD>(TimeoutValue(std::min(limits.stallTimeout, left)));
        DWORD available = 0;
        DWORD read = 0;
        error = OnRequest(
            [&](HINTERNET request) { return SetNumber(request, WINHTTP_OPTION_RECEIVE_TIMEOUT, wait); });
        // Asked first how much has come, so that the read does not wait to fill the buffer.
        if (error == 0) {
            error = WaitOnRequest(
                [&](HINTERNET request) { return ::WinHttpQueryDataAvailable(request, &available); });
        }
        if (error == 0 && available > 0) {
            error = OnRequest([&](HINTERNET request) {
                return ::WinHttpReadData(request, buffer.data(), std::min(available, kReadSize), &read);
            });
        }
        if (error != 0 && !IsTimeout(error)) {
            return failed.Because(
                u"the body broke off after " + DecimalText(total) + u" bytes: " + Reason(error), error);
        }
        if (error != 0) {
            if (Clock::now() - start >= limits.totalTimeout) return tooSlow();
            return failed.Because(u"too slow: nothing came for " + Duration(limits.stallTimeout) +
                                      u", after " + DecimalText(total) + u" bytes",
                                  error);
        }
        if (read == 0) break;
        if (read > limits.maxBytes - total) {
            return failed.Because(u"response too long: the body is longer than the " +
                                  DecimalText(limits.maxBytes) + u" bytes allowed");
        }
        total += read;
        Result<void> taken = sink(std::string_view(buffer.data(), read));
        if (!taken) {
            Error sinkError = taken.TakeError();
            return failed.Because(sinkError.text, sinkError.systemCode);
        }
    }
    if (*announced && total < **announced) {
        return failed.Because(u"the body ended after " + DecimalText(total) + u" of " +
                              DecimalText(**announced) + u" bytes");
    }
    return 200u;
}

// The announced Content-Length; nothing when the answer announces none.
Result<std::optional<std::uint64_t>> WinHttpFetcher::ContentLength(const Failures& failed) {
    wchar_t text[32];
    DWORD size = sizeof text;
    const DWORD error = OnRequest([&](HINTERNET request) {
        return ::WinHttpQueryHeaders(request, WINHTTP_QUERY_CONTENT_LENGTH, WINHTTP_HEADER_NAME_BY_INDEX,
                                     text, &size, WINHTTP_NO_HEADER_INDEX);
    });
    if (error == ERROR_WINHTTP_HEADER_NOT_FOUND) return std::optional<std::uint64_t>();
    if (error != 0) return failed.Because(u"the server's Content-Length is not a number of bytes", error);
    const std::wstring_view digits(text, size / sizeof(wchar_t));
    const bool number =
        !digits.empty() && digits.size() <= 19 &&
        std::all_of(digits.begin(), digits.end(), [](wchar_t c) { return c >= L'0' && c <= L'9'; });
    if (!number) return failed.Because(u"the server's Content-Length is not a number of bytes");
    std::uint64_t length = 0;
    for (const wchar_t digit : digits) length = length * 10 + static_cast<std::uint64_t>(digit - L'0');
    return std::optional<std::uint64_t>(length);
}

}  // namespace

std::unique_ptr<IFetcher> MakeSystemFetcher() { return std::make_unique<WinHttpFetcher>(); }

}  // namespace OvxUpdate
