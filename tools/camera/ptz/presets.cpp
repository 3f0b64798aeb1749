#include "camera/ptz/presets.h"

#include <algorithm>

namespace larkmoor::camera
{

namespace
{

std::string KeyOf(std::size_t place)
{
    return "camctrl_c0_preset_i" + std::to_string(place) + "_name";
}

bool IsGood(const std::string& name)
{
    return !name.empty() && name.size() <= Presets::kLongestName &&
           std::none_of(name.begin(), name.end(),
                        [](char c)
                        {
                            const auto byte = static_cast<unsigned char>(c);
                            return byte < ' ' || byte == 0x7F || c == '\'' || c == '"' || c == '&';
                        });
}

} // namespace

Presets::Presets(ParameterStore& store, std::uint32_t count) : store_(store), places_(count)
{
    for (std::size_t place = 0; place < places_.size(); ++place)
        store_.Define(KeyOf(place), "", "");
}

std::size_t Presets::IndexOf(const std::string& name) const
{
    const auto found =
        std::find_if(places_.begin(), places_.end(), [&](const Place& place) { return place.name == name; });
    return static_cast<std::size_t>(found - places_.begin());
}

void Presets::Put(std::size_t place, const std::string& name)
{
    places_[place].name = name;
    store_.Put(KeyOf(place), name);
}

Presets::Result Presets::Add(const std::string& name, const View& view)
{
    if (!IsGood(name))
        return Result::BadName;
    std::size_t place = IndexOf(name);
    if (place == places_.size())
        place = IndexOf("");
    if (place == places_.size())
        return Result::Full;
    places_[place].view = view;
    Put(place, name);
    return Result::Done;
}

bool Presets::Delete(const std::string& name)
{
    const std::size_t place = name.empty() ? places_.size() : IndexOf(name);
    if (place == places_.size())
        return false;
    Put(place, "");
    return true;
}

std::optional<View> Presets::Find(const std::string& name) const
{
    const std::size_t place = name.empty() ? places_.size() : IndexOf(name);
    return place == places_.size() ? std::nullopt : std::optional(places_[place].view);
}

} // namespace larkmoor::camera
