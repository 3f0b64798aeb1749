#include "discovery/capability_query_module.h"

#include "runtime/event.h"
#include "support/fake_capability_sink.h"
#include "support/fake_capability_store.h"
#include "support/fake_host.h"
#include "support/thread_watch.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <stdexcept>
#include <thread>
#include <vector>

namespace korvane
{

namespace
{

using test::FakeCapabilitySink;
using test::FakeCapabilityStore;
using test::kPatienceMs;

/// What the properties of a test do, and what became of them. Outlives a thread that was given up.
struct Script
{
    bool fetches = true;
    bool saves = true;
    std::function<void()> hang; // until `wakeUp`
    std::atomic<std::uint32_t> thread = 0;
    CManualEvent hanging;
    bool waitsForCancel = false;
    std::uint32_t code = 3;
    CManualEvent fetching;
    CManualEvent cancelled;
    CManualEvent wakeUp;
    std::atomic<int> alive = 0;
};

class ScriptedProperties : public CCameraPropertiesEx
{
public:
    ScriptedProperties(const DEVICE_INFO& deviceInfo, Script& script)
        : CCameraPropertiesEx(deviceInfo, 0), script_(script)
    {
        ++script_.alive;
    }
    ~ScriptedProperties() override { --script_.alive; }

    bool FetchProperties(std::uint32_t* errorCode) override
    {
        script_.fetching.Set();
        if (script_.hang)
            script_.hang();
        if (script_.waitsForCancel)
            return script_.cancelled.Wait(kPatienceMs) && false;
        if (!script_.fetches)
            *errorCode = script_.code;
        return script_.fetches;
    }
    bool SaveProperties(ipcapture::ICapabilityStore* store) override
    {
        return script_.saves && CCameraPropertiesEx::SaveProperties(store);
    }
    void CancelFetch() override
    {
        CCameraPropertiesEx::CancelFetch();
        script_.cancelled.Set();
    }

private:
    Script& script_;
};

class ScriptedModule : public CCapabilityQueryModule
{
public:
    ScriptedModule(ipcapture::ICapabilitySink* sink, Script* script)
        : CCapabilityQueryModule(sink, 1), script_(script)
    {
    }
    ~ScriptedModule() override { StopQuery(); }
    CCameraPropertiesEx* CreateProperties() override
    {
        return script_ == nullptr ? nullptr : new ScriptedProperties(device_, *script_);
    }
    using CCapabilityQueryModule::device_;

private:
    Script* const script_;
};

struct Fixture
{
    std::uint32_t Start(const char* address = "10.0.0.9")
    {
        return module->StartQuery(address, 80, "root", "", &store);
    }
    void Delete()
    {
        module.reset();
        sink.EndCalls();
        store.EndCalls();
    }

    Script script;
    FakeCapabilitySink sink;
    FakeCapabilityStore store;
    std::unique_ptr<ScriptedModule> module = std::make_unique<ScriptedModule>(&sink, &script);
};

} // namespace

TEST(CapabilityQueryModule, TellsTheSinkHowItEnded)
{
    const struct
    {
        const char* name;
        const char* address;
        bool fetches;
        std::uint32_t code;
        bool saves;
        const char* heard;
    } cases[] = {
        {"done", "10.0.0.9", true, 3, true, "done"},
        {"an empty address is the fetch's to judge", "", false, 3, true,
         "failed 3 Failed to get camera properties"},
        {"login", "cam", false, 1, true,
         "failed 1 Failed to get camera properties, login failed (invalid credentials)"},
        {"offline", "cam", false, 2, true,
         "failed 2 Failed to get camera properties, device is offline or is located in unaccessible subnet"},
        {"not saved", "cam", true, 3, false, "failed 3 Failed to save capability query results"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.name);
        Fixture f;
        f.script.fetches = c.fetches;
        f.script.code = c.code;
        f.script.saves = c.saves;
        EXPECT_EQ(f.Start(c.address), 1u);
        EXPECT_EQ(f.sink.WaitForEnd(), c.heard);
        EXPECT_EQ(f.Start(), 0u) << "a module runs one query in its life";
        EXPECT_EQ(f.store.Lines().empty(), std::string(c.heard) != "done");
        f.Delete();
        EXPECT_EQ(f.script.alive, 0);
        EXPECT_EQ(f.sink.Heard(), c.heard);
    }
}

TEST(CapabilityQueryModule, RefusesAddressesThatAreNone)
{
    for (const char c : std::string("@#$%^&*(){}[]/\\+=|:;,~'\"!?"))
    {
        Fixture f;
        EXPECT_EQ(f.Start((std::string("10.0.0.9") + c + "80").c_str()), 1u);
        EXPECT_EQ(f.sink.WaitForEnd(),
                  "failed 0 Failed to start capability fetching thread. Device address is invalid!");
        EXPECT_FALSE(f.script.fetching.Wait(0)) << c;
    }
}

TEST(CapabilityQueryModule, StartsOnlyWithAllThatItNeeds)
{
    Fixture f;
    f.module->TerminateQuery(); // nothing to terminate; Exports has the texts that may not be null
    EXPECT_EQ(f.module->StartQuery("cam", 80, "", "", nullptr), 1u);
    EXPECT_EQ(f.sink.WaitForEnd(),
              "failed 3 Failed to start capability fetching thread. Internal error occurs");
    ScriptedModule none(&f.sink, nullptr);
    EXPECT_EQ(none.StartQuery("cam", 80, "", "", &f.store), 0u);
}

TEST(CapabilityQueryModule, DeletionCancelsAndWaits)
{
    Fixture f;
    f.script.waitsForCancel = true;
    EXPECT_EQ(f.Start(), 1u);
    f.Delete();
    EXPECT_EQ(f.sink.Heard(), "failed 3 Failed to get camera properties");
    EXPECT_EQ(f.script.alive, 0);
}

TEST(CapabilityQueryModule, TakesAStoreThatThrowsForARefusal)
{
    for (std::size_t last = 1; last < 8; ++last)
    {
        Fixture f;
        f.store.OnLine(
            [&]
            {
                if (f.store.Lines().size() == last)
                    throw std::runtime_error("the host's own trouble");
            });
        EXPECT_EQ(f.Start(), 1u);
        EXPECT_EQ(f.sink.WaitForEnd(), "failed 3 Failed to save capability query results");
        EXPECT_EQ(f.store.Lines().size(), last);
    }
}

TEST(CapabilityQueryModule, CallsNobodyOnceAQueryThatHangsWasGivenUp)
{
    static std::vector<Fixture*> kept;          // the threads are halted with what they hold
    for (const bool inTheStore : {false, true}) // or in the device
    {
        Fixture& f = *kept.emplace_back(new Fixture);
        const auto hang = [&script = f.script]
        {
            script.thread = platform::Thread::CurrentId();
            script.hanging.Set();
            script.wakeUp.Wait(kPatienceMs);
        };
        f.module->device_.networkTimeoutMs = 10;
        if (inTheStore)
            f.store.OnLine(hang);
        else
            f.script.hang = hang;
        EXPECT_EQ(f.Start(), 1u);
        EXPECT_TRUE(f.script.hanging.Wait(kPatienceMs));
        f.module.reset();
        EXPECT_EQ(f.sink.Heard(), "killed");
        f.script.wakeUp.Set(); // it goes on
        EXPECT_TRUE(test::WaitUntilHalted(f.script.thread));
        EXPECT_EQ(f.store.Lines().size(), inTheStore ? 1u : 0u);
        EXPECT_EQ(f.sink.Heard(), "killed");
    }
}

TEST(CapabilityQueryModule, CanBeDeletedByItsSink)
{
    Fixture f;
    CManualEvent started;
    f.sink.OnCall(
        [&]
        {
            started.Wait(kPatienceMs);
            f.Delete();
        });
    EXPECT_EQ(f.Start(), 1u);
    started.Set();
    EXPECT_EQ(f.sink.WaitForEnd(), "done");
    EXPECT_EQ(f.script.alive, 0);
}

TEST(CapabilityQueryModule, MayBeTerminatedFromAnyThreadWhileItEnds)
{
    for (int round = 0; round < 20; ++round)
    {
        Fixture f;
        EXPECT_EQ(f.Start(), 1u);
        {
            const auto terminate = [&]
            {
                while (f.sink.Heard().empty())
                    f.module->TerminateQuery();
            };
            const std::jthread one(terminate);
            const std::jthread other(terminate);
        }
        f.Delete();
        EXPECT_EQ(f.script.alive, 0);
        EXPECT_EQ(f.sink.Heard(), "done");
    }
}

} // namespace korvane
