#pragma once

#include <openssl/ssl.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace larkmoor::camera
{

/// A plain HTTP client that shows every byte that a server sends. One thread at a time; a read that gets
/// nothing for 20 s gives up, so that a broken server fails a test and does not hang it.
class HttpTestClient
{
public:
    explicit HttpTestClient(std::uint16_t port, bool tls = false);
    ~HttpTestClient();

    HttpTestClient(const HttpTestClient&) = delete;
    HttpTestClient& operator=(const HttpTestClient&) = delete;

    bool IsConnected() const { return connected_; }

    void Send(std::string_view bytes);
    void SendGet(std::string_view target, std::string_view headers = {});

    /// Some bytes more behind those in `Received`. False at the end of the connection or after `patience`.
    bool Read(std::chrono::milliseconds patience = std::chrono::seconds(20));

    /// Reads until `text` has come, `from` bytes in. False if the connection ends before.
    bool ReadUntil(std::string_view text, std::size_t from = 0);

    void ReadToEnd();

    bool WasReset() const { return reset_; } ///< the connection ended with a reset
    bool HasEnded() const { return ended_; }
    std::string& Received() { return received_; }

    /// A whole answer: head and body, of a request of its own that asks the server to close.
    struct Answer
    {
        int status = 0;
        std::string head;
        std::string body;
    };
    static Answer Get(std::uint16_t port, std::string_view target, std::string_view headers = {},
                      bool tls = false);

private:
    int socket_ = -1;
    std::unique_ptr<SSL_CTX, decltype(&SSL_CTX_free)> context_{nullptr, SSL_CTX_free};
    std::unique_ptr<SSL, decltype(&SSL_free)> tls_{nullptr, SSL_free};
    bool connected_ = false;
    bool reset_ = false;
    bool ended_ = false;
    std::string received_;
};

/// The JPEG files in `stream`, from each SOI to the next EOI; one that another SOI cuts short is left out.
std::vector<std::string> PicturesIn(const std::string& stream);

/// Width and height of a JPEG file, by its SOF0 segment, as in "640x480".
std::string SizeOfPicture(std::string_view picture);

/// The body of a chunked transfer (RFC 7230, section 4.1) as far as it is whole; empty if it is none.
std::string WithoutChunks(std::string_view body);

inline HttpTestClient::HttpTestClient(std::uint16_t port, bool tls)
{
    socket_ = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    connected_ = ::connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    if (!tls || !connected_)
        return;
    context_.reset(SSL_CTX_new(TLS_client_method()));
    tls_.reset(SSL_new(context_.get()));
    SSL_set_fd(tls_.get(), socket_);
    connected_ = SSL_connect(tls_.get()) == 1;
}

inline HttpTestClient::~HttpTestClient()
{
    tls_.reset();
    ::close(socket_);
}

inline void HttpTestClient::Send(std::string_view bytes)
{
    if (tls_)
        SSL_write(tls_.get(), bytes.data(), static_cast<int>(bytes.size()));
    else [[maybe_unused]]
        const auto sent = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

inline void HttpTestClient::SendGet(std::string_view target, std::string_view headers)
{
    Send("GET " + std::string(target) + " HTTP/1.1\r\nHost: camera\r\n" + std::string(headers) + "\r\n");
}

inline bool HttpTestClient::Read(std::chrono::milliseconds patience)
{
    if (ended_)
        return false;
    pollfd waiting{socket_, POLLIN, 0};
    const bool buffered = tls_ && SSL_pending(tls_.get()) > 0;
    if (!buffered && ::poll(&waiting, 1, static_cast<int>(patience.count())) <= 0)
        return false;
    char bytes[65536];
    const auto count =
        tls_ ? SSL_read(tls_.get(), bytes, sizeof bytes) : ::recv(socket_, bytes, sizeof bytes, 0);
    if (count > 0)
        received_.append(bytes, static_cast<std::size_t>(count));
    ended_ = count <= 0;
    reset_ = count < 0 && errno == ECONNRESET;
    return count > 0;
}

inline bool HttpTestClient::ReadUntil(std::string_view text, std::size_t from)
{
    while (received_.find(text, from) == std::string::npos)
    {
        if (!Read())
            return false;
    }
    return true;
}

inline void HttpTestClient::ReadToEnd()
{
    while (Read())
    {
    }
}

inline HttpTestClient::Answer HttpTestClient::Get(std::uint16_t port, std::string_view target,
                                                  std::string_view headers, bool tls)
{
    HttpTestClient client(port, tls);
    client.SendGet(target, "Connection: close\r\n" + std::string(headers));
    client.ReadToEnd();
    Answer answer;
    const std::string& all = client.Received();
    const std::size_t end = std::min(all.find("\r\n\r\n"), all.size());
    answer.head = all.substr(0, end);
    answer.body = all.substr(std::min(end + 4, all.size()));
    if (all.starts_with("HTTP/1.1 "))
        answer.status = std::atoi(all.c_str() + 9);
    return answer;
}

inline std::vector<std::string> PicturesIn(const std::string& stream)
{
    std::vector<std::string> pictures;
    std::size_t start = std::string::npos;
    for (std::size_t at = stream.find('\xFF'); at != std::string::npos; at = stream.find('\xFF', at + 1))
    {
        const std::string_view marker = std::string_view(stream).substr(at, 2);
        if (marker == "\xFF\xD8")
            start = at;
        if (marker == "\xFF\xD9" && start != std::string::npos)
        {
            pictures.push_back(stream.substr(start, at + 2 - start));
            start = std::string::npos;
        }
    }
    return pictures;
}

inline std::string SizeOfPicture(std::string_view picture)
{
    const std::size_t at = picture.find("\xFF\xC0");
    if (at == std::string_view::npos || at + 9 > picture.size())
        return "none";
    const auto number = [&](std::size_t offset)
    {
        return static_cast<unsigned char>(picture[at + offset]) * 256 +
               static_cast<unsigned char>(picture[at + offset + 1]);
    };
    return std::to_string(number(7)) + "x" + std::to_string(number(5));
}

inline std::string WithoutChunks(std::string_view body)
{
    std::string plain;
    while (!body.empty())
    {
        const std::size_t line = body.find("\r\n");
        if (line == std::string_view::npos)
            break;
        const std::size_t size = std::strtoul(std::string(body.substr(0, line)).c_str(), nullptr, 16);
        if (size == 0 || body.size() < line + 2 + size + 2)
            break;
        if (body.substr(line + 2 + size, 2) != "\r\n")
            return {};
        plain += body.substr(line + 2, size);
        body.remove_prefix(line + 2 + size + 2);
    }
    return plain;
}

} // namespace larkmoor::camera
