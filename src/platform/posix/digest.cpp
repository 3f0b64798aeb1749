#include "platform/digest.h"

#include <openssl/evp.h>

namespace korvane::platform
{

bool Md5(std::span<const std::uint8_t> bytes, std::array<std::uint8_t, 16>& digest)
{
    // Fetched once and never freed: a fetch takes locks and a look-up, and OpenSSL frees its own at exit.
    // "-fips" finds MD5 also where the system's default properties ask for approved algorithms only.
    static EVP_MD* const algorithm = EVP_MD_fetch(nullptr, "MD5", "-fips");
    unsigned length = 0;
    if (algorithm != nullptr &&
        EVP_Digest(bytes.data(), bytes.size(), digest.data(), &length, algorithm, nullptr) == 1 &&
        length == digest.size())
    {
        return true;
    }
    digest.fill(0);
    return false;
}

} // namespace korvane::platform
