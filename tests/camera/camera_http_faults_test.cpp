#include "camera/http_test_client.h"

#include "camera/simulated_camera.h"

#include <gtest/gtest.h>

#include <mutex>

using namespace larkmoor::camera;
using namespace std::chrono_literals;

namespace
{

/// A camera whose stream at "/video.mjpg" comes as fast as it is read.
class CameraHttpFaults : public testing::Test
{
protected:
    void SetUp() override
    {
        CameraOptions options;
        options.source = VideoSource::Flood;
        camera = std::make_unique<SimulatedCamera>(options);
        camera->Truth().SetListener(
            [this](const TruthUnit& unit)
            {
                const std::lock_guard guard(lock);
                truth.push_back(unit);
            });
        camera->Requests().SetListener(
            [this](const LoggedRequest& request)
            {
                const std::lock_guard guard(lock);
                statuses.push_back(request.status);
            });
        std::string error;
        ASSERT_TRUE(camera->Start(error)) << error;
        camera->Parameters().Change(
            {{"videoin_c0_s0_codectype", "mjpeg"}, {"videoin_c0_s0_resolution", "176x144"}});
    }

    void Play(const std::string& fault)
    {
        std::string error;
        ASSERT_TRUE(camera->Faults().Add(fault, error)) << error;
    }

    HttpTestClient::Answer Get(const std::string& target)
    {
        return HttpTestClient::Get(camera->HttpPort(), target);
    }

    std::size_t CountInTruth(const std::string& picture, const char* kind = "jpeg")
    {
        const std::string md5 = Md5Hex(picture);
        const std::lock_guard guard(lock);
        return static_cast<std::size_t>(std::count_if(truth.begin(), truth.end(),
                                                      [&](const TruthUnit& unit)
                                                      { return unit.md5 == md5 && unit.kind == kind; }));
    }

    std::mutex lock; // guards what follows
    std::vector<TruthUnit> truth;
    std::vector<int> statuses;
    std::unique_ptr<SimulatedCamera> camera; // last: it writes into the above
};

} // namespace

TEST_F(CameraHttpFaults, SendsOddStreams)
{
    const struct
    {
        const char* value;
        const char* has;
        const char* hasNot;
    } cases[] = {
        {"no-length", "--myboundary\r\nContent-Type: image/jpeg\r\n\r\n\xFF\xD8", "Content-Length"},
        {"no-boundary-dashes", "\r\nmyboundary\r\nContent-Type", "--myboundary"},
        {"no-part-headers", "--myboundary\r\n\r\n\xFF\xD8", "Content-Type: image/jpeg"},
        {"chunked", "Transfer-Encoding: chunked\r\n", "\r\nContent-Length"},
        {"cut", "--myboundary", "chunked"},
        {"thumbnail", "Exif", "chunked"},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.value);
        camera->Faults().Remove("mjpeg-odd");
        Play("mjpeg-odd=" + std::string(c.value));
        HttpTestClient client(camera->HttpPort());
        client.SendGet("/video.mjpg");
        while (client.Received().size() < 200'000 && client.Read())
        {
        }
        const std::string all = client.Received();
        const std::size_t body = all.find("\r\n\r\n") + 4;
        const bool chunked = std::string(c.value) == "chunked";
        const std::string plain = chunked ? WithoutChunks(all.substr(body)) : all.substr(body);
        EXPECT_NE(all.find(c.has), std::string::npos);
        EXPECT_EQ(chunked ? all.substr(0, body).find(c.hasNot) : all.find(c.hasNot), std::string::npos);

        const std::vector<std::string> pictures = PicturesIn(plain);
        ASSERT_GT(pictures.size(), 6u);
        const bool thumbnails = std::string(c.value) == "thumbnail";
        for (const std::string& picture : pictures)
        {
            EXPECT_EQ(SizeOfPicture(picture), thumbnails ? "160x120" : "176x144");
            EXPECT_GT(CountInTruth(picture, thumbnails ? "jpeg-thumbnail" : "jpeg"), 0u);
        }
    }
}

TEST_F(CameraHttpFaults, LeavesCutPicturesOutOfTheTruth)
{
    Play("mjpeg-odd=cut");
    HttpTestClient client(camera->HttpPort());
    client.SendGet("/video.mjpg");
    const std::string length = "Content-Length: ";
    std::size_t parts = 0, cut = 0;
    for (std::size_t at = 0; parts < 20; ++parts)
    {
        ASSERT_TRUE(client.ReadUntil(length, at));
        at = client.Received().find(length, at) + length.size();
        ASSERT_TRUE(client.ReadUntil("\r\n\r\n", at));
        const std::size_t size = std::strtoul(client.Received().c_str() + at, nullptr, 10);
        at = client.Received().find("\r\n\r\n", at) + 4;
        while (client.Received().size() < at + size && client.Read())
        {
        }
        const std::string picture = client.Received().substr(at, size);
        cut += !picture.ends_with("\xFF\xD9");
        EXPECT_EQ(CountInTruth(picture) > 0, picture.ends_with("\xFF\xD9"));
    }
    EXPECT_EQ(cut, parts / 5);
}

TEST_F(CameraHttpFaults, Freezes)
{
    HttpTestClient client(camera->HttpPort());
    client.SendGet("/video.mjpg");
    ASSERT_TRUE(client.ReadUntil("Content-Length"));
    Play("freeze");
    while (client.Read(300ms))
    {
    }
    EXPECT_FALSE(client.HasEnded());
    EXPECT_EQ(Get("/").status, 200);
    camera->Faults().Remove("freeze");
    EXPECT_TRUE(client.Read());
}

TEST_F(CameraHttpFaults, ResetsInTheMiddleOfAPicture)
{
    HttpTestClient client(camera->HttpPort());
    client.SendGet("/video.mjpg");
    ASSERT_TRUE(client.ReadUntil("Content-Length"));
    Play("reset@0");
    client.ReadToEnd();
    EXPECT_TRUE(client.WasReset());
    const std::string& all = client.Received();
    const std::string last = all.substr(all.rfind("\xFF\xD8\xFF"));
    EXPECT_FALSE(last.ends_with("\xFF\xD9\r\n"));
    for (const std::string& picture : PicturesIn(all))
        EXPECT_GT(CountInTruth(picture), 0u);
    EXPECT_EQ(Get("/").status, 200) << "once, for those who were there";
}

TEST_F(CameraHttpFaults, VanishesWithoutClosing)
{
    HttpTestClient old(camera->HttpPort());
    old.SendGet("/video.mjpg");
    ASSERT_TRUE(old.ReadUntil("Content-Length"));
    Play("half-open");
    while (old.Read(300ms))
    {
    }
    EXPECT_FALSE(old.HasEnded());
    HttpTestClient fresh(camera->HttpPort());
    fresh.SendGet("/");
    EXPECT_FALSE(fresh.Read(300ms));
    EXPECT_FALSE(fresh.HasEnded());

    camera->Faults().Remove("half-open");
    old.ReadToEnd();
    EXPECT_TRUE(old.WasReset()) << "after its return the peer knows nothing of the connection";
    EXPECT_EQ(Get("/").status, 200);
}

TEST_F(CameraHttpFaults, Reboots)
{
    HttpTestClient client(camera->HttpPort());
    client.SendGet("/video.mjpg");
    ASSERT_TRUE(client.ReadUntil("Content-Length"));
    const std::uint16_t port = camera->HttpPort();
    Play("reboot@0+10m");
    client.ReadToEnd();
    EXPECT_TRUE(client.WasReset());
    EXPECT_FALSE(HttpTestClient(port).IsConnected());
    camera->Faults().Remove("reboot");
    while (!HttpTestClient(port).IsConnected())
        std::this_thread::yield();
    EXPECT_EQ(Get("/").status, 200);
}

TEST_F(CameraHttpFaults, AnswersSlowlyOrAtTheWrongLength)
{
    const std::string whole = Get("/cgi-bin/admin/getparam.cgi?system").body;

    Play("slow-http=short");
    HttpTestClient::Answer answer = Get("/cgi-bin/admin/getparam.cgi?system");
    EXPECT_EQ(answer.body, whole);
    EXPECT_NE(answer.head.find("Content-Length: " + std::to_string(whole.size() + 100)), std::string::npos);

    camera->Faults().Remove("slow-http");
    Play("slow-http=long");
    answer = Get("/cgi-bin/admin/getparam.cgi?system");
    EXPECT_EQ(answer.body, whole + std::string(100, '*'));
    EXPECT_NE(answer.head.find("Content-Length: " + std::to_string(whole.size())), std::string::npos);

    camera->Faults().Remove("slow-http");
    Play("slow-http=headers");
    HttpTestClient endless(camera->HttpPort());
    endless.SendGet("/");
    while (endless.Received().size() < 30'000 && endless.Read())
    {
    }
    EXPECT_EQ(endless.Received().find("\r\n\r\n"), std::string::npos);
    camera->Faults().Remove("slow-http");
    endless.ReadToEnd();
    EXPECT_TRUE(endless.HasEnded());

    Play("slow-http=bytes");
    HttpTestClient slow(camera->HttpPort());
    slow.SendGet("/cgi-bin/admin/getparam.cgi?system");
    ASSERT_TRUE(slow.Read());
    EXPECT_EQ(slow.Received(), "H");
    camera->Faults().Remove("slow-http");
    EXPECT_TRUE(slow.ReadUntil(whole)) << "the rest at once when the fault is over";
}

TEST_F(CameraHttpFaults, AnswersGarbage)
{
    const std::string query = "/cgi-bin/admin/getparam.cgi?system";
    const std::string good = Get(query).body;
    const auto with = [&](const char* fault)
    {
        camera->Faults().Remove("cgi-garbage");
        Play(fault);
        return Get(query);
    };
    EXPECT_EQ(with("cgi-garbage=empty").body, "");
    EXPECT_EQ(with("cgi-garbage=10mb").body.size(), 10u * 1024 * 1024);
    const std::string binary = with("cgi-garbage=binary").body;
    EXPECT_NE(binary.find('\0'), std::string::npos);
    EXPECT_EQ(binary.size(), 4096u);
    const std::string quotes = with("cgi-garbage=quotes").body;
    EXPECT_EQ(std::count(good.begin(), good.end(), '\''), 2 * std::count(quotes.begin(), quotes.end(), '\''));
    EXPECT_NE(quotes.find("system_info_modelname='IP8332\r\n"), std::string::npos) << quotes;
}

TEST_F(CameraHttpFaults, RefusesStreamsByName)
{
    Play("cgi-invalid=c0_s0/c0_s2");
    const struct
    {
        const char* stream;
        bool refused;
    } cases[] = {{"c0_s0", true}, {"c0_s1", false}, {"c0_s2", true}};
    for (const auto& c : cases)
    {
        const std::string key = "videoin_" + std::string(c.stream) + "_codectype";
        const std::string before = camera->Parameters().Get(key);
        const HttpTestClient::Answer answer = Get("/cgi-bin/admin/setparam.cgi?" + key + "=mpeg4");
        EXPECT_EQ(answer.status, 200);
        EXPECT_EQ(answer.body, key + (c.refused ? "=ERR_INVALID\r\n" : "='mpeg4'\r\n"));
        EXPECT_EQ(camera->Parameters().Get(key), c.refused ? before : "mpeg4");
    }
}

TEST_F(CameraHttpFaults, IsBusyOrRefuses)
{
    const struct
    {
        const char* fault;
        int status;
        std::ptrdiff_t least, most; // refused of ten; how many of them lie in one second is not known
    } cases[] = {{"busy-503=2", 503, 1, 10},
                 {"busy-401=2", 401, 1, 10},
                 {"auth-refuse", 401, 10, 10},
                 {"http-401-once", 401, 1, 1}};
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.fault);
        statuses.clear();
        Play(c.fault);
        for (int i = 0; i < 10; ++i)
            Get("/");
        {
            const std::lock_guard guard(lock);
            const auto refused = std::count(statuses.begin(), statuses.end(), c.status);
            EXPECT_EQ(refused + std::count(statuses.begin(), statuses.end(), 200), 10);
            EXPECT_GE(refused, c.least);
            EXPECT_LE(refused, c.most);
        }
        camera->Faults().Remove(std::string_view(c.fault).substr(0, std::string_view(c.fault).find('=')));
        EXPECT_EQ(Get("/").status, 200);
    }
}

TEST_F(CameraHttpFaults, StopsInTheMiddleOfAnything)
{
    std::vector<std::unique_ptr<HttpTestClient>> clients;
    for (const char* fault : {"freeze", "slow-http=bytes", "slow-http=headers", "half-open"})
    {
        clients.push_back(std::make_unique<HttpTestClient>(camera->HttpPort()));
        clients.back()->SendGet("/video.mjpg");
        clients.push_back(std::make_unique<HttpTestClient>(camera->HttpPort()));
        clients.back()->SendGet("/");
        ASSERT_TRUE(clients.back()->Read());
        Play(fault);
    }
    clients.push_back(std::make_unique<HttpTestClient>(camera->HttpPort()));
    camera->Stop();
    for (const auto& client : clients)
    {
        client->ReadToEnd();
        EXPECT_TRUE(client->HasEnded());
    }
}
