#include "discovery/camera_properties_ex.h"

#include "runtime/text.h"

namespace korvane
{

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
    writer.SetValue(ipcapture::kCapabilityChannelCount, GetChannelCount());
    if (GetInputCount() != 0)
        writer.SetValue(ipcapture::kCapabilityInputCount, GetInputCount());
    if (GetOutputCount() != 0)
        writer.SetValue(ipcapture::kCapabilityOutputCount, GetOutputCount());
    if (HasAudio())
        writer.SetValue(ipcapture::kCapabilityAudio, 1);
    if (HasPTZ())
        writer.SetValue(ipcapture::kCapabilityPTZ, 1);
    writer.SetValue(ipcapture::kCapabilityModernStream1, IsModernStream1() ? 1 : 0);
    writer.SetValue(ipcapture::kCapabilityModernStream2, IsModernStream2() ? 1 : 0);
}

void CCameraPropertiesEx::SaveCodecs(CStoreWriter& writer)
{
    const struct
    {
        std::uint32_t code;
        ipcapture::CapabilityValue value;
    } kinds[] = {{kCapabilityCodecMotionJpeg, ipcapture::kCapabilityMotionJpeg},
                 {kCapabilityCodecMpeg4, ipcapture::kCapabilityMpeg4},
                 {kCapabilityCodecH264, ipcapture::kCapabilityH264}};
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
    writer.SetConnectionField(ipcapture::kConnectionAddress, deviceInfo_.address);
    writer.SetConnectionField(ipcapture::kConnectionPort, Utils::FormatString("%hu", deviceInfo_.port));
    writer.SetConnectionField(ipcapture::kConnectionUser, deviceInfo_.user);
    writer.SetConnectionField(ipcapture::kConnectionPassword, deviceInfo_.password);
}

void CCameraPropertiesEx::SaveAudio(CStoreWriter& writer)
{
    if (audioInput_.count != 0)
    {
        writer.SetValue(ipcapture::kCapabilityAudio, audioInput_.count);
        writer.AddParameter(ipcapture::kPropertyAudioInput, "Audio Input Parameters",
                            CStoreWriter::ParameterType::Text, audioInput_.Text());
    }
    if (audioOutput_.count != 0)
        writer.AddParameter(ipcapture::kPropertyAudioOutput, "Audio Output Parameters",
                            CStoreWriter::ParameterType::Text, audioOutput_.Text());
}

} // namespace korvane
