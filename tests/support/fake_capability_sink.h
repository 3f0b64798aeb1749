#pragma once

#include <larkmoor/capability_query.h>

#include "support/fake_host.h"

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

namespace korvane::test
{

/// What a host hears of a query: "done", "failed CODE TEXT" and "killed", with ", " between.
class FakeCapabilitySink final : public ipcapture::ICapabilitySink, public HostObject
{
public:
    std::string Heard() const { return heard_.Get(); }
    std::string WaitForEnd() ///< for one call at least; what was heard, or an empty text if nothing comes
    {
        heard_.WaitFor([](const std::string& heard) { return !heard.empty(); });
        return Heard();
    }
    void OnCall(std::function<void()> action) { action_ = std::move(action); } ///< runs in each call

    void ReservedSlot1() override { FailReserved(); }
    void OnQueryDone() override { Note("done"); }
    void OnQueryFailed(std::uint32_t code, const char* text) override
    {
        Note("failed " + std::to_string(code) + " " + text);
    }
    void OnQueryKilled() override { Note("killed"); }

private:
    void Note(const std::string& text)
    {
        Called();
        action_();
        heard_.Add(text);
    }

    WatchedWords heard_;
    std::function<void()> action_ = [] {};
};

} // namespace korvane::test
