#include "host/recording/matroska_writer.h"

#include "base/annexb.h"

#include <utility>

namespace larkmoor::host
{

namespace
{

constexpr AVRational kMilliseconds = {1, 1000};
constexpr AVRational kMicroseconds = {1, 1'000'000};
constexpr int kPictures = 0; // streams of a file
constexpr int kSound = 1;

constexpr std::size_t kStartCodeBytes = 3;

using ByteSpan = std::span<const std::uint8_t>;

/// The sequence and picture parameter sets of a key frame, each behind a four-byte start code, as a player
/// wants them in front of a recording. Empty if either kind is missing.
std::vector<std::uint8_t> H264Headers(ByteSpan keyFrame)
{
    std::vector<std::uint8_t> headers;
    bool hasSequence = false;
    bool hasPicture = false;
    for (const NalUnit& unit : SplitAnnexB(keyFrame))
    {
        const ByteSpan bytes = keyFrame.subspan(unit.offset, unit.size);
        const NalType type = NalTypeOf(bytes[0]);
        if (type != kNalSps && type != kNalPps)
            continue;
        (type == kNalSps ? hasSequence : hasPicture) = true;
        headers.insert(headers.end(), {0, 0, 0, 1});
        headers.insert(headers.end(), bytes.begin(), bytes.end());
    }
    return hasSequence && hasPicture ? headers : std::vector<std::uint8_t>();
}

/// What stands in front of the first picture of an MPEG-4 key frame (ISO/IEC 14496-2, 6.2: visual object
/// sequence, visual object, video object layer). Empty without a picture or without a layer.
std::vector<std::uint8_t> Mpeg4Headers(ByteSpan keyFrame)
{
    constexpr std::uint8_t kFirstLayer = 0x20;
    constexpr std::uint8_t kLastLayer = 0x2F;
    constexpr std::uint8_t kGroup = 0xB3;
    constexpr std::uint8_t kPicture = 0xB6;
    bool hasLayer = false;
    for (std::size_t at = FindStartCode(keyFrame, 0); at + kStartCodeBytes < keyFrame.size();
         at = FindStartCode(keyFrame, at + kStartCodeBytes))
    {
        const std::uint8_t code = keyFrame[at + kStartCodeBytes];
        hasLayer = hasLayer || (code >= kFirstLayer && code <= kLastLayer);
        if (code == kGroup || code == kPicture)
            return hasLayer ? std::vector<std::uint8_t>(keyFrame.begin(),
                                                        keyFrame.begin() + static_cast<std::ptrdiff_t>(at))
                            : std::vector<std::uint8_t>();
    }
    return {};
}

std::vector<std::uint8_t> CodecHeaders(AVCodecID codec, std::span<const std::uint8_t> keyFrame)
{
    if (codec == AV_CODEC_ID_H264)
        return H264Headers(keyFrame);
    return codec == AV_CODEC_ID_MPEG4 ? Mpeg4Headers(keyFrame) : std::vector<std::uint8_t>();
}

void DescribePictures(AVCodecParameters& parameters, const FrameInfo& info,
                      std::span<const std::uint8_t> keyFrame)
{
    parameters.codec_type = AVMEDIA_TYPE_VIDEO;
    parameters.codec_id = CodecOfFormat(info.format);
    parameters.width = static_cast<int>(info.width);
    parameters.height = static_cast<int>(info.height);
    SetHeaders(parameters, CodecHeaders(parameters.codec_id, keyFrame));
}

} // namespace

std::int64_t Timeline::Place(std::int64_t timeMicroseconds)
{
    const std::int64_t time = timeMicroseconds / 1000;
    if (!origin_)
    {
        origin_ = time;
        last_ = 0;
        return 0;
    }

    std::int64_t place = time - *origin_;
    if (place > last_)
    {
        distance_ = place - last_ < kLeap ? place - last_ : distance_;
    }
    else
    {
        ++moved_;
        if (place < last_ - kLeap)
        {
            place = last_ + distance_;
            origin_ = time - place;
        }
        else
        {
            place = last_ + 1;
        }
    }
    last_ = place;
    return place;
}

MatroskaWriter::MatroskaWriter(std::filesystem::path file, bool withSound)
    : path_(std::move(file)), waitsForSound_(withSound)
{
    av_log_set_level(AV_LOG_ERROR);
}

MatroskaWriter::~MatroskaWriter() = default;

bool MatroskaWriter::NeedsNewFile(const FrameInfo& keyFrame) const
{
    return !container_ || files_.back().width != keyFrame.width || files_.back().height != keyFrame.height ||
           CodecOfFormat(files_.back().format) != CodecOfFormat(keyFrame.format) ||
           (sound_ && soundInfo_ && !sound_->Fits(*soundInfo_));
}

std::filesystem::path MatroskaWriter::NextPath() const
{
    if (files_.empty())
        return path_;
    return path_.parent_path() /
           (path_.stem().string() + '-' + std::to_string(files_.size() + 1) + path_.extension().string());
}

void MatroskaWriter::Open(const FrameInfo& keyFrame, Bytes bytes)
{
    Finish();
    const std::filesystem::path path = NextPath();
    auto container = std::make_unique<OutputContainer>(path, "matroska");
    DescribePictures(*container->AddStream(kMilliseconds).codecpar, keyFrame, bytes);
    if (soundInfo_)
    {
        if (!sound_ || !sound_->Fits(*soundInfo_))
            sound_ = std::make_unique<SoundTrack>(*soundInfo_, SoundTrack::File::Matroska);
        sound_->Describe(*container->AddStream(kMilliseconds).codecpar);
    }
    container->Begin();
    container_ = std::move(container);
    timeline_ = Timeline();
    RecordedFile file;
    file.path = path;
    file.format = keyFrame.format;
    file.width = keyFrame.width;
    file.height = keyFrame.height;
    file.firstTime = file.lastTime = keyFrame.time;
    files_.push_back(file);
}

void MatroskaWriter::Write(const Frame& frame)
{
    const FrameInfo& info = frame.Info();
    if (CodecOfFormat(info.format) == AV_CODEC_ID_NONE)
        return;
    if (info.isAudio)
    {
        soundInfo_ = info;
        if (std::exchange(waitsForSound_, false))
            WriteHeld();
        WriteSound(info, frame.Data());
    }
    else if (!waitsForSound_ || !Hold(info, frame.Data()))
        WritePicture(info, frame.Data());
}

// False if there is no room, and then no waiting any more.
bool MatroskaWriter::Hold(const FrameInfo& info, Bytes bytes)
{
    if (heldBytes_ + bytes.size() > kMostHeldBytes)
    {
        waitsForSound_ = false;
        WriteHeld();
        return false;
    }
    heldBytes_ += bytes.size();
    held_.push_back({info, {bytes.begin(), bytes.end()}});
    return true;
}

void MatroskaWriter::WriteHeld()
{
    for (const Held& frame : held_)
        WritePicture(frame.info, frame.bytes);
    held_.clear();
    heldBytes_ = 0;
}

void MatroskaWriter::WritePicture(const FrameInfo& info, Bytes bytes)
{
    const bool isKey = IsKeyFrame(info.format);
    if (isKey && NeedsNewFile(info))
        Open(info, bytes);
    if (!container_)
        return; // nothing can be played before the first key frame
    container_->Write(kPictures, bytes, kMilliseconds, timeline_.Place(info.time), isKey);
    RecordedFile& file = files_.back();
    ++file.frames;
    file.lastTime = info.time;
    file.moved = timeline_.Moved();
}

void MatroskaWriter::WriteSound(const FrameInfo& info, Bytes bytes)
{
    if (!container_ || !sound_ || !sound_->Fits(info))
        return; // the next key frame opens a file that can hold it
    RecordedFile& file = files_.back();
    SoundTrack::Piece piece = sound_->Make(info, bytes);
    sound_->Trim(piece, file.firstTime);
    if (piece.bytes.empty())
        return;
    container_->Write(kSound, piece.bytes, kMicroseconds, piece.begin - file.firstTime, true);
    ++file.soundFrames;
    file.soundSeconds += static_cast<double>(piece.samples) / sound_->SampleRate();
    file.soundSlips = sound_->Slips();
}

void MatroskaWriter::Finish()
{
    if (std::exchange(waitsForSound_, false))
        WriteHeld(); // no sound came at all
    if (const auto container = std::exchange(container_, nullptr))
        container->Close();
}

} // namespace larkmoor::host
