// The floor under every receiver: N RTSP sessions, one thread each, whose media bytes are read and thrown
// away. bare_receiver udp|tcp PORT SECONDS PATH... Prints one line: packets (UDP) or reads (TCP), and bytes.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace
{

std::atomic<unsigned long> reads{0};
std::atomic<unsigned long> bytes{0};

class Session
{
public:
    Session(bool udp, int port, std::string url) : udp_(udp), url_(std::move(url))
    {
        sockaddr_in peer{};
        peer.sin_family = AF_INET;
        peer.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        peer.sin_port = htons(static_cast<std::uint16_t>(port));
        control_ = socket(AF_INET, SOCK_STREAM, 0);
        if (connect(control_, reinterpret_cast<const sockaddr*>(&peer), sizeof peer) != 0)
            Fail("connect");
        if (udp_)
            OpenMedia();
    }

    void Play()
    {
        const std::string description = Ask("DESCRIBE", url_, "Accept: application/sdp\r\n");
        std::string base = Header(description, "Content-Base: ");
        if (base.empty())
            base = url_ + "/";
        const std::size_t video = description.find("m=video");
        const std::size_t at = description.find("a=control:", video);
        std::string control = description.substr(at + 10, description.find_first_of("\r\n", at) - at - 10);
        if (control.find("://") == std::string::npos)
            control = base + (base.ends_with("/") ? "" : "/") + control;
        const std::string transport =
            udp_ ? "Transport: RTP/AVP;unicast;client_port=" + std::to_string(mediaPort_) + "-" +
                       std::to_string(mediaPort_ + 1) + "\r\n"
                 : "Transport: RTP/AVP/TCP;unicast;interleaved=0-1\r\n";
        std::string session = Header(Ask("SETUP", control, transport), "Session: ");
        session = session.substr(0, session.find(';'));
        Ask("PLAY", url_, "Session: " + session + "\r\nRange: npt=0.000-\r\n");
    }

    void ReadUntil(std::chrono::steady_clock::time_point end)
    {
        std::vector<char> buffer(65536);
        const int handle = udp_ ? media_ : control_;
        const timeval patience{1, 0};
        setsockopt(handle, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
        while (std::chrono::steady_clock::now() < end)
        {
            const ssize_t got = recv(handle, buffer.data(), buffer.size(), 0);
            if (got <= 0)
                continue;
            reads.fetch_add(1, std::memory_order_relaxed);
            bytes.fetch_add(static_cast<unsigned long>(got), std::memory_order_relaxed);
        }
    }

private:
    [[noreturn]] static void Fail(const char* what)
    {
        std::perror(what);
        std::exit(1);
    }

    void OpenMedia()
    {
        media_ = socket(AF_INET, SOCK_DGRAM, 0);
        const int room = 1 << 20;
        setsockopt(media_, SOL_SOCKET, SO_RCVBUF, &room, sizeof room);
        sockaddr_in own{};
        own.sin_family = AF_INET;
        own.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (bind(media_, reinterpret_cast<const sockaddr*>(&own), sizeof own) != 0)
            Fail("bind");
        socklen_t size = sizeof own;
        getsockname(media_, reinterpret_cast<sockaddr*>(&own), &size);
        mediaPort_ = ntohs(own.sin_port);
    }

    static std::string Header(const std::string& response, const std::string& name)
    {
        const std::size_t at = response.find(name);
        if (at == std::string::npos)
            return "";
        return response.substr(at + name.size(), response.find_first_of("\r\n", at) - at - name.size());
    }

    std::string Ask(const std::string& method, const std::string& url, const std::string& headers)
    {
        const std::string request = method + " " + url + " RTSP/1.0\r\nCSeq: " + std::to_string(++sequence_) +
                                    "\r\n" + headers + "\r\n";
        if (send(control_, request.data(), request.size(), 0) != static_cast<ssize_t>(request.size()))
            Fail("send");
        std::string response;
        std::array<char, 4096> part{};
        std::size_t whole = 0;
        while (whole == 0 || response.size() < whole)
        {
            const ssize_t got = recv(control_, part.data(), whole == 0 ? 1 : part.size(), 0);
            if (got <= 0)
                Fail("recv");
            response.append(part.data(), static_cast<std::size_t>(got));
            if (whole == 0 && response.ends_with("\r\n\r\n"))
                whole =
                    response.size() +
                    static_cast<std::size_t>(std::atoi(("0" + Header(response, "Content-Length: ")).c_str()));
        }
        return response;
    }

    const bool udp_;
    const std::string url_;
    int control_ = -1;
    int media_ = -1;
    int mediaPort_ = 0;
    int sequence_ = 0;
};

} // namespace

int main(int argc, char** argv)
{
    if (argc < 5)
        return 2;
    const bool udp = std::string(argv[1]) == "udp";
    const int port = std::atoi(argv[2]);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(std::atoi(argv[3]));
    std::vector<std::thread> threads;
    for (int i = 4; i < argc; ++i)
        threads.emplace_back(
            [=, path = std::string(argv[i])]
            {
                Session session(udp, port, "rtsp://127.0.0.1:" + std::to_string(port) + "/" + path);
                session.Play();
                session.ReadUntil(end);
            });
    for (std::thread& thread : threads)
        thread.join();
    std::printf("{\"frames\": 0, \"reads\": %lu, \"bytes\": %lu}\n", reads.load(), bytes.load());
    return 0;
}
