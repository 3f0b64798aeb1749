#include "camera/hardware/signals.h"
#include "camera/media/test_picture.h"
#include "camera/ptz/ptz_cgi.h"
#include "camera/simulated_camera.h"
#include "http/http_client.h"
#include "support/table.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace larkmoor::camera;
using namespace std::chrono_literals;

namespace
{

/// Where a head of ten levels looks, lens included, after `query` and a second, told as text.
class CameraHead : public testing::Test
{
protected:
    CameraHead()
    {
        for (const char* key : {"pan", "tilt", "zoom"})
            store.Define(std::string("capability_ptz_") + key + "speedlv", "10", "");
        store.Define("camctrl_c0_cameraid", "7", "");
    }

    static HttpRequest Request(const std::string& query) { return {"GET", "", "", query, ""}; }
    int Control(const std::string& query) { return cgi.Control(Request(query)).status; }

    std::string After(std::chrono::milliseconds time)
    {
        now += time;
        SceneState state;
        head.Show(state);
        return state.status;
    }

    Head::Clock::time_point now{1000s};
    ParameterStore store;
    Head head{[this] { return now; }};
    Presets presets{store, 2};
    PtzCgi cgi{store, head, presets};
};

} // namespace

TEST_F(CameraHead, MovesInTimeAndWithinItsLimits)
{
    for (const auto& [query, status, time, shows] :
         korvane::test::Table<const char*, int, std::chrono::milliseconds, const char*>{
             {"channel=0&camid=7&vx=10&vy=0&vs=1", 200, 1s, "PAN +60.0 TILT +0.0 ZOOM 1.0"},
             {"vx=-1&vy=1&vs=5", 200, 1s, "PAN +30.0 TILT +30.0 ZOOM 1.0"}, // a diagonal at half the speed
             {"vx=0&vy=0&vs=0", 200, 5s, "PAN +30.0 TILT +30.0 ZOOM 1.0"},
             {"camid=3&vx=10&vy=0", 200, 1s, "PAN +30.0 TILT +30.0 ZOOM 1.0"}, // another head's
             {"vx=1&vy=-1&vs=10", 200, 5s, "PAN +170.0 TILT -60.0 ZOOM 1.0"},
             {"zooming=tele&zs=5", 200, 2s, "PAN +170.0 TILT -60.0 ZOOM 2.0"},
             {"zoom=stop", 200, 9s, "PAN +170.0 TILT -60.0 ZOOM 2.0"},
             {"move=home", 200, 5s, "PAN +0.0 TILT +0.0 ZOOM 1.0"},
             {"move=left", 200, 0s, "PAN +0.0 TILT +0.0 ZOOM 1.0"},
             {"move=left", 200, 1s, "PAN -10.0 TILT +0.0 ZOOM 1.0"}, // steps add up
             {"move=up", 200, 100ms, "PAN -10.0 TILT +2.0 ZOOM 1.0"},
             {"auto=stop", 200, 1s, "PAN -10.0 TILT +2.0 ZOOM 1.0"},
             {"video=0&x=640&y=240&resolution=640x480&videosize=640x480&stretch=0", 200, 2s,
              "PAN +20.0 TILT +2.0 ZOOM 1.0"},
             {"focus=far", 200, 1s, "PAN +20.0 TILT +2.0 ZOOM 1.0 FOCUS"},
             {"iris=close", 200, 1s, "PAN +20.0 TILT +2.0 ZOOM 1.0 FOCUS IRIS"},
             {"focus=auto&iris=auto", 200, 1s, "PAN +20.0 TILT +2.0 ZOOM 1.0"},
             {"zooming=wide&zs=x", 400, 1s, "PAN +20.0 TILT +2.0 ZOOM 1.0"},
             {"move=away", 400, 1s, "PAN +20.0 TILT +2.0 ZOOM 1.0"},
             {"channel=1&move=left", 400, 1s, "PAN +20.0 TILT +2.0 ZOOM 1.0"},
         })
    {
        EXPECT_EQ(Control(query), status) << query;
        EXPECT_EQ(After(time), shows) << query;
    }
}

TEST_F(CameraHead, KeepsPresets)
{
    const std::string longest(255, 'x');
    Control("vx=10&vy=0");
    After(500ms);
    for (const auto& [query, status] : korvane::test::Table<std::string, int>{
             {"addpos=back%20yard", 200},
             {"addpos=" + longest + "x", 400},
             {"addpos=a'b", 400},
             {"addpos=", 400},
             {"addpos=" + longest, 200},
             {"addpos=full", 409},
             {"delpos=none", 404},
             {"", 400},
             {"addpos=back yard", 200},
             {"delpos=" + longest, 200},
             {"delpos=", 404},
             {"addpos=T%C3%BCr", 200},
         })
        EXPECT_EQ(cgi.Preset(Request(query)).status, status) << query;
    EXPECT_EQ(store.Read("camctrl_c0_preset"),
              "camctrl_c0_preset_i0_name='back yard'\r\ncamctrl_c0_preset_i1_name='T\xC3\xBCr'\r\n");
    Control("move=home");
    After(9s);
    EXPECT_EQ(cgi.Recall(Request("recall=nowhere")).status, 404);
    EXPECT_EQ(cgi.Recall(Request("recall=back%20yard")).status, 200);
    EXPECT_EQ(After(9s), "PAN +30.0 TILT +0.0 ZOOM 1.0");
}

TEST(CameraSignals, FollowAScript)
{
    Signals::Clock::time_point now{1000s};
    ParameterStore store;
    for (const char* key : {"system.di1", "system.di2", "system.do1"})
        store.Define(key, "0", "");
    Signals signals(store, [&now] { return now; });
    std::string error;
    for (const char* bad :
         {"", "1", "2=high", "x=low", "0=up", "0@=low", "0@1s/=flip", "0@1s/0=flip", "0@5h=low"})
        EXPECT_FALSE(signals.AddScript(bad, error)) << bad;
    ASSERT_TRUE(signals.AddScript("1@3s=high,0@1s/2s=flip,1@10s=low", error)) << error;
    now += 60s;
    EXPECT_EQ(signals.Inputs(), std::vector<bool>({false, false})) << "before it begins";
    signals.Begin();
    for (const auto& [step, inputs] : korvane::test::Table<std::chrono::milliseconds, std::vector<bool>>{
             {0s, {false, false}},
             {1s, {true, false}},
             {2s, {false, true}},
             {6s, {true, true}},
             {1s, {true, false}}, // three flips are missed by the fourth look
         })
    {
        now += step;
        EXPECT_EQ(signals.Inputs(), inputs);
    }
    EXPECT_FALSE(signals.SetOutput(1, true));
    EXPECT_TRUE(signals.SetOutput(0, true));
    signals.Publish();
    EXPECT_EQ(store.Read("system"), "system.di1='1'\r\nsystem.di2='0'\r\nsystem.do1='1'\r\n");
}

TEST(CameraHardware, IsSeenInThePictureAndOverHttp)
{
    CameraOptions options;
    options.profile = "vs2403";
    options.inputs = {"2=high"};
    SimulatedCamera legacy(options);
    options.profile = "dome";
    SimulatedCamera dome(options);
    std::string error;
    ASSERT_TRUE(legacy.Start(error) && dome.Start(error)) << error;
    const auto expect = [](const SimulatedCamera& camera, const std::string& page, std::uint32_t status,
                           const std::string& part)
    {
        Web::CHttpClient client(korvane::DEVICE_INFO("127.0.0.1", camera.HttpPort(), "", "", ""));
        std::vector<std::uint8_t> body;
        client.SendRequest("GET", "/cgi-bin/" + page);
        body.resize(client.ReadResponse(body));
        const std::string text(body.begin(), body.end());
        EXPECT_EQ(client.StatusCode(), status) << page;
        EXPECT_NE(text.find(part), std::string::npos) << page << ": " << text;
    };
    expect(dome, "dido/getdi.cgi", 200, "di0=0\r\ndi1=0\r\ndi2=1\r\ndi3=0\r\n");
    expect(dome, "dido/setdi.cgi?di1=1", 200, "di0=0\r\ndi1=1\r\ndi2=1\r\ndi3=0\r\n");
    expect(dome, "dido/setdo.cgi?do0=1", 200, "do0=1\r\n");
    expect(dome, "dido/setdo.cgi?do1=1", 400, "");
    expect(legacy, "dido/setdo.cgi?do3=1", 200, "");
    expect(legacy, "admin/getparam.cgi?system", 200, "system.di3=1\r\nsystem.di4=0\r\nsystem.do1=0\r\n");
    expect(legacy, "admin/getparam.cgi?system", 200, "system.do4=1\r\n");
    expect(legacy, "camctrl/camctrl.cgi?move=left", 404, ""); // it has no head

    for (const char* fault : {"di-refuse", "do-refuse", "ptz-refuse"})
        ASSERT_TRUE(dome.Faults().Add(fault, error)) << error;
    for (const char* page : {"dido/getdi.cgi", "dido/setdo.cgi?do0=0", "camctrl/camctrl.cgi?move=left",
                             "operator/preset.cgi?addpos=a"})
        expect(dome, page, 503, "");
    expect(dome, "dido/getdo.cgi", 200, "do0=1\r\n"); // refused, not switched

    // The same world from two places, in a light and a focus of its own, with a lamp lit.
    TestPicture pictures(320, 240);
    SceneState state{{}, "t", {}, 0, 1, {false}, {}};
    const auto middle = [&](const SceneState& shown)
    {
        Canvas& canvas = pictures.Draw(shown, "n", 0, {});
        const std::uint8_t* row = canvas.Plane(0) + 100 * canvas.Stride(0);
        return std::vector<std::uint8_t>(row, row + 320);
    };
    const auto before = middle(state);
    SceneState panned = state, zoomed = state, blurred = state, dimmed = state;
    panned.view.pan = 20;
    zoomed.view.zoom = 2;
    blurred.blur = 0.25;
    dimmed.light = 0.5;
    for (const SceneState& changed : {panned, zoomed, blurred, dimmed})
        EXPECT_NE(middle(changed), before);
}
