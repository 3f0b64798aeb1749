#include "support/http_test_server.h"

#include "camera/auth/authenticator.h"
#include "camera/http/certificate.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <csignal>
#include <utility>

namespace korvane::test
{

namespace
{

constexpr char kTlsHandshake = 0x16;

std::string Lower(std::string_view text)
{
    std::string result(text);
    std::ranges::transform(result, result.begin(), [](unsigned char c) { return std::tolower(c); });
    return result;
}

/// A server context with a certificate of its own, made once.
SSL_CTX* ServerContext()
{
    static std::string error;
    static const auto context = larkmoor::camera::MakeTlsContext("127.0.0.1", error);
    EXPECT_TRUE(context) << error;
    return context->native_handle();
}

} // namespace

std::string TestHttpRequest::Header(std::string_view name) const
{
    const std::string wanted = "\r\n" + Lower(name) + ":";
    const std::size_t at = Lower(head).find(wanted);
    if (at == std::string::npos)
        return {};
    const std::size_t begin = std::min(head.find_first_not_of(' ', at + wanted.size()), head.size());
    return head.substr(begin, head.find("\r\n", begin) - begin);
}

bool TestHttpRequest::HasDigest(const std::string& user, const std::string& password,
                                const std::string& nonce) const
{
    const std::string header = Header("Authorization");
    if (!header.starts_with("Digest "))
        return false;
    auto given = larkmoor::camera::ParseAuthParameters(std::string_view(header).substr(7));
    const larkmoor::camera::DigestInput right{user,        given["realm"],  password,
                                              method,      target,          nonce,
                                              given["nc"], given["cnonce"], !given["qop"].empty()};
    return given["username"] == user && given["nonce"] == nonce && given["uri"] == target &&
           given["response"] == larkmoor::camera::DigestResponse(right);
}

bool TestHttpPeer::SendSlowly(std::string_view bytes, int pauseMs)
{
    return std::ranges::all_of(bytes, [&](const char& byte) { return Send({&byte, 1}) && Pause(pauseMs); });
}

class HttpTestServer::Peer final : public TestHttpPeer
{
public:
    Peer(HttpTestServer& server, int socket, int number) : server_(server), socket_(socket), number_(number)
    {
    }

    ~Peer() override
    {
        SSL_free(ssl_);
        if (socket_ >= 0)
            close(socket_);
    }

    bool Begin()
    {
        if (!server_.tls_)
            return true;
        ssl_ = SSL_new(ServerContext());
        SSL_set_fd(ssl_, socket_);
        return SSL_accept(ssl_) == 1;
    }

    bool Send(std::string_view bytes) override
    {
        if (ssl_ != nullptr)
            return SSL_write(ssl_, bytes.data(), static_cast<int>(bytes.size())) > 0;
        while (!bytes.empty())
        {
            const ssize_t sent = send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (sent <= 0)
                return false;
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        }
        return true;
    }

    void Reset() override
    {
        const linger now{1, 0};
        setsockopt(socket_, SOL_SOCKET, SO_LINGER, &now, sizeof now);
        SSL_free(std::exchange(ssl_, nullptr)); // its number may soon be somebody else's descriptor
        const std::lock_guard lock(server_.mutex_);
        close(std::exchange(socket_, -1));
    }

    void EndAndReset() override
    {
        shutdown(socket_, SHUT_WR);
        Reset();
    }

    bool WaitClosed() override
    {
        while (ReceiveMore())
            received_.clear();
        return true;
    }

    bool Pause(int ms) override
    {
        return !server_.stop_.WaitFor([](bool stop) { return stop; }, std::chrono::milliseconds(ms));
    }

    bool ReadRequest(TestHttpRequest& request)
    {
        std::size_t end = 0;
        while ((end = received_.find("\r\n\r\n")) == std::string::npos)
        {
            if (!ReceiveMore() || received_.front() == kTlsHandshake)
                return false; // as web servers end what isn't for them
        }
        request = {};
        request.connection = number_;
        request.head = received_.substr(0, end + 2);
        const std::size_t blank = request.head.find(' ');
        request.method = request.head.substr(0, blank);
        request.target = request.head.substr(blank + 1, request.head.find(" HTTP/") - blank - 1);
        received_.erase(0, end + 4);
        const std::string length = request.Header("Content-Length");
        const std::size_t bodyBytes = length.empty() ? 0 : std::stoul(length);
        while (received_.size() < bodyBytes && ReceiveMore())
            continue;
        request.body = received_.substr(0, bodyBytes);
        received_.erase(0, request.body.size());
        return true;
    }

    void Shutdown() const { shutdown(socket_, SHUT_RDWR); }

    void EndTls()
    {
        if (ssl_ != nullptr)
            SSL_shutdown(ssl_);
    }

private:
    bool ReceiveMore()
    {
        std::array<char, 4096> block{};
        const ssize_t count = ssl_ != nullptr ? SSL_read(ssl_, block.data(), static_cast<int>(block.size()))
                                              : recv(socket_, block.data(), block.size(), 0);
        if (count > 0)
            received_.append(block.data(), static_cast<std::size_t>(count));
        return count > 0;
    }

    HttpTestServer& server_;
    int socket_; // closed and changed under the server's mutex
    const int number_;
    SSL* ssl_ = nullptr;
    std::string received_;
};

HttpTestServer::HttpTestServer(Script script, bool tls) : script_(std::move(script)), tls_(tls)
{
    std::signal(SIGPIPE, SIG_IGN); // OpenSSL writes without MSG_NOSIGNAL
}

HttpTestServer::~HttpTestServer()
{
    stop_.Set(true);
    listener_.End();
    const std::lock_guard lock(mutex_);
    for (const auto& peer : peers_)
        peer->Shutdown();
}

void HttpTestServer::Accept()
{
    for (int socket; (socket = listener_.Accept()) >= 0;)
    {
        const int on = 1;
        setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        const std::lock_guard lock(mutex_);
        peers_.push_back(std::make_unique<Peer>(*this, socket, ++connections_));
        if (stop_.Get())
            peers_.back()->Shutdown();
        threads_.emplace_back([this, peer = peers_.back().get()] { Serve(*peer); });
    }
}

void HttpTestServer::Serve(Peer& peer)
{
    TestHttpRequest request;
    bool isOpen = peer.Begin();
    while (isOpen && peer.ReadRequest(request))
    {
        requests_.Add(request);
        isOpen = script_(peer, request);
    }
    peer.EndTls();
    const std::lock_guard lock(mutex_);
    peer.Shutdown();
}

std::vector<std::string> HttpTestServer::Targets() const
{
    std::vector<std::string> targets;
    for (const TestHttpRequest& request : Requests())
        targets.push_back(request.target);
    return targets;
}

std::string HttpTestServer::Response(int status, std::string_view body, std::string_view headers)
{
    std::string text = "HTTP/1.1 " + std::to_string(status) + " Answer\r\n";
    text.append(headers);
    text += "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n";
    return text.append(body);
}

} // namespace korvane::test
