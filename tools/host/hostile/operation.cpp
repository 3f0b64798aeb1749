#include "host/hostile/operation.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace larkmoor::host
{

namespace
{

using std::chrono::milliseconds;

constexpr milliseconds kShortestStall(10);
constexpr milliseconds kSlowCall(300); // the most of a stall that comes at every call
constexpr unsigned kForGood = 1'000'000;
constexpr unsigned kFirstCalls[] = {1, 1, 2, 3, 5, 10, 30};

// As many between 10 and 100 ms as between 100 ms and 1 s.
milliseconds StallUpTo(Dice& dice, milliseconds longest)
{
    const double least = std::log(static_cast<double>(kShortestStall.count()));
    const double most = std::log(static_cast<double>(std::max(longest, kShortestStall).count()));
    return milliseconds(std::lround(std::exp(std::uniform_real_distribution(least, most)(dice))));
}

Deed MakeDeed(Dice& dice, bool isQuery, milliseconds longest)
{
    const OperationTraits* traits = nullptr;
    do
        traits = &kOperations[Throw(dice, 0, kOperations.size() - 1)];
    while ((traits->party == Party::Query) != isQuery);

    Deed deed;
    deed.operation = traits->operation;
    deed.first = kFirstCalls[Throw(dice, 0, std::size(kFirstCalls) - 1)];
    const bool isForGood = Throw(dice, 1, 4) == 1;
    deed.last = isForGood ? kForGood : deed.first;
    const unsigned kind = Throw(dice, 1, 8);
    deed.throws = kind <= 2;
    deed.refuses = traits->mayRefuse && kind >= 3 && kind <= 5;
    const bool stalls = (!deed.throws && !deed.refuses) || kind == 2 || kind == 4;
    if (stalls)
        deed.stall = StallUpTo(dice, isForGood ? std::min(longest, kSlowCall) : longest);
    return deed;
}

} // namespace

unsigned Throw(Dice& dice, unsigned least, unsigned most)
{
    return std::uniform_int_distribution(least, most)(dice);
}

std::vector<Deed> MakePlan(Dice& dice, bool isQuery, milliseconds longest)
{
    std::vector<Deed> plan(Throw(dice, 2, 6));
    std::ranges::generate(plan, [&] { return MakeDeed(dice, isQuery, longest); });
    return plan;
}

} // namespace larkmoor::host
