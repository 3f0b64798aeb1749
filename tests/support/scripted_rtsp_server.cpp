#include "support/scripted_rtsp_server.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

namespace korvane::test
{

namespace
{

std::string MethodOf(const std::string& request)
{
    return request.substr(0, request.find(' '));
}

} // namespace

const std::string ScriptedRTSPServer::kDescription =
    "v=0\r\nm=video 5560 RTP/AVP 97\r\nc=IN IP4 239.128.1.99/16\r\n"
    "a=rtpmap:97 H264/90000\r\na=control:trackID=1\r\n";

std::string ScriptedRTSPServer::Response(const std::string& request, const std::string& headers,
                                         const std::string& body, const std::string& status)
{
    const std::size_t cseq = request.find("CSeq: ");
    const std::string line = request.substr(cseq, request.find("\r\n", cseq) - cseq);
    const std::string length = "Content-Length: " + std::to_string(body.size()) + "\r\n";
    return "RTSP/1.0 " + status + "\r\n" + line + "\r\n" + headers + (body.empty() ? "" : length) + "\r\n" +
           body;
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

ScriptedRTSPServer::ScriptedRTSPServer(Script script) : script_(std::move(script)) {}

ScriptedRTSPServer::~ScriptedRTSPServer()
{
    listener_.End(); // ends the accept, and with it the loop
    connection_.Change([](int open) { shutdown(open, SHUT_RDWR); });
    thread_.join();
}

void ScriptedRTSPServer::Serve()
{
    for (int accepted; (accepted = listener_.Accept()) >= 0;)
    {
        connection_.Set(accepted);
        ServeConnection(accepted);
        connection_.Change([](int& open) { close(std::exchange(open, -1)); });
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
            requests_.Add(request);
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
    connection_.Change([&](int open) { send(open, bytes.data(), bytes.size(), MSG_NOSIGNAL); });
}

std::string ScriptedRTSPServer::Methods() const
{
    std::string methods;
    for (const std::string& request : Requests())
        methods += (methods.empty() ? "" : " ") + MethodOf(request);
    return methods;
}

bool ScriptedRTSPServer::WaitForMethod(const std::string& method)
{
    return requests_.WaitFor([&](const auto& all) { return std::ranges::count(all, method, MethodOf) != 0; });
}

} // namespace korvane::test
