#include "ptz/vivotek_ptz_control.h"

#include "platform/clock.h"
#include "support/fake_driver.h"
#include "support/http_test_server.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
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
using test::TestHttpPeer;
using test::TestHttpRequest;
using Lines = std::vector<std::string>;
using Call = std::function<void(CVivotekPTZControl&)>;

/// What every request for the head of channel 0 with the camera ID 7 begins with.
const std::string kControl = "/cgi-bin/camctrl/camctrl.cgi?channel=0&camid=7";

Call Move(std::uint32_t direction, std::uint32_t speed)
{
    return [=](CVivotekPTZControl& control) { EXPECT_EQ(control.StartMove(direction, speed), 1); };
}

/// Whole requests of these arguments; "+" stands for the two requests that end every stop.
Lines Requests(const Lines& arguments)
{
    Lines requests;
    for (const std::string& argument : arguments)
    {
        if (argument == "+")
            requests.insert(requests.end(), {kControl + "&focus=auto", kControl + "&iris=auto"});
        else
            requests.push_back(kControl + argument);
    }
    return requests;
}

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

    /// The targets of what came for the head, without the requests for parameters and the first `skipped`,
    /// once there are `count`.
    Lines Commands(std::size_t count, std::size_t skipped = 0)
    {
        for (std::size_t all = count;; ++all)
        {
            Lines lines;
            for (const TestHttpRequest& request : server_.Requests())
                if (request.target.find("getparam") == std::string::npos)
                    lines.push_back(request.target);
            if (lines.size() >= skipped + count)
                return {lines.begin() + static_cast<std::ptrdiff_t>(skipped), lines.end()};
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

TEST_F(PTZ, SendsExactlyTheseRequests)
{
    const Call in = [](auto&c) { c.ZoomIn(16); }, out = [](auto&c) { c.ZoomOut(8); };
    const Call far = [](auto&c) { c.FocusFar(9); }, near = [](auto&c) { c.FocusNear(9); };
    const Call open = [](auto&c) { c.IrisOpen(9); }, close = [](auto&c) { c.IrisClose(9); };
    const Call stop = [](auto& c) { EXPECT_EQ(c.Stop(), 1); };
    const Call silent = [](auto& c)
    {
        EXPECT_EQ(c.AreaZoom(1, 2, 3, 4), 1); // accepted, and nothing for the camera
        EXPECT_EQ(c.Unzoom(1), 1);
        EXPECT_EQ(c.StartMove(77, 1), 1);
    };
    const struct
    {
        const char* type;
        const char* subtype;
        std::vector<Call> calls;
        Lines arguments;
    } cases[] = {
        {"0",
         "",
         {Move(0, 16), Move(1, 16), Move(2, 16), Move(3, 16)},
         {"&vx=-1&vy=0&vs=1", "&vx=1&vy=0&vs=1", "&vx=0&vy=1&vs=1", "&vx=0&vy=-1&vs=1"}},
        {"0",
         "XY",
         {Move(0, 1), Move(1, 16), Move(2, 8), Move(3, 8)},
         {"&vx=-1&vy=0&vs=1", "&vx=100&vy=0&vs=1", "&vx=0&vy=47&vs=1", "&vx=0&vy=-47&vs=1"}},
        {"0",
         "XY",
         {Move(4, 8), Move(5, 8), Move(6, 8), Move(7, 8)},
         {"&vx=-47&vy=47&vs=1", "&vx=47&vy=47&vs=1", "&vx=-47&vy=-47&vs=1", "&vx=47&vy=-47&vs=1"}},
        {"0", "S", {Move(0, 8), Move(7, 16)}, {"&vx=-1&vy=0&vs=47", "&vx=1&vy=-1&vs=100"}},
        {"0", "XYS", {Move(3, 8), Move(4, 16)}, {"&vx=0&vy=-47&vs=47", "&vx=-100&vy=100&vs=100"}},
        {"0",
         "XYS",
         {in, out, Move(8, 1), Move(9, 16)},
         {"&zooming=tele&zs=16", "&zooming=wide&zs=8", "&zooming=tele&zs=1", "&zooming=wide&zs=16"}},
        {"0", "", {far, near, open, close}, {"&focus=far", "&focus=near", "&iris=open", "&iris=close"}},
        {"0", "", {Move(0, 1), stop, stop}, {"&vx=-1&vy=0&vs=1", "&vx=0&vy=0&vs=0", "+"}},
        {"0", "", {Move(9, 8), stop, stop}, {"&zooming=wide&zs=8", "&zoom=stop", "+"}},
        {"0", "", {far, open, stop}, {"&focus=far", "&iris=open", "+", "+"}},
        {"0", "", {Move(0, 1), Move(0, 0)}, {"&vx=-1&vy=0&vs=1", "&vx=0&vy=0&vs=0", "+"}},
        {"1",
         "XYS",
         {Move(0, 9), Move(1, 9), Move(2, 9), Move(3, 9)},
         {"&move=left", "&move=right", "&move=up", "&move=down"}},
        {"1", "", {Move(4, 9), Move(5, 9)}, {"&move=up", "&move=left", "&move=up", "&move=right"}},
        {"1", "", {Move(6, 9), Move(7, 9)}, {"&move=down", "&move=left", "&move=down", "&move=right"}},
        {"1",
         "",
         {Move(8, 9), Move(9, 9), in, out},
         {"&zoom=tele", "&zoom=wide", "&zoom=tele", "&zoom=wide"}},
        {"1", "", {Move(0, 9), stop}, {"&move=left", "&auto=stop", "+"}},
        {"1",
         "",
         {in, near, close, stop},
         {"&zoom=tele", "&focus=near", "&iris=close", "&auto=stop", "+", "&auto=stop", "+", "&auto=stop",
          "+"}},
        {"2", "", {Move(0, 9), in, far, stop}, {"&focus=far", "+", "+", "+"}},
        {"0", "", {silent, far}, {"&focus=far"}},
    };
    driver_.channelSettings.width = 640;
    driver_.channelSettings.height = 480;
    std::size_t before = 0;
    for (const auto& c : cases)
    {
        SCOPED_TRACE(before);
        driver_.properties[15] = c.type;
        driver_.properties[16] = c.subtype;
        CVivotekPTZControl control(&driver_, 0);
        ASSERT_TRUE(control.Open());
        for (const Call& call : c.calls)
            call(control);
        const Lines wanted = Requests(c.arguments);
        EXPECT_EQ(Commands(wanted.size(), before), wanted);
        before += wanted.size();
    }
    CVivotekPTZControl control(&driver_, 0);
    ASSERT_TRUE(control.Open());
    EXPECT_EQ(control.Center(10, 20, 5), 1);
    EXPECT_EQ(Commands(1, before), Lines{"/cgi-bin/camctrl/camctrl.cgi?video=0&x=10&y=20&resolution=640x480"
                                         "&videosize=640x480&stretch=0"});
}

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
    const Lines wanted =
        Requests({"&focus=far", "&zooming=tele&zs=1", "&zooming=tele&zs=2", "&zooming=tele&zs=3",
                  "&vx=-1&vy=0&vs=1", "&zooming=wide&zs=1", "&vx=0&vy=0&vs=0", "+", "&zoom=stop", "+", "+"});
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
    EXPECT_EQ(Commands(4), Requests({"&vx=-1&vy=0&vs=1", "&vx=0&vy=0&vs=0", "+", "+"}));
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

TEST_F(PTZ, TakesPresetsOfAllNames)
{
    const std::string longest(255, 'x');
    const std::pair<std::string, std::string> cases[] = {
        {"back yard", "back%20yard"},
        {" ends ", "%20ends%20"},
        {"T\xC3\xBCr \xE6\x97\xA5", "T%C3%BCr%20%E6%97%A5"},
        {longest, longest},
    };
    std::string& kept = parameters_["camctrl_c0_preset"] = "";
    for (std::size_t i = 0; i < std::size(cases); ++i)
        kept += "camctrl_c0_preset_i" + std::to_string(i) + "_name='" + cases[i].first + "'\r\n";
    driver_.properties[4] = "5";
    CVivotekPTZControl control(&driver_, 0);
    ASSERT_TRUE(control.Open());
    EXPECT_EQ(control.GetPresetCount(), std::size(cases));
    for (std::uint32_t i = 0; i < std::size(cases); ++i)
    {
        char name[256];
        ASSERT_EQ(control.GetPresetName(i, name, sizeof name), 1);
        EXPECT_EQ(name, cases[i].first);
        EXPECT_EQ(control.RecallPreset(1, name), 1);
        EXPECT_EQ(Commands(1, i), Lines{"/cgi-bin/camctrl/recall.cgi?channel=0&recall=" + cases[i].second});
    }
    for (const char* refused : {"it's", "\"quoted\"", "a&b"})
        EXPECT_EQ(control.AddPreset(refused), -3) << refused;
    status_ = 400;
    EXPECT_EQ(control.AddPreset((longest + "x").c_str()), -18) << "more than the camera takes";
}

TEST_F(PTZ, KeepsItsListUnderManyHands)
{
    std::string& places = parameters_["camctrl_c0_preset"] = "";
    for (int i = 0; i < 20; ++i)
        places += "camctrl_c0_preset_i" + std::to_string(i) + "_name=''\r\n";
    driver_.properties[4] = "20";
    CVivotekPTZControl first(&driver_, 0), second(&driver_, 0);
    ASSERT_TRUE(first.Open() && second.Open());
    std::vector<std::thread> hands;
    for (int hand = 0; hand < 4; ++hand)
        hands.emplace_back(
            [&, hand]
            {
                CVivotekPTZControl& control = hand % 2 == 0 ? first : second;
                for (int round = 0; round < 20; ++round)
                {
                    const std::string name = std::to_string(hand) + " " + std::to_string(round % 3);
                    EXPECT_EQ(control.AddPreset(name.c_str()), 1);
                    EXPECT_EQ(control.RecallPreset(1, name.c_str()), 1);
                    char buffer[64];
                    for (std::uint32_t index = control.GetPresetCount(); index-- > 0;)
                        control.GetPresetName(index, buffer, sizeof buffer);
                    control.GetCurrentPreset(buffer, sizeof buffer);
                    if (hand > 1)
                        control.ZoomIn(1);
                    EXPECT_EQ(control.DeletePreset(name.c_str()), 1);
                }
            });
    for (std::thread& hand : hands)
        hand.join();
    EXPECT_EQ(first.GetPresetCount(), 0u);
    EXPECT_EQ(second.GetPresetCount(), 0u);
    EXPECT_TRUE(driver_.Texts(1).empty());
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
