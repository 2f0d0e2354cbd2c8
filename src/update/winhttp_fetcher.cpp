// The system's fetcher on Windows: WinHTTP, with one session for the fetcher's life, so that
// its connections stay open from one fetch to the next.
#include "OvxComponent/update/fetcher.h"

#include <windows.h>

#include <winhttp.h>

#include <algorithm>
#include <climits>
#include <optional>
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
        case ERROR_WINHTTP_TIMEOUT: return u"the server did not answer in time";
        case ERROR_WINHTTP_NAME_NOT_RESOLVED: return u"the server's name could not be resolved";
        case ERROR_WINHTTP_CANNOT_CONNECT: return u"no connection could be made to the server";
        case ERROR_WINHTTP_CONNECTION_ERROR: return u"the connection was reset or broken";
        case ERROR_WINHTTP_SECURE_FAILURE: return u"the secure connection or the server's certificate failed";
        case ERROR_WINHTTP_INVALID_SERVER_RESPONSE: return u"the server's answer is not valid HTTP";
        case ERROR_WINHTTP_REDIRECT_FAILED: return u"a redirection could not be followed";
        default: return OvxUtils::SystemErrorText(code);
    }
}

Error Failure(const CString& what, DWORD code) { return Error{what + u": " + Reason(code), code}; }

CString Duration(milliseconds time) { return DecimalText(static_cast<unsigned long long>(time.count())) + u" ms"; }

// A limit as WinHTTP takes it, where 0 would mean none.
int TimeoutValue(milliseconds time) {
    return static_cast<int>(std::clamp<milliseconds::rep>(time.count(), 1, INT_MAX));
}

bool SetTimeout(HINTERNET request, DWORD option, milliseconds time) {
    DWORD value = static_cast<DWORD>(TimeoutValue(time));
    return ::WinHttpSetOption(request, option, &value, sizeof value) != FALSE;
}

// The announced Content-Length; nothing when the answer announces none.
Result<std::optional<std::uint64_t>> ContentLength(HINTERNET request, const CString& what) {
    wchar_t text[32];
    DWORD size = sizeof text;
    if (!::WinHttpQueryHeaders(request, WINHTTP_QUERY_CONTENT_LENGTH, WINHTTP_HEADER_NAME_BY_INDEX, text, &size,
                               WINHTTP_NO_HEADER_INDEX)) {
        const DWORD error = ::GetLastError();
        if (error == ERROR_WINHTTP_HEADER_NOT_FOUND) return std::optional<std::uint64_t>();
        return Error{what + u": the server's Content-Length is not a number of bytes", error};
    }
    const std::wstring_view digits(text, size / sizeof(wchar_t));
    std::uint64_t length = 0;
    if (digits.empty() || digits.size() > 19) {
        return Error{what + u": the server's Content-Length is not a number of bytes"};
    }
    for (const wchar_t digit : digits) {
        if (digit < L'0' || digit > L'9') return Error{what + u": the server's Content-Length is not a number of bytes"};
        length = length * 10 + static_cast<std::uint64_t>(digit - L'0');
    }
    return std::optional<std::uint64_t>(length);
}

class WinHttpFetcher final : public IFetcher {
public:
    Result<unsigned> Fetch(const std::string& url, const FetchLimits& limits, const BodySink& sink) override;

private:
    Result<HINTERNET> Connection(const std::wstring& host, INTERNET_PORT port, const CString& what);
    static Result<void> ReadBody(HINTERNET request, const FetchLimits& limits, const BodySink& sink,
                                 const CString& what, Clock::time_point start);

    UniqueInternet m_session;
    // The last server's connection, kept for the next fetch from the same server.
    UniqueInternet m_connection;
    std::wstring m_host;
    INTERNET_PORT m_port = 0;
};

Result<HINTERNET> WinHttpFetcher::Connection(const std::wstring& host, INTERNET_PORT port, const CString& what) {
    if (!m_session) {
        HINTERNET session = ::WinHttpOpen(kUserAgent, WINHTTP_ACCESS_TYPE_AUTOMATIC_PROXY, WINHTTP_NO_PROXY_NAME,
                                          WINHTTP_NO_PROXY_BYPASS, 0);
        // Before Windows 8.1 there is no automatic proxy: the system's WinHTTP proxy then.
        if (session == nullptr) {
            session = ::WinHttpOpen(kUserAgent, WINHTTP_ACCESS_TYPE_DEFAULT_PROXY, WINHTTP_NO_PROXY_NAME,
                                    WINHTTP_NO_PROXY_BYPASS, 0);
        }
        if (session == nullptr) return OvxUtils::SystemError(what + u": WinHTTP cannot start", ::GetLastError());
        m_session.reset(session);
        // Windows 7 offers TLS 1.2 only when asked; TLS 1.3 is known from Windows 11 on.
        DWORD protocols = WINHTTP_FLAG_SECURE_PROTOCOL_TLS1_2 | WINHTTP_FLAG_SECURE_PROTOCOL_TLS1_3;
        if (!::WinHttpSetOption(session, WINHTTP_OPTION_SECURE_PROTOCOLS, &protocols, sizeof protocols)) {
            protocols = WINHTTP_FLAG_SECURE_PROTOCOL_TLS1_2;
            ::WinHttpSetOption(session, WINHTTP_OPTION_SECURE_PROTOCOLS, &protocols, sizeof protocols);
        }
    }
    if (!m_connection || m_host != host || m_port != port) {
        m_connection.reset(::WinHttpConnect(m_session.get(), host.c_str(), port, 0));
        if (!m_connection) return Failure(what, ::GetLastError());
        m_host = host;
        m_port = port;
    }
    return m_connection.get();
}

Result<unsigned> WinHttpFetcher::Fetch(const std::string& url, const FetchLimits& limits, const BodySink& sink) {
    const Clock::time_point start = Clock::now();
    const CString what = u"cannot fetch " + OvxUtils::Quoted(url);
    const CString wideUrl = CString::FromUtf8(url);
    URL_COMPONENTS parts{};
    parts.dwStructSize = sizeof parts;
    parts.dwHostNameLength = parts.dwUrlPathLength = parts.dwExtraInfoLength = static_cast<DWORD>(-1);
    if (!::WinHttpCrackUrl(wideUrl.GetString(), static_cast<DWORD>(wideUrl.GetLength()), 0, &parts) ||
        (parts.nScheme != INTERNET_SCHEME_HTTP && parts.nScheme != INTERNET_SCHEME_HTTPS)) {
        return Error{what + u": it is not an http or https address"};
    }
    std::wstring path(parts.lpszUrlPath, parts.dwUrlPathLength);
    const std::wstring_view query(parts.lpszExtraInfo, parts.dwExtraInfoLength);
    path += query.substr(0, query.find(L'#'));  // the fragment is the client's own
    if (path.empty()) path = L"/";

    Result<HINTERNET> connection = Connection(std::wstring(parts.lpszHostName, parts.dwHostNameLength), parts.nPort, what);
    if (!connection) return connection.TakeError();
    const UniqueInternet request(::WinHttpOpenRequest(*connection, L"GET", path.c_str(), nullptr, WINHTTP_NO_REFERER,
                                                      WINHTTP_DEFAULT_ACCEPT_TYPES,
                                                      parts.nScheme == INTERNET_SCHEME_HTTPS ? WINHTTP_FLAG_SECURE : 0));
    if (!request) return Failure(what, ::GetLastError());
    const int connect = TimeoutValue(limits.connectTimeout);
    const int stall = TimeoutValue(std::min(limits.stallTimeout, limits.totalTimeout));
    if (!::WinHttpSetTimeouts(request.get(), connect, connect, stall, stall) ||
        !SetTimeout(request.get(), WINHTTP_OPTION_RECEIVE_RESPONSE_TIMEOUT, limits.totalTimeout) ||
        !::WinHttpSendRequest(request.get(), WINHTTP_NO_ADDITIONAL_HEADERS, 0, WINHTTP_NO_REQUEST_DATA, 0, 0, 0) ||
        !::WinHttpReceiveResponse(request.get(), nullptr)) {
        return Failure(what, ::GetLastError());
    }
    DWORD status = 0;
    DWORD size = sizeof status;
    if (!::WinHttpQueryHeaders(request.get(), WINHTTP_QUERY_STATUS_CODE | WINHTTP_QUERY_FLAG_NUMBER,
                               WINHTTP_HEADER_NAME_BY_INDEX, &status, &size, WINHTTP_NO_HEADER_INDEX)) {
        return Failure(what, ::GetLastError());
    }
    if (status != 200) return static_cast<unsigned>(status);
    Result<void> body = ReadBody(request.get(), limits, sink, what, start);
    if (!body) return body.TakeError();
    return 200u;
}

Result<void> WinHttpFetcher::ReadBody(HINTERNET request, const FetchLimits& limits, const BodySink& sink,
                                      const CString& what, Clock::time_point start) {
    Result<std::optional<std::uint64_t>> announced = ContentLength(request, what);
    if (!announced) return announced.TakeError();
    if (*announced && **announced > limits.maxBytes) {
        return Error{what + u": the server announces " + DecimalText(**announced) + u" bytes, more than the " +
                     DecimalText(limits.maxBytes) + u" allowed"};
    }
    std::vector<char> buffer(kReadSize);
    std::uint64_t total = 0;
    const auto tooSlow = [&] {
        return Error{what + u": the download took longer than the " + Duration(limits.totalTimeout) +
                     u" allowed, after " + DecimalText(total) + u" bytes"};
    };
    for (;;) {
        const auto left = std::chrono::duration_cast<milliseconds>(limits.totalTimeout - (Clock::now() - start));
        if (left.count() <= 0) return tooSlow();
        // Each read waits no longer than the stall limit, nor past the whole download's limit.
        if (!SetTimeout(request, WINHTTP_OPTION_RECEIVE_TIMEOUT, std::min(limits.stallTimeout, left))) {
            return Failure(what, ::GetLastError());
        }
        DWORD read = 0;
        if (!::WinHttpReadData(request, buffer.data(), kReadSize, &read)) {
            const DWORD error = ::GetLastError();
            if (error != ERROR_WINHTTP_TIMEOUT) {
                return Error{what + u": the body broke off after " + DecimalText(total) + u" bytes: " + Reason(error),
                             error};
            }
            if (Clock::now() - start >= limits.totalTimeout) return tooSlow();
            return Error{what + u": nothing came for " + Duration(limits.stallTimeout) + u", after " +
                             DecimalText(total) + u" bytes",
                         error};
        }
        if (read == 0) break;
        if (read > limits.maxBytes - total) {
            return Error{what + u": the body is longer than the " + DecimalText(limits.maxBytes) + u" bytes allowed"};
        }
        total += read;
        Result<void> taken = sink(std::string_view(buffer.data(), read));
        if (!taken) return taken;
    }
    if (*announced && total < **announced) {
        return Error{what + u": the body ended after " + DecimalText(total) + u" of " + DecimalText(**announced) +
                     u" bytes"};
    }
    return {};
}

}  // namespace

std::unique_ptr<IFetcher> MakeSystemFetcher() { return std::make_unique<WinHttpFetcher>(); }

}  // namespace OvxUpdate
