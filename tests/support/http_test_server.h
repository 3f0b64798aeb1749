#pragma once

#include "support/loopback.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace korvane::test
{

/// A request as it stood on the wire.
struct TestHttpRequest
{
    std::string method;
    std::string target;
    std::string head; ///< whole, with the request line
    std::string body;
    int connection = 0; ///< number of the network connection that it came on, from 1

    std::string Header(std::string_view name) const; ///< empty when missing

    /// Whether it carries right Digest credentials (RFC 7616, MD5) for `nonce`.
    bool HasDigest(const std::string& user, const std::string& password, const std::string& nonce) const;
};

/// The server's side of one network connection, for a script to misbehave with.
class TestHttpPeer
{
public:
    virtual ~TestHttpPeer() = default;
    virtual bool Send(std::string_view bytes) = 0; ///< false when the client has gone
    virtual void Reset() = 0;                      ///< ends the connection with RST
    virtual void EndAndReset() = 0;                ///< with FIN, and RST right behind it
    virtual bool WaitClosed() = 0;                 ///< until the client, or the server's end, closes it
    virtual bool Pause(int ms) = 0;                ///< between bytes; false at the server's end

    /// Each byte by itself with a pause behind it.
    bool SendSlowly(std::string_view bytes, int pauseMs);
};

/// A web server on a free port of the loopback whose answers are scripted, with or without TLS. The script
/// runs once for each request, on the thread of its connection; the connection stays open when it gives true.
class HttpTestServer
{
public:
    using Script = std::function<bool(TestHttpPeer&, const TestHttpRequest&)>;

    explicit HttpTestServer(Script script, bool tls = false);
    ~HttpTestServer();
    HttpTestServer(const HttpTestServer&) = delete;
    HttpTestServer& operator=(const HttpTestServer&) = delete;

    std::uint16_t Port() const { return listener_.Port(); }
    int Connections() const { return connections_; } ///< accepted so far
    std::vector<TestHttpRequest> Requests() const { return requests_.Get(); }
    std::vector<std::string> Targets() const; ///< of the requests
    void WaitForRequests(std::size_t count) const { requests_.WaitForCount(count); }

    /// A whole response with a right Content-Length.
    static std::string Response(int status, std::string_view body = {}, std::string_view headers = {});

private:
    class Peer;

    void Accept();
    void Serve(Peer& peer);

    const Script script_;
    const bool tls_;
    const LoopbackListener listener_;
    WatchedList<TestHttpRequest> requests_;
    Watched<bool> stop_{false};
    std::atomic<int> connections_{0};
    std::mutex mutex_; // guards the peers and their sockets
    std::list<std::unique_ptr<Peer>> peers_;
    std::list<std::jthread> threads_;
    std::jthread accepter_{[this] { Accept(); }};
};

} // namespace korvane::test
