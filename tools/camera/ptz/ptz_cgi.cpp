#include "camera/ptz/ptz_cgi.h"

#include "base/text.h"

#include <algorithm>
#include <cstdlib>
#include <map>
#include <optional>
#include <string_view>

namespace larkmoor::camera
{

namespace
{

using Items = ParameterStore::Items;

constexpr int kLargestNumber = 100'000;
constexpr int kUsualFastestLevel = 100; // of a head that does not tell its levels
constexpr double kStepDegrees = 5;
constexpr double kStepDoublings = 0.25;
constexpr double kLensRate = 0.25; // of the whole way, a second

const std::string* Find(const Items& items, std::string_view name)
{
    const auto found =
        std::find_if(items.begin(), items.end(), [&](const auto& item) { return item.first == name; });
    return found == items.end() ? nullptr : &found->second;
}

std::optional<int> ReadSigned(std::string_view text)
{
    const std::optional<int> number = ReadNumber<int>(text, kLargestNumber);
    return number && *number >= -kLargestNumber ? number : std::nullopt;
}

/// Puts the number of an item into `number` if there is such an item; false if it is no number.
bool Take(const Items& items, std::string_view name, int& number)
{
    const std::string* const text = Find(items, name);
    if (text == nullptr)
        return true;
    const std::optional<int> read = ReadSigned(*text);
    number = read.value_or(0);
    return read.has_value();
}

int Sign(int number)
{
    return (number > 0) - (number < 0);
}

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

/// The share of the fastest level, at least that of level 1.
double PtzCgi::LevelShare(int level, const char* fastestKey) const
{
    const double fastest = std::max(1u, store_.GetNumber(fastestKey, kUsualFastestLevel));
    return std::clamp(std::max(level, 1) / fastest, 0.0, 1.0);
}

HttpResponse PtzCgi::Control(const HttpRequest& request)
{
    const Items items = ParseQuery(request.query);
    int channel = 0;
    if (!Take(items, "channel", channel) || !Take(items, "video", channel) || channel != 0)
        return TextResponse(400, "There is no head at that channel");
    const std::string* const id = Find(items, "camid");
    if (id != nullptr && *id != store_.Get("camctrl_c0_cameraid"))
        return TextResponse(200, "");
    return Obey(items) ? TextResponse(200, "") : TextResponse(400, "The head does not take that");
}

bool PtzCgi::Obey(const Items& items)
{
    if (Find(items, "vx") != nullptr || Find(items, "vy") != nullptr)
        return Drive(items);
    if (Find(items, "x") != nullptr)
        return Centre(items);
    if (const std::string* const zooming = Find(items, "zooming"))
    {
        int level = 1;
        if (!Take(items, "zs", level))
            return false;
        const double rate = LevelShare(level, "capability_ptz_zoomspeedlv") * Head::kFastestZoom;
        head_.Zoom(*zooming == "tele" ? rate : *zooming == "wide" ? -rate : 0);
        return *zooming == "tele" || *zooming == "wide" || *zooming == "stop";
    }
    return std::all_of(items.begin(), items.end(),
                       [this](const auto& item) { return ObeyWord(item.first, item.second); });
}

/// The signs of vx and vy tell the direction, the largest of the three numbers the speed.
bool PtzCgi::Drive(const Items& items)
{
    int x = 0, y = 0, step = 0;
    if (!Take(items, "vx", x) || !Take(items, "vy", y) || !Take(items, "vs", step))
        return false;
    const int level = std::max({std::abs(x), std::abs(y), std::abs(step)});
    head_.Drive(Sign(x) * LevelShare(level, "capability_ptz_panspeedlv") * Head::kFastest,
                Sign(y) * LevelShare(level, "capability_ptz_tiltspeedlv") * Head::kFastest);
    return true;
}

/// Brings the place of the picture that somebody pointed at into its middle.
bool PtzCgi::Centre(const Items& items)
{
    int x = 0, y = 0;
    const std::string* const text = Find(items, "videosize");
    const auto size = text == nullptr ? std::nullopt : ReadPair<std::uint32_t>(*text, 'x');
    if (!Take(items, "x", x) || !Take(items, "y", y) || !size || size->first == 0 || size->second == 0)
        return false;
    const auto [width, height] = *size;
    View view = head_.LooksAt();
    const double degrees = kWidestField / view.zoom / width; // of a pixel
    view.pan += (x - width / 2.0) * degrees;
    view.tilt -= (y - height / 2.0) * degrees;
    head_.GoTo(view);
    return true;
}

bool PtzCgi::ObeyWord(const std::string& key, const std::string& value)
{
    static const std::map<std::pair<std::string, std::string>, void (*)(Head&)> kWords = {
        {{"move", "left"}, [](Head& head) { head.Step(-kStepDegrees, 0); }},
        {{"move", "right"}, [](Head& head) { head.Step(kStepDegrees, 0); }},
        {{"move", "up"}, [](Head& head) { head.Step(0, kStepDegrees); }},
        {{"move", "down"}, [](Head& head) { head.Step(0, -kStepDegrees); }},
        {{"move", "home"}, [](Head& head) { head.GoTo({}); }},
        {{"zoom", "tele"}, [](Head& head) { head.StepZoom(kStepDoublings); }},
        {{"zoom", "wide"}, [](Head& head) { head.StepZoom(-kStepDoublings); }},
        {{"zoom", "stop"}, [](Head& head) { head.StopZoom(); }},
        {{"focus", "far"}, [](Head& head) { head.RunFocus(kLensRate); }},
        {{"focus", "near"}, [](Head& head) { head.RunFocus(-kLensRate); }},
        {{"focus", "auto"}, [](Head& head) { head.AutoFocus(); }},
        {{"iris", "open"}, [](Head& head) { head.RunIris(kLensRate); }},
        {{"iris", "close"}, [](Head& head) { head.RunIris(-kLensRate); }},
        {{"iris", "auto"}, [](Head& head) { head.AutoIris(); }},
        {{"auto", "stop"}, [](Head& head) { head.Stop(); }},
    };
    if (key == "channel" || key == "camid")
        return true;
    const auto found = kWords.find({key, value});
    if (found == kWords.end())
        return false;
    found->second(head_);
    return true;
}

HttpResponse PtzCgi::Recall(const HttpRequest& request)
{
    const Items items = ParseQuery(request.query);
    const std::string* const name = Find(items, "recall");
    const std::optional<View> view = name == nullptr ? std::nullopt : presets_.Find(*name);
    if (!view)
        return TextResponse(404, "There is no such preset");
    head_.GoTo(*view);
    return TextResponse(200, "");
}

HttpResponse PtzCgi::Preset(const HttpRequest& request)
{
    const Items items = ParseQuery(request.query);
    if (const std::string* const name = Find(items, "addpos"))
    {
        switch (presets_.Add(*name, head_.LooksAt()))
        {
        case Presets::Result::Done:
            return TextResponse(200, "");
        case Presets::Result::BadName:
            return TextResponse(400, "That is no name for a preset");
        case Presets::Result::Full:
            return TextResponse(409, "All places are taken");
        }
    }
    const std::string* const name = Find(items, "delpos");
    if (name == nullptr)
        return TextResponse(400, "addpos or delpos is missing");
    return presets_.Delete(*name) ? TextResponse(200, "") : TextResponse(404, "There is no such preset");
}

} // namespace larkmoor::camera
