#include "system/rig.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <exception>

/// The driver reads its settings from a private folder, so that runs at the same time don't disturb each
/// other.
int main(int argc, char** argv)
try
{
    const larkmoor::host::PrivateFolder folder;
    testing::InitGoogleMock(&argc, argv);
    larkmoor::test::Rig::Begin(folder);
    return RUN_ALL_TESTS();
}
catch (const std::exception& problem)
{
    std::fprintf(stderr, "%s\n", problem.what());
    return 1;
}
