#include "camera/device/parameter_store.h"
#include "camera/device/profile.h"

#include <gtest/gtest.h>

using namespace larkmoor::camera;

TEST(Profile, StartsWithValuesThatItsOwnRulesTake)
{
    for (const Profile& profile : Profile::All())
    {
        ParameterStore store;
        profile.Fill(store);
        for (const Profile::Parameter& parameter : profile.parameters)
            EXPECT_TRUE(store.Change({{parameter.key, parameter.value}}).empty())
                << profile.name << " " << parameter.key << "='" << parameter.value << "' " << parameter.rule;
    }
}
