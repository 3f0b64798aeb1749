#pragma once

#include "camera/fault/fault_plan.h"

#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace larkmoor::camera
{

enum class AuthScheme
{
    None,
    Basic,  ///< RFC 7617
    Digest, ///< RFC 7616 with MD5, also in the older form of RFC 2617 and RFC 2069 (without qop)
};

/// As command lines and parameters call them; parameters say "disable" for none.
inline const std::map<std::string, AuthScheme> kAuthSchemes = {
    {"none", AuthScheme::None}, {"basic", AuthScheme::Basic}, {"digest", AuthScheme::Digest}};

/// The parameters behind the scheme of an "Authorization" header (RFC 7235, section 2.1): `name=value` or
/// `name="value"` with "," between them. Names come in lower case; of two with one name the first counts.
/// What does not follow the grammar ends the reading, and what was read before it stays.
std::map<std::string, std::string> ParseAuthParameters(std::string_view text);

/// What a client proves that it knows the password with.
struct DigestInput
{
    std::string user, realm, password;
    std::string method, uri;
    std::string nonce;
    std::string count, clientNonce; ///< "nc" and "cnonce", for qop "auth"
    bool withQop = false;
};

/// The "response" of a Digest answer with MD5 (RFC 7616, section 3.4.1), 32 lower-case hexadecimal digits.
std::string DigestResponse(const DigestInput& input);

/// Judges the credentials of requests; serves HTTP and RTSP alike. Any thread.
class Authenticator
{
public:
    struct Settings
    {
        AuthScheme scheme = AuthScheme::None;
        std::string realm = "larkmoor-camera";
        std::string user = "root";
        std::string password;
        bool withQop = true;   ///< false offers Digest as RTSP servers do, without "qop"
        bool checksUri = true; ///< false takes a Digest answer for any address, as RTSP servers do
    };

    struct Verdict
    {
        bool granted = false;
        std::vector<std::string> challenges; ///< values of "WWW-Authenticate" for the refusal, in order
    };

    /// `faults` must outlive this object; auth-stale, auth-both, auth-refuse and http-401-once are played
    /// here.
    Authenticator(Settings settings, FaultPlan& faults);

    /// `authorization` is the value of the header "Authorization", "" if there was none; `uri` the request's
    /// target as it came. A nonce may be used by any number of requests, with growing or without counts,
    /// until auth-stale or age (5 minutes) makes it stale.
    Verdict Check(std::string_view method, std::string_view uri, std::string_view authorization);

    /// Changes the scheme, as the parameter of the device does.
    void SetScheme(AuthScheme scheme);
    AuthScheme Scheme() const;

private:
    struct Nonce
    {
        std::string text;
        FaultPlan::Clock::time_point made;
    };

    bool Grants(std::string_view method, std::string_view uri, std::string_view authorization, bool& stale);
    bool BasicMatches(std::string_view credentials) const;
    bool DigestMatches(std::string_view method, std::string_view uri, std::string_view parameters,
                       bool& stale);
    bool UseNonce(const std::string& nonce);
    Verdict Refuse(bool stale);
    std::string DigestChallenge(bool stale);

    const Settings settings_;
    FaultPlan& faults_;
    mutable std::mutex lock_; // guards what follows; FaultPlan's lock comes behind it
    AuthScheme scheme_;
    std::deque<Nonce> nonces_; // the youngest ones; each client may have one in use
    std::mt19937_64 random_;
};

} // namespace larkmoor::camera
