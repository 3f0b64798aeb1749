#include "discovery/vivotek_capability_query_module.h"

#include "discovery/vivotek_camera_properties.h"

#include <new>

namespace korvane
{

CCameraPropertiesEx* CVivotekCapabilityQueryModule::CreateProperties()
{
    return new (std::nothrow) CVivotekCameraProperties(Device(), VideoStandardFlag());
}

} // namespace korvane
