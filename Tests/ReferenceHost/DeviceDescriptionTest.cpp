#include "ReferenceHost/DeviceDescription.h"

#include "Communicator/Connector.h"
#include "Communicator/DeviceException.h"
#include "Communicator/PosixEthernetCommunicator.h"
#include "Support/LoopbackPeer.h"
#include "Support/TemporaryFolder.h"
#include "Support/Thrown.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <string>
#include <tuple>
#include <utility>

using ReferenceHost::DeviceDescription;
using testing::StartsWith;

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

TEST(DeviceDescription, OfAFileIsReadOrRefusedByItsNameAndNoMoreOfItThanMayBe) {
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
    std::filesystem::resize_file(file, std::uintmax_t{1} << 40);
    EXPECT_EQ(reason(), file.string() + ": " + tooLarge);
    std::filesystem::remove(file);
    std::filesystem::create_directory(file);
    EXPECT_EQ(reason(), file.string() + ": " + refused + "the file cannot be read");
}
