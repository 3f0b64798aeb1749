#include "system/rig.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <exception>

/// The driver looks for its settings beside the executable of its host: these tests go on as an executable in
/// a folder of their own, so that several runs don't meet.
int main(int argc, char** argv)
try
{
    const larkmoor::host::PrivateFolder folder(argv);
    testing::InitGoogleMock(&argc, argv);
    larkmoor::test::Rig::Begin(folder);
    return RUN_ALL_TESTS();
}
catch (const std::exception& problem)
{
    std::fprintf(stderr, "%s\n", problem.what());
    return 1;
}
