// A library with the driver's sixteen names that delivers one file as a picture again and again, and can be
// told to break the contract in the ways that a host has to notice. The device's model text says what it
// does; the environment variable LARKMOOR_FAKE_FRAME names the file.

#include <larkmoor/exports.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

using namespace korvane::ipcapture;

namespace
{

class Message final : public CDebugInfoIf
{
public:
    Message(std::uint8_t level, const char* text) : level_(level), text_(text) {}
    std::uint8_t GetLevel() override { return level_; }
    const char* GetMessage() override { return text_; }

private:
    std::uint8_t level_;
    const char* text_;
};

class FakeDriver final : public IIPCaptureDriverEx4, public IIPVideoCaptureEx
{
public:
    ~FakeDriver() override { StopChannel(0); }

    bool Open(IHostSink* sink, IHostFrameAllocator* allocator, IHostDeviceSettings* settings) override
    {
        allocator_ = allocator;
        behaviour_ = settings->GetDescription()->GetModel();
        std::ifstream file(std::getenv("LARKMOOR_FAKE_FRAME"), std::ios::binary);
        picture_.assign(std::istreambuf_iterator<char>(file), {});
        sink_ = sink;
        Message message(2, "the fake driver is open");
        sink->WriteMessage(&message);
        if (behaviour_ == "reserved-call")
            settings->ReservedSlot1();
        return behaviour_ != "refuse-open";
    }
    void Close() override { StopChannel(0); }
    IIPVideoCapture* GetVideoCapture() override { return this; }
    ICaptureIOApi* GetIO() override { return nullptr; }
    void* GetReservedEx() override { return nullptr; }
    IIPPTZDriver* GetPTZ() override { return nullptr; }
    void* GetReservedEx2() override { return nullptr; }
    IIPVideoCaptureEx* GetVideoCaptureEx() override { return this; }
    IIPPTZDriverEx* GetPTZEx() override { return nullptr; }
    IIPAudioCapture2* GetAudioCapture() override { return nullptr; }
    IIPAudioSender* GetAudioSender() override { return nullptr; }

    std::uint32_t GetChannelCount() override { return 1; }
    bool StartChannel(std::uint32_t channel, IHostChannelClient* client,
                      IHostChannelSettings* settings) override
    {
        if (channel != 0 || behaviour_ == "refuse-start")
            return false;
        IHostResolution* size = settings->GetVideoFormat()->GetPictureSize();
        width_ = size->GetWidth();
        height_ = size->GetHeight();
        running_ = true;
        thread_ = std::thread([this, client] { Deliver(client); });
        return true;
    }
    bool StopChannel(std::uint32_t /*channel*/) override
    {
        running_ = false;
        if (!thread_.joinable())
            return false;
        thread_.join();
        return true;
    }
    bool ChangeChannel(std::uint32_t /*channel*/, IHostResolution* size, std::uint32_t /*interval*/) override
    {
        width_ = size->GetWidth();
        height_ = size->GetHeight();
        return true;
    }
    std::uint32_t GetReservedValue() override { return 0; }
    bool GetChannelState(std::uint32_t /*channel*/, std::uint32_t* state, std::uint32_t* detail,
                         char* /*text*/, std::uint32_t /*textSize*/) override
    {
        *state = running_ ? 0 : 3;
        *detail = 0;
        return running_;
    }
    bool ReservedCall1(std::uint32_t /*a*/, std::uint32_t /*b*/, std::uint32_t /*c*/) override
    {
        return false;
    }
    bool ReservedCall2(std::uint32_t /*a*/, std::uint32_t /*b*/, std::uint32_t /*c*/) override
    {
        return false;
    }
    bool ReservedCallEx1(std::uint32_t /*a*/) override { return false; }
    bool ReservedCallEx2(std::uint32_t /*a*/) override { return false; }

private:
    void Deliver(IHostChannelClient* client)
    {
        for (bool first = true; running_ && behaviour_ != "silent"; first = false)
        {
            DeliverOne(client);
            Message message(3, "the first frame is delivered");
            if (first)
                sink_->WriteMessage(&message);
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
    }

    void DeliverOne(IHostChannelClient* client)
    {
        IHostFrame* frame =
            allocator_->AllocateVideoFrame(kFormatJpeg, static_cast<std::uint32_t>(picture_.size()), "Fake");
        std::copy(picture_.begin(), picture_.end(), frame->GetData());
        if (behaviour_ == "overrun")
            frame->GetData()[picture_.size()] = 0;
        frame->SetDataSize(static_cast<std::uint32_t>(picture_.size()) + (behaviour_ == "long-size" ? 1 : 0));
        frame->SetWidth(width_);
        frame->SetHeight(height_);
        frame->SetTimeNow();
        client->DeliverFrame(frame);
        if (behaviour_ == "leak")
            return;
        if (behaviour_ == "wrong-kind")
            allocator_->ReleaseAudioFrame(frame);
        else
            allocator_->ReleaseFrame(frame);
        if (behaviour_ == "double-release")
            allocator_->ReleaseFrame(frame);
    }

    IHostSink* sink_ = nullptr;
    IHostFrameAllocator* allocator_ = nullptr;
    std::string behaviour_;
    std::vector<char> picture_;
    std::atomic<std::uint32_t> width_{0};
    std::atomic<std::uint32_t> height_{0};
    std::atomic<bool> running_{false};
    std::thread thread_;
};

} // namespace

extern "C"
{
    LARKMOOR_EXPORT IIPCaptureDriver* CreateIPCapture()
    {
        return new FakeDriver;
    }
    LARKMOOR_EXPORT IIPCaptureDriverEx* CreateIPCaptureEx()
    {
        return new FakeDriver;
    }
    LARKMOOR_EXPORT IIPCaptureDriverEx2* CreateIPCaptureEx2()
    {
        return new FakeDriver;
    }
    LARKMOOR_EXPORT IIPCaptureDriverEx3* CreateIPCaptureEx3()
    {
        return new FakeDriver;
    }
    LARKMOOR_EXPORT IIPCaptureDriverEx4* CreateIPCaptureEx4()
    {
        return new FakeDriver;
    }
    LARKMOOR_EXPORT void DeleteIPCapture(IIPCaptureDriver* driver)
    {
        delete driver;
    }
    LARKMOOR_EXPORT void DeleteIPCaptureEx(IIPCaptureDriverEx* driver)
    {
        delete driver;
    }
    LARKMOOR_EXPORT void DeleteIPCaptureEx2(IIPCaptureDriverEx2* driver)
    {
        delete driver;
    }
    LARKMOOR_EXPORT void DeleteIPCaptureEx3(IIPCaptureDriverEx3* driver)
    {
        delete driver;
    }
    LARKMOOR_EXPORT void DeleteIPCaptureEx4(IIPCaptureDriverEx4* driver)
    {
        delete driver;
    }
    LARKMOOR_EXPORT IIPCapabilityQuery* CreateCapabilityQueryModule(ICapabilitySink* /*sink*/,
                                                                    std::uint8_t /*standard*/)
    {
        return nullptr;
    }
    LARKMOOR_EXPORT void DeleteCapabilityQueryModule(IIPCapabilityQuery* /*module*/) {}
    LARKMOOR_EXPORT std::uint32_t InitCapabilityQuery(ICapabilitySink* /*sink*/, std::uint8_t /*standard*/)
    {
        return 1;
    }
    LARKMOOR_EXPORT std::uint32_t StartCapabilityQuery(const char* /*address*/, std::uint16_t /*port*/,
                                                       const char* /*user*/, const char* /*password*/,
                                                       ICapabilityStore* /*store*/)
    {
        return 0;
    }
    LARKMOOR_EXPORT std::uint32_t TerminateCapabilityQuery()
    {
        return 1;
    }
    LARKMOOR_EXPORT std::uint32_t UninitCapabilityQuery()
    {
        return 1;
    }
}
