#pragma once

#include "camera/device/parameter_store.h"
#include "camera/http/message.h"
#include "camera/media/scene.h"
#include "camera/ptz/head.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace larkmoor::camera
{

/// The numbered places of a device for named views, shown to clients as the parameters
/// `camctrl_c0_preset_iN_name`. One thread at a time.
class Presets
{
public:
    static constexpr std::size_t kLongestName = 255; ///< bytes

    enum class Result
    {
        Done,
        BadName, ///< empty, too long, or with a byte that would break an answer's line
        Full,
    };

    /// Makes `count` free places known to `store`, which outlives the object.
    Presets(ParameterStore& store, std::uint32_t count);

    /// Puts `view` under `name`: at the place of that name, else at the first free one.
    Result Add(const std::string& name, const View& view);

    bool Delete(const std::string& name); ///< false if there is no such name
    std::optional<View> Find(const std::string& name) const;

private:
    struct Place
    {
        std::string name; // empty: free
        View view;
    };

    void Put(std::size_t place, const std::string& name);
    std::size_t IndexOf(const std::string& name) const;

    ParameterStore& store_;
    std::vector<Place> places_;
};

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
