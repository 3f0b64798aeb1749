#include "transport/read_watch.h"

#include <algorithm>
#include <mutex>

#include "platform/held_locks.h"
#include "transport/read_turn.h"

namespace korvane
{

namespace
{

std::mutex watchMutex; // guards the next
std::weak_ptr<CReadWatch> theWatch;

} // namespace

std::shared_ptr<CReadWatch> CReadWatch::Get()
{
    const std::lock_guard guard(watchMutex);
    std::shared_ptr<CReadWatch> watch = theWatch.lock();
    if (watch != nullptr)
        return watch;
    watch = std::make_shared<CReadWatch>();
    if (!watch->StartThread("RTP Read Watch"))
        return nullptr;
    theWatch = watch;
    return watch;
}

CReadWatch::~CReadWatch()
{
    JoinThread(kWaitForever);
}

void CReadWatch::Add(CReadTurn& turn)
{
    turn.watch_ = this;
    const CLockGuard guard(lock_);
    turns_.push_back(&turn);
}

void CReadWatch::Remove(CReadTurn& turn)
{
    const CLockGuard guard(lock_);
    std::erase(turns_, &turn);
}

void CReadWatch::Run()
{
    platform::HeldLocks::ForbidHostCalls();
    while (!IsStopping())
    {
        if (!LookAtAll())
            Sleep();
        stopEvent_.Wait(kLookMs); // also after a sleep: a healthy user is done before the first look
    }
}

bool CReadWatch::LookAtAll()
{
    bool arePacketsGoing = false;
    const CLockGuard guard(lock_);
    for (CReadTurn* const turn : turns_)
        arePacketsGoing = turn->Look() || arePacketsGoing;
    return arePacketsGoing;
}

void CReadWatch::Sleep()
{
    CEvent* const events[] = {&stopEvent_, &wakeEvent_};
    isAsleep_ = true;
    if (!IsAnyDelivering()) // whoever begins behind this look sees that it has to wake the watch
        CEvent::WaitForAny(events, 2, kWaitForever);
    isAsleep_ = false;
}

bool CReadWatch::IsAnyDelivering()
{
    const CLockGuard guard(lock_);
    return std::any_of(turns_.begin(), turns_.end(), [](CReadTurn* turn) { return turn->IsDelivering(); });
}

} // namespace korvane
