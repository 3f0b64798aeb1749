#include "support/scripted_rtsp_server.h"

#include "support/fake_host.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

namespace korvane::test
{

namespace
{

std::string MethodOf(const std::string& request)
{
    return request.substr(0, request.find(' '));
}

} // namespace

const std::string ScriptedRTSPServer::kDescription = "v=0\r\n"
                                                     "m=video 5560 RTP/AVP 97\r\n"
                                                     "c=IN IP4 239.128.1.99/16\r\n"
                                                     "a=rtpmap:97 H264/90000\r\n"
                                                     "a=control:trackID=1\r\n";

std::string ScriptedRTSPServer::Response(const std::string& request, const std::string& headers,
                                         const std::string& body, const std::string& status)
{
    const std::size_t cseq = request.find("CSeq: ");
    const std::string line = request.substr(cseq, request.find("\r\n", cseq) - cseq);
    const std::string length =
        body.empty() ? std::string() : "Content-Length: " + std::to_string(body.size()) + "\r\n";
    return "RTSP/1.0 " + status + "\r\n" + line + "\r\n" + headers + length + "\r\n" + body;
}

ScriptedRTSPServer::Reply ScriptedRTSPServer::Ordinary(const std::string& method, const std::string& request)
{
    if (method == "DESCRIBE")
        return {Response(request, "Content-Type: application/sdp\r\n", kDescription)};
    if (method == "SETUP")
    {
        const bool interleaved = request.find("interleaved=") != std::string::npos;
        return {Response(request, std::string("Session: 4711;timeout=30\r\nTransport: ") +
                                      (interleaved ? "RTP/AVP/TCP;unicast;interleaved=0-1\r\n"
                                                   : "RTP/AVP/UDP;unicast;server_port=5556-5557\r\n"))};
    }
    return {Response(request, "Session: 4711\r\n")};
}

ScriptedRTSPServer::ScriptedRTSPServer(Script script) : script_(std::move(script))
{
    listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    EXPECT_EQ(0, bind(listener_, reinterpret_cast<sockaddr*>(&address), size));
    EXPECT_EQ(0, listen(listener_, 16));
    EXPECT_EQ(0, getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size));
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { Serve(); });
}

ScriptedRTSPServer::~ScriptedRTSPServer()
{
    shutdown(listener_, SHUT_RDWR); // ends the accept, and with it the loop
    CloseConnection();
    thread_.join();
    close(listener_);
}

void ScriptedRTSPServer::Serve()
{
    for (int accepted; (accepted = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;)
    {
        {
            const std::lock_guard guard(mutex_);
            connection_ = accepted;
        }
        ServeConnection(accepted);
        const std::lock_guard guard(mutex_);
        connection_ = -1;
        close(accepted);
    }
}

void ScriptedRTSPServer::ServeConnection(int connection)
{
    std::string received;
    char buffer[4096];
    for (ssize_t got; (got = recv(connection, buffer, sizeof(buffer), 0)) > 0;)
    {
        received.append(buffer, static_cast<std::size_t>(got));
        for (std::size_t end; (end = received.find("\r\n\r\n")) != std::string::npos;
             received.erase(0, end + 4))
        {
            const std::string request = received.substr(0, end + 4);
            const Reply reply = script_(MethodOf(request), request);
            {
                const std::lock_guard guard(mutex_);
                requests_.push_back(request);
                changed_.notify_all();
            }
            if (!SendReply(connection, reply) || reply.close)
                return;
        }
    }
}

bool ScriptedRTSPServer::SendReply(int connection, const Reply& reply)
{
    const std::size_t piece = reply.pieceBytes == 0 ? reply.bytes.size() : reply.pieceBytes;
    for (std::size_t at = 0; at < reply.bytes.size(); at += piece)
    {
        const std::size_t size = std::min(piece, reply.bytes.size() - at);
        if (send(connection, &reply.bytes[at], size, MSG_NOSIGNAL) != static_cast<ssize_t>(size))
            return false;
    }
    return true;
}

void ScriptedRTSPServer::Send(const std::string& bytes)
{
    const std::lock_guard guard(mutex_);
    if (connection_ >= 0)
        send(connection_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

void ScriptedRTSPServer::CloseConnection()
{
    const std::lock_guard guard(mutex_);
    if (connection_ >= 0)
        shutdown(connection_, SHUT_RDWR);
}

std::vector<std::string> ScriptedRTSPServer::Requests() const
{
    const std::lock_guard guard(mutex_);
    return requests_;
}

std::string ScriptedRTSPServer::Methods() const
{
    std::string methods;
    for (const std::string& request : Requests())
        methods += (methods.empty() ? "" : " ") + MethodOf(request);
    return methods;
}

bool ScriptedRTSPServer::WaitUntil(const std::function<bool()>& condition)
{
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, kPatience, condition);
}

bool ScriptedRTSPServer::WaitForRequests(std::size_t count)
{
    return WaitUntil([&] { return requests_.size() >= count; });
}

bool ScriptedRTSPServer::WaitForMethod(const std::string& method)
{
    return WaitUntil(
        [&]
        {
            return std::any_of(requests_.begin(), requests_.end(),
                               [&](const std::string& request) { return MethodOf(request) == method; });
        });
}

} // namespace korvane::test
