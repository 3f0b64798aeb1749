#pragma once

#include "camera/device/parameter_store.h"
#include "camera/http/message.h"
#include "camera/ptz/head.h"
#include "camera/ptz/presets.h"

#include <functional>
#include <string>

namespace larkmoor::camera
{

/// The programs that move a device's head and keep its presets. Both grammars are understood by every head:
/// with speeds (`vx`, `vy`, `vs`, `zooming`, `zs`), which runs on until it is stopped, and without
/// (`move`, `zoom`), a step at a time. One thread at a time; all parts outlive it.
class PtzCgi
{
public:
    PtzCgi(ParameterStore& store, Head& head, Presets& presets)
        : store_(store), head_(head), presets_(presets)
    {
    }

    /// camctrl: 400 for a word or number that it does not take. A command for another `camid` on the wire is
    /// answered with 200 and moves nothing.
    HttpResponse Control(const HttpRequest& request);

    /// recall: 404 for a name that no preset has.
    HttpResponse Recall(const HttpRequest& request);

    /// preset: `addpos` and `delpos`. 400 for a bad name, 404 for one that is not there, 409 when all places
    /// are taken.
    HttpResponse Preset(const HttpRequest& request);

private:
    bool Obey(const ParameterStore::Items& items);
    bool Drive(const ParameterStore::Items& items);
    bool Centre(const ParameterStore::Items& items);
    bool ObeyWord(const std::string& key, const std::string& value);
    double LevelShare(int level, const char* fastestKey) const;

    ParameterStore& store_;
    Head& head_;
    Presets& presets_;
};

} // namespace larkmoor::camera
