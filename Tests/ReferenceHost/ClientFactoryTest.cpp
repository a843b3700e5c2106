#include "Communicator/ClientFactory.h"

#include "Communicator/PosixEthernetCommunicator.h"
#include "FakeCamera.h"
#include "NativeCameraControl/NativeCameraTemplate.h"
#include "ReferenceHost/DeviceDescription.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>

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

std::string reasonFor(const std::string& children) {
    return Tests::reasonOf([&] { builtFrom(children); });
}

} // namespace

TEST(ClientFactory, MakesAnUnconnectedCommunicator) {
    for (const int timeout : {-1, 250}) {
        const std::unique_ptr<EthernetCommunicator> communicator(
            ClientFactory::createEthernetCommunicator(L"127.0.0.1", 32769, timeout));
        EXPECT_NE(dynamic_cast<PosixEthernetCommunicator*>(communicator.get()), nullptr);
        EXPECT_EQ(communicator->getAddress(), L"127.0.0.1");
        EXPECT_EQ(communicator->getPort(), 32769);
        EXPECT_EQ(communicator->getConnectTimeoutMs(), timeout);
        EXPECT_FALSE(communicator->isConnected());
    }
}

TEST(ClientFactory, BuildsACommunicatorFromItsElement) {
    const auto communicator = builtFrom("<port> 65535 </port><other/>text<address>a&amp;b</address>");
    ASSERT_NE(communicator, nullptr);
    EXPECT_EQ(communicator->getAddress(), L"a&b");
    EXPECT_EQ(communicator->getPort(), 65535);
    EXPECT_EQ(communicator->getConnectTimeoutMs(), -1);
}

TEST(ClientFactory, BoundsTheTimeOutByThatOfAConnect) {
    for (const auto& [text, timeout] :
         {std::pair("250", 250), std::pair("0", 0), std::pair("-1", -1), std::pair("5000", 5000),
          std::pair("5001", 5000), std::pair("2147483647", 5000), std::pair("-2", -1),
          std::pair("-2147483648", -1)})
        EXPECT_EQ(timeoutOf(text), timeout) << text;
}

TEST(ClientFactory, TakesTheLastOfTwoChildrenOfOneName) {
    EXPECT_EQ(builtFrom("<address>a</address><port>1</port><port>2</port><address>b</address>")->getAddress(),
              L"b");
}

TEST(ClientFactory, RefusesAConnectionWithoutAddressPortOrPossibleNumber) {
    const std::string start = "The description's ";
    for (const auto& [children, reason] : {
             std::pair("<port>1</port>", "connection has no address"),
             std::pair("<address/><port>1</port>", "connection has no address"),
             std::pair("<address>a</address>", "connection has no port"),
             std::pair("<address>a</address><port>0</port>", "connection has no possible port: 0"),
             std::pair("<address>a</address><port>1</port><timeout>soon</timeout>",
                       "element \"timeout\" holds no number: \"soon\""),
         })
        EXPECT_EQ(reasonFor(children), start + reason);
    for (const char* port : {"-1", "65536", "x", "", "32769x"})
        EXPECT_NE(reasonFor("<address>a</address><port>" + std::string(port) + "</port>"), "") << port;
}

TEST(ClientFactory, RefusesANullNode) {
    EXPECT_THROW(ClientFactory::buildCommunicator(nullptr), DeviceException);
}

TEST(CommunicatorTemplate, MakesACommunicatorAgainOfOneThatIsGone) {
    auto original = std::make_unique<Tests::FakeCommunicator>(L"10.0.0.5", 32769, 250);
    const CommunicatorTemplate communicatorTemplate(original.get());
    original.reset();
    EXPECT_EQ(communicatorTemplate.getAddress(), L"10.0.0.5");
    EXPECT_EQ(communicatorTemplate.getPort(), 32769);
    EXPECT_EQ(communicatorTemplate.getTimeoutMs(), 250);
    const std::unique_ptr<Communicator> again(communicatorTemplate.createCommunicator());
    const auto& ethernet = dynamic_cast<const PosixEthernetCommunicator&>(*again);
    EXPECT_EQ(ethernet.getAddress(), L"10.0.0.5");
    EXPECT_EQ(ethernet.getPort(), 32769);
    EXPECT_EQ(ethernet.getConnectTimeoutMs(), 250);
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
