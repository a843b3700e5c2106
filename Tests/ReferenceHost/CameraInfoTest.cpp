#include "VantrelCommon/CameraInfo.h"

#include "FakeCamera.h"
#include "ReferenceHost/DeviceDescription.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>

using ReferenceHost::DeviceDescription;
using Tests::filledInfo;

namespace {

CameraInfo readFrom(const std::string& xml) {
    return CameraInfo(DeviceDescription(xml).root());
}

/// The text of a model that was written and read again.
std::wstring modelAfterRoundTrip(const std::wstring& model) {
    CameraInfo info;
    info.setModel(model);
    return readFrom(info.toXml()).getModel();
}

std::string reasonFor(const std::string& element, const std::string& text) {
    return Tests::reasonOf(
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

TEST(CameraInfo, KeepsEachFieldApart) {
    EXPECT_EQ(CameraInfo().getCameraTypeEnum() + CameraInfo().getResolutionX(), 0);
    EXPECT_EQ(CameraInfo().getModel(), L"");
    const CameraInfo info = filledInfo();
    EXPECT_EQ(info.getCameraTypeEnum(), 6);
    EXPECT_EQ(info.getIpAddress(), L"ip");
    EXPECT_EQ(info.getFW(), L"fw");
    EXPECT_EQ(info.getMacAddress(), L"mac");
    EXPECT_EQ(info.getResolutionX(), -3);
    EXPECT_EQ(info.getResolutionY(), 2147483647);
    EXPECT_EQ(info.getModel(), L"model");
    EXPECT_EQ(info.getSerialNumber(), L"serial");
    EXPECT_EQ(info.getDefaultGateway(), L"gateway");
    EXPECT_EQ(info.getSubnetMask(), L"mask");
}

TEST(CameraInfo, IsWrittenReadCopiedAndMovedWhole) {
    CameraInfo info = filledInfo();
    EXPECT_EQ(info.toXml(2), filledXml);
    EXPECT_EQ(readFrom(info.toXml()).toXml(2), filledXml);
    CameraInfo copy(info);
    CameraInfo assigned;
    assigned = copy;
    EXPECT_EQ(assigned.toXml(2), filledXml);
    assigned = CameraInfo();
    assigned = std::move(copy);
    EXPECT_EQ(assigned.toXml(2), filledXml);
    EXPECT_EQ(CameraInfo(std::move(info)).toXml(2), filledXml);
}

TEST(CameraInfo, KeepsEveryTextThatXmlCanHold) {
    for (const wchar_t* text :
         {L"<a href=\"b\">&amp;'", L"]]>", L"<![CDATA[x]]>", L"<!-- x -->", L"<?x?>", L"&#0;", L"&lol;",
          L"  blanks before and behind  ", L"tab\tline\nreturn\rboth\r\n", L"\u00E4\u4E2D\U0001F600",
          L"\uFFFD", L"\u0085\u2028", L"\U0010FFFF", L"", L" "})
        EXPECT_EQ(modelAfterRoundTrip(text), text);
}

TEST(CameraInfo, ReplacesWhatXmlCannotHoldAndKeepsAVeryLongText) {
    const std::wstring hostile{L'a', 0, 1, 8, 11, 12, 14, 31, 0xFFFE, 0xFFFF, 0xD800, 0xDFFF, L'b'};
    EXPECT_EQ(modelAfterRoundTrip(hostile), L"a" + std::wstring(11, 0xFFFD) + L"b");
    const std::wstring text = std::wstring(200'000, L'x') + L"<end>";
    EXPECT_EQ(modelAfterRoundTrip(text), text);
}

TEST(CameraInfo, ReadsItsFieldsInAnyOrderAndSkipsOthers) {
    const CameraInfo info = readFrom("<CameraInfo><model>m</model>text<other>o</other><Model>M</Model>"
                                     "<!-- c --><cameraTypeEnum> \r\n\t6 </cameraTypeEnum></CameraInfo>");
    EXPECT_EQ(info.getModel(), L"m");
    EXPECT_EQ(info.getCameraTypeEnum(), 6);
}

TEST(CameraInfo, TakesTheLastOfTwoFieldsOfOneNameAndTextInPieces) {
    EXPECT_EQ(readFrom("<CameraInfo/>").toXml(), CameraInfo().toXml());
    EXPECT_EQ(readFrom("<CameraInfo><model>a</model><model>b</model></CameraInfo>").getModel(), L"b");
    EXPECT_EQ(
        readFrom("<CameraInfo><model>a<![CDATA[<b>]]>&#99;<!-- no -->d</model></CameraInfo>").getModel(),
        L"a<b>cd");
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
