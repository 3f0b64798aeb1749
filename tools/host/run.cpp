#include "host/run.h"

#include "host/base/failure.h"
#include "host/base/interrupt.h"
#include "host/device/private_folder.h"
#include "host/verbs/audio.h"
#include "host/verbs/command_line.h"
#include "host/verbs/hostile.h"
#include "host/verbs/io.h"
#include "host/verbs/load.h"
#include "host/verbs/preset.h"
#include "host/verbs/ptz.h"
#include "host/verbs/query.h"
#include "host/verbs/record.h"
#include "host/verbs/watch.h"

#include <cstdio>

namespace larkmoor::host
{

namespace
{

ExitStatus Do(const PrivateFolder& folder, const QueryOptions& options)
{
    return Query(folder, options);
}

ExitStatus Do(const PrivateFolder& folder, const RecordOptions& options)
{
    return Record(folder, options);
}

ExitStatus Do(const PrivateFolder& folder, const WatchOptions& options)
{
    return Watch(folder, options);
}

ExitStatus Do(const PrivateFolder& folder, const AudioOptions& options)
{
    return Audio(folder, options);
}

ExitStatus Do(const PrivateFolder& folder, const LoadOptions& options)
{
    return Load(folder, options);
}

ExitStatus Do(const PrivateFolder& folder, const PtzOptions& options)
{
    return Ptz(folder, options);
}

ExitStatus Do(const PrivateFolder& folder, const PresetOptions& options)
{
    return Preset(folder, options);
}

ExitStatus Do(const PrivateFolder& folder, const IoOptions& options)
{
    return Io(folder, options);
}

ExitStatus Do(const PrivateFolder& folder, const HostileOptions& options)
{
    return Hostile(folder, options);
}

} // namespace

int Run(int argc, char** argv)
try
{
    const auto command = ReadCommandLine(argc, argv);
    if (const auto* none = std::get_if<NoCommand>(&command))
        return none->exitStatus;
    const PrivateFolder folder(argv);
    Interrupt::Install();
    return static_cast<int>(std::visit([&folder](const auto& options) { return Do(folder, options); },
                                       std::get<Command>(command)));
}
catch (const Failure& failure)
{
    std::fprintf(stderr, "larkmoor-host: %s\n", failure.what());
    return static_cast<int>(failure.Status());
}
catch (const std::exception& error)
{
    std::fprintf(stderr, "larkmoor-host: %s\n", error.what());
    return static_cast<int>(ExitStatus::Internal);
}

} // namespace larkmoor::host
