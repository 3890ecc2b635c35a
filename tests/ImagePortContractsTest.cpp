// The shared port behaviour, run against the machine-image implementation.
#include <memory>

#include "HostTempDir.h"
#include "PortContracts.h"
#include "platform/image/ImageFileSystem.h"
#include "platform/image/ImageProfile.h"
#include "platform/image/ImageRegistry.h"

namespace vantrel {

namespace {

class ImagePorts : public PortFixtureFactory {
public:
    ImagePorts() : files(host.String()), profileReader(files) {
        reg.CreateKey(kHkeyCurrentUser, "Software\\VantrelContract", &root);
        CreateDirectories(files, "C:\\Contract Temp");
    }
    ~ImagePorts() override { reg.CloseKey(root); }

    Registry& registry() override { return reg; }
    RegHandle testRoot() override { return root; }
    FileSystem& fs() override { return files; }
    std::string tempDir() override { return "C:\\Contract Temp"; }
    Profile& profile() override { return profileReader; }

private:
    HostTempDir host;
    ImageRegistry reg;
    RegHandle root = 0;
    ImageFileSystem files;
    ImageProfile profileReader;
};

const PortImplementation kImage{"Image", [] { return std::make_unique<ImagePorts>(); }};

} // namespace

INSTANTIATE_TEST_SUITE_P(RegistryImage, RegistryContract, ::testing::Values(kImage), PortImplementationName);
INSTANTIATE_TEST_SUITE_P(FileSystemImage, FileSystemContract, ::testing::Values(kImage),
                         PortImplementationName);
INSTANTIATE_TEST_SUITE_P(ProfileImage, ProfileContract, ::testing::Values(kImage), PortImplementationName);

} // namespace vantrel
