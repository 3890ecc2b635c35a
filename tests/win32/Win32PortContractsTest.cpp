// The shared port behaviour, run against the running Windows (Wine's registry and files).
#include <memory>

#include "PortContracts.h"
#include "platform/win32/Win32Ports.h"
#include "win32/Win32TestSupport.h"

namespace vantrel {

namespace {

class Win32Ports : public PortFixtureFactory {
public:
    Registry& registry() override { return reg; }
    RegHandle testRoot() override { return key.Handle(); }
    FileSystem& fs() override { return files; }
    std::string tempDir() override { return folder.Path(); }
    Profile& profile() override { return reader; }

private:
    Win32Registry reg;
    test::ScratchKey key{reg};
    Win32FileSystem files;
    test::ScratchFolder folder{files};
    Win32Profile reader;
};

const PortImplementation kWin32{"Win32", [] { return std::make_unique<Win32Ports>(); }};

} // namespace

INSTANTIATE_TEST_SUITE_P(Win32Registry, RegistryContract, ::testing::Values(kWin32), PortImplementationName);
INSTANTIATE_TEST_SUITE_P(Win32FileSystem, FileSystemContract, ::testing::Values(kWin32),
                         PortImplementationName);
INSTANTIATE_TEST_SUITE_P(Win32Profile, ProfileContract, ::testing::Values(kWin32), PortImplementationName);

} // namespace vantrel
