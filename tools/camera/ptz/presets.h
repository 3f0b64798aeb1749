#pragma once

#include "camera/device/parameter_store.h"
#include "camera/media/scene.h"

#include <cstdint>
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

} // namespace larkmoor::camera
