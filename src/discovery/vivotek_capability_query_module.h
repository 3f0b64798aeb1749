#pragma once

#include "discovery/capability_query_module.h"
#include "discovery/vivotek_camera_properties.h"

#include <new>

namespace korvane
{

/// A query of a Vivotek device.
class CVivotekCapabilityQueryModule : public CCapabilityQueryModule
{
public:
    using CCapabilityQueryModule::CCapabilityQueryModule;
    ~CVivotekCapabilityQueryModule() override { StopQuery(); }

    CCameraPropertiesEx* CreateProperties() override
    {
        return new (std::nothrow) CVivotekCameraProperties(device_, videoStandardFlag_);
    }
};

} // namespace korvane
