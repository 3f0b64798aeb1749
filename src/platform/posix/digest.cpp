#include "platform/digest.h"

#include <openssl/evp.h>

namespace korvane::platform
{

std::array<std::uint8_t, 16> Md5(std::span<const std::uint8_t> bytes)
{
    // Fetched once and never freed: a fetch takes locks and a look-up, and OpenSSL frees its own at exit.
    // "-fips" finds MD5 also where the system's default properties ask for approved algorithms only.
    static EVP_MD* const algorithm = EVP_MD_fetch(nullptr, "MD5", "-fips");
    std::array<std::uint8_t, 16> digest{};
    if (algorithm == nullptr ||
        EVP_Digest(bytes.data(), bytes.size(), digest.data(), nullptr, algorithm, nullptr) != 1)
        digest = {};
    return digest;
}

} // namespace korvane::platform
