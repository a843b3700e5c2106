// How much memory the process holds at its peak where a camera, or a file, announces or sends too much. Each
// case runs in a child process of its own, whose peak is counted from when the case begins.

#include "NativeCameraKorva/KorvaBinaryCommunication.h"
#include "NativeCameraKorva/KorvaCameraLocator.h"
#include "NativeCameraKorva/KorvaHelper.h"
#include "NativeCameraKorva/KorvaIdentification.h"
#include "NativeCameraKorva/KorvaMemoryStream.h"
#include "NativeCameraKorva/KorvaPictureDecoding.h"

#include "Camera/Bytes.h"
#include "Communicator/Connector.h"
#include "Communicator/DeviceException.h"
#include "Communicator/PosixEthernetCommunicator.h"
#include "DeviceControl/BroadcastWorkerObserver.h"
#include "DeviceControl/DeviceTemplate.h"
#include "ImagingLibrary/Image.h"
#include "ImagingLibrary/ImagingFactory.h"
#include "ImagingLibrary/ImagingLibrary.h"
#include "ReferenceHost/DeviceDescription.h"
#include "Support/LogCapture.h"
#include "Support/PictureFiles.h"
#include "World/Answers.h"
#include "World/Calls.h"
#include "World/Network.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <functional>
#include <malloc.h>
#include <memory>
#include <string>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using Support::operator+;
using Simulator::append32;
using World::Actions;
using World::Bytes;
using World::sending;

constexpr double mebi = 1024.0 * 1024.0;
/// The limits, of the announced pictures and of the decoded pixels.
constexpr double limitMebi = 256;
constexpr std::uint32_t limit = std::uint32_t{256} << 20;

/// What small things cost: buffers, libpng, the first use of a library's code.
constexpr double small = 4;

/// A sanitizer's own memory hides what a case holds; there the cases are run for what it reports.
#ifdef KORVA_SANITIZED
constexpr bool peakIsCounted = false;
#else
constexpr bool peakIsCounted = true;
#endif

/// Of the kernel's account of this process, in MiB: "VmRSS" now, "VmHWM" the peak.
double memoryOf(const std::string& field) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(field + ":"))
            return std::stod(line.substr(field.size() + 1)) / 1024;
    return -1;
}

/// The growth of the memory that a child process holds at the peak of `work`, in MiB; -1 where it did not end
/// well.
double peakOf(const std::function<bool()>& work) {
    void* const shared =
        mmap(nullptr, sizeof(double), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    auto* const growth = static_cast<double*>(shared);
    const pid_t child = fork();
    if (child == 0) {
        malloc_trim(0);                              // what is free would serve unseen
        std::ofstream("/proc/self/clear_refs") << 5; // the peak is now
        const double before = memoryOf("VmRSS");
        const bool went = work();
        *growth = memoryOf("VmHWM") - before;
        _exit(went ? 0 : 1);
    }
    int status = 1;
    waitpid(child, &status, 0);
    const double told = status == 0 ? *growth : -1;
    munmap(shared, sizeof(double));
    return told;
}

/// Expects the case to end well. Prints what it took and holds it against its bound, in MiB, where that
/// counts.
void expectPeak(const char* name, double bound, const std::function<bool()>& work) {
    const double growth = peakOf(work);
    EXPECT_GE(growth, 0) << "the child failed";
    if constexpr (peakIsCounted) {
        std::printf("figure: peak memory, %s: %.1f MB, at most %.1f MB\n", name, growth, bound);
        EXPECT_LE(growth, bound);
    }
}

/// Calls are not kept, so that the test itself takes no memory.
struct HostilePeak : ::testing::Test {
    TestSupport::LogCapture log{"Plenar", log4cxx::Level::getOff()};

    HostilePeak() {
        World::reset();
        World::Calls::current().onCall = [](const std::string&) { World::Calls::current().clear(); };
    }
};

#ifndef KORVA_SANITIZED
// The counting itself.

TEST_F(HostilePeak, SeesWhatIsHeldForAMoment) {
    // Some of what is freed before may serve again.
    const double growth = peakOf([] {
        const std::vector<char> held(32 << 20, 'x');
        return held.back() == 'x';
    });
    EXPECT_NEAR(growth, 32, 2);
}
#endif

// Messages.

/// The beginning of a message whose arguments are images of those lengths; the first one's bytes follow.
Bytes announcement(std::uint32_t messageBytes, std::uint8_t argCount, std::uint32_t imageBytes) {
    Bytes bytes{1};
    append32(bytes, messageBytes);
    bytes.push_back(argCount);
    bytes.push_back(6);
    append32(bytes, imageBytes);
    return bytes;
}

/// Zeros that take no memory of their own.
Actions zeros(std::size_t mebibytes) {
    static const Simulator::Action one = sending(Bytes(1 << 20));
    return Actions(mebibytes, one);
}

Actions operator+(Actions left, const Actions& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

/// A camera, and the host's communicator to it.
struct Camera {
    World::Peer& peer = World::Network::current().at("10.0.0.5", 32769);
    PosixEthernetCommunicator communicator{L"10.0.0.5", 32769, -1};

    /// Answers an attempt at a picture; the get request as `answer` says.
    void answerAttempt(const Actions& answer) {
        peer.answer(World::done()).answer(World::done()).act(answer);
    }

    Image* capture(bool png = false) { return Korva::capture(&communicator, false, png, false, 1, false); }
};

/// A capture that ends without a picture, of a camera that twice answers the get request so.
bool captureFails(const Actions& answer) {
    Camera camera;
    camera.answerAttempt(answer);
    camera.answerAttempt(answer);
    return camera.capture() == nullptr;
}

void expectPeakOfAnnouncement(const char* name, std::uint32_t imageBytes) {
    const std::uint32_t messageBytes = imageBytes > 0xFFFFFFF0 ? imageBytes : imageBytes + 13;
    const Actions answer{sending(announcement(messageBytes, 1, imageBytes))};
    expectPeak(name, small, [&] { return captureFails(answer); });
}

TEST_F(HostilePeak, OfAnnouncedImagesThatDoNotCome) {
    expectPeakOfAnnouncement("image announced as 256 MiB, then silence", limit);
    expectPeakOfAnnouncement("image announced as 256 MiB and 1 byte", limit + 1);
    expectPeakOfAnnouncement("image announced as 4 GiB", 0xFFFFFFFF);
}

TEST_F(HostilePeak, OfAnImageThatStopsOnTheWay) {
    const Actions answer = Actions{sending(announcement(limit + 13, 1, limit))} + zeros(64);
    expectPeak("image announced as 256 MiB, silent after 64 MiB", 64 + small,
               [&] { return captureFails(answer); });
}

TEST_F(HostilePeak, OfThreeImagesInOneMessage) {
    const Bytes next = announcement(0, 0, limit);
    const Actions message = Actions{sending(announcement(0xFFFFFFFF, 3, limit))} + zeros(256) +
                            Actions{sending(Bytes(next.begin() + 6, next.end()))} + zeros(256);
    expectPeak("three images of 256 MiB in one message", limitMebi + small, [&] {
        Camera camera;
        camera.peer.greet(message);
        const Connector hold(camera.communicator);
        Korva::Binary::Header header;
        std::vector<Korva::Binary::FullArg> args;
        return !Korva::Binary::parseIncomingMessage(&camera.communicator, header, args) && args.size() == 1;
    });
}

TEST_F(HostilePeak, Of255Arguments) {
    const Actions answer{sending(World::message(std::vector<World::Arg>(255, {8, {1, 2, 3, 4}})))};
    expectPeak("255 arguments", small, [&] { return captureFails(answer); });
}

// Pictures.

/// Decodes `file`; the decoder gives a picture or none, as `isPicture` says.
void expectPeakOfPicture(const char* name, double bound, const Bytes& file, bool isPicture) {
    expectPeak(name, bound, [&] {
        Korva::mybuf buffer(file.data(), file.size());
        std::istream stream(&buffer);
        std::string text;
        const image_t picture =
            file.front() == 0x89 ? Korva::decodePng(stream, text) : Korva::decodeSgi(stream);
        return (picture.pixels != nullptr) == isPicture;
    });
}

Bytes pngOf(std::uint32_t width, std::uint32_t height, const Bytes& chunks,
            Support::PngColour colour = Support::PngColour::grey) {
    return Support::pngSignature() + Support::pngHeader(width, height, 16, colour) + chunks +
           Support::pngEnd();
}

/// A picture of 2 x 2 with that chunk before its pixels, as often as that.
Bytes pngWith(const Bytes& chunk, int count = 1) {
    Bytes chunks;
    for (int i = 0; i < count; ++i)
        chunks.insert(chunks.end(), chunk.begin(), chunk.end());
    return pngOf(2, 2, chunks + Support::pngPixels(Bytes(10, 0)));
}

Bytes packedMebibytes(std::size_t count, unsigned char value = 0) {
    return Support::packed(Bytes(count << 20, value));
}

TEST_F(HostilePeak, OfPngFilesThatAnnounceTooMuch) {
    const Bytes pixels = Support::pngPixels(Bytes(100, 0));
    expectPeakOfPicture("PNG of 2147483647 x 2147483647", small, pngOf(0x7FFFFFFF, 0x7FFFFFFF, pixels),
                        false);
    expectPeakOfPicture("PNG of 16384 x 8193, one row above the limit", small, pngOf(16384, 8193, pixels),
                        false);
    expectPeakOfPicture("PNG of 16384 x 8192, cut off", small, pngOf(16384, 8192, pixels), false);
    expectPeakOfPicture("PNG palette of 30 MB", small,
                        pngWith(Support::pngChunk("PLTE", Bytes(30'000'000, 0))), false);
}

TEST_F(HostilePeak, OfAPngFileThatUnpacksToTheLimit) {
    // Rows of zeros, each behind a filter byte of zero: what is above the last row is not looked at.
    expectPeakOfPicture("PNG of 256 MiB of pixels in a file of 0.3 MB", limitMebi + small,
                        pngOf(16384, 8192, Support::pngChunk("IDAT", packedMebibytes(257))), true);
}

TEST_F(HostilePeak, OfPngTexts) {
    const Bytes key{'k', 0};
    const Bytes packedKey{'k', 0, 0};
    const Bytes internationalKey{'k', 0, 1, 0, 0, 0};
    const Bytes bomb = packedMebibytes(8);
    const Bytes fitting = Support::packed(Bytes(900'000, 'x'));
    constexpr int many = 100;
    // Up to 1 MB is unpacked of what is then passed over.
    expectPeakOfPicture("PNG with 100 texts that unpack to 8 MiB each", 2 + small,
                        pngWith(Support::pngChunk("zTXt", packedKey + bomb), many), true);
    expectPeakOfPicture("PNG with 100 international texts that unpack to 8 MiB each", 2 + small,
                        pngWith(Support::pngChunk("iTXt", internationalKey + bomb), many), true);
    expectPeakOfPicture("PNG with a profile that unpacks to 8 MiB", 2 + small,
                        pngWith(Support::pngChunk("iCCP", packedKey + bomb)), true);
    // libpng keeps 32 chunks of at most 1 MB.
    expectPeakOfPicture("PNG with 100 texts that unpack to 0.9 MB each", 32 + small,
                        pngWith(Support::pngChunk("zTXt", packedKey + fitting), many), true);
    expectPeakOfPicture("PNG text of 30 MB", small,
                        pngWith(Support::pngChunk("tEXt", key + Bytes(30'000'000, 'x'))), false);
}

TEST_F(HostilePeak, OfSgiFilesThatAnnounceTooMuch) {
    expectPeakOfPicture("SGI of 65535 x 65535 x 4", small, TestSupport::sgiHeader(65535, 65535, 4, 2), false);
    expectPeakOfPicture("SGI of 256 MiB of pixels in a file of 512 bytes", limitMebi + small,
                        TestSupport::sgiHeader(6688, 6688, 3, 2), true);
}

/// A capture of `file`, which gives an image: the file, its 16-bit samples, and of these half as much in the
/// host's image of 8-bit samples and a sixth in its grey one.
void expectPeakOfCapture(const char* name, bool png, const Bytes& file) {
    const Actions answer{sending(World::image(file))};
    expectPeak(name, limitMebi * (1 + 1. / 2 + 1. / 6) + small, [&] {
        Camera camera;
        camera.answerAttempt(answer);
        Image* const image = camera.capture(png);
        if (image != nullptr)
            ImagingFactory::getInstance()->releaseImage(image);
        return image != nullptr;
    });
}

TEST_F(HostilePeak, OfACaptureOfASmallFileOfTheLargestPicture) {
    // Light enough that the picture is not black: of the SGI file a thousand samples, of the PNG file all.
    expectPeakOfCapture("capture, SGI of 256 MiB of pixels in a file of 3 KB", false,
                        TestSupport::sgiHeader(6688, 6688, 3, 2) + Bytes(2000, 0x3F));
    expectPeakOfCapture(
        "capture, PNG of 256 MiB of pixels in a file of 0.3 MB", true,
        pngOf(6688, 6688, Support::pngChunk("IDAT", packedMebibytes(257, 1)), Support::PngColour::rgb));
}

// Discovery and text.

struct CountingObserver final : BroadcastWorkerObserver {
    int found = 0;
    void deviceFound(DeviceTemplate* deviceTemplate, int /*reserved*/) override {
        delete deviceTemplate;
        ++found;
    }
};

/// A search that `count` replies answer, each as long as a reply is read.
bool searchFlooded(int count) {
    auto& network = World::Network::current();
    network.adapters = {{"eth0", {{"10.0.0.1", "255.255.255.0"}}}};
    int left = count;
    // One by one, so that the test itself takes no memory.
    World::Calls::current().onCall = [&](const std::string& call) {
        World::Calls::current().clear();
        if (call.starts_with("recvfrom") && left-- > 0)
            network.datagrams.push_back("[Korva --Room " + std::string(210, 'r') + std::to_string(left) +
                                        " --IP 10.0.0.5]");
    };
    CountingObserver observer;
    KorvaCameraLocator locator;
    locator.broadcastObserverSearch(&observer, 0);
    World::Calls::current().onCall = nullptr;
    return observer.found == 0 && left < 0;
}

TEST_F(HostilePeak, OfAFloodOfReplies) {
    // 16384 replies are kept, each of two texts of together less than 256 bytes.
    constexpr double bound = 16384 * (256 + 128) / mebi + small;
    expectPeak("discovery, 10,000 replies", bound, [] { return searchFlooded(10'000); });
    expectPeak("discovery, 100,000 replies", bound, [] { return searchFlooded(100'000); });
}

TEST_F(HostilePeak, OfEndlessTextReplies) {
    const Actions replies[] = {zeros(256), {World::sendingEndlessly(Bytes(1 << 20, 'x'))}};
    expectPeak("text replies without end", small, [&] {
        for (const Actions& reply : replies) {
            World::Peer& texts = World::Network::current().at("10.0.0.5", 32768);
            for (int query = 0; query < 3; ++query)
                texts.act(reply);
            PosixEthernetCommunicator camera(L"10.0.0.5", 32768, -1);
            try {
                Korva::determineCameraInfo(&camera, "00-00-00-00-00-00");
                return false;
            } catch (const DeviceException&) {
                // It has no resolution.
            }
        }
        return true;
    });
}

// Stored descriptions.

TEST_F(HostilePeak, OfADescriptionAtItsLimits) {
    using ReferenceHost::DeviceDescription;
    std::string elements = "<Device>";
    while (elements.size() < DeviceDescription::mostBytes - 400)
        elements += "<a" + std::string(80, 'x') + ">&#65;</a" + std::string(80, 'x') + ">";
    elements += "</Device>";
    std::string attributes = "<Device";
    for (int i = 0; i < DeviceDescription::mostAttributes; ++i)
        attributes += " a" + std::to_string(i) + "='" + std::string(1000, 'v') + "'";
    attributes += "/>";
    // Xerces holds a document's text two bytes a unit, and while it reads it in pieces that it doubles.
    constexpr double bound = 32;
    expectPeak("description of 1 MiB of elements", bound,
               [&] { return DeviceDescription(elements).root() != nullptr; });
    expectPeak("description of 1 MiB of attributes", bound,
               [&] { return DeviceDescription(attributes).root() != nullptr; });
    const std::string large(64 << 20, ' ');
    expectPeak("description of 64 MiB", small, [&] {
        try {
            const DeviceDescription refused(large);
            return false;
        } catch (const DeviceException&) {
            return true;
        }
    });
}

} // namespace
