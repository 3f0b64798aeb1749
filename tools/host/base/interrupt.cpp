#include "host/base/interrupt.h"

#include "host/base/failure.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <string_view>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace larkmoor::host
{

namespace
{

std::atomic<bool> requested{false};
std::atomic<int> wakeUp{-1};

void Say(std::string_view text)
{
    [[maybe_unused]] const auto written = write(STDERR_FILENO, text.data(), text.size());
}

void OnSignal(int /*number*/)
{
    const int kept = errno;
    if (requested.exchange(true))
    {
        Say("\nstopped by force: recordings may lack their end\n");
        _exit(static_cast<int>(ExitStatus::Interrupted));
    }
    Say("\nstopping; once more to force it\n");
    eventfd_write(wakeUp.load(), 1);
    errno = kept;
}

} // namespace

void Interrupt::Install()
{
    wakeUp = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    struct sigaction action = {};
    action.sa_handler = OnSignal;
    action.sa_flags = SA_RESTART;
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        sigaction(number, &action, nullptr);
}

bool Interrupt::Requested()
{
    return requested.load();
}

bool Interrupt::WaitFor(std::chrono::milliseconds time)
{
    // The counter is never read back, so that every waiter, now and later, sees it.
    pollfd item{wakeUp.load(), POLLIN, 0};
    poll(&item, 1, static_cast<int>(time.count()));
    return requested.load();
}

} // namespace larkmoor::host
