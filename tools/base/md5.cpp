#include "base/md5.h"

#include "base/text.h"

#include <openssl/evp.h>

#include <stdexcept>

namespace larkmoor
{

std::string Md5Hex(std::span<const std::uint8_t> bytes)
{
    // "-fips": a checksum needs no approval, and systems that ask for it offer none of this name.
    static const EVP_MD* const kMd5 =
        EVP_MD_fetch(nullptr, "MD5", "-fips"); // one for the life of the process
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (kMd5 == nullptr || EVP_Digest(bytes.data(), bytes.size(), digest, &length, kMd5, nullptr) != 1)
        throw std::runtime_error("this system has no MD5");
    return Hex({digest, length});
}

std::string Md5Hex(std::string_view text)
{
    return Md5Hex(AsBytes(text));
}

} // namespace larkmoor
