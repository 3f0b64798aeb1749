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
    writer.SetModel(model_);
    SaveValues(writer);
    SaveCodecs(writer);
    SaveResolutions(writer);
    SaveConnection(writer);
    SaveAudio(writer);
}

void CCameraPropertiesEx::SaveValues(CStoreWriter& writer)
{
    writer.SetValue(ipcapture::kCapabilityChannelCount, channelCount_);
    if (inputCount_ != 0)
        writer.SetValue(ipcapture::kCapabilityInputCount, inputCount_);
    if (outputCount_ != 0)
        writer.SetValue(ipcapture::kCapabilityOutputCount, outputCount_);
    if (hasAudio_)
        writer.SetValue(ipcapture::kCapabilityAudio, 1);
    if (hasPTZ_)
        writer.SetValue(ipcapture::kCapabilityPTZ, 1);
    writer.SetValue(ipcapture::kCapabilityModernStream1, modernStream1_ ? 1 : 0);
    writer.SetValue(ipcapture::kCapabilityModernStream2, modernStream2_ ? 1 : 0);
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
        for (const auto* code = codecs_.First(); code != nullptr; code = codecs_.Next())
        {
            if (*code == kind.code)
                writer.SetValue(kind.value, 1);
        }
    }
}

void CCameraPropertiesEx::SaveResolutions(CStoreWriter& writer)
{
    auto* const list = writer.ResolutionList();
    if (list == nullptr)
        return;
    for (auto* size = resolutions_.First(); size != nullptr; size = resolutions_.Next())
    {
        const std::string text = Utils::FormatString("%ux%u", unsigned(size->width), unsigned(size->height));
        const auto* const frameTime = size->frameTimes.First();
        const std::uint32_t width = size->width, height = size->height;
        const std::uint32_t time = frameTime == nullptr ? 0 : *frameTime;
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
        writer.AddText(ipcapture::kPropertyAudioInput, "Audio Input Parameters", audioInput_.Text());
    }
    if (audioOutput_.count != 0)
        writer.AddText(ipcapture::kPropertyAudioOutput, "Audio Output Parameters", audioOutput_.Text());
}

} // namespace korvane
