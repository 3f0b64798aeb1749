#include "camera/hardware/signals.h"

#include "base/text.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace larkmoor::camera
{

namespace
{

using std::chrono::milliseconds;

std::size_t CountOf(const ParameterStore& store, const char* capability, const std::string& legacy)
{
    std::size_t count = std::min(store.GetNumber(capability, 0), 64u);
    while (count == 0 ? store.Has(legacy + "1") : store.Has(legacy + std::to_string(count + 1)))
        ++count;
    return count;
}

} // namespace

Signals::Signals(ParameterStore& store, Now now)
    : store_(store),
      now_(std::move(now)),
      inputs_(CountOf(store, "capability_ndi", "system.di")),
      outputs_(CountOf(store, "capability_ndo", "system.do"))
{
}

bool Signals::Parse(std::string_view text, Event& event, std::string& error) const
{
    const auto fail = [&](const std::string& why)
    {
        error = "input \"" + std::string(text) + "\": " + why;
        return false;
    };
    std::string_view number = text;
    const std::string_view state = CutBehind(number, '=').value_or("");
    const auto times = CutBehind(number, '@');
    const auto input = ReadNumber<std::size_t>(number);
    if (!input || *input >= inputs_.size())
        return fail("the device has " + std::to_string(inputs_.size()) + " inputs, numbered from 0");
    event.input = *input;
    if (times)
    {
        std::string_view begin = *times;
        const auto every = CutBehind(begin, '/');
        const std::optional<milliseconds> start = ReadTime(begin);
        const std::optional<milliseconds> period = every ? ReadTime(*every) : milliseconds(0);
        if (!start || !period || (every && period->count() == 0))
            return fail("times are as in 5s or 300ms");
        event.start = *start;
        event.period = *period;
    }
    if (state != "high" && state != "low" && state != "flip")
        return fail("an input becomes high or low, or flips");
    event.effect = state == "high"  ? Event::Effect::High
                   : state == "low" ? Event::Effect::Low
                                    : Event::Effect::Flip;
    return true;
}

bool Signals::AddScript(std::string_view text, std::string& error)
{
    const std::lock_guard guard(lock_);
    for (bool more = true; more;)
    {
        more = text.find(',') != std::string_view::npos;
        Event event{};
        if (!Parse(CutAt(text, ','), event, error))
            return false;
        script_.push_back(event);
    }
    std::stable_sort(script_.begin(), script_.end(),
                     [](const Event& a, const Event& b) { return a.start < b.start; });
    return true;
}

void Signals::Begin()
{
    const std::lock_guard guard(lock_);
    begin_ = now_();
    begun_ = true;
}

/// Lets happen what has come due since the last look.
void Signals::Play()
{
    const Clock::time_point now = now_();
    for (Event& event : script_)
    {
        const auto late = std::chrono::duration_cast<milliseconds>(now - begin_ - event.start);
        if (!begun_ || event.over || late.count() < 0)
            continue;
        const auto missed = event.period.count() == 0 ? 0 : late / event.period;
        event.over = event.period.count() == 0;
        event.start += event.period * (missed + 1);
        if (event.effect != Event::Effect::Flip)
            inputs_[event.input] = event.effect == Event::Effect::High;
        else if (missed % 2 == 0)
            inputs_[event.input] = !inputs_[event.input];
    }
}

void Signals::Publish()
{
    const std::lock_guard guard(lock_);
    Play();
    for (const auto& [name, states] : {std::pair("system.di", &inputs_), std::pair("system.do", &outputs_)})
    {
        for (std::size_t i = 0; i < states->size(); ++i)
            store_.Put(name + std::to_string(i + 1), (*states)[i] ? "1" : "0");
    }
}

std::vector<bool> Signals::Inputs()
{
    const std::lock_guard guard(lock_);
    Play();
    return inputs_;
}

std::vector<bool> Signals::Outputs()
{
    const std::lock_guard guard(lock_);
    return outputs_;
}

bool Signals::SetInput(std::uint32_t number, bool high)
{
    const std::lock_guard guard(lock_);
    if (number >= inputs_.size())
        return false;
    Play();
    inputs_[number] = high;
    return true;
}

bool Signals::SetOutput(std::uint32_t number, bool high)
{
    const std::lock_guard guard(lock_);
    if (number >= outputs_.size())
        return false;
    outputs_[number] = high;
    return true;
}

void Signals::FlipInputs()
{
    const std::lock_guard guard(lock_);
    Play();
    inputs_.flip();
}

} // namespace larkmoor::camera
