#include "ptz/base_ptz_handler.h"

#include "runtime/guarded.h"

namespace korvane
{

ipcapture::IIPPTZApiEx* CBasePTZHandler::GetPTZControlEx(std::uint32_t channel)
{
    if (channel >= kPTZChannels)
        return nullptr;
    return Guarded<CBasePTZControl*>(nullptr,
                                     [this, channel]() -> CBasePTZControl*
                                     {
                                         const auto found = controls_.find(channel);
                                         if (found != controls_.end())
                                             return found->second.get();
                                         std::unique_ptr<CBasePTZControl> control = CreateControl(channel);
                                         if (control == nullptr || !control->Open())
                                             return nullptr; // not kept, so that the next call tries again
                                         return (controls_[channel] = std::move(control)).get();
                                     });
}

} // namespace korvane
