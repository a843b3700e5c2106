#include "NativeCameraKorva/KorvaCameraBuilder.h"

#include "Communicator/DeviceException.h"
#include "Communicator/EthernetCommunicator.h"
#include "Communicator/PosixEthernetCommunicator.h"
#include "NativeCameraControl/NativeCameraTemplate.h"
#include "NativeCameraKorva/KorvaCamera.h"
#include "NativeCameraKorva/KorvaCameraLoader.h"
#include "OtherEthernet.h"
#include "ReferenceHost/DeviceDescription.h"
#include "Support/LogCapture.h"
#include "Support/LogLocation.h"
#include "Support/ScriptedCommunicator.h"
#include "World/Stage.h"

#include <gmock/gmock.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using TestSupport::LogLine;
using TestSupport::LogText;

using DevicePointer = std::unique_ptr<Device>;

/// A builder, of whose communicators none may be left.
struct CameraBuilder : ::testing::Test {
    World::Stage world;
    TestSupport::LogCapture log{"Plenar.KorvaCamera.KorvaCameraBuilder"};
    TestSupport::LogCapture identificationLog{"Plenar.KorvaCamera.KorvaCapture"};
    KorvaCameraBuilder korvaBuilder;
    const DeviceBuilder& builder = korvaBuilder;

    ~CameraBuilder() override {
        TestSupport::expectFrom(log, "KorvaCameraBuilder");
        TestSupport::expectFrom(identificationLog, "KorvaHelper");
    }

    const EthernetCommunicator& communicatorOf(const Device& device) const {
        return dynamic_cast<const EthernetCommunicator&>(*device.getCommunicator());
    }
};

CameraInfo infoOf(const Device& device) {
    return dynamic_cast<const NativeCamera&>(device).getCameraInfo();
}

// From a stored description.

std::string descriptionOf(const std::string& name, int type) {
    return "<CameraInfo><cameraTypeEnum>" + std::to_string(type) + "</cameraTypeEnum><serialNumber>" + name +
           "</serialNumber></CameraInfo>";
}

std::string korva(const std::string& name) {
    return descriptionOf(name, 6);
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

TEST_F(BuilderFromXml, BuildsTheCameraThatIsDescribed) {
    const DevicePointer device = build(korva("K-1") + connection);
    ASSERT_NE(device, nullptr);
    EXPECT_NE(dynamic_cast<KorvaCamera*>(device.get()), nullptr);
    EXPECT_EQ(infoOf(*device).getSerialNumber(), L"K-1");
    EXPECT_EQ(communicatorOf(*device).getAddress(), L"10.0.0.1");
    EXPECT_EQ(&device->getType(), &getKorvaCameraType());
    EXPECT_THAT(world.calls.of("connect"), IsEmpty());
}

TEST_F(BuilderFromXml, SkipsWhatIsNeither) {
    const std::string stranger = "<stranger/>";
    EXPECT_NE(build("text" + stranger + "<!-- comment -->" + korva("K-1") + stranger + connection + stranger),
              nullptr);
}

TEST_F(BuilderFromXml, TakesTheLastOfTwoDescriptions) {
    const DevicePointer device = build(korva("K-1") + connection + korva("K-2"));
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(infoOf(*device).getSerialNumber(), L"K-2");
}

TEST_F(BuilderFromXml, JudgesTheLastOfTwoDescriptions) {
    EXPECT_EQ(build(korva("K-1") + connection + descriptionOf("X", 5)), nullptr);
    EXPECT_NE(build(descriptionOf("X", 5) + connection + korva("K-1")), nullptr);
}

TEST_F(BuilderFromXml, TakesTheLastOfTwoConnectionsAndDestroysTheFirst) {
    const DevicePointer device = build(connection + korva("K-1") + connectionTo("10.0.0.2"));
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(communicatorOf(*device).getAddress(), L"10.0.0.2");
    EXPECT_THAT(world.calls.of("delete"), ElementsAre("delete 10.0.0.1:32769"));
}

TEST_F(BuilderFromXml, ComparesNamesExactly) {
    for (const std::string name : {"camerainfo", "CameraInfoX", "CameraInf", "CAMERAINFO", "k:CameraInfo"})
        EXPECT_EQ(build("<" + name + "><cameraTypeEnum>6</cameraTypeEnum></" + name + ">" + connection),
                  nullptr)
            << name;
    for (const std::string name : {"Connection", "connections", "connectio", "CONNECTION"})
        EXPECT_EQ(build(korva("K-1") + "<" + name + "/>"), nullptr) << name;
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(BuilderFromXml, SeesTheChildrenAlone) {
    EXPECT_EQ(build("<inner>" + korva("K-1") + connection + "</inner>"), nullptr);
}

TEST_F(BuilderFromXml, BuildsNothingWithoutADescription) {
    EXPECT_EQ(build(connection), nullptr);
    EXPECT_THAT(world.calls.of("buildCommunicator"), SizeIs(1));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(BuilderFromXml, BuildsNothingWithoutAConnection) {
    EXPECT_EQ(build(korva("K-1")), nullptr);
    EXPECT_EQ(build(""), nullptr);
    world.calls.fail("buildCommunicator", 0); // the host makes none of it
    EXPECT_EQ(build(korva("K-1") + connection), nullptr);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(BuilderFromXml, BuildsNothingOfAnotherFamily) {
    for (const int type : {0, 5, 7, -6})
        EXPECT_EQ(build(descriptionOf("X", type) + connection), nullptr) << type;
    EXPECT_EQ(build("<CameraInfo/>" + connection), nullptr);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(BuilderFromXml, BuildsNothingFromNoElement) {
    EXPECT_EQ(builder.build(static_cast<xercesc::DOMNode*>(nullptr)), nullptr);
}

TEST_F(BuilderFromXml, PassesOnWhatADescriptionThrows) {
    const std::string unreadable = "<CameraInfo><cameraTypeEnum>six</cameraTypeEnum></CameraInfo>";
    EXPECT_THROW(build(connection + korva("K-1") + unreadable), DeviceException);
    EXPECT_THAT(world.calls.of("delete"), SizeIs(1));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(BuilderFromXml, PassesOnWhatAConnectionThrows) {
    EXPECT_THROW(build(korva("K-1") + connection + "<connection/>"), DeviceException);
    EXPECT_THAT(world.calls.of("delete"), SizeIs(1));
}

TEST_F(BuilderFromXml, ReadsBackWhatADeviceWrote) {
    const DevicePointer device = build(korva("K-1") + connection);
    ASSERT_NE(device, nullptr);
    const ReferenceHost::DeviceDescription description(device->toXml());
    const DevicePointer again(builder.build(description.root()));
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(infoOf(*again).toXml(), infoOf(*device).toXml());
}

// From a template.

/// A template whose communicator the test makes.
struct TestTemplate final : NativeCameraTemplate {
    using NativeCameraTemplate::NativeCameraTemplate;
    std::function<Communicator*()> onCreate;
    Communicator* createCommunicator() const override {
        return onCreate ? onCreate() : NativeCameraTemplate::createCommunicator();
    }
};

CameraInfo describedAs(int type) {
    CameraInfo info;
    info.setCameraTypeEnum(type);
    info.setSerialNumber(L"K-1");
    return info;
}

struct BuilderFromTemplate : CameraBuilder {
    static CommunicatorTemplate connectionTemplate() {
        const PosixEthernetCommunicator communicator(L"10.0.0.5", 40000, 250);
        return CommunicatorTemplate(&communicator);
    }
    static std::unique_ptr<TestTemplate> templateOf(int type) {
        return std::make_unique<TestTemplate>(getKorvaCameraType(), describedAs(type), connectionTemplate());
    }
    DevicePointer build(const DeviceTemplate& deviceTemplate) const {
        return DevicePointer(builder.build(deviceTemplate));
    }
    template <typename Exception>
    DevicePointer buildWhereCreationThrows(const Exception& exception) const {
        const auto deviceTemplate = templateOf(6);
        deviceTemplate->onCreate = [&exception]() -> Communicator* { throw exception; };
        return build(*deviceTemplate);
    }
};

TEST_F(BuilderFromTemplate, BuildsTheCameraWithTheTemplatesConnection) {
    const DevicePointer device = build(*templateOf(6));
    ASSERT_NE(device, nullptr);
    EXPECT_NE(dynamic_cast<KorvaCamera*>(device.get()), nullptr);
    EXPECT_EQ(infoOf(*device).getSerialNumber(), L"K-1");
    EXPECT_EQ(communicatorOf(*device).getAddress(), L"10.0.0.5");
    EXPECT_EQ(communicatorOf(*device).getPort(), 40000);
    EXPECT_EQ(communicatorOf(*device).getConnectTimeoutMs(), 250);
}

TEST_F(BuilderFromTemplate, BuildsNothingOfAnotherFamily) {
    for (const int type : {0, 5, 7}) {
        const auto deviceTemplate = templateOf(type);
        deviceTemplate->onCreate = []() -> Communicator* { throw std::logic_error("not to be asked for"); };
        EXPECT_EQ(build(*deviceTemplate), nullptr) << type;
    }
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(BuilderFromTemplate, BuildsNothingFromATemplateOfAnotherKind) {
    EXPECT_EQ(build(DeviceTemplate(getKorvaCameraType(), connectionTemplate())), nullptr);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(BuilderFromTemplate, BuildsNothingWhereTheHostThrowsADeviceException) {
    EXPECT_EQ(buildWhereCreationThrows(DeviceException(L"unreachable", L"Client.cpp", 12)), nullptr);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(BuilderFromTemplate, BuildsNothingWhereTheHostThrowsABadCast) {
    EXPECT_EQ(buildWhereCreationThrows(std::bad_cast()), nullptr);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(BuilderFromTemplate, PassesOnWhateverElseIsThrown) {
    EXPECT_THROW(buildWhereCreationThrows(std::runtime_error("unexpected")), std::runtime_error);
    EXPECT_THROW(buildWhereCreationThrows(TolvaneException(L"an elder")), TolvaneException);
    EXPECT_THROW(buildWhereCreationThrows(42), int);
}

// From a connection.

struct BuilderFromConnection : CameraBuilder {
    /// The camera at that address answers its identification.
    void answerQueries(const std::string& address) {
        World::answerIdentification(world.at(address, 32768), {.hardware = "XM615"});
    }
    DevicePointer build(Communicator* communicator) const {
        return DevicePointer(builder.build(communicator));
    }
    DevicePointer buildFrom(const std::wstring& address, int port) const {
        PosixEthernetCommunicator given(address, port, 250);
        return build(&given);
    }
};

TEST_F(BuilderFromConnection, IdentifiesTheCamera) {
    answerQueries("10.0.0.5");
    const DevicePointer device = buildFrom(L"10.0.0.5", 32768);
    ASSERT_NE(device, nullptr);
    EXPECT_NE(dynamic_cast<KorvaCamera*>(device.get()), nullptr);
    EXPECT_EQ(infoOf(*device).getCameraTypeEnum(), 6);
    EXPECT_EQ(infoOf(*device).getIpAddress(), L"10.0.0.5");
    EXPECT_EQ(infoOf(*device).getSerialNumber(), L"K-0042");
    EXPECT_EQ(infoOf(*device).getResolutionX(), 2748);
    EXPECT_EQ(infoOf(*device).getMacAddress(), L"");
    EXPECT_THAT(world.calls.of("SendARP"), SizeIs(1)) << "as without a MAC";
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(BuilderFromConnection, ConnectsTheDeviceToTheBinaryPortWhateverItWasGiven) {
    for (const int port : {1, 32768, 32769, 40000}) {
        answerQueries("10.0.0.5");
        const DevicePointer device = buildFrom(L"10.0.0.5", port);
        ASSERT_NE(device, nullptr);
        EXPECT_EQ(communicatorOf(*device).getAddress(), L"10.0.0.5");
        EXPECT_EQ(communicatorOf(*device).getPort(), 32769);
        EXPECT_EQ(communicatorOf(*device).getConnectTimeoutMs(), -1);
    }
}

TEST_F(BuilderFromConnection, LeavesTheGivenConnectionAlone) {
    answerQueries("10.0.0.5");
    PosixEthernetCommunicator given(L"10.0.0.5", 40000, 250);
    const DevicePointer device = build(&given);
    ASSERT_NE(device, nullptr);
    EXPECT_NE(device->getCommunicator(), &given);
    EXPECT_THAT(world.calls.of("connect"), ElementsAre("connect 10.0.0.5:32768 5000"));
    EXPECT_THAT(world.calls.of("delete 10.0.0.5:40000"), IsEmpty());
}

TEST_F(BuilderFromConnection, AsksAtAnAddressThatIsNoAscii) {
    answerQueries("k\xC3\xB6rva.local");
    EXPECT_NE(buildFrom(L"k\u00f6rva.local", 32768), nullptr);
}

TEST_F(BuilderFromConnection, WarnsWhereThereIsNone) {
    EXPECT_EQ(build(nullptr), nullptr);
    ASSERT_THAT(log.texts(),
                ElementsAre(LogText{"WARN", "Ethernet communicator needed to build Korva camera"}));
    const LogLine line = log.lines().front();
    EXPECT_EQ(line.file, "BackEnd/NativeCameraKorva/KorvaCameraBuilder");
    EXPECT_EQ(line.method, "build");
    EXPECT_EQ(line.line, 37);
}

TEST_F(BuilderFromConnection, WarnsWhereItIsOfAnotherKind) {
    TestSupport::ScriptedCommunicator other;
    IdentificationTests::OtherEthernet otherEthernet;
    EXPECT_EQ(build(&other), nullptr);
    EXPECT_EQ(build(&otherEthernet), nullptr);
    const LogText warning{"WARN", "Ethernet communicator needed to build Korva camera"};
    EXPECT_THAT(log.texts(), ElementsAre(warning, warning));
    EXPECT_THAT(world.calls.lines(), IsEmpty());
}

TEST_F(BuilderFromConnection, DependsOnNoLogging) {
    log.setLevel(log4cxx::Level::getOff());
    EXPECT_EQ(build(nullptr), nullptr);
    EXPECT_EQ(buildFrom(L"10.0.0.5", 32768), nullptr);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST_F(BuilderFromConnection, LogsACameraThatCannotBeIdentified) {
    world.at("10.0.0.5", 32768); // it says nothing
    EXPECT_EQ(buildFrom(L"10.0.0.5", 32768), nullptr);
    ASSERT_THAT(log.texts(),
                ElementsAre(LogText{"ERROR", "DeviceException while determining camera info."},
                            LogText{"ERROR", "    Couldn't get any version info from Korva device at: "
                                             "10.0.0.5.. ignore it"}));
    EXPECT_EQ(log.lines()[0].file, "BackEnd/NativeCameraKorva/KorvaCameraBuilder");
    EXPECT_EQ(log.lines()[0].line, 46);
    EXPECT_EQ(log.lines()[1].line, 47);
}

TEST_F(BuilderFromConnection, LogsTheSourceLineOfAFailureThatHasOne) {
    world.calls.throwFrom("connect", DeviceException(L"na\u00efve", L"Client.cpp", 0));
    EXPECT_EQ(buildFrom(L"10.0.0.5", 32768), nullptr);
    EXPECT_THAT(log.texts(), Contains(LogText{"ERROR", "    na\u00efve @ Client.cpp:0"}));
}

TEST_F(BuilderFromConnection, LogsTheMessageAloneOfAFailureWithoutSourceLine) {
    world.calls.throwFrom("connect", DeviceException(L"broken", L"Client.cpp", -1));
    EXPECT_EQ(buildFrom(L"10.0.0.5", 32768), nullptr);
    EXPECT_THAT(log.texts(), Contains(LogText{"ERROR", "    broken"}));
}

TEST_F(BuilderFromConnection, LogsADeviceConnectionThatCannotBeMade) {
    answerQueries("10.0.0.5");
    world.calls.throwFrom("createEthernetCommunicator", DeviceException(L"no more"), 2);
    EXPECT_EQ(buildFrom(L"10.0.0.5", 32768), nullptr);
    EXPECT_THAT(log.texts(), ElementsAre(LogText{"ERROR", "DeviceException while determining camera info."},
                                         LogText{"ERROR", "    no more"}));
}

TEST_F(BuilderFromConnection, PassesOnWhateverElseIsThrown) {
    world.calls.throwFrom("connect", std::runtime_error("unexpected"));
    EXPECT_THROW(buildFrom(L"10.0.0.5", 32768), std::runtime_error);
    world.calls.throwFrom("connect", TolvaneException(L"an elder"));
    EXPECT_THROW(buildFrom(L"10.0.0.5", 32768), TolvaneException);
    EXPECT_THAT(log.texts(), IsEmpty());
}

} // namespace
