#include "host/verbs/options.h"

#include "host/base/console.h"
#include "host/contract/stream_client.h"
#include "host/verbs/bench.h"

#include <algorithm>
#include <thread>

namespace larkmoor::host
{

namespace
{

using std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

// A key that is held repeats itself, first after half a second or so; its release tells nothing.
constexpr milliseconds kFirstRepeat(700);
constexpr milliseconds kNextRepeat(250);
constexpr milliseconds kAgain(500); // a head without speeds goes a step at a time
constexpr milliseconds kKeyboardPoll(100);

struct Motion
{
    const char* name;
    int key;
    std::int32_t (*start)(IIPPTZApi& head, std::uint32_t speed);
};

template <std::uint32_t Direction>
std::int32_t Move(IIPPTZApi& head, std::uint32_t speed)
{
    return head.StartMove(Direction, speed);
}

constexpr Motion kMotions[] = {
    {"left", Keyboard::kLeft, Move<kPTZLeft>},
    {"right", Keyboard::kRight, Move<kPTZRight>},
    {"up", Keyboard::kUp, Move<kPTZUp>},
    {"down", Keyboard::kDown, Move<kPTZDown>},
    {"up-left", 0, Move<kPTZUpLeft>},
    {"up-right", 0, Move<kPTZUpRight>},
    {"down-left", 0, Move<kPTZDownLeft>},
    {"down-right", 0, Move<kPTZDownRight>},
    {"zoom-in", '+', [](IIPPTZApi& head, std::uint32_t speed) { return head.ZoomIn(speed); }},
    {"zoom-out", '-', [](IIPPTZApi& head, std::uint32_t speed) { return head.ZoomOut(speed); }},
    {"focus-near", 'n', [](IIPPTZApi& head, std::uint32_t speed) { return head.FocusNear(speed); }},
    {"focus-far", 'f', [](IIPPTZApi& head, std::uint32_t speed) { return head.FocusFar(speed); }},
    {"iris-open", 'o', [](IIPPTZApi& head, std::uint32_t speed) { return head.IrisOpen(speed); }},
    {"iris-close", 'c', [](IIPPTZApi& head, std::uint32_t speed) { return head.IrisClose(speed); }},
};

const Motion* Find(const std::string& name)
{
    const auto* const found = std::find_if(std::begin(kMotions), std::end(kMotions),
                                           [&](const Motion& motion) { return motion.name == name; });
    return found == std::end(kMotions) ? nullptr : found;
}

// One run of the verb, on the main thread.
class PtzRun
{
public:
    PtzRun(const PtzOptions& options, Console& console, IIPPTZApi& head)
        : options_(options), console_(console), head_(head), speed_(options.speed)
    {
    }

    ExitStatus ByActions();
    ExitStatus ByKeyboard();

private:
    bool Did(const std::string& what, std::int32_t result);
    bool Start(const Motion& motion);
    bool Stop();
    bool Do(const PtzAction& action);
    void OnKey(int key, Clock::time_point now);
    void Release();
    ExitStatus End(bool good);

    const PtzOptions& options_;
    Console& console_;
    IIPPTZApi& head_;
    std::uint32_t speed_;
    bool started_ = false;
    bool good_ = true;
    bool over_ = false;
    const Motion* held_ = nullptr;
    Clock::time_point begun_;    // of what is held, or begun again
    Clock::time_point released_; // unless its key comes again
};

bool PtzRun::Did(const std::string& what, std::int32_t result)
{
    console_.Line(what + (result == kPTZDone ? "" : ": refused (" + std::to_string(result) + ")"));
    return result == kPTZDone;
}

bool PtzRun::Start(const Motion& motion)
{
    started_ = true;
    return Did(motion.name, motion.start(head_, speed_));
}

// The driver stops what this control has started and nothing else. To end what another program began, a slow
// move and zoom come first.
bool PtzRun::Stop()
{
    if (!started_)
    {
        head_.StartMove(kPTZLeft, 1);
        head_.ZoomIn(1);
    }
    started_ = false;
    return Did("stop", head_.Stop());
}

bool PtzRun::Do(const PtzAction& action)
{
    if (action.name == "stop")
        return Stop();
    if (action.name == "centre")
        return Did("centre", head_.Center(action.x, action.y, 0));
    const Motion* const motion = Find(action.name);
    const bool good = motion == nullptr || Start(*motion); // else it is a wait
    if (action.lasts)
        Interrupt::WaitFor(*action.lasts);
    return motion != nullptr && action.lasts ? Stop() && good : good;
}

ExitStatus PtzRun::End(bool good)
{
    const bool interrupted = Interrupt::Requested();
    if (interrupted && started_)
        good = Stop() && good;
    if (interrupted) // the wish is known already, and would end the wait
        std::this_thread::sleep_for(options_.settle);
    else
        Interrupt::WaitFor(options_.settle);
    return !good ? ExitStatus::Refused : interrupted ? ExitStatus::Interrupted : ExitStatus::Done;
}

ExitStatus PtzRun::ByActions()
{
    for (const PtzAction& action : options_.actions)
    {
        if (Interrupt::Requested())
            break;
        good_ = Do(action) && good_;
    }
    return End(good_);
}

void PtzRun::Release()
{
    if (held_ != nullptr)
        good_ = Stop() && good_;
    held_ = nullptr;
}

void PtzRun::OnKey(int key, Clock::time_point now)
{
    const auto* const motion = std::find_if(std::begin(kMotions), std::end(kMotions),
                                            [&](const Motion& each) { return each.key == key && key != 0; });
    if (motion == std::end(kMotions))
    {
        Release();
        over_ = key == 'q';
        if (key == ' ')
            good_ = Stop() && good_;
        if (key >= '1' && key <= '9')
        {
            speed_ = static_cast<std::uint32_t>(key - '0') * 2 - 1;
            console_.Line("speed " + std::to_string(speed_));
        }
        return;
    }
    const bool repeats = motion == held_;
    if (!repeats)
        Release();
    if (!repeats || now - begun_ >= kAgain)
    {
        if (!repeats)
            good_ = Start(*motion) && good_;
        else
            good_ = motion->start(head_, speed_) == kPTZDone && good_;
        begun_ = now;
    }
    held_ = motion;
    released_ = now + (repeats ? kNextRepeat : kFirstRepeat);
}

ExitStatus PtzRun::ByKeyboard()
{
    console_.Line("arrows move, + - zoom, n f focus, o c iris, 1 to 9 speed, space stops all, q ends");
    Keyboard keyboard;
    while (!over_ && !keyboard.IsGone() && !Interrupt::Requested())
    {
        const std::optional<int> key = keyboard.Read(kKeyboardPoll);
        const Clock::time_point now = Clock::now();
        if (key)
            OnKey(*key, now);
        else if (held_ != nullptr && now >= released_)
            Release();
    }
    Release();
    const ExitStatus status = End(good_);
    return status == ExitStatus::Interrupted ? ExitStatus::Done : status;
}

} // namespace

bool IsPtzAction(const std::string& name)
{
    return name == "stop" || name == "wait" || name == "centre" || Find(name) != nullptr;
}

std::string PtzActionNames()
{
    std::string names;
    for (const Motion& motion : kMotions)
        names += std::string(motion.name) + ", ";
    return names;
}

ExitStatus Run(const PrivateFolder& folder, const PtzOptions& options)
{
    if (options.actions.empty() && !Keyboard::IsThere())
        throw Failure(ExitStatus::Usage, "without a terminal, ptz takes actions; --help lists all");
    Bench bench(folder, options.common, {});
    ExitStatus status = ExitStatus::Done;
    {
        StreamClient client(bench.allocator, bench.faults, nullptr, nullptr);
        OpenDriver driver(bench, options.common.device);
        IIPPTZApi& head = driver.Head();
        // A place in the picture says something to the device only with the picture's size: a channel has it.
        if (std::any_of(options.actions.begin(), options.actions.end(),
                        [](const PtzAction& action) { return action.name == "centre"; }))
            driver.Start(0, client, {});
        if (head.IsAvailable() != 1)
            bench.console.Line("the driver knows of no head; going on all the same");
        PtzRun run(options, bench.console, head);
        status = options.actions.empty() ? run.ByKeyboard() : run.ByActions();
    }
    status = JudgeOrders(bench, status);
    WriteReport(options.common.json, {{"verb", "ptz"},
                                      {"log_and_frames", HostSideReport(bench)},
                                      {"exit_status", static_cast<int>(status)}});
    return status;
}

} // namespace larkmoor::host
