#include "FaultMatrixBench.h"

#include "Communicator/DeviceException.h"
#include "DeviceControl/BroadcastWorkerObserver.h"
#include "NativeCameraControl/ImagingInterface.h"
#include "NativeCameraControl/NativeCameraTemplate.h"
#include "NativeCameraKorva/KorvaCameraLocator.h"
#include "NativeCameraKorva/KorvaIdentification.h"
#include "Platform/Text.h"
#include "ReferenceHost/HostControl.h"
#include "Support/SamplePictures.h"
#include "World/Calls.h"
#include "World/Network.h"

#include <gtest/gtest.h>

#include <memory>
#include <string_view>

using namespace std::chrono_literals;
using TestSupport::TimedLine;

namespace FaultMatrix {
namespace {

constexpr unsigned int mendedSeed = 50;
constexpr char knownMac[] = "00-1a-2b-3c-4d-5e";
const std::string hardwareAddress("\x00\x1a\x2b\x3c\x4d\x5e", 6);

Bytes pngOf() {
    return TestSupport::pngFile(TestSupport::uniformSamples(pictureWidth, pictureHeight, 1, 0x1010));
}

TimedLine::Camera answersOf(MatrixCamera& camera) {
    return [&camera](const Bytes& request) { return camera.answer(request); };
}

std::string behind(std::string_view text, std::string_view prefix) {
    return std::string(text.starts_with(prefix) ? text.substr(prefix.size()) : text);
}

std::string between(const std::wstring& text, const std::wstring& before, const std::wstring& after) {
    const std::size_t from = before.size();
    const std::size_t to = after.empty() ? text.size() : text.find(after);
    return Platform::utf8FromWide(text.substr(from, to - from));
}

Identity identityOf(const CameraInfo& info) {
    const std::wstring firmware = info.getFW();
    return {between(info.getModel(), L"Korva Meridian ", L""),
            between(firmware, L"SW-", L"_API-"),
            Platform::utf8FromWide(firmware.substr(firmware.find(L"_API-") + 5)),
            Platform::utf8FromWide(info.getSerialNumber()),
            Platform::utf8FromWide(info.getSubnetMask()),
            Platform::utf8FromWide(info.getDefaultGateway()),
            {info.getResolutionX(), info.getResolutionY()}};
}

struct Observer final : BroadcastWorkerObserver {
    std::vector<Identity> found;
    void deviceFound(DeviceTemplate* deviceTemplate, int /*reserved*/) override {
        const std::unique_ptr<DeviceTemplate> owned(deviceTemplate);
        found.push_back(identityOf(dynamic_cast<const NativeCameraTemplate&>(*owned).getCameraInfo()));
    }
};

} // namespace

MatrixCamera cameraOf(unsigned int seed) {
    return {DeviceFixture::greyFile(pictureWidth, pictureHeight, seed), pngOf()};
}

Bytes pictureOf(unsigned int seed) {
    return DeviceFixture::greyPixels(picturePixels, seed);
}

Fault faultOf(Kind kind) {
    return [kind](const Bytes& due, const Bytes& before) {
        if (due.front() != '[')
            return faultyMessage(kind, due, before);
        return faultyReply(kind, std::string(due.begin(), due.end()),
                           std::string(before.begin(), before.end()));
    };
}

Fault sending(Bytes bytes, std::optional<Arrival::What> ending) {
    return [bytes = std::move(bytes), ending](const Bytes&, const Bytes&) {
        Arrivals arrivals;
        if (!bytes.empty())
            arrivals = whole(bytes);
        if (ending)
            arrivals.push_back({*ending, {}, 0ms});
        return arrivals;
    };
}

Lines Said::matching(const Lines& expected) const {
    Lines lines;
    for (const TestSupport::LogLine& event : log_.lines()) {
        const std::size_t at = lines.size();
        const bool isNumbered = at < expected.size() && expected.at(at).number != 0;
        lines.push_back({event.level, behind(event.logger, "Plenar.KorvaCamera."),
                         behind(event.file, "BackEnd/NativeCameraKorva/"), event.message,
                         isNumbered ? event.line : 0});
    }
    return lines;
}

DeviceBench::DeviceBench()
    : line_(new TimedLine(clock, cameraEndpoint, answersOf(camera))),
      device_(std::make_unique<KorvaCamera>(line_, DeviceFixture::describedAs(pictureWidth, pictureHeight))) {
    World::reset();
    device_->setNetworkHealthCallback(DeviceFixture::into(reports));
}

DeviceBench::~DeviceBench() = default;

Bytes DeviceBench::picture() {
    auto* const imaging =
        dynamic_cast<ImagingInterface*>(device_->getInterface(ImagingInterface::interfaceTypeName));
    const auto* const pixels = static_cast<const std::uint8_t*>(imaging->getImage());
    return pixels == nullptr ? Bytes{} : Bytes(pixels, pixels + picturePixels);
}

void DeviceBench::expectMended() {
    camera.mend();
    camera.setPictures(DeviceFixture::greyFile(pictureWidth, pictureHeight, mendedSeed), pngOf());
    reports.clear();
    const Said said;
    EXPECT_EQ(picture(), pictureOf(mendedSeed));
    EXPECT_TRUE(isAlive());
    EXPECT_EQ(reports, std::vector<int>{2});
    EXPECT_EQ(said.all(), Lines{});
}

void DeviceBench::expectAtRest() const {
    EXPECT_FALSE(line_->isConnected());
    EXPECT_EQ(line_->connects(), 1);
    EXPECT_EQ(line_->disconnects(), 1);
    EXPECT_EQ(ReferenceHost::liveImageCount(), 0U);
}

IdentityBench::IdentityBench()
    : text_(std::make_shared<TimedLine>(clock, std::wstring(cameraAddress) + L":32768", answersOf(camera))),
      binary_(std::make_shared<TimedLine>(clock, cameraEndpoint, answersOf(camera))) {
    World::reset();
    World::Network& network = World::Network::current();
    network.adapters = {{"eth0", {{"10.0.0.1", "255.255.255.0"}}}};
    network.arp["10.0.0.5"].hardwareAddress = hardwareAddress;
    World::Calls::current().onCall = [this](const std::string& call) {
        if (call.starts_with("recvfrom") && World::Network::current().datagrams.empty())
            clock.now += gatheringTime;
    };
    transport_.answerWith(cameraAddress, 32768, text_);
    transport_.answerWith(cameraAddress, 32769, binary_);
}

IdentityBench::~IdentityBench() {
    World::reset();
}

std::optional<Identity> IdentityBench::identify() {
    exception_.clear();
    try {
        return identityOf(
            Korva::determineCameraInfoByAddress(Platform::utf8FromWide(cameraAddress), knownMac));
    } catch (const DeviceException& exception) {
        exception_ = exception.getMessage();
        return std::nullopt;
    }
}

std::vector<Identity> IdentityBench::search(const std::vector<std::string>& datagrams) {
    World::Network::current().datagrams.assign(datagrams.begin(), datagrams.end());
    Observer observer;
    KorvaCameraLocator().broadcastObserverSearch(&observer, 0);
    return observer.found;
}

void IdentityBench::expectMended(Operation operation) {
    camera.mend();
    const Said said;
    const auto expected = FaultMatrix::identify(identifiedOf(camera)).identity;
    if (operation == Operation::discover)
        EXPECT_EQ(search({discoveryReply}), std::vector{*expected});
    else
        EXPECT_EQ(identify(), expected);
    EXPECT_EQ(said.all(), Lines{});
}

void IdentityBench::expectAtRest() const {
    EXPECT_EQ(transport_.alive(), 0);
    EXPECT_TRUE(World::Network::current().openSockets.empty());
    for (const TimedLine* const line : {text_.get(), binary_.get()}) {
        EXPECT_FALSE(line->isConnected());
        EXPECT_EQ(line->connects(), line->disconnects());
    }
    EXPECT_EQ(ReferenceHost::liveImageCount(), 0U);
}

Identified identifiedOf(const MatrixCamera& camera) {
    return {cameraAddress,
            {camera.replyOf(Exchange::version), camera.replyOf(Exchange::serial),
             camera.replyOf(Exchange::network)},
            std::nullopt,
            std::nullopt,
            {pictureWidth, pictureHeight}};
}

Identified identifiedWith(const MatrixCamera& camera, const Place& place, Kind kind) {
    Identified identified = identifiedOf(camera);
    if (isText(place.exchange)) {
        const auto query = static_cast<std::size_t>(place.exchange) - 1;
        const std::string& before = identified.replies.at((query + 2) % 3);
        identified.faulty = {query, replyReadingOf(kind, identified.replies.at(query), before)};
    } else if (isOfAPicture(place.exchange)) {
        identified.struck =
            struckBy(kind, place, camera.dueOf(Exchange::configure, true), camera.dueOf(Exchange::get, true));
    }
    return identified;
}

Identity asTheHostReads(Identity identity) {
    for (std::string* const text : {&identity.hardware, &identity.software, &identity.api, &identity.serial,
                                    &identity.netMask, &identity.gateway})
        *text = Platform::utf8FromWide(Platform::wideFromUtf8(*text));
    return identity;
}

} // namespace FaultMatrix
