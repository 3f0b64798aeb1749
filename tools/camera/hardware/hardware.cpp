#include "camera/hardware/hardware.h"

#include "base/text.h"

#include <algorithm>
#include <utility>

namespace larkmoor::camera
{

namespace
{

constexpr std::uint32_t kMostPresets = 256;
constexpr std::chrono::milliseconds kUsualSlowness(2000);

/// A line `name0=1` for each state, or for those that the query names.
HttpResponse Tell(const HttpRequest& request, const char* name, const std::vector<bool>& states)
{
    const ParameterStore::Items asked = ParseQuery(request.query);
    HttpResponse response;
    for (std::size_t i = 0; i < states.size(); ++i)
    {
        const std::string key = name + std::to_string(i);
        if (asked.empty() || std::ranges::find(asked, key, &ParameterStore::Item::first) != asked.end())
            response.body += key + (states[i] ? "=1\r\n" : "=0\r\n");
    }
    return response;
}

using Setter = bool (Signals::*)(std::uint32_t number, bool high);
using Getter = std::vector<bool> (Signals::*)();

/// `name0=0` or `name0=1`, several with "&" between them, answered with all states. 400 if one of them is no
/// signal or no state; those before it are set all the same.
HttpResponse Set(const HttpRequest& request, const char* name, Signals& signals, Setter set, Getter get)
{
    for (const auto& [key, value] : ParseQuery(request.query))
    {
        const auto number = ReadNumber<std::uint32_t>(
            key.starts_with(name) ? std::string_view(key).substr(std::strlen(name)) : std::string_view());
        if (!number || (value != "0" && value != "1") || !(signals.*set)(*number, value == "1"))
            return TextResponse(400, "The device has no " + key + " that becomes " + value);
    }
    return Tell({}, name, (signals.*get)());
}

} // namespace

Hardware::Hardware(ParameterStore& store, FaultPlan& faults)
    : faults_(faults),
      hasHead_(store.Get("camctrl_c0_isptz") == "1"),
      presets_(store, hasHead_ ? std::min(store.GetNumber("capability_npreset", 0), kMostPresets) : 0),
      ptz_(store, head_, presets_),
      signals_(store)
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
    if (hasHead_)
    {
        site.Add("/cgi-bin/camctrl/camctrl.cgi",
                 Troubled(kHead, [this](const HttpRequest& request) { return ptz_.Control(request); }));
        site.Add("/cgi-bin/camctrl/recall.cgi",
                 Troubled(kHead, [this](const HttpRequest& request) { return ptz_.Recall(request); }));
        site.Add("/cgi-bin/operator/preset.cgi",
                 Troubled(kHead, [this](const HttpRequest& request) { return ptz_.Preset(request); }));
    }
    AddSignalPages(site);
}

void Hardware::AddSignalPages(Site& site)
{
    constexpr Trouble kInputs{nullptr, "di-refuse", "di-hang"};
    constexpr Trouble kOutputs{"do-slow", "do-refuse", nullptr};
    const auto getInputs = [this](const HttpRequest& request)
    {
        if (faults_.Active("di-bounce"))
            signals_.FlipInputs();
        return Tell(request, "di", signals_.Inputs());
    };
    const auto setOutputs = [this](const HttpRequest& request)
    { return Set(request, "do", signals_, &Signals::SetOutput, &Signals::Outputs); };
    site.Add("/cgi-bin/dido/getdi.cgi", Troubled(kInputs, getInputs));
    site.Add("/cgi-bin/dido/setdo.cgi", Troubled(kOutputs, setOutputs));
    site.Add("/cgi-bin/dido/getdo.cgi",
             [this](const HttpRequest& request) { return Tell(request, "do", signals_.Outputs()); });
    // No device has this one: it drives inputs by hand.
    site.Add("/cgi-bin/dido/setdi.cgi", [this](const HttpRequest& request)
             { return Set(request, "di", signals_, &Signals::SetInput, &Signals::Inputs); });
}

void Hardware::Refresh(const HttpRequest& request)
{
    if (faults_.Active("di-bounce") && request.query.starts_with("system"))
        signals_.FlipInputs();
    signals_.Publish();
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
