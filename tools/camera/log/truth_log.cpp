#include "camera/log/truth_log.h"

#include <openssl/evp.h>

#include <utility>

namespace larkmoor::camera
{

namespace
{

const EVP_MD* Md5()
{
    static const EVP_MD* const kMd5 =
        EVP_MD_fetch(nullptr, "MD5", "-fips"); // one for the life of the process
    return kMd5;
}

} // namespace

std::string Md5Hex(std::span<const std::uint8_t> bytes)
{
    static constexpr char kDigits[] = "0123456789abcdef";
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    std::string text;
    if (EVP_Digest(bytes.data(), bytes.size(), digest, &length, Md5(), nullptr) != 1)
        return text;
    for (unsigned int i = 0; i < length; ++i)
        text += {kDigits[digest[i] >> 4], kDigits[digest[i] & 15]};
    return text;
}

std::string Md5Hex(std::string_view text)
{
    return Md5Hex(std::span(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()));
}

bool TruthLog::Open(const std::string& path, std::string& error)
{
    if (!lines_.Open(path, error))
        return false;
    hasFile_ = true;
    wanted_ = true;
    return true;
}

void TruthLog::SetListener(Listener listener)
{
    const std::lock_guard guard(lock_);
    listener_ = std::move(listener);
    wanted_ = hasFile_ || listener_;
}

void TruthLog::Record(const std::string& stream, const std::string& kind, bool key,
                      std::span<const std::uint8_t> bytes, std::optional<std::uint32_t> rtp)
{
    if (!Wanted())
        return;
    const TruthUnit unit{stream, kind, key, bytes.size(), Md5Hex(bytes), rtp};
    const std::lock_guard guard(lock_);
    if (hasFile_)
    {
        lines_.Write("{\"stream\":" + JsonLines::Quote(stream) + ",\"kind\":" + JsonLines::Quote(kind) +
                     ",\"key\":" + (key ? "true" : "false") + ",\"size\":" + std::to_string(unit.size) +
                     ",\"md5\":\"" + unit.md5 + "\",\"rtp\":" + (rtp ? std::to_string(*rtp) : "null") + "}");
    }
    if (listener_)
        listener_(unit);
}

} // namespace larkmoor::camera
