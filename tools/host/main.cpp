#include "host/base/interrupt.h"
#include "host/verbs/command_line.h"
#include "host/verbs/options.h"

#include <cstdio>

namespace
{

using namespace larkmoor::host;

int Do(int argc, char** argv)
{
    const auto command = ReadCommandLine(argc, argv);
    if (const auto* none = std::get_if<NoCommand>(&command))
        return none->exitStatus;
    const PrivateFolder folder;
    Interrupt::Install();
    return static_cast<int>(std::visit([&folder](const auto& options) { return Run(folder, options); },
                                       std::get<Command>(command)));
}

} // namespace

int main(int argc, char** argv)
{
    ExitStatus status = ExitStatus::Internal;
    try
    {
        return Do(argc, argv);
    }
    catch (const Failure& failure)
    {
        std::fprintf(stderr, "larkmoor-host: %s\n", failure.what());
        status = failure.Status();
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "larkmoor-host: %s\n", error.what());
    }
    return static_cast<int>(status);
}
