#include "support/http_test_server.h"

#include <chrono>

#ifdef _WIN32
#include <winsock2.h>
#include <ws2tcpip.h>
using Socket = SOCKET;
constexpr Socket kNoSocket = INVALID_SOCKET;
void CloseSocket(Socket s) { ::closesocket(s); }
int Poll(pollfd* fds, int timeoutMs) { return ::WSAPoll(fds, 1, timeoutMs); }
constexpr int kSendFlags = 0;
#else
#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
using Socket = int;
constexpr Socket kNoSocket = -1;
void CloseSocket(Socket s) { ::close(s); }
int Poll(pollfd* fds, int timeoutMs) { return ::poll(fds, 1, timeoutMs); }
constexpr int kSendFlags = MSG_NOSIGNAL;  // a client that hangs up is no reason to die
#endif

namespace OvxTest {

namespace {

Socket Listen(unsigned& port) {
#ifdef _WIN32
    static const bool started = [] {
        WSADATA data;
        return ::WSAStartup(MAKEWORD(2, 2), &data) == 0;
    }();
    (void)started;
#endif
    Socket listener = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    ::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address);
    socklen_t size = sizeof address;
    ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
    port = ntohs(address.sin_port);
    return listener;
}

bool SendAll(Socket s, const char* data, std::size_t size) {
    while (size > 0) {
        int sent = ::send(s, data, static_cast<int>(size), kSendFlags);
        if (sent <= 0) return false;
        data += sent;
        size -= static_cast<std::size_t>(sent);
    }
    return true;
}

}  // namespace

HttpTestServer::HttpTestServer() {
    Socket listener = Listen(m_port);
    ::listen(listener, 8);
    m_listener = static_cast<std::intptr_t>(listener);
    m_thread = std::thread([this] { Serve(); });
}

HttpTestServer::~HttpTestServer() {
    m_stop = true;
    m_thread.join();
    CloseSocket(static_cast<Socket>(m_listener));
}

void HttpTestServer::Set(const std::string& path, Reply reply) {
    std::lock_guard lock(m_mutex);
    m_replies[path] = std::move(reply);
}

std::string HttpTestServer::Url(const std::string& path) const {
    return "http://127.0.0.1:" + std::to_string(m_port) + path;
}

std::string HttpTestServer::RefusingUrl() {
    unsigned port = 0;
    CloseSocket(Listen(port));
    return "http://127.0.0.1:" + std::to_string(port) + "/";
}

void HttpTestServer::Serve() {
    while (!m_stop) {
        pollfd ready{static_cast<Socket>(m_listener), POLLIN, 0};
        if (Poll(&ready, 50) <= 0) continue;
        Socket connection = ::accept(static_cast<Socket>(m_listener), nullptr, nullptr);
        if (connection == kNoSocket) continue;
        Answer(static_cast<std::intptr_t>(connection));
    }
}

void HttpTestServer::Answer(std::intptr_t handle) {
    Socket connection = static_cast<Socket>(handle);
    std::string request;
    char buffer[1024];
    while (request.find("\r\n\r\n") == std::string::npos) {
        int received = ::recv(connection, buffer, sizeof buffer, 0);
        if (received <= 0) return CloseSocket(connection);
        request.append(buffer, static_cast<std::size_t>(received));
    }
    std::string path = request.substr(4, request.find(' ', 4) - 4);  // after "GET "
    Reply reply{404, "not found"};
    {
        std::lock_guard lock(m_mutex);
        if (auto found = m_replies.find(path); found != m_replies.end()) reply = found->second;
    }
    std::string head = "HTTP/1.1 " + std::to_string(reply.status) + " X\r\nConnection: close\r\n";
    if (reply.fault != Reply::Fault::Endless)
        head +=
            "Content-Length: " + std::to_string(reply.announcedLength.value_or(reply.body.size())) + "\r\n";
    head += "\r\n";
    SendAll(connection, head.data(), head.size());
    using Fault = Reply::Fault;
    switch (reply.fault) {
        case Fault::None:
        case Fault::Truncated: SendAll(connection, reply.body.data(), reply.body.size()); break;
        case Fault::Reset: {
            SendAll(connection, reply.body.data(), reply.body.size() / 2);
            linger abort{1, 0};  // closing now sends a reset
            ::setsockopt(connection, SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&abort),
                         sizeof abort);
            break;
        }
        case Fault::Endless: {
            std::string block(64 * 1024, 'x');
            while (!m_stop && SendAll(connection, block.data(), block.size())) {
            }
            break;
        }
        case Fault::Drip:
            for (char c : reply.body) {
                if (m_stop || !SendAll(connection, &c, 1)) break;
                std::this_thread::sleep_for(std::chrono::milliseconds(100));
            }
            break;
    }
    CloseSocket(connection);
}

}  // namespace OvxTest
