#include "runtime/debug_info.h"

#include "support/table.h"

#include "device/bastrel_supported_features.h"

#include <gtest/gtest.h>

namespace korvane
{
namespace
{

TEST(DebugInfo, TellsOldHostsLevelsThatTheyKnow)
{
    for (const auto& [name, version, level3, level100] :
         test::Table<const char*, platform::ProductVersion, std::uint8_t, std::uint8_t>{
             {"unknown", {}, 2, 2},
             {"5.11", {5, 11, 65535, 65535}, 2, 2},
             {"5.12", {5, 12, 0, 0}, 3, 3},
             {"6.2", {6, 2, 65535, 65535}, 3, 3},
             {"6.3", {6, 3, 0, 0}, 3, 100},
             {"7.0", {7, 0, 0, 0}, 3, 100},
         })
    {
        SCOPED_TRACE(name);
        EXPECT_EQ(HostMessageLevel(1, version), 1);
        EXPECT_EQ(HostMessageLevel(2, version), 2);
        EXPECT_EQ(HostMessageLevel(3, version), level3);
        EXPECT_EQ(HostMessageLevel(100, version), level100);
    }
}

TEST(BastrelSupportedFeatures, FollowFromTheVersion)
{
    for (const auto& [name, version, first, second, aac4] :
         test::Table<const char*, std::optional<platform::ProductVersion>, bool, bool, bool>{
             {"unknown", std::nullopt, false, false, false},
             {"just below the first", platform::ProductVersion{6, 3, 9, 9}, false, false, false},
             {"first", platform::ProductVersion{6, 4, 0, 0}, true, false, false},
             {"just below the second", platform::ProductVersion{7, 4, 3, 70}, true, false, false},
             {"second", platform::ProductVersion{7, 4, 3, 71}, true, true, false},
             {"just below AAC", platform::ProductVersion{7, 4, 3, 65535}, true, true, false},
             {"AAC", platform::ProductVersion{7, 4, 4, 0}, true, true, true},
             {"the first part counts first", platform::ProductVersion{8, 0, 0, 0}, true, true, true},
         })
    {
        SCOPED_TRACE(name);
        const CBastrelSupportedFeatures features(version);
        EXPECT_EQ(features.IsVersionKnown(), version.has_value());
        EXPECT_EQ(features.SupportsFirst(), first);
        EXPECT_EQ(features.SupportsSecond(), second);
        EXPECT_EQ(features.AllowsAac4(), aac4);
    }
}

} // namespace
} // namespace korvane
