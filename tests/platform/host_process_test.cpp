#include "platform/host_process.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <set>
#include <thread>

#include "platform/random_id.h"

namespace korvane::platform
{

TEST(HostProcess, TellsTheExecutablesDirectoryWithItsSeparator)
{
    const std::string directory = HostDirectory();
    EXPECT_TRUE(std::filesystem::equivalent(directory, LARKMOOR_BINARY_DIR)) << directory;
    EXPECT_TRUE(directory.ends_with('/'));
    EXPECT_TRUE(std::filesystem::exists(directory + "platform_tests"));
}

TEST(HostProcess, ReadsTheVersionBesideAModule)
{
    std::string directory = (std::filesystem::temp_directory_path() / "larkmoor-version-XXXXXX").string();
    ASSERT_NE(mkdtemp(directory.data()), nullptr);
    directory += '/';
    using Version = ProductVersion;
    const struct
    {
        const char* text;
        std::optional<ProductVersion> version;
    } cases[] = {
        {"7.4.4.0", Version{7, 4, 4, 0}},
        {"7.4.3.71\r\n", Version{7, 4, 3, 71}},
        {"0.0.0.0 \t\n", Version{0, 0, 0, 0}},
        {"65535.65535.65535.65535", Version{65535, 65535, 65535, 65535}},
        {"", {}},
        {"\n", {}},
        {"7.4.4", {}},
        {"7.4.4.", {}},
        {"7.4.4.0.1", {}},
        {"7.4.4.0 beta", {}},
        {"7..4.0", {}},
        {"7,4,4,0", {}},
        {"7.4.4.65536", {}},
        {"7.4.-4.0", {}},
        {"7.4.+4.0", {}},
        {" 7.4.4.0", {}},
        {"7.4.4.0                                                                         ", {}},
    };
    for (const auto& c : cases)
    {
        SCOPED_TRACE(c.text);
        std::ofstream(directory + "bastrel.dll.version", std::ios::binary) << c.text;
        EXPECT_EQ(ReadProductVersion(directory, "bastrel.dll"), c.version);
    }
    EXPECT_EQ(ReadProductVersion(directory, "other.dll"), std::nullopt);
    std::filesystem::remove_all(directory);
    EXPECT_EQ(ReadProductVersion(directory, "bastrel.dll"), std::nullopt);
}

TEST(RandomId, IsNeverTheSameAndFillsAllBytes)
{
    std::set<std::array<std::uint8_t, 16>> ids;
    std::array<std::uint8_t, 16> bitsSeen{};
    for (int i = 0; i < 200; ++i)
    {
        std::array<std::uint8_t, 16> id{};
        ASSERT_TRUE(MakeRandomId(id));
        EXPECT_TRUE(ids.insert(id).second);
        for (std::size_t at = 0; at < id.size(); ++at)
            bitsSeen[at] = static_cast<std::uint8_t>(bitsSeen[at] | id[at]);
    }
    for (const std::uint8_t bits : bitsSeen)
        EXPECT_EQ(bits, 0xFF);
}

} // namespace korvane::platform
