// A complete small host: loads the driver, records pictures from one camera into a file, and ends.

#include <larkmoor/exports.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <semaphore>
#include <string>
#include <vector>

#include <dlfcn.h>

using namespace korvane::ipcapture;

struct Frame final : IHostFrame // one picture; a recorder also keeps format, width, height and time
{
    explicit Frame(std::uint32_t size) : bytes(size, '\0') {}
    std::uint8_t* GetData() override { return reinterpret_cast<std::uint8_t*>(bytes.data()); }
    void SetDataSize(std::uint32_t size) override { bytes.resize(size); }
    void SetFormat(std::uint32_t) override {}
    void SetWidth(std::uint32_t) override {}
    void SetHeight(std::uint32_t) override {}
    void SetSizeClass(std::uint32_t) override {}
    void SetTime(const SYSTEMTIME*) override {}
    void SetTimeNow() override {}
    void SetData(const std::uint8_t*, std::uint32_t) override {} // this and the next four: audio only
    void SetCodecConfig(std::uint32_t, const std::uint8_t*) override {}
    void SetAudioBitRate(std::uint32_t) override {}
    void SetAudioInput(std::uint8_t) override {}
    void SetAudioFormat(std::uint32_t, std::uint8_t, bool) override {}
    void ReservedSlot1() override {}
    void ReservedSlot2() override {}
    void ReservedSlot3() override {}
    void ReservedSlot4() override {}
    void ReservedSlot5() override {}
    void ReservedSlot6() override {}
    void ReservedSlot7() override {}
    void ReservedSlot8() override {}
    std::string bytes;
};

/// The driver calls it on its own threads. The pictures of one channel arrive one at a time.
struct Recorder final : IHostSink, IHostFrameAllocator, IHostChannelClient
{
    void WriteMessage(CDebugInfoIf* line) override
    {
        if (line->GetMessage() != nullptr)
            std::printf("%d %s\n", line->GetLevel(), line->GetMessage());
    }
    IHostFrame* AllocateVideoFrame(std::uint32_t, std::uint32_t size, const char*) override
    {
        return new Frame(size);
    }
    IHostFrame* AllocateAudioFrame(std::uint32_t, std::uint32_t, const char*) override { return nullptr; }
    void ReleaseFrame(IHostFrame* frame) override { delete frame; }
    void ReleaseAudioFrame(IHostFrame*) override {}
    bool DeliverFrame(IHostFrame* frame) override
    {
        file << static_cast<Frame*>(frame)->bytes;
        ++pictures;
        arrived.release();
        return true; // even if the disk is full: the driver reconnects if a host refuses for long
    }
    void SignalLost() override { std::puts("no picture was taken for 20 s; the driver goes on trying"); }
    void ReservedSlot1() override {}
    void ReservedSlot2() override {}
    std::ofstream file;
    long pictures = 0;                    // in the file
    std::counting_semaphore<> arrived{0}; // for the thread that waits for pictures
};

/// The driver reads this one during `Open`, and the next one during `StartChannel`.
struct Device final : IHostDeviceSettings, IHostDeviceDescription, IHostConnection
{
    IHostDeviceDescription* GetDescription() override { return this; }
    const char* GetModel() override { return "Vivotek"; }
    std::uint32_t GetChannelCount() override { return 1; }
    std::uint32_t GetInputCount() override { return 0; }
    std::uint32_t GetOutputCount() override { return 0; }
    IHostConnection* GetConnection() override { return this; }
    const char* GetAddress() override { return address; }
    std::uint16_t GetPort() override { return port; }
    std::uint32_t GetCodec() override { return codec; }
    const char* GetUser() override { return user == nullptr ? "" : user; }
    const char* GetPassword() override { return password == nullptr ? "" : password; }
    const char* GetParameter(std::uint32_t id) override { return id < texts.size() ? texts[id] : nullptr; }
    void ReservedSlot1() override {}
    void ReservedSlot2() override {}
    const char* address = nullptr;
    std::uint16_t port = 0;
    std::uint32_t codec = 0; // 1 Motion JPEG, 2 MPEG-4, 3 H.264
    const char* user = std::getenv("LARKMOOR_USER");
    const char* password = std::getenv("LARKMOOR_PASSWORD"); // other users can read a command line
    std::vector<const char*> texts;                          // the properties, from number 1
};

struct Stream final : IHostChannelSettings, IHostVideoFormat, IHostStreamSettings, IHostResolution
{
    IHostVideoFormat* GetVideoFormat() override { return this; }
    IHostResolution* GetPictureSize() override { return this; }
    std::uint16_t GetWidth() override { return 640; }
    std::uint16_t GetHeight() override { return 480; }
    IHostStreamSettings* GetStreamSettings() override { return this; }
    std::uint16_t GetFrameInterval() override { return 40; } // milliseconds
    std::uint16_t GetQuality() override { return 70; }
    void ReservedSlot1() override {}
    void ReservedSlot2() override {}
};

int main(int count, char** words)
{
    Device device;
    const std::string codec = count == 8 ? words[5] : "";
    device.codec = codec == "h264" ? 3 : codec == "mpeg4" ? 2 : codec == "mjpeg" ? 1 : 0;
    device.port = static_cast<std::uint16_t>(count == 8 ? std::atoi(words[3]) : 0);
    const long wanted = count == 8 ? std::atol(words[6]) : 0;
    if (device.codec == 0 || device.port == 0 || wanted < 1)
        return std::puts("small_host LIBRARY ADDRESS PORT RTSP-PORT h264|mpeg4|mjpeg PICTURES FILE"), 2;
    device.address = words[2];
    device.texts = {"", "0", "0", words[4], "", "", "1", "0", "0", "0", "", "", "", "", "1;;live.sdp"};
    void* const library = dlopen(words[1], RTLD_NOW);
    void* const create = library == nullptr ? nullptr : dlsym(library, "CreateIPCapture");
    if (create == nullptr)
        return std::printf("can't load the driver: %s\n", dlerror()), 1;
    Stream stream;
    Recorder host;
    host.file.open(words[7], std::ios::binary);
    IIPCaptureDriver* const driver = reinterpret_cast<CreateIPCaptureFunction>(create)();
    if (driver == nullptr)
        return std::puts("no memory"), 1;
    std::uint32_t state = 0, detail = 0;
    if (driver->Open(&host, &host, &device))
    {
        IIPVideoCapture* const video = driver->GetVideoCapture();
        video->StartChannel(0, &host, &stream);
        for (long left = wanted; left > 0 && host.arrived.try_acquire_for(std::chrono::minutes(1));)
            --left; // ends early if no picture comes for a minute
        video->GetChannelState(0, &state, &detail, nullptr, 0);
        video->StopChannel(0);
    }
    driver->Close();
    reinterpret_cast<DeleteIPCaptureFunction>(dlsym(library, "DeleteIPCapture"))(driver);
    dlclose(library);
    host.file.close();
    std::printf("state %u, %ld pictures%s\n", state, host.pictures, host.file ? "" : ", can't write file");
    return host.pictures >= wanted && host.file ? 0 : 1;
}
