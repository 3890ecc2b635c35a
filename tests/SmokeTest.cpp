#include <gtest/gtest.h>

#include "platform/Registry.h"

namespace vantrel {

TEST(RegistryHelpers, StringDataStopsAtFirstNul) {
    EXPECT_EQ(RegStringData(std::string("English\0\0 x", 11)), "English");
    EXPECT_EQ(RegStringData("no nul"), "no nul");
}

} // namespace vantrel
