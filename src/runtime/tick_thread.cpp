#include "runtime/tick_thread.h"

namespace korvane
{

bool CTickThread::StartThreadWithFirstTick(const std::string& name)
{
    firstTick_ = true;
    return StartThread(name);
}

void CTickThread::Run()
{
    if (firstTick_)
        OnTick();
    while (!stopEvent_.Wait(intervalMs_))
        OnTick();
}

} // namespace korvane
