#pragma once

#include "camera/fault/fault_plan.h"
#include "camera/hardware/signals.h"
#include "camera/http/site.h"
#include "camera/ptz/ptz_cgi.h"

namespace larkmoor::camera
{

/// What of a device can be moved and switched: the head of video input 0 with its presets, if the device has
/// one, and the digital inputs and outputs; with the programs that do it. The faults that slow down or refuse
/// those, and di-bounce, are played here. On the thread of the io_context, but for what a scene asks.
class Hardware
{
public:
    /// What there is, the parameters in `store` tell. Both outlive it.
    Hardware(ParameterStore& store, FaultPlan& faults);

    void AddPages(Site& site);                        ///< the site is served no longer than this lives
    void Follow(Scene& scene, std::uint32_t channel); ///< the scene shows it from now on

    [[nodiscard]] bool AddInputScript(std::string_view text, std::string& error)
    {
        return signals_.AddScript(text, error);
    }                                  ///< see Signals
    void Begin() { signals_.Begin(); } ///< the script runs

    /// Brings the parameters up to date that `request` may ask for.
    void Refresh(const HttpRequest& request);

private:
    struct Trouble
    {
        const char* slow;   // name of a fault with a time; null for none
        const char* refuse; // name of a fault
        const char* hang;   // name of a fault; null for none
    };
    Site::Handler Troubled(const Trouble& trouble, Site::Handler handler);
    void AddSignalPages(Site& site);

    FaultPlan& faults_;
    const bool hasHead_;
    Head head_;
    Presets presets_;
    PtzCgi ptz_;
    Signals signals_;
};

} // namespace larkmoor::camera
