#include "discovery/camera_properties_ex.h"

#include "runtime/text.h"

namespace korvane
{

namespace
{

/// Numbers of the values in the host's store.
enum StoreValue : std::uint32_t
{
    kChannelCount = 0,
    kHasPTZ = 1,
    kInputCount = 2,
    kOutputCount = 3,
    kAudio = 4,
    kMpeg4 = 6,
    kMotionJpeg = 7,
    kH264 = 8,
    kModernStream1 = 11,
    kModernStream2 = 12
};

constexpr std::uint32_t kAudioInputParameter = 101;
constexpr std::uint32_t kAudioOutputParameter = 102;

} // namespace

bool CCameraPropertiesEx::SaveProperties(ipcapture::ICapabilityStore* store)
{
    if (store == nullptr)
        return false;
    CStoreWriter writer(*store);
    Save(writer);
    return !writer.HasRefused();
}

void CCameraPropertiesEx::Save(CStoreWriter& writer)
{
    writer.SetModel(GetModel());
    SaveValues(writer);
    SaveCodecs(writer);
    SaveResolutions(writer);
    SaveConnection(writer);
    SaveAudio(writer);
}

void CCameraPropertiesEx::SaveValues(CStoreWriter& writer)
{
    writer.SetValue(kChannelCount, GetChannelCount());
    if (GetInputCount() != 0)
        writer.SetValue(kInputCount, GetInputCount());
    if (GetOutputCount() != 0)
        writer.SetValue(kOutputCount, GetOutputCount());
    if (HasAudio())
        writer.SetValue(kAudio, 1);
    if (HasPTZ())
        writer.SetValue(kHasPTZ, 1);
    writer.SetValue(kModernStream1, IsModernStream1() ? 1 : 0);
    writer.SetValue(kModernStream2, IsModernStream2() ? 1 : 0);
}

void CCameraPropertiesEx::SaveCodecs(CStoreWriter& writer)
{
    const struct
    {
        std::uint32_t code;
        StoreValue value;
    } kinds[] = {{kCodecMotionJpeg, kMotionJpeg}, {kCodecMpeg4, kMpeg4}, {kCodecH264, kH264}};
    for (const auto& kind : kinds)
    {
        for (std::uint32_t code = GetFirstCodec(); code != 0; code = GetNextCodec())
        {
            if (code == kind.code)
                writer.SetValue(kind.value, 1);
        }
    }
}

void CCameraPropertiesEx::SaveResolutions(CStoreWriter& writer)
{
    auto* const list = writer.ResolutionList();
    if (list == nullptr)
        return;
    for (CameraResolution* size = GetFirstResolution(); size != nullptr; size = GetNextResolution())
    {
        const std::string text = Utils::FormatString("%ux%u", unsigned(size->width), unsigned(size->height));
        const std::uint32_t width = size->width, height = size->height, time = size->GetFirstFrameTime();
        writer.Tell([=, &text] { list->Add(text.c_str(), width, height, time); });
    }
}

void CCameraPropertiesEx::SaveConnection(CStoreWriter& writer)
{
    writer.SetConnectionField(1, deviceInfo_.address);
    writer.SetConnectionField(2, Utils::FormatString("%hu", deviceInfo_.port));
    writer.SetConnectionField(3, deviceInfo_.user);
    writer.SetConnectionField(4, deviceInfo_.password);
}

void CCameraPropertiesEx::SaveAudio(CStoreWriter& writer)
{
    if (audioInput_.count != 0)
    {
        writer.SetValue(kAudio, audioInput_.count);
        writer.AddParameter(kAudioInputParameter, "Audio Input Parameters", CStoreWriter::ParameterType::Text,
                            audioInput_.Text());
    }
    if (audioOutput_.count != 0)
        writer.AddParameter(kAudioOutputParameter, "Audio Output Parameters",
                            CStoreWriter::ParameterType::Text, audioOutput_.Text());
}

} // namespace korvane
