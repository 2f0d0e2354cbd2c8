// A small HTTP server on 127.0.0.1 for the fetchers' tests, on a thread of its own: each
// path answers as its Reply says, the faults of a misbehaving server included. One
// connection at a time, closed after each answer.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace OvxTest {

struct Reply {
    enum class Fault {
        None,
        Truncated,  // announces more bytes than it sends, then closes
        Reset,      // sends half the body, then resets the connection
        Endless,    // no length, and bytes until the client gives up
        Drip,       // one byte every 100 ms
    };
    unsigned status = 200;
    std::string body;
    Fault fault = Fault::None;
    std::optional<std::uint64_t> announcedLength = std::nullopt;  // Content-Length when not the body's size
};

class HttpTestServer {
public:
    HttpTestServer();
    ~HttpTestServer();
    HttpTestServer(const HttpTestServer&) = delete;
    HttpTestServer& operator=(const HttpTestServer&) = delete;

    // Paths not set answer 404.
    void Set(const std::string& path, Reply reply);
    std::string Url(const std::string& path) const;
    // A URL on a port where nothing listens.
    static std::string RefusingUrl();

private:
    void Serve();
    void Answer(std::intptr_t connection);

    std::intptr_t m_listener = -1;
    unsigned m_port = 0;
    std::atomic<bool> m_stop{false};
    std::mutex m_mutex;
    std::map<std::string, Reply> m_replies;
    std::thread m_thread;
};

}  // namespace OvxTest
