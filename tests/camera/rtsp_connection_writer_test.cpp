#include "camera/rtsp/connection_writer.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/read.hpp>
#include <gtest/gtest.h>

#include <numeric>
#include <thread>
#include <utility>

namespace larkmoor::camera
{
namespace
{

/// Both ends of a connection, and a writer on one of them.
struct WriterPair
{
    WriterPair(std::size_t limit)
    {
        boost::asio::ip::tcp::acceptor acceptor(context, {boost::asio::ip::address_v4::loopback(), 0});
        near.connect(acceptor.local_endpoint());
        far = acceptor.accept();
        near.non_blocking(true);
        near.set_option(boost::asio::socket_base::send_buffer_size(8192));
        writer = std::make_shared<ConnectionWriter>(
            near, limit, [] {}, [this] { failed = true; });
    }

    boost::asio::io_context context;
    boost::asio::ip::tcp::socket near{context};
    boost::asio::ip::tcp::socket far{context};
    std::shared_ptr<ConnectionWriter> writer;
    bool failed = false;
};

/// `count` packets of many sizes, each of bytes of its own, and what they are on the wire of channel 2.
std::pair<PacketBatch, Bytes> NumberedPackets(int count)
{
    PacketBatch batch;
    Bytes wire;
    for (int i = 0; i < count; ++i)
    {
        auto body = std::make_shared<Bytes>(static_cast<std::size_t>(1 + i * 37 % 1400));
        std::iota(body->begin(), body->end(), static_cast<std::uint8_t>(i));
        OutPacket packet;
        packet.control = i % 5 == 0;
        packet.headBytes = packet.control ? 0 : 13;
        packet.head.fill(static_cast<std::uint8_t>(i));
        packet.shared = *body;
        const std::size_t size = packet.headBytes + body->size();
        wire.insert(wire.end(), {'$', static_cast<std::uint8_t>(packet.control ? 3 : 2),
                                 static_cast<std::uint8_t>(size >> 8), static_cast<std::uint8_t>(size)});
        wire.insert(wire.end(), packet.headBytes, static_cast<std::uint8_t>(i));
        wire.insert(wire.end(), body->begin(), body->end());
        batch.packets.push_back(packet);
        batch.owners.push_back(std::move(body));
    }
    return {std::move(batch), std::move(wire)};
}

TEST(CameraConnectionWriter, WritesAllInOrderHoweverTheClientReads)
{
    for (const bool cutting : {false, true})
    {
        SCOPED_TRACE(cutting);
        WriterPair pair(1 << 20);
        pair.writer->SetCutting(cutting);
        Bytes wire;
        for (int i = 0; !pair.writer->IsFull(); ++i)
        {
            auto [batch, bytes] = NumberedPackets(i % 300);
            wire.insert(wire.end(), bytes.begin(), bytes.end());
            pair.writer->AddPackets(std::move(batch), 2);
            pair.writer->AddText("answer");
            wire.insert(wire.end(), {'a', 'n', 's', 'w', 'e', 'r'});
        }
        pair.writer->Close(false); // behind all that
        Bytes read;
        std::thread reader(
            [&]
            {
                boost::system::error_code error;
                for (Bytes some(3000); !error; read.insert(read.end(), some.begin(), some.begin() + 3000))
                {
                    const std::size_t count = boost::asio::read(pair.far, boost::asio::buffer(some), error);
                    if (error)
                    {
                        read.insert(read.end(), some.begin(), some.begin() + static_cast<long>(count));
                        break;
                    }
                }
            });
        pair.context.run();
        reader.join();
        EXPECT_TRUE(read == wire) << read.size() << " of " << wire.size();
        EXPECT_FALSE(pair.failed);
    }
}

TEST(CameraConnectionWriter, ResetsInTheMiddle)
{
    WriterPair pair(1 << 20);
    pair.writer->ResetInTheMiddle();
    pair.writer->AddText("RTSP/1.0 200 OK\r\n\r\n");
    pair.context.run();
    EXPECT_TRUE(pair.failed);
    EXPECT_FALSE(pair.near.is_open());
    boost::system::error_code error;
    char bytes[100];
    const std::size_t count = boost::asio::read(pair.far, boost::asio::buffer(bytes), error);
    EXPECT_LT(count, 19u);
    EXPECT_EQ(error, boost::asio::error::connection_reset);
}

} // namespace
} // namespace larkmoor::camera
