#pragma once

#include <cstdint>

#include "runtime/queue_thread.h"

namespace korvane
{

/// A request to bring one output into one state.
class COutputState
{
public:
    COutputState(std::uint32_t number, std::uint32_t state) : number_(number), state_(state) {}
    virtual ~COutputState() = default;

    std::uint32_t Number() const { return number_; }
    std::uint32_t State() const { return state_; }

private:
    std::uint32_t number_;
    std::uint32_t state_;
};

/// Hands queued output requests to a member of another object, which is not owned and outlives the thread.
template <class T>
class TOutputHandler : public CQueueThread<COutputState>
{
public:
    using Member = void (T::*)(std::uint32_t number, std::uint32_t state);

    TOutputHandler(IDebugMessage* debug, T* object, Member member)
        : CQueueThread<COutputState>(debug), object_(object), member_(member)
    {
    }
    ~TOutputHandler() override { JoinThread(5000); }

    void HandleItem(COutputState* item) override
    {
        if (object_ != nullptr && member_ != nullptr && item != nullptr)
            (object_->*member_)(item->Number(), item->State());
    }

private:
    T* const object_;
    const Member member_;
};

} // namespace korvane
