#pragma once

#include "discovery/capability_query_module.h"

namespace korvane
{

/// A query of a Vivotek device.
class CVivotekCapabilityQueryModule : public CCapabilityQueryModule
{
public:
    using CCapabilityQueryModule::CCapabilityQueryModule;
    ~CVivotekCapabilityQueryModule() override { StopQuery(); }

    CCameraPropertiesEx* CreateProperties() override;
};

} // namespace korvane
