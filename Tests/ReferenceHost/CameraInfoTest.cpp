#include "VantrelCommon/CameraInfo.h"

#include "Communicator/DeviceException.h"
#include "FakeCamera.h"
#include "ReferenceHost/DeviceDescription.h"
#include "Support/Thrown.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>

using Tests::filledInfo;

namespace {

CameraInfo readFrom(const std::string& xml) {
    return CameraInfo(ReferenceHost::DeviceDescription(xml).root());
}

/// The text of a model that was written and read again.
std::wstring modelAfterRoundTrip(const std::wstring& model) {
    CameraInfo info;
    info.setModel(model);
    return readFrom(info.toXml()).getModel();
}

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

} // namespace

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
    const std::wstring hostile{L'a', 0, 1, 8, 11, 12, 14, 31, 0xFFFE, 0xFFFF, 0xD800, 0xDFFF, L'b'};
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
