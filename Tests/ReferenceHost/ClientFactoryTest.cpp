#include "Communicator/ClientFactory.h"

#include "Communicator/DeviceException.h"
#include "FakeCamera.h"
#include "NativeCameraControl/NativeCameraTemplate.h"
#include "ReferenceHost/DeviceDescription.h"
#include "Support/ScriptedCommunicator.h"
#include "Support/Thrown.h"

#include <gmock/gmock.h>
#include <memory>
#include <string>
#include <utility>

namespace {

/// Address, port and time-out of the host's own client; nothing is connected.
std::string told(const Communicator& communicator) {
    EXPECT_FALSE(communicator.isConnected());
    const auto& client = dynamic_cast<const PosixEthernetCommunicator&>(communicator);
    return testing::PrintToString(client.getAddress()) + " " + std::to_string(client.getPort()) + " " +
           std::to_string(client.getConnectTimeoutMs());
}

/// What is built from an element, or why nothing is.
std::string builtFrom(const std::string& children) {
    std::string result;
    const std::string refusal = TestSupport::thrownBy<DeviceException>([&] {
        const ReferenceHost::DeviceDescription description("<connection>" + children + "</connection>");
        result = told(*std::unique_ptr<Communicator>(ClientFactory::buildCommunicator(description.root())));
    });
    return result + refusal;
}

} // namespace

TEST(ClientFactory, MakesAnUnconnectedCommunicator) {
    for (const int timeout : {-1, 250}) {
        const std::unique_ptr<Communicator> made(
            ClientFactory::createEthernetCommunicator(L"camera-\u00E4.test", 32769, timeout));
        EXPECT_EQ(told(*made), "L\"camera-\\xE4.test\" 32769 " + std::to_string(timeout));
    }
}

TEST(ClientFactory, BuildsACommunicatorFromItsElement) {
    for (const auto& [children, built] : {
             std::pair("<port> 65535 </port><other/>text<address>a&amp;b</address>", "L\"a&b\" 65535 -1"),
             std::pair("<address>a</address><port>1</port><port>2</port><address>b</address>",
                       "L\"b\" 2 -1"), // the last of two
         })
        EXPECT_EQ(builtFrom(children), built);
}

TEST(ClientFactory, BoundsTheTimeOutByThatOfAConnect) {
    for (const auto& [text, timeout] :
         {std::pair("250", "250"), std::pair("0", "0"), std::pair("-1", "-1"), std::pair("5000", "5000"),
          std::pair("5001", "5000"), std::pair("2147483647", "5000"), std::pair("-2", "-1"),
          std::pair("-2147483648", "-1")})
        EXPECT_EQ(builtFrom("<address>a</address><port>1</port><timeout>" + std::string(text) + "</timeout>"),
                  std::string("L\"a\" 1 ") + timeout);
}

TEST(ClientFactory, RefusesAConnectionWithoutAddressPortOrPossibleNumber) {
    for (const auto& [children, reason] : {
             std::pair("<port>1</port>", "connection has no address"),
             std::pair("<address/><port>1</port>", "connection has no address"),
             std::pair("<address>a</address>", "connection has no port"),
             std::pair("<address>a</address><port>0</port>", "connection has no possible port: 0"),
             std::pair("<address>a</address><port>-1</port>", "connection has no possible port: -1"),
             std::pair("<address>a</address><port>65536</port>", "connection has no possible port: 65536"),
             std::pair("<address>a</address><port>1x</port>", "element \"port\" holds no number: \"1x\""),
             std::pair("<address>a</address><port/>", "element \"port\" holds no number: \"\""),
             std::pair("<address>a</address><port>1</port><timeout>soon</timeout>",
                       "element \"timeout\" holds no number: \"soon\""),
         })
        EXPECT_EQ(builtFrom(children), std::string("The description's ") + reason);
    EXPECT_THROW(ClientFactory::buildCommunicator(nullptr), DeviceException);
}

TEST(CommunicatorTemplate, RefusesWhatHasNoAddress) {
    const TestSupport::ScriptedCommunicator line;
    EXPECT_THROW(CommunicatorTemplate{&line}, DeviceException);
    EXPECT_THROW(CommunicatorTemplate{nullptr}, DeviceException);
}

TEST(NativeCameraTemplate, KnowsTypeDescriptionAndTheConnectionOfACommunicatorThatIsGone) {
    auto original = std::make_unique<Tests::FakeCommunicator>(L"10.0.0.5", 250);
    const CommunicatorTemplate connection(original.get());
    original.reset();
    EXPECT_EQ(connection.getAddress(), L"10.0.0.5");
    EXPECT_EQ(connection.getPort(), 32769);
    EXPECT_EQ(connection.getTimeoutMs(), 250);
    const Tests::FakeType type;
    const NativeCameraTemplate camera(type, Tests::filledInfo(), connection);
    EXPECT_EQ(&camera.getType(), &type);
    EXPECT_EQ(camera.getCameraInfo().getModel(), L"model");
    const std::unique_ptr<Communicator> made(camera.createCommunicator());
    EXPECT_EQ(told(*made), "L\"10.0.0.5\" 32769 250");
}
