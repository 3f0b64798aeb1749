#include "camera/hardware/hardware.h"

#include <algorithm>
#include <utility>

namespace larkmoor::camera
{

namespace
{

constexpr std::uint32_t kMostPresets = 256;
constexpr std::chrono::milliseconds kUsualSlowness(2000);

} // namespace

Hardware::Hardware(ParameterStore& store, FaultPlan& faults)
    : faults_(faults),
      hasHead_(store.Get("camctrl_c0_isptz") == "1"),
      presets_(store, hasHead_ ? std::min(store.GetNumber("capability_npreset", 0), kMostPresets) : 0),
      ptz_(store, head_, presets_),
      signals_(store),
      dido_(signals_, faults)
{
}

Site::Handler Hardware::Troubled(const Trouble& trouble, Site::Handler handler)
{
    return [this, trouble, handler = std::move(handler)](const HttpRequest& request)
    {
        HttpResponse response = faults_.Active(trouble.refuse)
                                    ? TextResponse(503, "The device is too busy for that")
                                    : handler(request);
        response.silent = trouble.hang != nullptr && faults_.Active(trouble.hang);
        if (trouble.slow != nullptr)
            response.delay = faults_.Time(trouble.slow, kUsualSlowness);
        return response;
    };
}

void Hardware::AddPages(Site& site)
{
    constexpr Trouble kHead{"ptz-slow", "ptz-refuse", nullptr};
    constexpr Trouble kInputs{nullptr, "di-refuse", "di-hang"};
    constexpr Trouble kOutputs{"do-slow", "do-refuse", nullptr};
    if (hasHead_)
    {
        site.Add("/cgi-bin/camctrl/camctrl.cgi",
                 Troubled(kHead, [this](const HttpRequest& request) { return ptz_.Control(request); }));
        site.Add("/cgi-bin/camctrl/recall.cgi",
                 Troubled(kHead, [this](const HttpRequest& request) { return ptz_.Recall(request); }));
        site.Add("/cgi-bin/operator/preset.cgi",
                 Troubled(kHead, [this](const HttpRequest& request) { return ptz_.Preset(request); }));
    }
    site.Add("/cgi-bin/dido/getdi.cgi",
             Troubled(kInputs, [this](const HttpRequest& request) { return dido_.Inputs(request); }));
    site.Add("/cgi-bin/dido/setdo.cgi",
             Troubled(kOutputs, [this](const HttpRequest& request) { return dido_.SetOutputs(request); }));
    site.Add("/cgi-bin/dido/getdo.cgi",
             [this](const HttpRequest& request) { return dido_.Outputs(request); });
    site.Add("/cgi-bin/dido/setdi.cgi",
             [this](const HttpRequest& request) { return dido_.SetInputs(request); });
}

void Hardware::Follow(Scene& scene, std::uint32_t channel)
{
    scene.Follow(
        [this, withHead = hasHead_ && channel == 0](SceneState& state)
        {
            if (withHead)
                head_.Show(state);
            state.inputs = signals_.Inputs();
            state.outputs = signals_.Outputs();
        });
}

} // namespace larkmoor::camera
