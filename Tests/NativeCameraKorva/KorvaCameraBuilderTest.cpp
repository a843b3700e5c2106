#include "NativeCameraKorva/KorvaCameraBuilder.h"

#include "Communicator/DeviceException.h"
#include "Communicator/EthernetCommunicator.h"
#include "Communicator/PosixEthernetCommunicator.h"
#include "NativeCameraControl/NativeCameraTemplate.h"
#include "NativeCameraKorva/KorvaCamera.h"
#include "NativeCameraKorva/KorvaCameraLoader.h"
#include "OtherEthernet.h"
#include "PluginLog.h"
#include "ReferenceHost/DeviceDescription.h"
#include "World/Stage.h"

#include <memory>
#include <string>
#include <typeinfo>

namespace {

using namespace PluginLogs;

using DevicePointer = std::unique_ptr<Device>;

/// A builder, of whose communicators none may be left.
struct CameraBuilder : ::testing::Test {
    World::Stage world;
    PluginLog log{"Plenar.KorvaCamera.KorvaCameraBuilder", "KorvaCameraBuilder"};
    PluginLog identificationLog{"Plenar.KorvaCamera.KorvaCapture", "KorvaHelper"};
    KorvaCameraBuilder korvaBuilder;
    const DeviceBuilder& builder = korvaBuilder;

    /// A device of the family with that serial number, connected to that place.
    static void expectCamera(const Device* device, const std::wstring& serialNumber,
                             const std::wstring& address, int port, int timeoutMs) {
        ASSERT_NE(device, nullptr);
        EXPECT_NE(dynamic_cast<const KorvaCamera*>(device), nullptr);
        EXPECT_EQ(&device->getType(), &getKorvaCameraType());
        EXPECT_EQ(dynamic_cast<const NativeCamera&>(*device).getCameraInfo().getSerialNumber(), serialNumber);
        const auto& communicator = dynamic_cast<const EthernetCommunicator&>(*device->getCommunicator());
        EXPECT_EQ(communicator.getAddress(), address);
        EXPECT_EQ(communicator.getPort(), port);
        EXPECT_EQ(communicator.getConnectTimeoutMs(), timeoutMs);
    }
};

// What the host throws passes on, and the description is what the camera says, as the failing of each call in
// turn shows.

// From a stored description.

std::string korva(const std::string& name, int type = 6) {
    return "<CameraInfo><cameraTypeEnum>" + std::to_string(type) + "</cameraTypeEnum><serialNumber>" + name +
           "</serialNumber></CameraInfo>";
}

std::string connectionTo(const std::string& address) {
    return "<connection><address>" + address + "</address><port>32769</port></connection>";
}

const std::string connection = connectionTo("10.0.0.1");

struct BuilderFromXml : CameraBuilder {
    DevicePointer build(const std::string& children) const {
        const ReferenceHost::DeviceDescription description("<Device>" + children + "</Device>");
        return DevicePointer(builder.build(description.root()));
    }
};

TEST_F(BuilderFromXml, BuildsTheCameraThatIsDescribedByTheLastOfItsChildren) {
    const std::string stranger = "<stranger/>";
    const struct {
        const char* what;
        std::string children;
        std::wstring serialNumber;
        std::wstring address;
    } rows[] = {
        {"one of each", korva("K-1") + connection, L"K-1", L"10.0.0.1"},
        {"strangers among them",
         "text" + stranger + "<!-- comment -->" + korva("K-1") + stranger + connection + stranger, L"K-1",
         L"10.0.0.1"},
        {"two descriptions", korva("K-1") + connection + korva("K-2"), L"K-2", L"10.0.0.1"},
        {"two families", korva("X", 5) + connection + korva("K-1"), L"K-1", L"10.0.0.1"},
        {"two connections", connection + korva("K-1") + connectionTo("10.0.0.2"), L"K-1", L"10.0.0.2"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const DevicePointer device = build(row.children);
        expectCamera(device.get(), row.serialNumber, row.address, 32769, -1);
        EXPECT_THAT(world.communicators, SizeIs(1)) << "one that is replaced goes";
    }
    EXPECT_THAT(world.calls.of("connect"), IsEmpty());
}

TEST_F(BuilderFromXml, BuildsNothingOfAnythingElse) {
    std::vector<std::string> descriptions{"",
                                          connection,
                                          korva("K-1"),
                                          "<inner>" + korva("K-1") + connection + "</inner>",
                                          "<CameraInfo/>" + connection,
                                          korva("K-1") + connection + korva("X", 5)};
    for (const int type : {0, 5, 7, -6})
        descriptions.push_back(korva("X", type) + connection);
    for (const std::string name : {"camerainfo", "CameraInfoX", "CameraInf", "CAMERAINFO", "k:CameraInfo"})
        descriptions.push_back("<" + name + "><cameraTypeEnum>6</cameraTypeEnum></" + name + ">" +
                               connection);
    for (const std::string name : {"Connection", "connections", "connectio", "CONNECTION"})
        descriptions.push_back(korva("K-1") + "<" + name + "/>");
    for (const std::string& description : descriptions)
        EXPECT_EQ(build(description), nullptr) << description;
    world.calls.fail("buildCommunicator", 0); // the host makes none of it
    EXPECT_EQ(build(korva("K-1") + connection), nullptr);
    EXPECT_EQ(builder.build(static_cast<xercesc::DOMNode*>(nullptr)), nullptr);
    EXPECT_THAT(log.texts(), IsEmpty());
}

// From a template.

struct BuilderFromTemplate : CameraBuilder {
    const PosixEthernetCommunicator communicator{L"10.0.0.5", 40000, 250};
    const CommunicatorTemplate connectionTemplate{&communicator};

    DevicePointer build(int type) const {
        CameraInfo info;
        info.setCameraTypeEnum(type);
        info.setSerialNumber(L"K-1");
        return DevicePointer(
            builder.build(NativeCameraTemplate(getKorvaCameraType(), info, connectionTemplate)));
    }
};

TEST_F(BuilderFromTemplate, BuildsTheCameraWithTheTemplatesConnection) {
    expectCamera(build(6).get(), L"K-1", L"10.0.0.5", 40000, 250);
}

TEST_F(BuilderFromTemplate, BuildsNothingOfAnotherFamilyOrKindOrIfTheHostThrowsADeviceExceptionOrABadCast) {
    world.calls.clear();
    for (const int type : {0, 5, 7})
        EXPECT_EQ(build(type), nullptr) << type;
    const DeviceTemplate other(getKorvaCameraType(), connectionTemplate);
    EXPECT_EQ(DevicePointer(builder.build(other)), nullptr);
    EXPECT_THAT(world.calls.of("new"), IsEmpty());
    world.calls.throwFrom("new", std::bad_cast());
    EXPECT_EQ(build(6), nullptr);
    world.calls.throwFrom("new", DeviceException(L"none"));
    EXPECT_EQ(build(6), nullptr);
    EXPECT_THAT(log.texts(), IsEmpty());
}

// From a connection.

struct BuilderFromConnection : CameraBuilder {
    DevicePointer build(Communicator* communicator) const {
        return DevicePointer(builder.build(communicator));
    }
    DevicePointer buildFrom(const std::wstring& address = L"10.0.0.5") const {
        PosixEthernetCommunicator given(address, 32768, 250);
        return build(&given);
    }
};

TEST_F(BuilderFromConnection, IdentifiesTheCameraAndConnectsTheDeviceToTheBinaryPort) {
    for (const int port : {1, 32769}) {
        World::answerIdentification(world.at("10.0.0.5", 32768), {});
        world.calls.clear();
        PosixEthernetCommunicator given(L"10.0.0.5", port, 250);
        const DevicePointer device = build(&given);
        expectCamera(device.get(), L"K-0042", L"10.0.0.5", 32769, -1);
        EXPECT_THAT(world.calls.of("SendARP"), SizeIs(1)) << "as without a MAC";
        EXPECT_NE(device->getCommunicator(), &given);
        EXPECT_THAT(world.calls.of("connect"), ElementsAre("connect 10.0.0.5:32768 5000"));
        EXPECT_TRUE(world.communicators.contains(&given)) << "the given connection is left alone";
    }
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(BuilderFromConnection, WarnsWhereThereIsNoneOrOneOfAnotherKind) {
    TestSupport::ScriptedCommunicator other;
    IdentificationTests::OtherEthernet otherEthernet;
    const LogText warning = warn("Ethernet communicator needed to build Korva camera");
    EXPECT_EQ(build(nullptr), nullptr);
    EXPECT_EQ(build(&other), nullptr);
    EXPECT_EQ(build(&otherEthernet), nullptr);
    EXPECT_THAT(log.texts(), ElementsAre(warning, warning, warning));
    EXPECT_EQ(log.lines().front().method, "build");
    EXPECT_EQ(log.lines().front().line, 37);
    EXPECT_THAT(world.calls.lines(), IsEmpty());
}

TEST_F(BuilderFromConnection, LogsACameraThatCannotBeIdentifiedOrConnected) {
    const std::string address = "k\xC3\xB6rva.local"; // which is no ASCII
    const struct {
        const char* call;
        int occurrence;
        DeviceException failure;
        std::string reason;
    } rows[] = {
        {"none", 1, DeviceException(L""),
         "Couldn't get any version info from Korva device at: " + address + ".. ignore it"},
        {"connect", 1, DeviceException(L"na\u00efve", L"Client.cpp", 0), "na\u00efve @ Client.cpp:0"},
        {"connect", 1, DeviceException(L"broken", L"Client.cpp", -1), "broken"},
        {"createEthernetCommunicator", 2, DeviceException(L"no more"), "no more"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.reason);
        World::Peer& camera = world.at(address, 32768);
        camera.forget();
        if (row.occurrence == 2)
            World::answerIdentification(camera, {});
        world.calls.clear();
        world.calls.throwFrom(row.call, row.failure, row.occurrence);
        EXPECT_EQ(buildFrom(L"k\u00f6rva.local"), nullptr);
        ASSERT_GE(log.lines().size(), 2u);
        const auto lines = log.lines().end() - 2;
        EXPECT_EQ(lines[0].level, "ERROR");
        EXPECT_EQ(lines[0].message, "DeviceException while determining camera info.");
        EXPECT_EQ(lines[0].line, 46);
        EXPECT_EQ(lines[1].level, "ERROR");
        EXPECT_EQ(lines[1].message, "    " + row.reason);
        EXPECT_EQ(lines[1].line, 47);
        world.calls.failNoMore();
    }
    EXPECT_THAT(log.troubles(), SizeIs(8));
    log.turnOff();
    EXPECT_EQ(buildFrom(), nullptr);
    EXPECT_EQ(build(nullptr), nullptr);
}

} // namespace
