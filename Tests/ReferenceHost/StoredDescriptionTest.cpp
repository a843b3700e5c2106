// What is stored of a camera: the document, what it says of the camera, and the camera's connection.

#include "ReferenceHost/DeviceDescription.h"

#include "Communicator/ClientFactory.h"
#include "Communicator/Connector.h"
#include "Communicator/DeviceException.h"
#include "FakeCamera.h"
#include "NativeCameraControl/NativeCameraTemplate.h"
#include "Support/LoopbackPeer.h"
#include "Support/ScriptedCommunicator.h"
#include "Support/TemporaryFolder.h"
#include "Support/Thrown.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <memory>
#include <string>
#include <tuple>
#include <utility>

using ReferenceHost::DeviceDescription;
using testing::StartsWith;
using Tests::filledInfo;

namespace {

const std::string refused = "The device description is refused: ";
const std::string tooDeep = refused + "its elements are nested too deeply";
const std::string tooLarge = refused + "it has more than 1048576 bytes";

std::string reasonFor(const std::string& xml) {
    return TestSupport::thrownBy<DeviceException>([&] { const DeviceDescription description(xml); });
}

std::u16string nameOf(const DeviceDescription& description) {
    return description.root()->getNodeName();
}

std::string repeated(int count, const std::string& text) {
    std::string all;
    for (int i = 0; i < count; ++i)
        all += text;
    return all;
}

/// `depth` elements within each other.
std::string nested(int depth) {
    return repeated(depth, "<a>") + repeated(depth, "</a>");
}

/// ASCII as UTF-16, the most significant byte first, with its mark.
std::string utf16(const std::string& ascii) {
    std::string wide = "\xFE\xFF";
    for (const char letter : ascii)
        wide += {'\0', letter};
    return wide;
}

/// Entities of which each holds the one before ten times.
std::string billionLaughs() {
    std::string xml = "<!DOCTYPE l [<!ENTITY l0 'lol'>";
    for (int i = 1; i < 10; ++i)
        xml +=
            "<!ENTITY l" + std::to_string(i) + " '" + repeated(10, "&l" + std::to_string(i - 1) + ";") + "'>";
    return xml + "]><l>&l9;</l>";
}

CameraInfo readFrom(const std::string& xml) {
    return CameraInfo(DeviceDescription(xml).root());
}

/// The text of a model that was written and read again.
std::wstring modelAfterRoundTrip(const std::wstring& model) {
    CameraInfo info;
    info.setModel(model);
    return readFrom(info.toXml()).getModel();
}

/// Why a camera is not read that has this element.
std::string reasonFor(const std::string& element, const std::string& text) {
    return TestSupport::thrownBy<DeviceException>(
        [&] { readFrom("<CameraInfo><" + element + ">" + text + "</" + element + "></CameraInfo>"); });
}

const std::string filledXml = "  <CameraInfo>\n"
                              "    <cameraTypeEnum>6</cameraTypeEnum>\n"
                              "    <resolutionX>-3</resolutionX>\n"
                              "    <resolutionY>2147483647</resolutionY>\n"
                              "    <ipAddress>ip</ipAddress>\n"
                              "    <firmware>fw</firmware>\n"
                              "    <macAddress>mac</macAddress>\n"
                              "    <model>model</model>\n"
                              "    <serialNumber>serial</serialNumber>\n"
                              "    <defaultGateway>gateway</defaultGateway>\n"
                              "    <subnetMask>mask</subnetMask>\n"
                              "  </CameraInfo>\n";

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
        const DeviceDescription description("<connection>" + children + "</connection>");
        result = told(*std::unique_ptr<Communicator>(ClientFactory::buildCommunicator(description.root())));
    });
    return result + refusal;
}

} // namespace

TEST(DeviceDescription, GivesTheRootElementWhereverItMoves) {
    DeviceDescription first("<?xml version='1.0'?><!-- c --><first><a/></first>");
    EXPECT_EQ(nameOf(first), u"first");
    EXPECT_EQ(first.root()->getFirstChild()->getNodeName(), std::u16string(u"a"));
    xercesc::DOMNode* const root = first.root();
    DeviceDescription second(std::move(first));
    EXPECT_EQ(second.root(), root);
    second = DeviceDescription("<third/>");
    EXPECT_EQ(nameOf(second), u"third");
}

TEST(DeviceDescription, ReadsXmlsOwnEntitiesAndTheEncodingsThatItIsToldOfAndIncludesNothing) {
    for (const auto& [xml, text] : {
             std::pair<std::string, std::u16string>("<a>&lt;&gt;&amp;&quot;&apos;&#65;&#x1F600;</a>",
                                                    u"<>&\"'A\U0001F600"),
             {"<a>\xC3\xA4</a>", u"\u00E4"},
             {"\xEF\xBB\xBF<a>\xC3\xA4</a>", u"\u00E4"},
             {"<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE4</a>", u"\u00E4"},
             {utf16("<a>b</a>"), u"b"},
             {"<a xmlns:xi='http://www.w3.org/2001/XInclude'>"
              "<xi:include href='file:///etc/hostname' parse='text'/></a>",
              u""},
         })
        EXPECT_EQ(DeviceDescription(xml).root()->getTextContent(), text) << xml;
}

TEST(DeviceDescription, RefusesWhatIsNotWellFormed) {
    for (const std::string xml :
         {"", " ", "x", "<a>", "<a></b>", "<a/><b/>", "<a b=1/>", "<a>&unknown;</a>", "<a>&#0;</a>",
          "<a>\x01</a>", "<a>\xC3</a>", "<a>\xED\xA0\x80</a>", "<a", "<a b='' b=''/>", "</a>",
          "<?xml version='1.x'?><a/>", "<?xml version='1.0' encoding='no-such'?><a/>"})
        EXPECT_NE(reasonFor(xml), "") << xml;
    EXPECT_NE(reasonFor(std::string("<a>\0</a>", 8)), "");
    EXPECT_THAT(reasonFor("<a>\n  <b></a>"), StartsWith(refused + "line 2, column "));
}

TEST(DeviceDescription, RefusesADocumentTypeInEveryEncoding) {
    const std::string withEntity = "<!DOCTYPE a [<!ENTITY x 'y'>]><a>&x;</a>";
    for (const std::string& xml :
         {std::string("<!DOCTYPE a><a/>"), std::string("<!DOCTYPE a [<!ELEMENT a ANY>]><a/>"),
          std::string("<!DOCTYPE a SYSTEM 'file:///etc/hostname'><a/>"),
          std::string("<!DOCTYPE a PUBLIC 'a' 'http://127.0.0.1:1/a.dtd'><a/>"),
          std::string("<!DOCTYPE a [<!ENTITY x SYSTEM 'file:///etc/hostname'>]><a>&x;</a>"),
          std::string("<!DOCTYPE a [<!ENTITY % x SYSTEM 'file:///etc/hostname'> %x;]><a/>"),
          utf16(withEntity), "<?xml version='1.0' encoding='ISO-8859-1'?>" + withEntity, billionLaughs()})
        EXPECT_EQ(reasonFor(xml), refused + "it has a document type") << xml;
}

TEST(DeviceDescription, AsksNobodyOnTheNetwork) {
    std::string heard;
    {
        const TestSupport::LoopbackPeer peer([&](TestSupport::PeerConnection& first) {
            heard = first.receive(1);
            first.close();
        });
        const std::string bare = "http://127.0.0.1:" + std::to_string(peer.port()) + "/a";
        const std::string url = "'" + bare + "'";
        const std::string instance = "<a xmlns:i='http://www.w3.org/2001/XMLSchema-instance' ";
        for (const std::string& xml : {
                 "<!DOCTYPE a SYSTEM " + url + "><a/>",
                 "<!DOCTYPE a PUBLIC 'a' " + url + "><a/>",
                 "<!DOCTYPE a [<!ENTITY x SYSTEM " + url + ">]><a>&x;</a>",
                 "<!DOCTYPE a [<!ENTITY % x SYSTEM " + url + "> %x;]><a/>",
                 "<?xml-stylesheet type='text/xsl' href=" + url + "?><a/>",
                 "<a xmlns:xi='http://www.w3.org/2001/XInclude'><xi:include href=" + url + "/></a>",
                 instance + "i:noNamespaceSchemaLocation=" + url + "/>",
                 instance + "i:schemaLocation='a " + bare + "' xmlns='a'/>",
             })
            static_cast<void>(reasonFor(xml));
        PosixEthernetCommunicator client(L"127.0.0.1", peer.port(), -1);
        const Connector hold(client);
        client.writeBytes("t", 1, false, 1);
        char nothing = 0;
        EXPECT_THROW(client.readBytes(&nothing, 1, 1, 5000), DeviceException) << "closed by the peer";
    }
    EXPECT_EQ(heard, "t") << "the test's own connection is the first";
}

TEST(DeviceDescription, BoundsItsSizeDepthElementsAndAttributes) {
    const auto ofSize = [](std::size_t size) { return "<a>" + std::string(size - 7, 'x') + "</a>"; };
    const auto ofElements = [](int count) { return "<r>" + repeated(count - 1, "<a/>") + "</r>"; };
    const auto withAttributes = [](int count) {
        std::string xml = "<a";
        for (int i = 0; i < count; ++i)
            xml += " b" + std::to_string(i) + "=''";
        return xml + "/>";
    };
    const auto behindBranches = [](int depth) {
        return "<r>" + repeated(100, "<a><b/></a>") + repeated(100, "<c/>") + nested(depth - 1) + "</r>";
    };
    using Limits = DeviceDescription;
    for (const auto& [most, tooMuch, reason] : {
             std::tuple(ofSize(Limits::mostBytes), ofSize(Limits::mostBytes + 1), tooLarge),
             std::tuple(nested(Limits::mostDepth), nested(Limits::mostDepth + 1), tooDeep),
             std::tuple(behindBranches(Limits::mostDepth), behindBranches(Limits::mostDepth + 1), tooDeep),
             std::tuple(std::string("<a/>"), repeated(100'000, "<a>"), tooDeep),
             std::tuple(ofElements(Limits::mostElements), ofElements(Limits::mostElements + 1),
                        refused + "it has too many elements"),
             std::tuple(withAttributes(Limits::mostAttributes), withAttributes(Limits::mostAttributes + 1),
                        refused + "an element has too many attributes"),
         }) {
        EXPECT_EQ(reasonFor(most), "");
        EXPECT_EQ(reasonFor(tooMuch), reason);
    }
}

TEST(DeviceDescription, OfAFileIsReadOrRefusedByItsName) {
    const TestSupport::TemporaryFolder folder;
    const std::filesystem::path file = folder.path() / "description.xml";
    const auto reason = [&] {
        return TestSupport::thrownBy<DeviceException>([&] { DeviceDescription::fromFile(file); });
    };
    const auto write = [&](const char* contents) { std::ofstream(file, std::ios::binary) << contents; };
    EXPECT_EQ(reason(), file.string() + ": " + refused + "the file cannot be read");
    write("<Device/>");
    EXPECT_EQ(nameOf(DeviceDescription::fromFile(file)), u"Device");
    write("");
    EXPECT_THAT(reason(), StartsWith(file.string() + ": " + refused + "line 1"));
    write("<a>");
    std::filesystem::resize_file(file, 1'048'577);
    EXPECT_EQ(reason(), file.string() + ": " + tooLarge);
    std::filesystem::remove(file);
    std::filesystem::create_directory(file);
    EXPECT_EQ(reason(), file.string() + ": " + refused + "the file cannot be read");
}

TEST(DeviceDescription, OfAFileOfATebibyteIsReadNoFurtherThanMayBe) {
    const TestSupport::TemporaryFolder folder;
    const std::filesystem::path file = folder.path() / "description.xml";
    std::ofstream(file) << "<a>";
    std::filesystem::resize_file(file, std::uintmax_t{1} << 40);
    EXPECT_EQ(TestSupport::thrownBy<DeviceException>([&] { DeviceDescription::fromFile(file); }),
              file.string() + ": " + tooLarge);
}

TEST(CameraInfo, IsWrittenReadCopiedAndMovedWhole) {
    EXPECT_EQ(CameraInfo().getCameraTypeEnum() + CameraInfo().getResolutionX(), 0);
    const CameraInfo info = filledInfo();
    EXPECT_EQ(info.toXml(2), filledXml);
    EXPECT_EQ(readFrom(info.toXml()).toXml(2), filledXml);
    CameraInfo copy(info);
    CameraInfo assigned;
    assigned = copy;
    EXPECT_EQ(assigned.toXml(2), filledXml);
    EXPECT_EQ(copy.toXml(2), filledXml);
    CameraInfo moved(std::move(assigned));
    copy = CameraInfo();
    copy = std::move(moved);
    EXPECT_EQ(copy.toXml(2), filledXml);
}

TEST(CameraInfo, KeepsEveryTextThatXmlCanHold) {
    for (const std::wstring text :
         {L"<a href=\"b\">&amp;'", L"]]>", L"<![CDATA[x]]>", L"<!-- x -->", L"<?x?>", L"&#0;", L"&lol;",
          L"  blanks before and behind  ", L"tab\tline\nreturn\rboth\r\n", L"\u00E4\u4E2D\U0001F600",
          L"\uFFFD", L"\u0085\u2028", L"\U0010FFFF", L"", L" "})
        EXPECT_EQ(modelAfterRoundTrip(text), text);
    const std::wstring longText = std::wstring(200'000, L'x') + L"<end>";
    EXPECT_EQ(modelAfterRoundTrip(longText), longText);
    const std::wstring hostile{L'a', 0, 1, 8, 11, 12, 14, 31, 0xFFFE, 0xFFFF, 0xDFFF, 0xD800, L'b'};
    EXPECT_EQ(modelAfterRoundTrip(hostile), L"a" + std::wstring(11, 0xFFFD) + L"b") << "and replaces others";
}

TEST(CameraInfo, TakesTheLastFieldOfANameInAnyOrderAndSkipsOthers) {
    for (const auto& [fields, model] : {
             std::pair("<Model>M</Model>text<other>o</other>", L""),
             std::pair("<model>m</model><!-- c --><cameraTypeEnum> \r\n\t6 </cameraTypeEnum>", L"m"),
             std::pair("<model>a</model><model>b</model>", L"b"),
             std::pair("<model>a<![CDATA[<b>]]>&#99;<!-- no -->d</model>", L"a<b>cd"),
         }) {
        const CameraInfo info = readFrom(std::string("<CameraInfo>") + fields + "</CameraInfo>");
        EXPECT_EQ(info.getModel(), model);
        EXPECT_EQ(info.getCameraTypeEnum(), model == std::wstring(L"m") ? 6 : 0);
    }
}

TEST(CameraInfo, NamesANumberThatIsNoneAndNoMoreThanItsBeginning) {
    EXPECT_THROW(CameraInfo(nullptr), DeviceException);
    EXPECT_EQ(reasonFor("cameraTypeEnum", "six"),
              "The description's element \"cameraTypeEnum\" holds no number: \"six\"");
    EXPECT_LT(reasonFor("cameraTypeEnum", std::string(100'000, 'x')).size(), 200u);
    for (const char* number : {"", " ", "x", "6x", "6 6", "0x6", "6.0", "2147483648", "-2147483649", "+6",
                               "-", "99999999999999999999"})
        EXPECT_NE(reasonFor("resolutionX", number), "") << number;
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
