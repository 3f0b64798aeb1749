#include "host/recording/timeline.h"

namespace larkmoor::host
{

std::int64_t Timeline::Place(std::int64_t timeMicroseconds)
{
    const std::int64_t time = timeMicroseconds / 1000;
    if (!origin_)
    {
        origin_ = time;
        last_ = 0;
        return 0;
    }

    std::int64_t place = time - *origin_;
    if (place > last_)
    {
        distance_ = place - last_ < kLeap ? place - last_ : distance_;
    }
    else
    {
        ++moved_;
        if (place < last_ - kLeap)
        {
            place = last_ + distance_;
            origin_ = time - place;
        }
        else
        {
            place = last_ + 1;
        }
    }
    last_ = place;
    return place;
}

} // namespace larkmoor::host
