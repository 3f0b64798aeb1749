#pragma once

#include "camera/device/parameter_store.h"
#include "camera/fault/dice.h"
#include "camera/fault/fault_plan.h"
#include "camera/http/message.h"

namespace larkmoor::camera
{

/// The two programs that read and change a device's parameters, and what goes wrong with them: cgi-garbage
/// and cgi-invalid. One thread at a time; store and faults outlive it.
class ParameterCgi
{
public:
    ParameterCgi(ParameterStore& store, FaultPlan& faults, std::uint64_t seed)
        : store_(store), faults_(faults), dice_(seed, "cgi-garbage")
    {
    }

    /// getparam: a line `key='value'` for each parameter that the query asks for; nothing for unknown names.
    HttpResponse Get(const HttpRequest& request) { return Answer(store_.Read(request.query)); }

    /// setparam: a line `key='value'` for each item of the query. If one of them is unknown, cannot be
    /// changed or has a value that it must not have, nothing changes and its line says `key=ERR_INVALID`.
    HttpResponse Set(const HttpRequest& request);

private:
    bool PlaysInvalid(const ParameterStore::Items& items) const;
    HttpResponse Answer(std::string text);

    ParameterStore& store_;
    FaultPlan& faults_;
    Dice dice_;
};

} // namespace larkmoor::camera
