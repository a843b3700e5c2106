#include "Support/ScriptedTransport.h"

#include "Communicator/ClientFactory.h"
#include "Communicator/Connector.h"
#include "Communicator/DeviceException.h"
#include "Communicator/PosixEthernetCommunicator.h"

#include <gmock/gmock.h>

#include <array>
#include <memory>
#include <stdexcept>

namespace {

using ::testing::ElementsAre;
using TestSupport::answerText;
using TestSupport::ScriptedTransport;

std::string ask(Communicator& camera, const std::string& question) {
    camera.writeBytes(question.data(), static_cast<unsigned int>(question.size()), true, 1);
    std::array<char, 16> answer{};
    const int count = camera.readBytes(answer.data(), answer.size(), 1, 250);
    return std::string(answer.data(), static_cast<std::size_t>(count));
}

TEST(ScriptedTransport, WritesDownEveryOperationInOrder) {
    ScriptedTransport transport;
    answerText(transport.atPort(32768), "[one]");
    {
        PosixEthernetCommunicator first(L"10.0.0.5", 32768, -1);
        const std::unique_ptr<EthernetCommunicator> second(
            ClientFactory::createEthernetCommunicator(L"10.0.0.6", 32769, 7));
        EXPECT_EQ(transport.alive(), 2);
        const Connector connection(first);
        EXPECT_EQ(ask(first, "[a b]"), "[one]");
        transport.note("between");
        first.writeBytes("\x01\x02", 2, false, 3);
    }
    EXPECT_EQ(transport.alive(), 0);
    EXPECT_THAT(transport.calls(),
                ElementsAre("construct 10.0.0.5:32768 -1", "create 10.0.0.6:32769 7",
                            "construct 10.0.0.6:32769 7", "connect 10.0.0.5:32768",
                            "write 10.0.0.5:32768 \"[a b]\" true 1", "read 10.0.0.5:32768 16 1 250",
                            "between", "write 10.0.0.5:32768 2 bytes false 3", "disconnect 10.0.0.5:32768",
                            "destroy 10.0.0.6:32769", "destroy 10.0.0.5:32768"));
    EXPECT_THAT(transport.calls("destroy"), ElementsAre("destroy 10.0.0.6:32769", "destroy 10.0.0.5:32768"));
}

TEST(ScriptedTransport, AnswersByAddressAndPort) {
    ScriptedTransport transport;
    answerText(transport.atPort(1), "any");
    answerText(transport.at(L"10.0.0.6", 1), "six");
    PosixEthernetCommunicator five(L"10.0.0.5", 1, -1);
    PosixEthernetCommunicator six(L"10.0.0.6", 1, -1);
    const Connector toFive(five);
    const Connector toSix(six);
    EXPECT_EQ(ask(six, "?"), "six");
    EXPECT_EQ(ask(five, "?"), "any");
    EXPECT_EQ(ask(five, "?"), "");
}

TEST(ScriptedTransport, RefusesToTalkWhileNotConnected) {
    ScriptedTransport transport;
    PosixEthernetCommunicator camera(L"10.0.0.5", 1, -1);
    EXPECT_FALSE(camera.isConnected());
    EXPECT_THROW(ask(camera, "?"), DeviceException);
    {
        const Connector connection(camera);
        EXPECT_TRUE(camera.isConnected());
    }
    EXPECT_FALSE(camera.isConnected());
}

TEST(ScriptedTransport, FailsAsItIsTold) {
    ScriptedTransport transport;
    const auto failure = std::make_exception_ptr(std::runtime_error("told"));
    transport.atPort(1).throwOnConnect(failure);
    transport.atPort(2).throwOnRead(failure);
    PosixEthernetCommunicator closed(L"10.0.0.5", 1, -1);
    EXPECT_THROW(Connector{closed}, std::runtime_error);
    EXPECT_FALSE(closed.isConnected());
    PosixEthernetCommunicator broken(L"10.0.0.5", 2, -1);
    const Connector connection(broken);
    char byte = 0;
    EXPECT_THROW(broken.readBytes(&byte, 1, 1, 1), std::runtime_error);
    transport.onCall = [failure](const std::string& line) {
        if (line.starts_with("construct"))
            std::rethrow_exception(failure);
    };
    EXPECT_THROW(PosixEthernetCommunicator(L"10.0.0.5", 3, -1), std::runtime_error);
    EXPECT_EQ(transport.alive(), 2);
}

TEST(ScriptedTransport, BuildsFromDescriptionsWhatItIsTold) {
    ScriptedTransport transport;
    transport.builtAddress = L"10.0.0.9";
    transport.builtPort = 4;
    const std::unique_ptr<Communicator> built(ClientFactory::buildCommunicator(nullptr));
    EXPECT_THAT(transport.calls(), ElementsAre("build", "construct 10.0.0.9:4 -1"));
    transport.onBuild = [](xercesc::DOMNode*) -> Communicator* { return nullptr; };
    EXPECT_EQ(ClientFactory::buildCommunicator(nullptr), nullptr);
}

TEST(ScriptedTransport, MayGoBeforeItsCommunicators) {
    auto transport = std::make_unique<ScriptedTransport>();
    PosixEthernetCommunicator camera(L"10.0.0.5", 1, -1);
    const Connector connection(camera);
    transport.reset();
    EXPECT_TRUE(camera.isConnected());
}

} // namespace
