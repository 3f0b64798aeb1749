#pragma once

#include "camera/device/parameter_store.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace larkmoor::camera
{

/// The digital inputs and outputs of a device, numbered from 0, all low at the start. Inputs follow a script.
/// Older firmware shows them as the parameters `system.diN` and `system.doN`, from 1. Any thread.
class Signals
{
public:
    using Clock = std::chrono::steady_clock;
    using Now = std::function<Clock::time_point()>;

    /// As many as the parameters in `store` tell; it outlives the object. `now` tells the time; tests drive
    /// it by hand.
    explicit Signals(ParameterStore& store, Now now = Clock::now);

    /// Adds to the script what `text` says: `INPUT[@START[/PERIOD]]=high|low|flip`, several with "," between
    /// them. Times as those of faults, from Begin; with a period it happens again and again. False says in
    /// `error` what was wrong.
    [[nodiscard]] bool AddScript(std::string_view text, std::string& error);

    void Begin(); ///< sets the moment that the script's times are counted from

    std::vector<bool> Inputs(); ///< at this moment
    std::vector<bool> Outputs();

    bool SetInput(std::uint32_t number, bool high);  ///< by hand; false if there is no such input
    bool SetOutput(std::uint32_t number, bool high); ///< false if there is no such output
    void FlipInputs();

    /// Brings the parameters of older firmware up to date. On the thread that serves.
    void Publish();

private:
    struct Event
    {
        std::size_t input;
        std::chrono::milliseconds start;
        std::chrono::milliseconds period; // 0: once
        enum class Effect
        {
            Low,
            High,
            Flip,
        } effect;
        bool over = false;
    };

    bool Parse(std::string_view text, Event& event, std::string& error) const;
    void Play();

    ParameterStore& store_;
    const Now now_;
    std::mutex lock_; // guards what follows; the store's comes behind it
    std::vector<bool> inputs_;
    std::vector<bool> outputs_;
    std::vector<Event> script_;
    Clock::time_point begin_;
    bool begun_ = false;
};

} // namespace larkmoor::camera
