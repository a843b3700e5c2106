#include "ReferenceHost/DeviceDescription.h"

#include "FakeCamera.h"
#include "Support/TemporaryFolder.h"

#include <arpa/inet.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

using ReferenceHost::DeviceDescription;
using testing::StartsWith;

namespace {

const std::string refused = "The device description is refused: ";
const std::string documentType = refused + "it has a document type";
const std::string tooDeep = refused + "its elements are nested too deeply";
const std::string tooLarge = refused + "it has more than 1048576 bytes";

std::string reasonFor(const std::string& xml) {
    return Tests::reasonOf([&] { const DeviceDescription description(xml); });
}

std::u16string rootTextOf(const std::string& xml) {
    return DeviceDescription(xml).root()->getTextContent();
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

/// A TCP port of loopback that notices who knocks.
class WatchedPort {
public:
    WatchedPort() {
        address_.sin_family = AF_INET;
        address_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address_;
        auto* const generic = reinterpret_cast<sockaddr*>(&address_);
        EXPECT_EQ(bind(listener_, generic, size), 0);
        EXPECT_EQ(listen(listener_, 8), 0);
        EXPECT_EQ(getsockname(listener_, generic, &size), 0);
    }
    WatchedPort(const WatchedPort&) = delete;
    WatchedPort& operator=(const WatchedPort&) = delete;
    ~WatchedPort() { close(listener_); }

    std::string url() const { return "http://127.0.0.1:" + std::to_string(ntohs(address_.sin_port)) + "/a"; }
    bool wasKnockedAt() const {
        pollfd watched{listener_, POLLIN, 0};
        return poll(&watched, 1, 0) != 0;
    }
    void knock() const {
        const int knocker = socket(AF_INET, SOCK_STREAM, 0);
        EXPECT_EQ(connect(knocker, reinterpret_cast<const sockaddr*>(&address_), sizeof address_), 0);
        close(knocker);
    }

private:
    int listener_ = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address_{};
};

/// ASCII as UTF-16, the most significant byte first, with its mark.
std::string utf16(const std::string& ascii) {
    std::string wide = "\xFE\xFF";
    for (const char letter : ascii)
        wide += {'\0', letter};
    return wide;
}

struct DescriptionFile : testing::Test {
    void write(const std::string& contents) const { std::ofstream(file, std::ios::binary) << contents; }
    /// Behind the file's name, which every reason begins with.
    std::string reason() const {
        const std::string reason = Tests::reasonOf([&] { DeviceDescription::fromFile(file); });
        EXPECT_THAT(reason, StartsWith(file.string() + ": "));
        return reason.substr(std::min(reason.size(), file.string().size() + 2));
    }

    const TestSupport::TemporaryFolder folder;
    const std::filesystem::path file = folder.path() / "description.xml";
};

} // namespace

TEST(DeviceDescription, GivesTheRootElement) {
    const DeviceDescription description("<?xml version='1.0'?><!-- c --><Device><a/></Device>");
    EXPECT_EQ(description.root()->getNodeName(), std::u16string(u"Device"));
    EXPECT_EQ(description.root()->getFirstChild()->getNodeName(), std::u16string(u"a"));
}

TEST(DeviceDescription, KeepsItsRootWhenItMoves) {
    DeviceDescription first("<first/>");
    xercesc::DOMNode* const root = first.root();
    DeviceDescription second(std::move(first));
    EXPECT_EQ(second.root(), root);
    second = DeviceDescription("<third/>");
    EXPECT_EQ(second.root()->getNodeName(), std::u16string(u"third"));
}

TEST(DeviceDescription, ReadsXmlsOwnEntitiesAndTheEncodingsThatItIsToldOf) {
    EXPECT_EQ(rootTextOf("<a>&lt;&gt;&amp;&quot;&apos;&#65;&#x1F600;</a>"), u"<>&\"'A\U0001F600");
    for (const char* xml : {"<a>\xC3\xA4</a>", "\xEF\xBB\xBF<a>\xC3\xA4</a>",
                            "<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE4</a>"})
        EXPECT_EQ(rootTextOf(xml), u"\u00E4") << xml;
    EXPECT_EQ(rootTextOf(utf16("<a>b</a>")), u"b");
}

TEST(DeviceDescription, RefusesWhatIsNotWellFormed) {
    for (const char* xml :
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
          std::string("<!DOCTYPE a PUBLIC 'a' 'http://127.0.0.1:1/a.dtd'><a/>"), utf16(withEntity),
          "<?xml version='1.0' encoding='ISO-8859-1'?>" + withEntity})
        EXPECT_EQ(reasonFor(xml), documentType) << xml;
}

TEST(DeviceDescription, RefusesABillionLaughs) {
    std::string xml = "<!DOCTYPE l [<!ENTITY l0 'lol'>";
    for (int i = 1; i < 10; ++i) {
        const std::string inner = "&l" + std::to_string(i - 1) + ";";
        xml += "<!ENTITY l" + std::to_string(i) + " '" + repeated(10, inner) + "'>";
    }
    EXPECT_EQ(reasonFor(xml + "]><l>&l9;</l>"), documentType);
}

TEST(DeviceDescription, RefusesAnExternalEntity) {
    for (const char* xml : {"<!DOCTYPE a [<!ENTITY x SYSTEM 'file:///etc/hostname'>]><a>&x;</a>",
                            "<!DOCTYPE a [<!ENTITY % x SYSTEM 'file:///etc/hostname'> %x;]><a/>"})
        EXPECT_EQ(reasonFor(xml), documentType) << xml;
}

TEST(DeviceDescription, IncludesNothing) {
    const DeviceDescription description("<a xmlns:xi='http://www.w3.org/2001/XInclude'>"
                                        "<xi:include href='file:///etc/hostname' parse='text'/></a>");
    EXPECT_EQ(description.root()->getTextContent(), std::u16string());
    EXPECT_EQ(description.root()->getFirstChild()->getNodeName(), std::u16string(u"xi:include"));
}

TEST(DeviceDescription, AsksNobodyOnTheNetwork) {
    const WatchedPort port;
    const std::string url = "'" + port.url() + "'";
    const std::string instance = "<a xmlns:i='http://www.w3.org/2001/XMLSchema-instance' ";
    for (const std::string& xml : {
             "<!DOCTYPE a SYSTEM " + url + "><a/>",
             "<!DOCTYPE a PUBLIC 'a' " + url + "><a/>",
             "<!DOCTYPE a [<!ENTITY x SYSTEM " + url + ">]><a>&x;</a>",
             "<!DOCTYPE a [<!ENTITY % x SYSTEM " + url + "> %x;]><a/>",
             "<?xml-stylesheet type='text/xsl' href=" + url + "?><a/>",
             "<a xmlns:xi='http://www.w3.org/2001/XInclude'><xi:include href=" + url + "/></a>",
             instance + "i:noNamespaceSchemaLocation=" + url + "/>",
             instance + "i:schemaLocation='a " + port.url() + "' xmlns='a'/>",
         }) {
        static_cast<void>(reasonFor(xml));
        EXPECT_FALSE(port.wasKnockedAt()) << xml;
    }
    port.knock();
    EXPECT_TRUE(port.wasKnockedAt()) << "the test would not notice";
}

TEST(DeviceDescription, BoundsItsSize) {
    const auto ofSize = [](std::size_t size) { return "<a>" + std::string(size - 7, 'x') + "</a>"; };
    EXPECT_EQ(reasonFor(ofSize(DeviceDescription::mostBytes)), "");
    EXPECT_EQ(reasonFor(ofSize(DeviceDescription::mostBytes + 1)), tooLarge);
}

TEST(DeviceDescription, BoundsItsDepth) {
    EXPECT_EQ(reasonFor(nested(DeviceDescription::mostDepth)), "");
    EXPECT_EQ(reasonFor(nested(DeviceDescription::mostDepth + 1)), tooDeep);
    EXPECT_EQ(reasonFor(repeated(100'000, "<a>")), tooDeep);
}

TEST(DeviceDescription, CountsDepthAnewForEachBranch) {
    const std::string branches = repeated(100, "<a><b/></a>") + repeated(100, "<c/>");
    const int depthLeft = DeviceDescription::mostDepth - 1;
    EXPECT_EQ(reasonFor("<r>" + branches + nested(depthLeft) + "</r>"), "");
    EXPECT_EQ(reasonFor("<r>" + branches + nested(depthLeft + 1) + "</r>"), tooDeep);
}

TEST(DeviceDescription, BoundsTheNumberOfItsElements) {
    const auto ofElements = [](int count) { return "<r>" + repeated(count - 1, "<a/>") + "</r>"; };
    EXPECT_EQ(reasonFor(ofElements(DeviceDescription::mostElements)), "");
    EXPECT_EQ(reasonFor(ofElements(DeviceDescription::mostElements + 1)),
              refused + "it has too many elements");
}

TEST(DeviceDescription, BoundsTheNumberOfAttributes) {
    const auto withAttributes = [](int count) {
        std::string xml = "<a";
        for (int i = 0; i < count; ++i)
            xml += " b" + std::to_string(i) + "=''";
        return xml + "/>";
    };
    EXPECT_EQ(reasonFor(withAttributes(DeviceDescription::mostAttributes)), "");
    EXPECT_EQ(reasonFor(withAttributes(DeviceDescription::mostAttributes + 1)),
              refused + "an element has too many attributes");
}

TEST_F(DescriptionFile, IsRead) {
    write("<Device/>");
    EXPECT_EQ(DeviceDescription::fromFile(file).root()->getNodeName(), std::u16string(u"Device"));
}

TEST_F(DescriptionFile, ThatIsMissingOrAFolderIsRefused) {
    EXPECT_EQ(reason(), refused + "the file cannot be read");
    std::filesystem::create_directory(file);
    EXPECT_EQ(reason(), refused + "the file cannot be read");
}

TEST_F(DescriptionFile, ThatIsTooLargeIsRefusedWithoutReadingItAll) {
    write("<a>");
    std::filesystem::resize_file(file, std::uintmax_t{1} << 40);
    EXPECT_EQ(reason(), tooLarge);
}

TEST_F(DescriptionFile, ThatIsNotWellFormedIsNamed) {
    write("");
    EXPECT_THAT(reason(), StartsWith(refused + "line 1"));
}
