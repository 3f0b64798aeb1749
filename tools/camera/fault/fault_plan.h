#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace larkmoor::camera
{

/// What one fault is called, takes and does: a row of the list that `--help` prints.
struct FaultDescription
{
    const char* group;  ///< heading in the list
    const char* name;   ///< as it is written on the command line
    const char* values; ///< "" none, "ratio", "time", "count", "text", or choices as in "a|b": the first is
                        ///< the default
    const char* effect; ///< one sentence for the user

    /// How `--list-faults` plays it, `[MARKS:]FAULTS` with blanks between. Marks: "h", "u", "t" over HTTP,
    /// UDP or the RTSP connection only; "c" acts while a session is made; "d", "b" needs a camera that asks
    /// for Digest or Basic; "s" leaves frames of whole units that are not in the truth; "p" lets frames pass
    /// while others are played too; "m" is a milder form that does so.
    const char* trials = "";
    std::chrono::milliseconds defaultDuration{0}; ///< of a window that names none; 0 means until the end
};

/// The faults that a camera was told to play, each with its value and its window of time.
/// All operations may be called from any thread, also while the camera runs.
class FaultPlan
{
public:
    using Clock = std::chrono::steady_clock;

    /// Every fault there is, grouped.
    static const std::vector<FaultDescription>& All();

    /// The list as text for `--help`, one line a fault under the heading of its group.
    static std::string HelpText();

    /// The trials of all faults for programs that play them in turn, with blanks or line ends between.
    static std::string Trials();

    using Now = std::function<Clock::time_point()>;

    /// `now` tells the time; tests drive it by hand.
    explicit FaultPlan(Now now = Clock::now) : now_(std::move(now)) {}

    FaultPlan(const FaultPlan&) = delete;
    FaultPlan& operator=(const FaultPlan&) = delete;

    /// Adds the faults of `text`: `name[=value][@start[+duration]]`, several with "," between them. Times are
    /// a number with "ms", "s" or "m" behind it, or bare seconds, counted from Begin. The same fault may be
    /// added several times, with other values or windows. False adds nothing and says in `error` what was
    /// wrong.
    [[nodiscard]] bool Add(std::string_view text, std::string& error);

    /// Takes back whatever was added under `name`.
    void Remove(std::string_view name);

    /// Sets the moment that windows are counted from; before it no fault is active. Faults that are added
    /// later count their window from the moment of Add.
    void Begin();

    /// True while a window of the fault `name` is open.
    bool Active(std::string_view name) const { return FindOpen(name).has_value(); }

    /// True while a window of the fault `name` with this value is open; no value counts as the default one.
    bool Active(std::string_view name, std::string_view value) const
    {
        return FindOpen(name, value).has_value();
    }

    /// The value of the first open window of `name`; its default value (or "") if it was given none, "" if no
    /// window is open.
    std::string Value(std::string_view name) const { return FindOpen(name).value_or(""); }

    /// The value of the first open window as a number, `fallback` if it has none or no window is open.
    double Number(std::string_view name, double fallback) const;

    /// The value of the first open window as a time, `fallback` if it has none; 0 if no window is open.
    std::chrono::milliseconds Time(std::string_view name, std::chrono::milliseconds fallback) const;

    /// True once for each window of `name`: for faults that happen a single time.
    bool Take(std::string_view name);

    /// How many times a fault that comes again and again has come due since Begin: at the start of its window
    /// if that was given, and then after each period that its value names. Whoever plays it compares with the
    /// number that it saw last.
    std::uint32_t Occurrences(std::string_view name) const;

private:
    struct Entry
    {
        const FaultDescription* what;
        std::string value;
        bool hasStart;
        std::chrono::milliseconds start;
        std::chrono::milliseconds duration; // 0 means until the end
        Clock::time_point origin;
        bool taken;
    };

    static bool Parse(std::string_view text, Entry& entry, std::string& error);
    bool IsOpen(const Entry& entry) const; // the lock is held
    /// The value of the first open window, or of the first one with that value.
    std::optional<std::string> FindOpen(std::string_view name,
                                        std::optional<std::string_view> value = {}) const;

    const Now now_;
    mutable std::mutex lock_; // guards the entries and the start; innermost
    std::vector<Entry> entries_;
    bool begun_ = false;
    std::atomic<bool> empty_{true}; // lets the usual case, no faults at all, cost no lock
};

} // namespace larkmoor::camera
