#pragma once

#include "support/loopback.h"

#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace korvane::test
{

/// A device's RTSP port on loopback that answers as it is told. One connection at a time, on a thread of its
/// own; records each request.
class ScriptedRTSPServer
{
public:
    struct Reply
    {
        std::string bytes;          ///< sent as they stand; none keeps silent
        bool close = false;         ///< the connection, behind the bytes
        std::size_t pieceBytes = 0; ///< sends so many at a time; 0 all at once
    };
    using Script = std::function<Reply(const std::string& method, const std::string& request)>;

    explicit ScriptedRTSPServer(Script script = Ordinary);
    ~ScriptedRTSPServer();

    std::uint16_t Port() const { return listener_.Port(); }
    std::vector<std::string> Requests() const { return requests_.Get(); } ///< whole texts, of all connections
    std::string Methods() const; ///< of all requests, with blanks between
    bool WaitForRequests(std::size_t count) { return requests_.WaitForCount(count); }
    bool WaitForMethod(const std::string& method); ///< both: false if they don't come
    void Send(const std::string& bytes);           ///< on the connection that is open

    /// What a well-behaved device answers: a description with one H.264 stream, and session 4711 with a
    /// time-out of 30 s.
    static Reply Ordinary(const std::string& method, const std::string& request);
    /// A response with the request's CSeq, those header lines and that body.
    static std::string Response(const std::string& request, const std::string& headers,
                                const std::string& body = "", const std::string& status = "200 OK");
    static const std::string kDescription;

private:
    void Serve();
    void ServeConnection(int connection);
    bool SendReply(int connection, const Reply& reply);

    const Script script_;
    const LoopbackListener listener_;
    WatchedList<std::string> requests_;
    Watched<int> connection_{-1};
    std::thread thread_{[this] { Serve(); }};
};

} // namespace korvane::test
