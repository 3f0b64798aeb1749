#include "system/rig.h"

#include "base/annexb.h"
#include "base/md5.h"
#include "host/contract/driver_settings.h"
#include "host/device/settings_file.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <fstream>
#include <stdexcept>
#include <thread>
#include <utility>

namespace larkmoor::test
{

using namespace std::chrono_literals;

namespace
{

constexpr std::uint32_t kH264Key = 0x34363248;   // "H264"
constexpr std::uint32_t kH264Other = 0x34363249; // "I264"
constexpr std::size_t kDelimiterBytes = 5;       // 00 00 01 09 30, which the driver adds to each frame

std::vector<std::string> FingerprintsOfUnits(std::span<const std::uint8_t> frame)
{
    std::vector<std::string> md5s;
    frame = frame.first(frame.size() - std::min(frame.size(), kDelimiterBytes));
    for (const larkmoor::NalUnit& unit : larkmoor::SplitAnnexB(frame))
        md5s.push_back(larkmoor::Md5Hex(frame.subspan(unit.offset, unit.size)));
    return md5s;
}

/// The names in "name=value,name@start".
std::vector<std::string> NamesOf(const std::string& faults)
{
    std::vector<std::string> names;
    for (std::size_t at = 0; at < faults.size();)
    {
        const std::size_t end = std::min(faults.find(',', at), faults.size());
        names.push_back(faults.substr(at, std::min(faults.find_first_of("=@", at), end) - at));
        at = end + 1;
    }
    return names;
}

/// Whether `units` are those of `sent`, in order, each sent whole; `all` tells whether none is missing.
bool StandIn(const std::vector<std::string>& units, const SentUnits& sent, bool& all)
{
    std::size_t next = 0;
    for (std::size_t at = 0; at < sent.md5s.size() && next < units.size(); ++at)
    {
        if (sent.whole[at] && sent.md5s[at] == units[next])
            ++next;
    }
    all = units.size() == sent.md5s.size();
    return next == units.size();
}

} // namespace

const host::PrivateFolder* Rig::folder_ = nullptr;
std::atomic<int> Rig::files_{0};

void Rig::Begin(const host::PrivateFolder& folder)
{
    folder_ = &folder;
}

const host::DriverLibrary& Rig::Library()
{
    static const host::DriverLibrary library(LARKMOOR_BINARY_DIR "/liblarkmoor.so");
    return library;
}

void Rig::Use(host::Transport transport, const std::string& defaults)
{
    std::string text = host::SettingsText(transport, std::nullopt);
    text.insert(text.find("</Default>"), defaults);
    folder_->Write(host::kSettingsFileName, text);
}

std::string Rig::NewFile(const std::string& name)
{
    return (folder_->Path() / (std::to_string(++files_) + "-" + name)).string();
}

TestCamera::TestCamera(camera::CameraOptions options) : options_(std::move(options)), camera_(options_)
{
    camera_.Truth().SetListener(
        [this](const camera::TruthUnit& unit)
        {
            const std::lock_guard guard(lock_);
            sent_.insert(unit.md5);
        });
    camera_.Requests().SetListener(
        [this](const camera::LoggedRequest& request)
        {
            const std::lock_guard guard(lock_);
            requests_.push_back(request.target);
        });
    std::string error;
    if (!camera_.Start(error))
        throw std::runtime_error(error);
}

void TestCamera::Play(const std::string& faults)
{
    std::string error;
    if (!faults.empty() && !camera_.Faults().Add(faults, error))
        throw std::runtime_error(error);
}

void TestCamera::End(const std::string& faults)
{
    for (const std::string& name : NamesOf(faults))
        camera_.Faults().Remove(name);
}

bool TestCamera::HasSent(const std::string& md5) const
{
    const std::lock_guard guard(lock_);
    return sent_.contains(md5);
}

std::size_t TestCamera::CountRequests(const std::string& part) const
{
    const std::lock_guard guard(lock_);
    return static_cast<std::size_t>(std::ranges::count_if(
        requests_, [&](const std::string& target) { return target.find(part) != std::string::npos; }));
}

std::vector<SentUnits> TestCamera::Units() const
{
    std::vector<SentUnits> all;
    std::ifstream file(options_.truthUnits);
    for (std::string line; std::getline(file, line);)
    {
        const auto object = nlohmann::json::parse(line, nullptr, false);
        if (object.is_discarded())
            break; // the line that is being written
        SentUnits sent;
        for (const auto& unit : object["units"])
        {
            sent.md5s.push_back(unit["md5"].get<std::string>());
            sent.whole.push_back(unit["whole"].get<bool>());
        }
        all.push_back(std::move(sent));
    }
    return all;
}

host::Device DeviceAt(std::uint16_t httpPort, std::uint16_t rtspPort, host::Codec codec,
                      host::Transport transport)
{
    host::Device device;
    device.port = httpPort;
    device.codec = codec;
    host::StreamPaths paths = host::UsualPaths(1);
    paths.rtspPort = rtspPort;
    host::FillProperties(device, paths, transport);
    return device;
}

host::Device TestCamera::Device(host::Codec codec, host::Transport transport) const
{
    host::Device device = DeviceAt(camera_.HttpPort(), camera_.RtspPort(), codec, transport);
    device.user = options_.user;
    device.password = options_.password;
    return device;
}

TestHost::TestHost(host::Device device) : device_(std::move(device))
{
    driver_ = Rig::Library().createIPCaptureEx4();
    host::DeviceSettings settings(device_, &faults_);
    if (driver_ == nullptr || !driver_->Open(&sink_, &allocator_, &settings))
        throw std::runtime_error("the driver doesn't open");
    video_ = driver_->GetVideoCaptureEx();
}

TestHost::~TestHost()
{
    Close();
}

bool TestHost::Start(host::PictureSize size, std::uint16_t frameIntervalMs)
{
    host::ChannelSettings settings(size, frameIntervalMs, 60, &faults_);
    ExpectCalls();
    return video_->StartChannel(0, &client_, &settings);
}

bool TestHost::Change(host::PictureSize size, std::uint32_t frameIntervalMs)
{
    host::ChannelSettings resolution(size, 0, 0);
    return video_->ChangeChannel(0, &resolution, frameIntervalMs);
}

std::uint32_t TestHost::State()
{
    std::uint32_t state = 3;
    video_->GetChannelState(0, &state, nullptr, nullptr, 0);
    return state;
}

bool TestHost::TakeFrame(host::FrameHold frame)
{
    Called();
    const host::FrameInfo& info = frame->Info();
    SeenFrame seen{larkmoor::Md5Hex(frame->Data()), {}, info.format, info.width, info.height};
    if (info.format == kH264Key || info.format == kH264Other)
        seen.units = FingerprintsOfUnits(frame->Data());
    const std::lock_guard guard(lock_);
    frames_.push_back(std::move(seen));
    changed_.notify_all();
    return true;
}

std::size_t TestHost::FrameCount() const
{
    const std::lock_guard guard(lock_);
    return frames_.size();
}

std::vector<SeenFrame> TestHost::Frames() const
{
    const std::lock_guard guard(lock_);
    return frames_;
}

bool TestHost::WaitForFrames(std::size_t count, std::chrono::milliseconds patience) const
{
    std::unique_lock guard(lock_);
    return changed_.wait_for(guard, patience, [&] { return frames_.size() >= count; });
}

bool TestHost::WaitForState(std::uint32_t state, std::chrono::milliseconds patience)
{
    const auto end = std::chrono::steady_clock::now() + patience;
    while (State() != state)
    {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(5ms);
    }
    return true;
}

std::chrono::milliseconds TestHost::Stop()
{
    const auto begin = std::chrono::steady_clock::now();
    video_->StopChannel(0);
    EndCalls();
    return std::chrono::ceil<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin);
}

std::size_t TestHost::CountMessages(const std::string& part) const
{
    return static_cast<std::size_t>(
        std::ranges::count_if(sink_.Messages(), [&part](const auto& message)
                              { return message.text.find(part) != std::string::npos; }));
}

std::string TestHost::Close()
{
    if (driver_ == nullptr)
        return "";
    driver_->Close();
    EndCalls();
    sink_.EndCalls();
    Rig::Library().deleteIPCaptureEx4(std::exchange(driver_, nullptr));
    std::string broken;
    for (const std::string& text : faults_.Texts())
        broken += text + "; ";
    if (allocator_.Outstanding() != 0)
        broken += std::to_string(allocator_.Outstanding()) + " frames were never released; ";
    for (const auto& message : sink_.Messages())
    {
        if (!device_.password.empty() && message.text.find(device_.password) != std::string::npos)
            broken += "the password is in a message; ";
    }
    return broken;
}

Comparison& Comparison::operator+=(const Comparison& other)
{
    frames += other.frames;
    exact += other.exact;
    whole += other.whole;
    part += other.part;
    foreign += other.foreign;
    return *this;
}

Comparison Compare(const std::vector<SeenFrame>& frames, const TestCamera& camera)
{
    Comparison result;
    result.frames = frames.size();
    std::vector<SentUnits> units;
    std::map<std::string, std::vector<std::size_t>> unitsWith; // by fingerprint of one of them
    for (const SeenFrame& frame : frames)
    {
        if (camera.HasSent(frame.md5))
        {
            ++result.exact;
            continue;
        }
        if (units.empty())
        {
            units = camera.Units();
            for (std::size_t i = 0; i < units.size(); ++i)
            {
                for (const std::string& md5 : units[i].md5s)
                    unitsWith[md5].push_back(i);
            }
        }
        bool found = false;
        bool all = false;
        if (!frame.units.empty())
        {
            for (const std::size_t i :
                 unitsWith[frame.units.back()]) // the last unit is a slice of the picture
            {
                bool isAll = false;
                if (!StandIn(frame.units, units[i], isAll))
                    continue;
                found = true;
                all = all || isAll;
            }
        }
        ++(!found ? result.foreign : all ? result.whole : result.part);
    }
    return result;
}

} // namespace larkmoor::test
