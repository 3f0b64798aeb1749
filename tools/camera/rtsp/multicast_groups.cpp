#include "camera/rtsp/multicast_groups.h"

#include <boost/asio/ip/address.hpp>

#include <utility>

namespace larkmoor::camera
{
namespace
{

/// A group, with sockets of its own: they carry the group's time to live.
class MulticastOutput : public PacketOutput
{
public:
    MulticastOutput(boost::asio::io_context& context, const boost::asio::ip::address& group,
                    std::uint16_t port)
        : sender_(context), rtp_(group, port), rtcp_(group, static_cast<std::uint16_t>(port + 1))
    {
    }

    bool Open(const std::string& bindAddress, std::uint8_t ttl)
    {
        std::string error;
        if (!sender_.Open(bindAddress, error))
            return false;
        sender_.AllowMulticast(ttl);
        return true;
    }

    void Send(PacketBatch batch) override { sender_.Send(batch, rtp_, rtcp_); }
    bool IsFull() const override { return false; }
    bool IsHungry() const override { return true; }

private:
    UdpSender sender_;
    const UdpSender::Endpoint rtp_;
    const UdpSender::Endpoint rtcp_;
};

} // namespace

std::shared_ptr<MediaSession> MulticastGroups::Join(const RtspTarget& target, const ParameterSets& described,
                                                    std::uint64_t seed)
{
    auto& known = groups_[{target.id, target.group, target.port}];
    if (auto session = known.lock())
        return session;
    boost::system::error_code error;
    const auto group = boost::asio::ip::make_address(target.group, error);
    if (error || !group.is_multicast())
        return nullptr;
    auto output = std::make_unique<MulticastOutput>(context_, group, target.port);
    if (!output->Open(options_.bindAddress, target.ttl))
        return nullptr;
    MediaSession::Setup setup{context_, services_.hub.Stream(target.id), std::move(output), described, seed};
    std::shared_ptr<MediaSession> session(new MediaSession(options_, services_, std::move(setup)),
                                          [](MediaSession* last)
                                          {
                                              last->Stop();
                                              delete last;
                                          });
    known = session;
    return session;
}

void MulticastGroups::Tick()
{
    std::erase_if(groups_, [](const auto& group) { return group.second.expired(); });
    for (const auto& [key, group] : groups_)
    {
        if (const auto session = group.lock())
            session->Tick();
    }
}

} // namespace larkmoor::camera
