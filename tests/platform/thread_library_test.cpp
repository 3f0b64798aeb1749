#include <gtest/gtest.h>

#include <dlfcn.h>

#include <string>

namespace
{

TEST(ThreadLibrary, StaysMappedOnceAThreadOfItIsGivenUp)
{
    const std::string path = std::string(LARKMOOR_BINARY_DIR) + "/libthread_module.so";
    const auto load = [&](int mode) { return dlopen(path.c_str(), RTLD_NOW | mode); };
    void* const unused = load(0);
    ASSERT_NE(unused, nullptr) << dlerror();
    dlclose(unused);
    EXPECT_EQ(load(RTLD_NOLOAD), nullptr); // one without such a thread goes

    void* const used = load(0);
    const auto giveUp = reinterpret_cast<int (*)()>(dlsym(used, "GiveAThreadUp"));
    ASSERT_NE(giveUp, nullptr);
    ASSERT_EQ(giveUp(), 1);
    dlclose(used);
    EXPECT_NE(load(RTLD_NOLOAD), nullptr);
}

} // namespace
