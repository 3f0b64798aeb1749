#include "platform/posix/http_connection.h"

#include <algorithm>
#include <cerrno>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

#include "platform/reserve.h"

namespace korvane::platform
{

namespace
{

constexpr std::uint32_t kNoLimitMs = 0x7FFFFFFF;
/// Held while a cache of connections ends: libcurl then sets SIGPIPE aside for the whole process and puts it
/// back, and two threads that do so at once would leave it set aside, behind the host's back.
std::mutex& SignalMutex()
{
    static std::mutex mutex;
    return mutex;
}

constexpr std::uint32_t kMultiDescriptors = 2;
constexpr long kReceiveBufferBytes = 32 * 1024; // one read of the network; a picture takes a few of them

curl_socket_t OpenSocket(void*, curlsocktype, curl_sockaddr* address)
{
    return Reserve::OpenDescriptors(
        1,
        [address] { return socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol); });
}

int CloseSocket(void*, curl_socket_t handle)
{
    const int result = close(handle);
    Reserve::DescriptorsClosed(1);
    return result;
}

} // namespace

HttpConnection::HttpConnection(HttpDevice device) : device_(std::move(device)), share_(curl_share_init())
{
    if (share_ == nullptr)
        return;
    curl_share_setopt(share_, CURLSHOPT_SHARE, CURL_LOCK_DATA_CONNECT);
    curl_share_setopt(share_, CURLSHOPT_SHARE, CURL_LOCK_DATA_DNS);
}

HttpConnection::~HttpConnection()
{
    Forget();
    const std::lock_guard lock(SignalMutex());
    if (share_ != nullptr)
        curl_share_cleanup(share_);
}

CURL* HttpConnection::Take(bool& reused)
{
    reused = kept_ != nullptr;
    return reused ? std::exchange(kept_, nullptr) : NewEasy();
}

void HttpConnection::GiveBack(CURL* easy, bool worthKeeping)
{
    if (worthKeeping && kept_ == nullptr)
        kept_ = easy;
    else
        curl_easy_cleanup(easy);
}

CURLM* HttpConnection::NewMulti()
{
    CURLM* multi = nullptr;
    Reserve::OpenDescriptors(kMultiDescriptors,
                             [&multi]
                             {
                                 multi = curl_multi_init();
                                 errno = ENOMEM; // the one reason
                                 return multi == nullptr ? -1 : 0;
                             });
    return multi;
}

void HttpConnection::EndMulti(CURLM* multi)
{
    {
        const std::lock_guard lock(SignalMutex());
        curl_multi_cleanup(multi);
    }
    Reserve::DescriptorsClosed(kMultiDescriptors);
}

void HttpConnection::Forget()
{
    learntScheme = HttpScheme::kNone;
    if (kept_ != nullptr)
        curl_easy_cleanup(std::exchange(kept_, nullptr));
}

CURL* HttpConnection::NewEasy() const
{
    CURL* const easy = share_ != nullptr ? curl_easy_init() : nullptr;
    if (easy == nullptr)
        return nullptr;
    curl_easy_setopt(easy, CURLOPT_SHARE, share_);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_PROXY, ""); // not even the one that the environment names
    curl_easy_setopt(easy, CURLOPT_NETRC, static_cast<long>(CURL_NETRC_IGNORED));
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(easy, CURLOPT_PATH_AS_IS, 1L);
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 0L); // a redirect is looked at before it is followed
    curl_easy_setopt(easy, CURLOPT_USERAGENT, device_.userAgent.c_str());
    curl_easy_setopt(easy, CURLOPT_BUFFERSIZE, kReceiveBufferBytes);
    curl_easy_setopt(easy, CURLOPT_OPENSOCKETFUNCTION, OpenSocket);
    curl_easy_setopt(easy, CURLOPT_CLOSESOCKETFUNCTION, CloseSocket);
    curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L); // a close never waits for a name look-up
    // libcurl takes 0 for five minutes.
    const std::uint32_t connectMs = device_.timeouts.connectMs == 0 ? kNoLimitMs : device_.timeouts.connectMs;
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(std::min(connectMs, kNoLimitMs)));
    return easy;
}

std::shared_ptr<HttpConnection> ConnectHttp(const HttpDevice& device)
{
    // Never undone: other parts of the process may use libcurl too.
    static const bool isReady = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
    return isReady && !device.host.empty() ? std::make_shared<HttpConnection>(device) : nullptr;
}

} // namespace korvane::platform
