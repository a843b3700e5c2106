#include "Communicator/ClientFactory.h"

#include "Communicator/DeviceException.h"
#include "Communicator/PosixEthernetCommunicator.h"
#include "FakeCamera.h"
#include "NativeCameraControl/NativeCameraTemplate.h"
#include "ReferenceHost/DeviceDescription.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>

using ReferenceHost::DeviceDescription;

namespace {

std::unique_ptr<PosixEthernetCommunicator> builtFrom(const std::string& children) {
    const DeviceDescription description("<connection>" + children + "</connection>");
    const std::unique_ptr<Communicator> built(ClientFactory::buildCommunicator(description.root()));
    auto* const ethernet = dynamic_cast<PosixEthernetCommunicator*>(built.get());
    return ethernet == nullptr
               ? nullptr
               : std::make_unique<PosixEthernetCommunicator>(ethernet->getAddress(), ethernet->getPort(),
                                                             ethernet->getConnectTimeoutMs());
}

int timeoutOf(const std::string& text) {
    return builtFrom("<address>a</address><port>1</port><timeout>" + text + "</timeout>")
        ->getConnectTimeoutMs();
}

std::wstring reasonFor(const std::string& children) {
    try {
        builtFrom(children);
    } catch (const DeviceException& exception) {
        return exception.getMessage();
    }
    return L"";
}

} // namespace

TEST(ClientFactory, MakesAnUnconnectedCommunicator) {
    const std::unique_ptr<EthernetCommunicator> communicator(
        ClientFactory::createEthernetCommunicator(L"127.0.0.1", 32769, -1));
    EXPECT_NE(dynamic_cast<PosixEthernetCommunicator*>(communicator.get()), nullptr);
    EXPECT_EQ(communicator->getAddress(), L"127.0.0.1");
    EXPECT_EQ(communicator->getPort(), 32769);
    EXPECT_EQ(communicator->getConnectTimeoutMs(), -1);
    EXPECT_FALSE(communicator->isConnected());
}

TEST(ClientFactory, BuildsACommunicatorFromItsElement) {
    const auto communicator = builtFrom("<port> 65535 </port><other/>text<address>a&amp;b</address>");
    ASSERT_NE(communicator, nullptr);
    EXPECT_EQ(communicator->getAddress(), L"a&b");
    EXPECT_EQ(communicator->getPort(), 65535);
    EXPECT_EQ(communicator->getConnectTimeoutMs(), -1);
}

TEST(ClientFactory, ReadsTheTimeOut) {
    EXPECT_EQ(timeoutOf("250"), 250);
    EXPECT_EQ(timeoutOf("0"), 0);
    EXPECT_EQ(timeoutOf("-1"), -1);
}

TEST(ClientFactory, BoundsTheTimeOutByThatOfAConnect) {
    EXPECT_EQ(timeoutOf("5000"), 5000);
    for (const char* longer : {"5001", "2147483647"})
        EXPECT_EQ(timeoutOf(longer), 5000) << longer;
    for (const char* negative : {"-2", "-2147483648"})
        EXPECT_EQ(timeoutOf(negative), -1) << negative;
}

TEST(ClientFactory, TakesTheLastOfTwoChildrenOfOneName) {
    EXPECT_EQ(builtFrom("<address>a</address><port>1</port><port>2</port><address>b</address>")->getAddress(),
              L"b");
}

TEST(ClientFactory, RefusesAConnectionWithoutAddress) {
    EXPECT_EQ(reasonFor("<port>1</port>"), L"The description's connection has no address");
    EXPECT_EQ(reasonFor("<address/><port>1</port>"), L"The description's connection has no address");
}

TEST(ClientFactory, RefusesAPortThatIsNone) {
    EXPECT_EQ(reasonFor("<address>a</address>"), L"The description's connection has no port");
    EXPECT_EQ(reasonFor("<address>a</address><port>0</port>"),
              L"The description's connection has no possible port: 0");
    for (const char* port : {"-1", "65536", "x", "", "32769x"})
        EXPECT_NE(reasonFor("<address>a</address><port>" + std::string(port) + "</port>"), L"") << port;
}

TEST(ClientFactory, RefusesATimeOutThatIsNoNumber) {
    EXPECT_EQ(reasonFor("<address>a</address><port>1</port><timeout>soon</timeout>"),
              L"The description's element \"timeout\" holds no number: \"soon\"");
}

TEST(ClientFactory, RefusesANullNode) {
    EXPECT_THROW(ClientFactory::buildCommunicator(nullptr), DeviceException);
}

TEST(CommunicatorTemplate, MakesACommunicatorAgain) {
    const auto original = std::make_unique<Tests::FakeCommunicator>(L"10.0.0.5", 32769, 250);
    const CommunicatorTemplate communicatorTemplate(original.get());
    EXPECT_EQ(communicatorTemplate.getAddress(), L"10.0.0.5");
    EXPECT_EQ(communicatorTemplate.getPort(), 32769);
    EXPECT_EQ(communicatorTemplate.getTimeoutMs(), 250);

    const std::unique_ptr<Communicator> again(communicatorTemplate.createCommunicator());
    const auto& ethernet = dynamic_cast<const PosixEthernetCommunicator&>(*again);
    EXPECT_EQ(ethernet.getAddress(), L"10.0.0.5");
    EXPECT_EQ(ethernet.getPort(), 32769);
    EXPECT_EQ(ethernet.getConnectTimeoutMs(), 250);
}

TEST(CommunicatorTemplate, OutlivesItsCommunicator) {
    auto original = std::make_unique<Tests::FakeCommunicator>(L"10.0.0.5");
    const CommunicatorTemplate communicatorTemplate(original.get());
    original.reset();
    EXPECT_EQ(communicatorTemplate.getAddress(), L"10.0.0.5");
}

TEST(CommunicatorTemplate, RefusesWhatHasNoAddress) {
    class Line : public Communicator {
    public:
        void writeBytes(const void*, unsigned int, bool, int) override {}
        int readBytes(void*, unsigned int, int, unsigned int) override { return 0; }
        bool isConnected() const override { return false; }

    protected:
        void connect() override {}
        void disconnect() noexcept override {}
    };
    const Line line;
    EXPECT_THROW(CommunicatorTemplate{&line}, DeviceException);
    EXPECT_THROW(CommunicatorTemplate{nullptr}, DeviceException);
}

TEST(NativeCameraTemplate, KnowsTypeDescriptionAndConnection) {
    const Tests::FakeType type;
    const Tests::FakeCommunicator communicator(L"10.0.0.5", 32769);
    CameraInfo info;
    info.setModel(L"Meridian");
    const std::unique_ptr<DeviceTemplate> deviceTemplate =
        std::make_unique<NativeCameraTemplate>(type, info, CommunicatorTemplate(&communicator));
    EXPECT_EQ(&deviceTemplate->getType(), &type);
    EXPECT_EQ(dynamic_cast<const NativeCameraTemplate&>(*deviceTemplate).getCameraInfo().getModel(),
              L"Meridian");
    const std::unique_ptr<Communicator> made(deviceTemplate->createCommunicator());
    EXPECT_EQ(dynamic_cast<const EthernetCommunicator&>(*made).getAddress(), L"10.0.0.5");
}
