#include "host/contract/frame.h"

#include <algorithm>
#include <chrono>
#include <cstring>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#else
#define ASAN_POISON_MEMORY_REGION(address, size) (static_cast<void>(address), static_cast<void>(size))
#define ASAN_UNPOISON_MEMORY_REGION(address, size) (static_cast<void>(address), static_cast<void>(size))
#endif

namespace larkmoor::host
{

namespace
{

constexpr std::uint8_t kGuard = 0xA7; // neither a start code's byte nor a JPEG marker's

bool IsGuard(std::span<const std::uint8_t> bytes)
{
    return std::ranges::all_of(bytes, [](std::uint8_t byte) { return byte == kGuard; });
}

} // namespace

bool IsKeyFrame(std::uint32_t format)
{
    return format == kFormatJpeg || format == kFormatMpeg4Key || format == kFormatH264Key;
}

std::string FormatName(std::uint32_t format)
{
    std::string name;
    for (unsigned shift = 0; shift < 32; shift += 8)
    {
        const auto c = static_cast<char>(format >> shift & 0xFF);
        name += c > 0x20 && c < 0x7F ? c : '?';
    }
    return name;
}

std::int64_t UnixMicroseconds(const SYSTEMTIME& time)
{
    using namespace std::chrono;
    const sys_days day = year(time.year) / month(time.month) / time.day;
    const auto moment = day.time_since_epoch() + hours(time.hour) + minutes(time.minute) +
                        seconds(time.second) + milliseconds(time.milliseconds);
    return duration_cast<microseconds>(moment).count();
}

Frame::Frame(std::size_t capacity, FaultHandler onFault)
    : capacity_(capacity), onFault_(std::move(onFault)), bytes_(new std::uint8_t[capacity + 2 * kGuardBytes])
{
    std::memset(bytes_.get(), kGuard, kGuardBytes);
}

Frame::~Frame()
{
    ASAN_UNPOISON_MEMORY_REGION(bytes_.get(), capacity_ + 2 * kGuardBytes);
}

void Frame::Prepare(std::uint32_t formatCode, std::size_t room, bool isAudio)
{
    ASAN_UNPOISON_MEMORY_REGION(bytes_.get(), capacity_ + 2 * kGuardBytes);
    room_ = room;
    size_ = 0;
    info_ = FrameInfo();
    info_.format = formatCode;
    info_.isAudio = isAudio;
    std::memset(bytes_.get() + kGuardBytes + room_, kGuard, kGuardBytes);
}

bool Frame::GuardsIntact() const
{
    return IsGuard({bytes_.get(), kGuardBytes}) && IsGuard({bytes_.get() + kGuardBytes + room_, kGuardBytes});
}

void Frame::Seal()
{
    ASAN_POISON_MEMORY_REGION(bytes_.get(), capacity_ + 2 * kGuardBytes);
}

void Frame::SetData(const std::uint8_t* data, std::uint32_t sizeBytes)
{
    if (data == nullptr && sizeBytes != 0)
        return onFault_("SetData without data");
    if (sizeBytes > room_)
        onFault_("SetData of " + std::to_string(sizeBytes) + " bytes into a frame of " +
                 std::to_string(room_));
    size_ = std::min<std::size_t>(sizeBytes, room_);
    std::copy_n(data, size_, bytes_.get() + kGuardBytes);
}

void Frame::SetDataSize(std::uint32_t sizeBytes)
{
    if (sizeBytes > room_)
        onFault_("SetDataSize of " + std::to_string(sizeBytes) + " bytes in a frame of " +
                 std::to_string(room_));
    size_ = std::min<std::size_t>(sizeBytes, room_);
}

void Frame::SetTimeNow()
{
    using namespace std::chrono;
    info_.time = duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
}

void Frame::SetTime(const SYSTEMTIME* captureTime)
{
    if (captureTime == nullptr)
        return onFault_("SetTime without a time");
    info_.time = UnixMicroseconds(*captureTime);
}

void Frame::SetCodecConfig(std::uint32_t sizeBytes, const std::uint8_t* config)
{
    constexpr std::uint32_t kLargestConfig = 1024; // an AudioSpecificConfig needs a few bytes
    if (sizeBytes > kLargestConfig || (config == nullptr && sizeBytes != 0))
        return onFault_("SetCodecConfig of " + std::to_string(sizeBytes) + " bytes");
    info_.codecConfig.assign(config, config + sizeBytes);
}

void Frame::SetAudioFormat(std::uint32_t sampleRate, std::uint8_t /*reserved*/, bool stereo)
{
    info_.sampleRate = sampleRate;
    info_.stereo = stereo;
}

} // namespace larkmoor::host
