#include "support/http_test_server.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cctype>
#include <csignal>
#include <map>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/ssl.h>
#include <openssl/x509.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>
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

std::string Md5(const std::string& text)
{
    std::array<unsigned char, 16> digest{};
    unsigned length = 0;
    EVP_Digest(text.data(), text.size(), digest.data(), &length, EVP_md5(), nullptr);
    std::string hex;
    for (const unsigned char byte : digest)
        hex.append(1, "0123456789abcdef"[byte >> 4]).append(1, "0123456789abcdef"[byte & 15]);
    return hex;
}

/// The parameters of an Authorization header, without quotes.
std::map<std::string, std::string> Parameters(std::string_view text)
{
    std::map<std::string, std::string> result;
    while (!text.empty())
    {
        const std::size_t equals = std::min(text.find('='), text.size());
        std::string name(text.substr(0, equals));
        std::erase_if(name, [](char c) { return c == ' ' || c == ','; });
        text.remove_prefix(std::min(equals + 1, text.size()));
        const bool isQuoted = text.starts_with('"');
        if (isQuoted)
            text.remove_prefix(1);
        const std::size_t end = std::min(text.find(isQuoted ? '"' : ','), text.size());
        result[Lower(name)] = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return result;
}

/// A server context with a key and a self-signed certificate of its own, made once.
SSL_CTX* ServerContext()
{
    static SSL_CTX* const context = []
    {
        SSL_CTX* const made = SSL_CTX_new(TLS_server_method());
        EVP_PKEY* const key = EVP_EC_gen("P-256");
        X509* const certificate = X509_new();
        ASN1_INTEGER_set(X509_get_serialNumber(certificate), 1);
        X509_gmtime_adj(X509_getm_notBefore(certificate), 0);
        X509_gmtime_adj(X509_getm_notAfter(certificate), 3600);
        X509_set_pubkey(certificate, key);
        X509_NAME* const name = X509_get_subject_name(certificate);
        X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("camera"),
                                   -1, -1, 0);
        X509_set_issuer_name(certificate, name);
        X509_sign(certificate, key, EVP_sha256());
        if (SSL_CTX_use_certificate(made, certificate) != 1 || SSL_CTX_use_PrivateKey(made, key) != 1)
            throw std::runtime_error("no certificate for the test server");
        X509_free(certificate);
        EVP_PKEY_free(key);
        return made;
    }();
    return context;
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
    auto given = Parameters(std::string_view(header).substr(7));
    const std::string ha1 = Md5(user + ":" + given["realm"] + ":" + password);
    const std::string ha2 = Md5(method + ":" + given["uri"]);
    const std::string middle =
        given["qop"].empty() ? nonce : nonce + ":" + given["nc"] + ":" + given["cnonce"] + ":" + given["qop"];
    return given["username"] == user && given["nonce"] == nonce && given["uri"] == target &&
           given["response"] == Md5(ha1 + ":" + middle + ":" + ha2);
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
        close(socket_);
        socket_ = -1;
    }

    void EndAndReset() override
    {
        shutdown(socket_, SHUT_WR);
        Reset();
    }

    bool WaitClosed() override
    {
        char byte = 0;
        while (Receive(&byte, 1) > 0)
            continue;
        return true;
    }

    bool Pause(int ms) override
    {
        std::unique_lock lock(server_.mutex_);
        return !server_.changed_.wait_for(lock, std::chrono::milliseconds(ms),
                                          [this] { return server_.stop_.load(); });
    }

    bool ReadRequest(TestHttpRequest& request)
    {
        std::string& text = received_;
        std::size_t end = text.find("\r\n\r\n");
        while (end == std::string::npos)
        {
            if (!ReceiveMore() || text.front() == kTlsHandshake)
                return false; // as web servers end what isn't for them
            end = text.find("\r\n\r\n");
        }
        request = {};
        request.connection = number_;
        request.head = text.substr(0, end + 2);
        const std::size_t blank = request.head.find(' ');
        request.method = request.head.substr(0, blank);
        request.target = request.head.substr(blank + 1, request.head.find(" HTTP/") - blank - 1);
        text.erase(0, end + 4);
        const std::string length = request.Header("Content-Length");
        const std::size_t bodyBytes = length.empty() ? 0 : std::stoul(length);
        while (text.size() < bodyBytes && ReceiveMore())
            continue;
        request.body = text.substr(0, bodyBytes);
        text.erase(0, request.body.size());
        return true;
    }

    void Shutdown() const
    {
        if (socket_ >= 0)
            shutdown(socket_, SHUT_RDWR);
    }

    void EndTls()
    {
        if (ssl_ != nullptr)
            SSL_shutdown(ssl_);
    }

private:
    int Receive(char* buffer, int size)
    {
        if (ssl_ != nullptr)
            return SSL_read(ssl_, buffer, size);
        return static_cast<int>(recv(socket_, buffer, static_cast<std::size_t>(size), 0));
    }

    bool ReceiveMore()
    {
        std::array<char, 4096> block{};
        const int count = Receive(block.data(), static_cast<int>(block.size()));
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
    listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (bind(listener_, reinterpret_cast<sockaddr*>(&address), length) != 0 || listen(listener_, 64) != 0 ||
        getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length) != 0)
    {
        throw std::runtime_error("no port for the test server");
    }
    port_ = ntohs(address.sin_port);
    accepter_ = std::thread([this] { Accept(); });
}

HttpTestServer::~HttpTestServer()
{
    {
        const std::lock_guard lock(mutex_);
        stop_ = true;
        for (const auto& peer : peers_)
            peer->Shutdown();
    }
    changed_.notify_all();
    shutdown(listener_, SHUT_RDWR);
    accepter_.join();
    for (std::thread& thread : threads_)
        thread.join();
    close(listener_);
}

void HttpTestServer::Accept()
{
    for (;;)
    {
        const int socket = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket < 0)
            return;
        const int on = 1;
        setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        const std::lock_guard lock(mutex_);
        peers_.push_back(std::make_unique<Peer>(*this, socket, ++connections_));
        if (stop_)
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
        {
            const std::lock_guard lock(mutex_);
            requests_.push_back(request);
        }
        changed_.notify_all();
        isOpen = script_(peer, request);
    }
    peer.EndTls();
    const std::lock_guard lock(mutex_);
    peer.Shutdown();
}

std::vector<TestHttpRequest> HttpTestServer::Requests() const
{
    const std::lock_guard lock(mutex_);
    return requests_;
}

void HttpTestServer::WaitForRequests(std::size_t count) const
{
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return requests_.size() >= count; });
}

std::string HttpTestServer::Response(int status, std::string_view body, std::string_view headers)
{
    std::string text = "HTTP/1.1 " + std::to_string(status) + " Answer\r\n";
    text.append(headers);
    text += "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n";
    return text.append(body);
}

} // namespace korvane::test
