#include "host/base/web_probe.h"

#include <curl/curl.h>

#include <cstring>
#include <memory>

namespace larkmoor::host
{

namespace
{

using Handle = std::unique_ptr<CURL, decltype(&curl_easy_cleanup)>;

// Any answer is one, also from a server that speaks something else.
std::string Explain(CURL* handle, CURLcode result)
{
    double connected = 0;
    long error = 0;
    curl_easy_getinfo(handle, CURLINFO_CONNECT_TIME, &connected);
    curl_easy_getinfo(handle, CURLINFO_OS_ERRNO, &error);
    switch (result)
    {
    case CURLE_OK:
    case CURLE_WEIRD_SERVER_REPLY:
        return "";
    case CURLE_OPERATION_TIMEDOUT:
        return connected > 0 ? "it takes a connection, but does not answer" : "no answer";
    case CURLE_GOT_NOTHING:
    case CURLE_RECV_ERROR:
        return "it hangs up without an answer";
    default:
        return error != 0 ? std::strerror(static_cast<int>(error)) : curl_easy_strerror(result);
    }
}

} // namespace

std::string ProbeWebServer(const std::string& address, std::uint16_t port, std::chrono::milliseconds patience)
{
    const Handle handle(curl_easy_init(), &curl_easy_cleanup);
    const std::string url = "http://" + address + ":" + std::to_string(port) + "/";
    CURL* const curl = handle.get();
    curl_easy_setopt(curl, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl, CURLOPT_NOBODY, 1L);
    curl_easy_setopt(curl, CURLOPT_HTTP09_ALLOWED, 1L);
    curl_easy_setopt(curl, CURLOPT_IPRESOLVE, CURL_IPRESOLVE_V4);
    curl_easy_setopt(curl, CURLOPT_PROXY, "");
    curl_easy_setopt(curl, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl, CURLOPT_TIMEOUT_MS, static_cast<long>(patience.count()));
    return Explain(curl, curl_easy_perform(curl));
}

} // namespace larkmoor::host
