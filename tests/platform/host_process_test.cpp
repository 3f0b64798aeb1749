#include "platform/host_process.h"

#include <cstdio>
#include <gtest/gtest.h>

#include "support/settings_folder.h"
#include "support/table.h"

namespace korvane::platform
{

TEST(HostProcess, ReadsTheVersionBesideAModule)
{
    const test::SettingsFolder folder;
    const std::string& directory = folder.Path();
    using Version = ProductVersion;
    for (const auto& [text, version] : test::Table<const char*, std::optional<ProductVersion>>{
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
         })
    {
        SCOPED_TRACE(text);
        std::ofstream(directory + "bastrel.dll.version", std::ios::binary) << text;
        EXPECT_EQ(ReadProductVersion("bastrel.dll", directory), version);
    }
    EXPECT_EQ(ReadProductVersion("other.dll", directory), std::nullopt);
    std::filesystem::remove_all(directory);
    EXPECT_EQ(ReadProductVersion("bastrel.dll", directory), std::nullopt);
}

// Each in a process of its own, for the variable is read once.
TEST(HostProcess, TakesTheFolderOfTheEnvironmentBeforeThatOfTheExecutable)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const std::string own = std::filesystem::read_symlink("/proc/self/exe").parent_path().string() + "/";
    for (const auto& [value, directory] : test::Table<const char*, std::string>{
             {"/srv/recorder", "/srv/recorder/"}, {"/srv/recorder/", "/srv/recorder/"}, {"", own}})
    {
        SCOPED_TRACE(value);
        const auto tell = [](const char* text)
        {
            setenv("LARKMOOR_HOST_DIRECTORY", text, 1);
            const std::string first = HostDirectory();
            setenv("LARKMOOR_HOST_DIRECTORY", "/too/late", 1);
            std::fprintf(stderr, "first %s then %s", first.c_str(), HostDirectory().c_str());
            std::_Exit(0);
        };
        EXPECT_EXIT(tell(value), testing::ExitedWithCode(0),
                    "^first " + directory + " then " + directory + "$");
    }
    unsetenv("LARKMOOR_HOST_DIRECTORY");
    EXPECT_EQ(HostDirectory(), own);
}

} // namespace korvane::platform
