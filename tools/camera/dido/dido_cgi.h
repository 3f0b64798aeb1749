#pragma once

#include "camera/dido/signals.h"
#include "camera/fault/fault_plan.h"
#include "camera/http/message.h"

namespace larkmoor::camera
{

/// The programs that read a device's digital inputs and outputs and switch the outputs. The fault di-bounce
/// is played here. Both parts outlive it.
class DidoCgi
{
public:
    DidoCgi(Signals& signals, FaultPlan& faults) : signals_(signals), faults_(faults) {}

    HttpResponse Inputs(const HttpRequest& request);  ///< getdi: a line `diN=0` or `diN=1` each
    HttpResponse Outputs(const HttpRequest& request); ///< getdo: the same with `doN`

    /// setdo: `doN=0` or `doN=1`, several with "&" between them, answered as by getdo. 400 if one of them is
    /// no output or no state; those before it are switched all the same.
    HttpResponse SetOutputs(const HttpRequest& request);

    /// setdi: drives inputs by hand as setdo switches outputs; no device has it.
    HttpResponse SetInputs(const HttpRequest& request);

    /// Brings the parameters up to date that older firmware tells inputs by. Before they are read.
    void Refresh(const HttpRequest& request);

private:
    using Setter = bool (Signals::*)(std::uint32_t number, bool high);
    HttpResponse Set(const HttpRequest& request, const char* name, Setter set);

    Signals& signals_;
    FaultPlan& faults_;
};

} // namespace larkmoor::camera
