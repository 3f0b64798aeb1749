#include "camera/auth/authenticator.h"

#include "base/md5.h"
#include "base/text.h"

#include <algorithm>
#include <cctype>
#include <utility>

namespace larkmoor::camera
{

namespace
{

constexpr std::size_t kMostNonces = 4096; // several hundred clients with a connection or two each
constexpr std::chrono::minutes kNonceLife(5);

constexpr std::string_view kBlanksAndCommas = " \t,";

void SkipAny(std::string_view& text, std::string_view characters)
{
    text.remove_prefix(std::min(text.find_first_not_of(characters), text.size()));
}

std::string TakeName(std::string_view& text)
{
    const std::size_t end = std::min(text.find_first_of(" \t,=\""), text.size());
    std::string name(text.substr(0, end));
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    text.remove_prefix(end);
    return name;
}

/// False for a quoted text without an end.
bool TakeValue(std::string_view& text, std::string& value)
{
    if (!text.starts_with('"'))
    {
        const std::size_t end = std::min(text.find_first_of(kBlanksAndCommas), text.size());
        value = text.substr(0, end);
        text.remove_prefix(end);
        return true;
    }
    for (std::size_t i = 1; i < text.size(); ++i)
    {
        if (text[i] == '"')
        {
            text.remove_prefix(i + 1);
            return true;
        }
        if (text[i] == '\\' && ++i == text.size())
            return false;
        value += text[i];
    }
    return false;
}

std::string_view WithoutPadding(std::string_view text)
{
    while (text.ends_with('='))
        text.remove_suffix(1);
    return text;
}

} // namespace

std::map<std::string, std::string> ParseAuthParameters(std::string_view text)
{
    std::map<std::string, std::string> parameters;
    while (true)
    {
        SkipAny(text, kBlanksAndCommas);
        const std::string name = TakeName(text);
        SkipAny(text, " \t");
        if (name.empty() || !text.starts_with('='))
            return parameters;
        text.remove_prefix(1);
        SkipAny(text, " \t");
        std::string value;
        if (!TakeValue(text, value))
            return parameters;
        parameters.emplace(name, value);
    }
}

std::string DigestResponse(const DigestInput& input)
{
    const std::string secret = Md5Hex(input.user + ":" + input.realm + ":" + input.password);
    const std::string request = Md5Hex(input.method + ":" + input.uri);
    const std::string between =
        input.withQop ? input.nonce + ":" + input.count + ":" + input.clientNonce + ":auth" : input.nonce;
    return Md5Hex(secret + ":" + between + ":" + request);
}

Authenticator::Authenticator(Settings settings, FaultPlan& faults)
    : settings_(std::move(settings)),
      faults_(faults),
      scheme_(settings_.scheme),
      random_(std::random_device{}())
{
}

void Authenticator::SetScheme(AuthScheme scheme)
{
    const std::lock_guard guard(lock_);
    scheme_ = scheme;
}

AuthScheme Authenticator::Scheme() const
{
    const std::lock_guard guard(lock_);
    return scheme_;
}

Authenticator::Verdict Authenticator::Check(std::string_view method, std::string_view uri,
                                            std::string_view authorization)
{
    const std::lock_guard guard(lock_);
    bool stale = false;
    if (faults_.Active("auth-refuse") || faults_.Take("http-401-once") ||
        !Grants(method, uri, authorization, stale))
        return Refuse(stale);
    return {true, {}};
}

bool Authenticator::Grants(std::string_view method, std::string_view uri, std::string_view authorization,
                           bool& stale)
{
    if (scheme_ == AuthScheme::None)
        return true;
    std::string_view credentials = authorization;
    const std::string_view scheme = CutAt(credentials, ' ');
    const bool both = faults_.Active("auth-both");
    if ((both || scheme_ == AuthScheme::Basic) && EqualsIgnoringCase(scheme, "Basic"))
        return BasicMatches(credentials);
    if ((both || scheme_ == AuthScheme::Digest) && EqualsIgnoringCase(scheme, "Digest"))
        return DigestMatches(method, uri, credentials, stale);
    return false;
}

bool Authenticator::BasicMatches(std::string_view credentials) const
{
    credentials = Trim(credentials);
    const std::string wanted = Base64(AsBytes(settings_.user + ":" + settings_.password));
    return WithoutPadding(credentials) == WithoutPadding(wanted);
}

bool Authenticator::DigestMatches(std::string_view method, std::string_view uri, std::string_view parameters,
                                  bool& stale)
{
    std::map<std::string, std::string> given = ParseAuthParameters(parameters);
    if (given["username"] != settings_.user || given["realm"] != settings_.realm)
        return false;
    if (settings_.checksUri && given["uri"] != uri)
        return false;
    const std::string& algorithm = given["algorithm"];
    if (!algorithm.empty() && !EqualsIgnoringCase(algorithm, "MD5"))
        return false;

    const bool withQop = !given["qop"].empty();
    if (withQop && given["qop"] != "auth")
        return false;
    const std::string wanted =
        DigestResponse({settings_.user, settings_.realm, settings_.password, std::string(method),
                        given["uri"], given["nonce"], given["nc"], given["cnonce"], withQop});
    if (!EqualsIgnoringCase(given["response"], wanted))
        return false;
    // Only who knows the password is told that a fresh nonce is all that it needs.
    stale = !UseNonce(given["nonce"]);
    return !stale;
}

bool Authenticator::UseNonce(const std::string& nonce)
{
    const FaultPlan::Clock::time_point oldest = FaultPlan::Clock::now() - kNonceLife;
    while (!nonces_.empty() && nonces_.front().made < oldest)
        nonces_.pop_front();
    const auto known = std::find_if(nonces_.begin(), nonces_.end(),
                                    [&](const Nonce& candidate) { return candidate.text == nonce; });
    if (known == nonces_.end())
        return false;
    if (faults_.Active("auth-stale"))
        nonces_.erase(known);
    return true;
}

std::string Authenticator::DigestChallenge(bool stale)
{
    if (nonces_.size() >= kMostNonces)
        nonces_.pop_front();
    const std::string seed = std::to_string(random_()) + std::to_string(random_());
    nonces_.push_back({Md5Hex(seed), FaultPlan::Clock::now()});
    std::string challenge = "Digest realm=\"" + settings_.realm + "\", nonce=\"" + nonces_.back().text + "\"";
    if (settings_.withQop)
        challenge += ", qop=\"auth\", algorithm=MD5";
    if (stale && !faults_.Active("auth-stale", "no-flag"))
        challenge += ", stale=true";
    return challenge;
}

Authenticator::Verdict Authenticator::Refuse(bool stale)
{
    const std::string basic = "Basic realm=\"" + settings_.realm + "\"";
    if (faults_.Active("auth-both", "digest-first"))
        return {false, {DigestChallenge(stale), basic}};
    if (faults_.Active("auth-both"))
        return {false, {basic, DigestChallenge(stale)}};
    if (scheme_ == AuthScheme::Digest)
        return {false, {DigestChallenge(stale)}};
    return {false, {basic}};
}

} // namespace larkmoor::camera
