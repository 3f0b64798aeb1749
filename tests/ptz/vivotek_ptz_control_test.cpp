#include "ptz/vivotek_ptz_control.h"

#include "platform/clock.h"
#include "ptz/head_request.h"
#include "support/fake_driver.h"
#include "support/http_test_server.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <future>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace korvane
{

namespace
{

using test::HttpTestServer;
using test::kControl;
using test::TestHttpPeer;
using test::TestHttpRequest;
using Lines = std::vector<std::string>;

/// A camera with a head: answers parameters from a table, and everything else with 200.
class PTZ : public ::testing::Test
{
protected:
    PTZ()
        : server_([this](TestHttpPeer& peer, const TestHttpRequest& request)
                  { return Answer(peer, request); })
    {
        driver_.device = DEVICE_INFO("127.0.0.1", server_.Port(), "", "", "");
        driver_.properties = {{4, "3"},  {5, "11110000"}, {10, "1"}, {11, "100"},
                              {12, "1"}, {13, "16"},      {15, "0"}, {16, "XYS"}};
        parameters_["camctrl_c0_cameraid"] = "camctrl_c0_cameraid='7'\r\n";
        parameters_["camctrl_c0_preset"] =
            "camctrl_c0_preset_i0_name='door'\r\ncamctrl_c0_preset_i1_name=''\r\n"
            "camctrl_c0_preset_i2_name='gate'\r\n";
    }

    bool Answer(TestHttpPeer& peer, const TestHttpRequest& request)
    {
        const std::size_t query = request.target.find("getparam.cgi?");
        const auto found = query == std::string::npos ? parameters_.end()
                                                      : parameters_.find(request.target.substr(query + 13));
        if (const auto hold = HoldOf(request.target); hold.valid())
            hold.wait();
        return peer.Send(HttpTestServer::Response(
            status_, found == parameters_.end() ? "" : std::string_view(found->second)));
    }

    std::shared_future<void> HoldOf(const std::string& target)
    {
        const std::lock_guard guard(lock_);
        return target.find(held_) == std::string::npos ? std::shared_future<void>() : hold_;
    }

    /// From now on requests that hold `part` are answered when `gate` is set.
    void HoldUntil(std::promise<void>& gate, const std::string& part = "camctrl.cgi")
    {
        const std::lock_guard guard(lock_);
        hold_ = gate.get_future().share();
        held_ = part;
    }

    /// The targets of what came for the head, without the requests for parameters, once there are `count`.
    Lines Commands(std::size_t count)
    {
        for (std::size_t all = count;; ++all)
        {
            Lines lines;
            for (const TestHttpRequest& request : server_.Requests())
                if (request.target.find("getparam") == std::string::npos)
                    lines.push_back(request.target);
            if (lines.size() >= count)
                return lines;
            server_.WaitForRequests(all);
        }
    }

    std::map<std::string, std::string> parameters_;
    std::atomic<int> status_{200};
    std::mutex lock_;               // guards what follows
    std::shared_future<void> hold_; // while it is not ready, requests with the next in them are not answered
    std::string held_;
    test::FakeDriver driver_;
    HttpTestServer server_;
};

TEST_F(PTZ, SendsAHeldMoveOncePerHalfSecond)
{
    platform::ManualClock clock(130'000'000'000'000'000);
    CVivotekPTZControl control(&driver_, 0);
    ASSERT_TRUE(control.Open());
    EXPECT_EQ(control.StartMove(10, 5), -3);
    control.StartMove(0, 5);
    clock.AdvanceMs(500);
    control.StartMove(0, 5); // a repeat
    clock.AdvanceMs(1);
    clock.SetUtcTicks(120'000'000'000'000'000); // set back
    control.StartMove(0, 5);
    control.StartMove(0, 6);
    control.StartMove(0, 0); // stops, and the next one is no repeat
    control.StartMove(0, 6);
    EXPECT_EQ(Commands(7).size(), 7u);
}

TEST_F(PTZ, KeepsTheEightNewestCommands)
{
    std::promise<void> release;
    HoldUntil(release);
    driver_.properties[16] = "";
    CVivotekPTZControl control(&driver_, 0);
    ASSERT_TRUE(control.Open());
    control.FocusFar(1);
    EXPECT_EQ(Commands(1), Lines{kControl + "&focus=far"}); // in hand, and not answered
    for (std::uint32_t i = 0; i < 19; ++i)
        EXPECT_EQ(control.ZoomIn(1 + i % 16), 1);
    EXPECT_EQ(control.StartMove(0, 1), 1);
    EXPECT_EQ(control.ZoomOut(1), 1);
    EXPECT_EQ(control.Stop(), 1); // of the move, zoom and focus: the newest of all
    release.set_value();
    const Lines automatic = {"&focus=auto", "&iris=auto"};
    Lines wanted = {"&focus=far"};
    for (const char* line :
         {"&zooming=tele&zs=1", "&zooming=tele&zs=2", "&zooming=tele&zs=3", "&vx=-1&vy=0&vs=1",
          "&zooming=wide&zs=1", "&vx=0&vy=0&vs=0", "+", "&zoom=stop", "+", "+"})
        if (std::string(line) == "+")
            wanted.insert(wanted.end(), automatic.begin(), automatic.end());
        else
            wanted.emplace_back(line);
    for (std::string& line : wanted)
        line.insert(0, kControl);
    EXPECT_EQ(Commands(wanted.size()), wanted);

    std::promise<void> again;
    HoldUntil(again);
    control.FocusFar(1);
    control.ZoomIn(1);
    std::thread closing([&control] { control.Close(); });
    again.set_value();
    closing.join(); // ends with the one in hand
    EXPECT_LE(Commands(0).size(), wanted.size() + 2);
    EXPECT_EQ(control.Stop(), -18);
}

TEST_F(PTZ, StopsAMovingHeadWhenItCloses)
{
    driver_.properties[16] = "";
    CVivotekPTZControl control(&driver_, 0);
    ASSERT_TRUE(control.Open());
    std::promise<void> release;
    HoldUntil(release, "&vx=-1");
    control.StartMove(0, 5);
    EXPECT_EQ(Commands(1), Lines{kControl + "&vx=-1&vy=0&vs=1"}); // in hand, and never answered
    control.FocusFar(1);
    control.Stop();
    control.ZoomIn(1);
    control.Close();
    EXPECT_EQ(Commands(4),
              (Lines{kControl + "&vx=-1&vy=0&vs=1", kControl + "&vx=0&vy=0&vs=0", kControl + "&focus=auto",
                     kControl + "&iris=auto", kControl + "&focus=auto", kControl + "&iris=auto"}));
    release.set_value();
}

TEST_F(PTZ, MovesAndStopsWithoutTheListOfPresets)
{
    const auto reads = [this]
    {
        return std::ranges::count_if(server_.Requests(), [](const TestHttpRequest& request)
                                     { return request.target.ends_with("_preset"); });
    };
    status_ = 500;
    CVivotekPTZControl control(&driver_, 0);
    ASSERT_TRUE(control.Open());
    EXPECT_EQ(control.StartMove(0, 5), 1);
    EXPECT_EQ(control.Stop(), 1);
    EXPECT_EQ(Commands(4).size(), 4u); // all sent: the next request is that of the presets
    EXPECT_EQ(reads(), 1);             // when it was opened

    status_ = 200;
    std::promise<void> release;
    HoldUntil(release, "preset.cgi");
    std::thread adding([&control] { EXPECT_EQ(control.AddPreset("roof"), 1); });
    EXPECT_EQ(Commands(5).back(), "/cgi-bin/operator/preset.cgi?channel=0&addpos=roof");
    EXPECT_EQ(control.StartMove(1, 5), 1); // does not wait for that answer
    release.set_value();
    adding.join();
}

TEST_F(PTZ, TellsWhetherThereIsAHead)
{
    const struct
    {
        const char* flags;
        int status;
        const char* answer;
        std::int32_t available;
    } cases[] = {
        {"", 200, "", 0},
        {"01110000", 200, "", 0},
        {"1111000", 200, "", 0},
        {"11000000", 500, "", 1},
        {"10000000", 200, "camctrl_c0_isptz='1'\r\n", 1},
        {"10000000", 200, "camctrl_c0_isptz='0'\r\n", 0},
        {"10000000", 200, "camctrl_c0_isptz=0\r\n", 1},
        {"10000000", 200, "", 0},
        {"10000000", 404, "camctrl_c0_isptz='1'\r\n", 0},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(std::string(c.flags) + " " + c.answer);
        driver_.properties[5] = c.flags;
        CVivotekPTZControl control(&driver_, 0);
        ASSERT_TRUE(control.Open());
        status_ = c.status;
        parameters_["camctrl_c0_isptz"] = c.answer;
        EXPECT_EQ(control.IsAvailable(), c.available);
        status_ = 200;
    }
}

TEST_F(PTZ, MirrorsThePresetsOfTheCamera)
{
    CVivotekPTZHandler handler(&driver_);
    EXPECT_EQ(handler.GetPTZControl(1), nullptr);
    ipcapture::IIPPTZApi* const control = handler.GetPTZControl(0);
    ASSERT_NE(control, nullptr);
    EXPECT_EQ(handler.GetPTZControlEx(0), control);

    char name[16] = "";
    EXPECT_EQ(control->GetPresetCount(), 2u);
    EXPECT_EQ(control->GetPresetName(1, name, 5), 1);
    EXPECT_STREQ(name, "gate");
    EXPECT_EQ(control->GetPresetName(1, name, 4), -3);
    EXPECT_EQ(control->GetPresetName(2, name, sizeof name), -23);
    EXPECT_EQ(control->GetCurrentPreset(name, sizeof name), -23);

    EXPECT_EQ(control->RecallPreset(5, "door"), 1);
    EXPECT_EQ(control->GetCurrentPreset(name, sizeof name), 1);
    EXPECT_STREQ(name, "door");
    EXPECT_EQ(control->FocusFar(1), 1);
    EXPECT_EQ(control->GetCurrentPreset(name, sizeof name), -23);
    EXPECT_EQ(control->RecallPreset(5, "cellar"), -23);

    EXPECT_EQ(control->AddPreset("a'b"), -3);
    EXPECT_EQ(control->AddPreset(""), -3);
    EXPECT_EQ(control->AddPreset("back yard"), 1);
    EXPECT_EQ(control->GetCurrentPreset(name, sizeof name), 1);
    EXPECT_EQ(control->AddPreset("roof"), -26);
    EXPECT_EQ(control->DeletePreset("door"), 1);
    EXPECT_EQ(control->GetPresetCount(), 2u);
    EXPECT_EQ(control->GetPresetName(0, name, sizeof name), 1);
    EXPECT_STREQ(name, "gate");
    status_ = 500;
    EXPECT_EQ(control->DeletePreset("gate"), -23);
    EXPECT_EQ(control->AddPreset("roof"), -18);

    handler.DeleteControls();
    Lines presets;
    for (const std::string& line : Commands(0))
        if (line.find("camctrl.cgi") == std::string::npos)
            presets.push_back(line);
    EXPECT_EQ(presets, (Lines{"/cgi-bin/camctrl/recall.cgi?channel=0&recall=door",
                              "/cgi-bin/operator/preset.cgi?channel=0&addpos=back%20yard",
                              "/cgi-bin/operator/preset.cgi?channel=0&delpos=door",
                              "/cgi-bin/operator/preset.cgi?channel=0&delpos=gate",
                              "/cgi-bin/operator/preset.cgi?channel=0&addpos=roof"}));
    EXPECT_EQ(
        driver_.Texts(1),
        (Lines{
            "korvane::CPrepositionList::AddPreposition: A preposition \"a'b\" cannot be added - the name is "
            "invalid.",
            "korvane::CPrepositionList::AddPreposition: A preposition \"\" cannot be added - the name is "
            "invalid.",
            "korvane::CPrepositionList::AddPreposition: A preposition \"roof\" cannot be added. Camera "
            "supports saving not more than 3 prepositions."}));
}

TEST_F(PTZ, FillsTheHostsRecord)
{
    driver_.properties[5] = "10101011";
    CVivotekPTZControl control(&driver_, 0);
    ipcapture::PTZCapabilityRecord record{};
    EXPECT_EQ(control.GetCapabilities(&record), -18);
    ASSERT_TRUE(control.Open());
    EXPECT_EQ(control.GetCapabilities(nullptr), -3);
    record.hostWord = 77;
    EXPECT_EQ(control.GetCapabilities(&record), 1);
    const auto* const words = reinterpret_cast<const std::uint32_t*>(&record);
    EXPECT_EQ(std::vector<std::uint32_t>(words, words + 14),
              (std::vector<std::uint32_t>{77, 1, 0, 1, 0, 1, 0, 3, 2, 0, 0, 0, 1, 0}));
}

} // namespace

} // namespace korvane
