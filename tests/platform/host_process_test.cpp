#include "platform/host_process.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

namespace korvane::platform
{

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

} // namespace korvane::platform
