#include "camera/media/jpeg_file.h"

namespace larkmoor::camera
{

namespace
{

constexpr std::uint8_t kApplication = 0xE0;
constexpr std::uint8_t kQuantisation = 0xDB;
constexpr std::uint8_t kFrame = 0xC0;
constexpr std::uint8_t kHuffman = 0xC4;
constexpr std::uint8_t kRestart = 0xDD;
constexpr std::uint8_t kScan = 0xDA;
constexpr std::size_t kTableBytes = 64;
constexpr std::size_t kEndBytes = 2; // end of image
constexpr std::size_t kFrameBytes = 15;

} // namespace

bool JpegFile::Read(std::span<const std::uint8_t> file)
{
    *this = JpegFile();
    for (std::size_t at = 2; at + 4 <= file.size();)
    {
        const std::uint8_t marker = file[at + 1];
        const std::size_t length = 2u + (static_cast<std::size_t>(file[at + 2]) << 8 | file[at + 3]);
        if (file[at] != 0xFF || length > file.size() - at)
            return false;
        const auto segment = file.subspan(at, length);
        const auto content = segment.subspan(4);
        at += length;
        if (marker == kApplication)
            application = file.first(at);
        else if (marker == kRestart)
            restartSegment = segment;
        else if (marker == kQuantisation && content.size() == kTableBytes + 1 && content[0] < 2)
            tables[content[0]] = content.subspan(1);
        else if (marker == kFrame)
            frame = content;
        else if (marker == kHuffman || marker == kScan)
            codes.push_back(segment);
        if (marker != kScan)
            continue;
        if (file.size() - at < kEndBytes)
            return false;
        scan = file.subspan(at, file.size() - at - kEndBytes);
        return frame.size() == kFrameBytes && !tables[0].empty() && !tables[1].empty() &&
               !application.empty();
    }
    return false;
}

} // namespace larkmoor::camera
