#include "host/recording/frame_files.h"

#include "base/md5.h"
#include "host/base/failure.h"
#include "host/base/text.h"

#include <nlohmann/json.hpp>

#include <cerrno>
#include <cstring>
#include <utility>

namespace larkmoor::host
{

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
        {"md5", Md5Hex(frame.Data())},
    };
    const std::string text = line.dump() + '\n';
    file_.Write(text);
}

} // namespace larkmoor::host
