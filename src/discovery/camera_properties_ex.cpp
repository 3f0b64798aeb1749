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

void SetField(ipcapture::ICapabilityStore& store, std::uint32_t index, const std::string& text)
{
    if (ipcapture::ICapabilityField* field = store.GetConnectionField(index))
        field->SetText(text.c_str());
}

} // namespace

bool CCameraPropertiesEx::SaveProperties(ipcapture::ICapabilityStore* store)
{
    if (store == nullptr)
        return false;
    store->SetModel(GetModel().c_str());
    SaveValues(*store);
    SaveCodecs(*store);
    SaveResolutions(*store);
    SaveConnection(*store);
    SaveAudio(*store);
    return true;
}

void CCameraPropertiesEx::AddParameter(ipcapture::ICapabilityStore& store, std::uint32_t id, const char* name,
                                       ParameterType type, const std::string& value)
{
    ipcapture::ICapabilityParameter* parameter = store.AddParameter(id);
    if (parameter == nullptr)
        return;
    parameter->SetName(name);
    parameter->SetReserved(0);
    parameter->SetIsText(type == ParameterType::Text);
    parameter->SetValue(value.empty() ? "(none)" : value.c_str());
}

void CCameraPropertiesEx::SaveValues(ipcapture::ICapabilityStore& store)
{
    store.SetValue(kChannelCount, GetChannelCount());
    if (GetInputCount() != 0)
        store.SetValue(kInputCount, GetInputCount());
    if (GetOutputCount() != 0)
        store.SetValue(kOutputCount, GetOutputCount());
    if (HasAudio())
        store.SetValue(kAudio, 1);
    if (HasPTZ())
        store.SetValue(kHasPTZ, 1);
    store.SetValue(kModernStream1, IsModernStream1() ? 1 : 0);
    store.SetValue(kModernStream2, IsModernStream2() ? 1 : 0);
}

void CCameraPropertiesEx::SaveCodecs(ipcapture::ICapabilityStore& store)
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
                store.SetValue(kind.value, 1);
        }
    }
}

void CCameraPropertiesEx::SaveResolutions(ipcapture::ICapabilityStore& store)
{
    ipcapture::IResolutionList* list = store.GetResolutionList();
    if (list == nullptr)
        return;
    for (CameraResolution* size = GetFirstResolution(); size != nullptr; size = GetNextResolution())
    {
        const std::string text = Utils::FormatString("%ux%u", unsigned(size->width), unsigned(size->height));
        list->Add(text.c_str(), size->width, size->height, size->GetFirstFrameTime());
    }
}

void CCameraPropertiesEx::SaveConnection(ipcapture::ICapabilityStore& store)
{
    SetField(store, 1, deviceInfo_.address);
    SetField(store, 2, Utils::FormatString("%hu", deviceInfo_.port));
    SetField(store, 3, deviceInfo_.user);
    SetField(store, 4, deviceInfo_.password);
}

void CCameraPropertiesEx::SaveAudio(ipcapture::ICapabilityStore& store)
{
    if (audioInput_.count != 0)
    {
        store.SetValue(kAudio, audioInput_.count);
        AddParameter(store, kAudioInputParameter, "Audio Input Parameters", ParameterType::Text,
                     audioInput_.Text());
    }
    if (audioOutput_.count != 0)
        AddParameter(store, kAudioOutputParameter, "Audio Output Parameters", ParameterType::Text,
                     audioOutput_.Text());
}

} // namespace korvane
