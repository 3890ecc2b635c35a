// Behaviour every implementation of the registry, file-system and profile ports must share,
// written once and run against each implementation through a factory.
//
// An implementation instantiates the suites with a name that starts with its ctest group:
//   INSTANTIATE_TEST_SUITE_P(RegistryImage, RegistryContract,
//                            ::testing::Values(PortImplementation{"Image", MakeImagePorts}),
//                            PortImplementationName);
// (the image uses RegistryImage, FileSystemImage and ProfileImage; the Windows ports Win32...).
#pragma once

#include <functional>
#include <memory>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "platform/Registry.h"

namespace vantrel {

class FileSystem;
class Profile;

// One fresh set of ports per test.
struct PortFixtureFactory {
    virtual ~PortFixtureFactory() = default;
    virtual Registry& registry() = 0;
    // An open, empty key the test may fill; the factory deletes it (and all below) when destroyed.
    virtual RegHandle testRoot() = 0;
    virtual FileSystem& fs() = 0;
    // An empty, writable folder as a Windows path without trailing "\"; removed when destroyed.
    virtual std::string tempDir() = 0;
    // Reads the files of fs().
    virtual Profile& profile() = 0;
};

struct PortImplementation {
    std::string name;
    std::function<std::unique_ptr<PortFixtureFactory>()> make;
};

inline void PrintTo(const PortImplementation& implementation, std::ostream* os) {
    *os << implementation.name;
}

std::string PortImplementationName(const ::testing::TestParamInfo<PortImplementation>& info);

class PortContractTest : public ::testing::TestWithParam<PortImplementation> {
protected:
    void SetUp() override {
        ports = GetParam().make();
        ASSERT_NE(ports, nullptr);
    }
    void TearDown() override { ports.reset(); }

    std::unique_ptr<PortFixtureFactory> ports;
};

class RegistryContract : public PortContractTest {};
class FileSystemContract : public PortContractTest {};
class ProfileContract : public PortContractTest {};

} // namespace vantrel
