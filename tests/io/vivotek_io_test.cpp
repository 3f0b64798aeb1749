#include "io/vivotek_io.h"

#include "support/fake_driver.h"
#include "support/http_test_server.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

namespace korvane
{

namespace
{

using test::HttpTestServer;
using test::TestHttpPeer;
using test::TestHttpRequest;
using Lines = std::vector<std::string>;

/// Writes down what the driver tells of the inputs, and throws each time, which is nothing to the driver.
class Client : public ipcapture::IHostIOClient, public test::HostObject
{
public:
    void InputChanged(std::uint32_t number, std::uint32_t state) override
    {
        Add(std::to_string(number) + "=" + std::to_string(state));
    }
    void ConnectionLost() override { Add("lost"); }

    std::function<void()> inEachCall = [] {};
    test::WatchedList<std::string> lines;

    /// Waits until the last lines are these.
    bool WaitForEnd(const Lines& wanted) const
    {
        return lines.WaitFor(
            [&](const Lines& all) {
                return all.size() >= wanted.size() &&
                       std::equal(wanted.rbegin(), wanted.rend(), all.rbegin());
            });
    }

private:
    void Add(const std::string& line)
    {
        Called();
        lines.Add(line);
        inEachCall();
        throw std::runtime_error("the host's own trouble");
    }
};

class QuickIO : public CVivotekIO
{
public:
    explicit QuickIO(IDriver* driver) : CVivotekIO(driver) { SetPollInterval(5); }

    bool SetClient(ipcapture::IHostIOClient* client) override
    {
        client_ = static_cast<Client*>(client);
        return CVivotekIO::SetClient(client);
    }
    bool StartIO() override
    {
        client_->ExpectCalls();
        return CVivotekIO::StartIO();
    }
    void StopIO() override
    {
        CVivotekIO::StopIO();
        client_->EndCalls();
    }

private:
    Client* client_ = nullptr;
};

class DigitalIO : public ::testing::Test
{
protected:
    DigitalIO()
        : server_([this](TestHttpPeer& peer, const TestHttpRequest& request)
                  { return Answer(peer, request); })
    {
        driver_.device = DEVICE_INFO("127.0.0.1", server_.Port(), "", "", "");
    }

    bool Answer(TestHttpPeer& peer, const TestHttpRequest& request)
    {
        if (silent_ && request.target.find("setdo") == std::string::npos)
            return peer.WaitClosed() && false;
        if (request.target.find("setdo") != std::string::npos)
            return peer.Send(
                HttpTestServer::Response(request.target.ends_with("do1=1") ? outputStatus_.load() : 200));
        const std::lock_guard guard(mutex_);
        if (flips_)
            inputs_ = inputs_ == "di0=1&di1=0" ? "di0=0&di1=1" : "di0=1&di1=0";
        return peer.Send(HttpTestServer::Response(inputs_.empty() ? 503 : 200, inputs_));
    }

    void Inputs(const std::string& text)
    {
        const std::lock_guard guard(mutex_);
        inputs_ = text;
    }

    Lines Switched()
    {
        Lines lines;
        for (const TestHttpRequest& request : server_.Requests())
            if (request.target.find("setdo") != std::string::npos)
                lines.push_back(request.target.substr(request.target.find('?')));
        return lines;
    }

    void WaitForSwitched(std::size_t count)
    {
        for (std::size_t all = count; Switched().size() < count; ++all)
            server_.WaitForRequests(all);
    }

    std::atomic<bool> silent_{false};
    std::atomic<int> outputStatus_{200};
    std::atomic<bool> flips_{false}; // the inputs, at each poll
    std::mutex mutex_;
    std::string inputs_;
    Client client_;
    test::FakeDriver driver_;
    HttpTestServer server_;
};

TEST_F(DigitalIO, TellsWhatChanges)
{
    driver_.inputCount = 3;
    Inputs("di0=0\r\ndi1= H \r\ndi2=2\r\n");
    QuickIO io(&driver_);
    EXPECT_FALSE(io.SetClient(nullptr));
    EXPECT_TRUE(io.SetClient(&client_));
    ASSERT_TRUE(io.StartIO());
    EXPECT_TRUE(client_.WaitForEnd({"0=1", "1=2"})); // unknown is what they were before
    Inputs("di0=0\r\n");
    EXPECT_TRUE(client_.WaitForEnd({"1=0"}));
    Inputs("");
    EXPECT_TRUE(client_.WaitForEnd({"lost", "lost"})); // at each poll that fails
    Inputs("di0=l&di1=1&di2=0");
    EXPECT_TRUE(client_.WaitForEnd({"0=1", "1=2", "2=1"})); // each anew
    EXPECT_TRUE(driver_.WaitForMessage("is established"));
    io.StopIO();
    const std::string device = driver_.GetDeviceName();
    EXPECT_EQ(driver_.Texts(1), Lines{"korvane::CIOBase::SetInputsConnectionState: Digital input connection "
                                      "(Larkmoor / " +
                                      device + ") was lost"});
    EXPECT_EQ(driver_.Texts(3), Lines{"korvane::CIOBase::SetInputsConnectionState: Digital input connection "
                                      "(Larkmoor / " +
                                      device + ") is established"});
}

TEST_F(DigitalIO, CountsTheInputsOfTheLegacyInterfaceFromOne)
{
    driver_.inputCount = 2;
    driver_.properties[9] = "1";
    Inputs("system.di1=1\r\nsystem.di2=0\r\n");
    QuickIO io(&driver_);
    io.SetClient(&client_);
    ASSERT_TRUE(io.StartIO());
    EXPECT_TRUE(client_.WaitForEnd({"0=2", "1=1"}));
    io.StopIO();
    EXPECT_EQ(server_.Requests().front().target, "/cgi-bin/admin/getparam.cgi?system");
}

TEST_F(DigitalIO, SwitchesOutputsOnce)
{
    driver_.outputCount = 2;
    QuickIO io(&driver_);
    io.SetClient(&client_);
    EXPECT_EQ(io.GetOutputCount(), 2u);
    ASSERT_TRUE(io.StartIO());
    WaitForSwitched(2);
    EXPECT_TRUE(io.SetOutput(0, 2));
    EXPECT_TRUE(io.SetOutput(0, 2)); // is so already
    EXPECT_TRUE(io.SetOutput(5, 2)); // nobody's
    EXPECT_TRUE(io.SetOutput(0, 0)); // anything but on is off
    WaitForSwitched(4);
    EXPECT_EQ(Switched(), (Lines{"?do0=0", "?do1=0", "?do0=1", "?do0=0"}));

    outputStatus_ = 500;
    EXPECT_TRUE(io.SetOutput(1, 2));
    EXPECT_TRUE(client_.WaitForEnd({"lost"}));
    EXPECT_TRUE(io.SetOutput(1, 2)); // what failed is asked for again
    EXPECT_TRUE(client_.WaitForEnd({"lost", "lost"}));
    outputStatus_ = 200;
    EXPECT_TRUE(io.SetOutput(1, 2));
    WaitForSwitched(7);
    io.StopIO();
    EXPECT_FALSE(io.SetOutput(1, 1));
    EXPECT_EQ(driver_.Texts(1),
              (Lines{"korvane::CIOBase::SetOutputStateWrapper: Unable to switch state of digital output #1 "
                     "(Larkmoor / " +
                         driver_.GetDeviceName() + ")",
                     "korvane::CIOBase::SetOutput: Set output #1 failed by Larkmoor / " +
                         driver_.GetDeviceName()}));
}

TEST_F(DigitalIO, StopsInTheMiddleOfAPollWithoutANewsOfIt)
{
    driver_.inputCount = 1;
    silent_ = true;
    QuickIO io(&driver_);
    io.SetClient(&client_);
    ASSERT_TRUE(io.StartIO());
    server_.WaitForRequests(1);
    io.StopIO();
    EXPECT_TRUE(driver_.Texts(1).empty());
    silent_ = false;
    Inputs("di0=1\r\n");
    ASSERT_TRUE(io.StartIO()); // afresh, on the same object
    EXPECT_TRUE(client_.WaitForEnd({"0=2"}));
    io.StopIO();
}

TEST_F(DigitalIO, GoesOnWhenItIsStartedASecondTime)
{
    driver_.inputCount = 1;
    Inputs("di0=0\r\n");
    QuickIO io(&driver_);
    io.SetClient(&client_);
    ASSERT_TRUE(io.StartIO());
    EXPECT_TRUE(client_.WaitForEnd({"0=1"}));
    EXPECT_FALSE(io.StartIO());
    EXPECT_EQ(driver_.Texts(1),
              Lines{"korvane::CIOBase::StartIO: Starting of Digital Input thread (Larkmoor / " +
                    driver_.GetDeviceName() + ") failed!"});
    Inputs("di0=1\r\n");
    EXPECT_TRUE(client_.WaitForEnd({"0=2"}));
    io.StopIO();
}

TEST_F(DigitalIO, WaitsAsLongForADeviceAsIsSetWhenItStarts)
{
    driver_.inputCount = 1;
    driver_.device.networkTimeoutMs = 2 * test::kPatienceMs;
    silent_ = true;
    QuickIO io(&driver_);
    driver_.device.networkTimeoutMs = 50;
    io.SetClient(&client_);
    ASSERT_TRUE(io.StartIO());
    EXPECT_TRUE(client_.WaitForEnd({"lost"}));
    io.StopIO();
}

TEST_F(DigitalIO, StopsFromInsideItsCalls)
{
    driver_.inputCount = driver_.outputCount = 2;
    outputStatus_ = 500;
    flips_ = true;
    QuickIO io(&driver_);
    io.SetClient(&client_);
    client_.inEachCall = [&io] { io.StopIO(); }; // on both threads, and on a third one besides
    for (int round = 0; round < 30; ++round)
    {
        const std::size_t before = client_.lines.Get().size();
        ASSERT_TRUE(io.StartIO());
        io.SetOutput(1, 2);
        EXPECT_TRUE(client_.lines.WaitForCount(before + 1));
        io.StopIO();
        const std::size_t told = client_.lines.Get().size();
        EXPECT_FALSE(io.SetOutput(1, 2));
        EXPECT_EQ(client_.lines.Get().size(), told);
    }
}

TEST_F(DigitalIO, TellsOnceThatItWasStoppedFromInside)
{
    driver_.inputCount = 1;
    Inputs("di0=1");
    CManualEvent started, gone;
    const auto end = [&gone](CVivotekIO* io)
    {
        delete io;
        gone.Set();
    };
    std::shared_ptr<CVivotekIO> io(new CVivotekIO(&driver_), end);
    io->SetClient(&client_);
    client_.inEachCall = [&]
    {
        started.Wait(kWaitForever);
        io->StopIO();
        io.reset();
    };
    client_.ExpectCalls();
    ASSERT_TRUE(io->StartIO());
    started.Set();
    ASSERT_TRUE(gone.Wait(test::kPatienceMs));
    EXPECT_EQ(driver_.Texts(1),
              Lines{"korvane::CIOBase::StopIO: Stopping of Digital Input thread (Larkmoor / " +
                    driver_.GetDeviceName() + ") failed!"});
}

} // namespace

} // namespace korvane
