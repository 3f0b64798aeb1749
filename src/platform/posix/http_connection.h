#pragma once

#include "platform/http_exchange.h"

#include <curl/curl.h>
#include <mutex>

namespace korvane::platform
{

/// The libcurl handles behind the exchanges with one device: the cache of network connections, and one easy
/// handle kept between exchanges, which remembers the nonce of Digest.
///
/// A cache of network connections would usually be a multi handle's, but that costs two descriptors for as
/// long as it lives. Here it is a share handle's, which costs none, and a multi handle lives only as long as
/// an exchange. libcurl allows one thread at a time on what hangs on a share handle, hence the mutex.
class HttpConnection
{
public:
    explicit HttpConnection(HttpDevice device);
    ~HttpConnection();

    const HttpDevice& Device() const { return device_; }

    /// Held for every call into libcurl for this connection but the wait in a multi handle. No call that it
    /// is held for waits for the network.
    std::mutex& Mutex() { return mutex_; }

    /// An easy handle, with everything set that exchanges have in common; null when out of memory. `reused`
    /// tells whether an earlier exchange left it. Mutex held.
    CURL* Take(bool& reused);

    /// Takes back what `Take` gave, outside any multi handle. Only a handle whose last exchange was not
    /// refused is worth keeping. Mutex held.
    void GiveBack(CURL* easy, bool worthKeeping);

    /// Forgets what is known of authentication: the handle that is kept, and the scheme. Mutex held.
    void Forget();

    /// A multi handle; null when out of memory. Mutex held.
    static CURLM* NewMulti();
    /// Ends a multi handle with nothing in it. Mutex held.
    static void EndMulti(CURLM* multi);

    /// What answered the last challenge, when any is answered underneath. The exchange's thread.
    HttpScheme learntScheme = HttpScheme::kNone;

private:
    CURL* NewEasy() const;

    const HttpDevice device_;
    std::mutex mutex_;
    CURLSH* const share_;
    CURL* kept_ = nullptr;
};

} // namespace korvane::platform
