#include "host/recording/frame_files.h"

#include "host/base/failure.h"
#include "host/base/text.h"

#include <nlohmann/json.hpp>
#include <openssl/evp.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

namespace larkmoor::host
{

std::string Md5(std::span<const std::uint8_t> bytes)
{
    // "-fips": a checksum needs no approval, and systems that ask for it offer none of this name.
    static const EVP_MD* const kAlgorithm = EVP_MD_fetch(nullptr, "MD5", "-fips");
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned length = 0;
    if (kAlgorithm == nullptr ||
        EVP_Digest(bytes.data(), bytes.size(), digest.data(), &length, kAlgorithm, nullptr) != 1)
        throw Failure(ExitStatus::Internal, "this system has no MD5");
    static constexpr const char* kDigits = "0123456789abcdef";
    std::string text;
    for (unsigned i = 0; i < length; ++i)
    {
        text += kDigits[digest[i] >> 4];
        text += kDigits[digest[i] & 0x0F];
    }
    return text;
}

OutputFile::OutputFile(std::filesystem::path file)
    : path_(std::move(file)), stream_(path_, std::ios::binary | std::ios::trunc)
{
    Check();
}

void OutputFile::Check() const
{
    if (!stream_)
        throw Failure(ExitStatus::Output, "can't write " + path_.string() + ": " + std::strerror(errno));
}

void OutputFile::Write(std::span<const char> bytes)
{
    stream_.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    Check();
}

void OutputFile::Finish()
{
    stream_.flush();
    Check();
}

void RawWriter::Write(const Frame& frame)
{
    if (frame.Info().isAudio != ofSound_)
        return;
    file_.Write({reinterpret_cast<const char*>(frame.Data().data()), frame.Data().size()});
}

void FrameLog::Write(const Frame& frame)
{
    const FrameInfo& info = frame.Info();
    const nlohmann::ordered_json line = {
        {"time", IsoTime(info.time)},
        {"delivered", IsoTime(info.delivered)},
        {"format", FormatName(info.format)},
        {"size", frame.Data().size()},
        {"width", info.width},
        {"height", info.height},
        {"md5", Md5(frame.Data())},
    };
    const std::string text = line.dump() + '\n';
    file_.Write(text);
}

} // namespace larkmoor::host
