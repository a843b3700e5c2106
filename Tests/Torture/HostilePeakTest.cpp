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

#include <array>
#include <cstdio>
#include <fstream>
#include <functional>
#include <malloc.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using Support::operator+;
using Support::pngChunk;
using TestSupport::sgiHeader;
using World::Actions;
using World::Bytes;
using World::sending;

constexpr double mebi = 1024.0 * 1024.0;
/// The limits, of the announced pictures and of the decoded pixels.
constexpr double limitMebi = 256;
constexpr std::uint32_t limit = std::uint32_t{256} << 20;

/// What small things cost: buffers, libpng, the first use of a library's code.
constexpr double small = 4;

/// Of the kernel's account of this process, in MiB: "VmRSS" now, "VmHWM" the peak.
double memoryOf(const std::string& field) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with(field + ":"))
            return std::stod(line.substr(field.size() + 1)) / 1024;
    return -1;
}

using Work = std::function<bool()>;

/// The growth of the memory that a child process holds at the peak of `work`, in MiB; -1 where it did not end
/// well.
double peakOf(const Work& work) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0)
        return -1;
    if (fork() == 0) {
        malloc_trim(0);                              // what is free would serve unseen
        std::ofstream("/proc/self/clear_refs") << 5; // the peak is now
        const double before = memoryOf("VmRSS");
        const double growth = work() ? memoryOf("VmHWM") - before : -1;
        _exit(write(ends[1], &growth, sizeof growth) < 0);
    }
    close(ends[1]);
    double growth = -1;
    const bool isTold = read(ends[0], &growth, sizeof growth) == sizeof growth;
    close(ends[0]);
    wait(nullptr);
    return isTold ? growth : -1;
}

// Messages.

/// The beginning of a message whose arguments are images of those lengths; the first one's bytes follow.
Bytes announcement(std::uint32_t messageBytes, std::uint8_t argCount, std::uint32_t imageBytes) {
    Bytes bytes{1};
    Simulator::append32(bytes, messageBytes);
    bytes.push_back(argCount);
    bytes.push_back(6);
    Simulator::append32(bytes, imageBytes);
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

/// A capture of a camera that twice answers the get request so; it ends with a picture, or without.
Work capture(const Actions& answer, bool png = false, bool isPicture = false) {
    return [=] {
        World::Peer& peer = World::Network::current().at("10.0.0.5", 32769);
        for (int attempt = 0; attempt < 2; ++attempt)
            peer.answer(World::done()).answer(World::done()).act(answer);
        PosixEthernetCommunicator communicator(L"10.0.0.5", 32769, -1);
        Image* const image = Korva::capture(&communicator, false, png, false, 1, false);
        if (image != nullptr)
            ImagingFactory::getInstance()->releaseImage(image);
        return (image != nullptr) == isPicture;
    };
}

Work captureOfAnnouncement(std::uint32_t imageBytes, const Actions& rest = {}) {
    const std::uint32_t messageBytes = imageBytes > 0xFFFFFFF0 ? imageBytes : imageBytes + 13;
    return capture(Actions{sending(announcement(messageBytes, 1, imageBytes))} + rest);
}

Work threeImages() {
    const Bytes next = announcement(0, 0, limit);
    return [message = Actions{sending(announcement(0xFFFFFFFF, 3, limit))} + zeros(256) +
                      Actions{sending(Bytes(next.begin() + 6, next.end()))} + zeros(256)] {
        World::Network::current().at("10.0.0.5", 32769).greet(message);
        PosixEthernetCommunicator communicator(L"10.0.0.5", 32769, -1);
        const Connector hold(communicator);
        Korva::Binary::Header header;
        std::vector<Korva::Binary::FullArg> args;
        return !Korva::Binary::parseIncomingMessage(&communicator, header, args) && args.size() == 1;
    };
}

// Pictures.

/// Decodes the file; the decoder gives a picture, or none.
Work decoding(const Bytes& file, bool isPicture) {
    return [=] {
        Korva::mybuf buffer(file.data(), file.size());
        std::istream stream(&buffer);
        std::string text;
        const image_t picture =
            file.front() == 0x89 ? Korva::decodePng(stream, text) : Korva::decodeSgi(stream);
        return (picture.pixels != nullptr) == isPicture;
    };
}

Bytes pngOf(std::uint32_t width, std::uint32_t height, const Bytes& chunks,
            Support::PngColour colour = Support::PngColour::grey) {
    return Support::pngSignature() + Support::pngHeader(width, height, 16, colour) + chunks +
           Support::pngEnd();
}

Work pngAnnouncing(std::uint32_t width, std::uint32_t height) {
    return decoding(pngOf(width, height, Support::pngPixels(Bytes(100))), false);
}

/// Decodes a picture of 2 x 2 with such a chunk before its pixels, as often as that.
Work pngWith(int count, const char* type, const Bytes& data, bool isPicture = true) {
    Bytes chunks;
    for (int i = 0; i < count; ++i)
        chunks = std::move(chunks) + pngChunk(type, data);
    return decoding(pngOf(2, 2, chunks + Support::pngPixels(Bytes(10))), isPicture);
}

Bytes packedMebibytes(std::size_t count, unsigned char value = 0) {
    return Support::packed(Bytes(count << 20, value));
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
Work searchFlooded(int count) {
    return [left = count]() mutable {
        auto& network = World::Network::current();
        network.adapters = {{"eth0", {{"10.0.0.1", "255.255.255.0"}}}};
        // One by one, so that the test itself takes no memory.
        World::Calls::current().onCall = [&](const std::string& call) {
            World::Calls::current().clear();
            if (call.starts_with("recvfrom") && left-- > 0)
                network.datagrams.push_back("[Korva --Room " + std::string(210, 'r') + std::to_string(left) +
                                            " --IP 10.0.0.5]");
        };
        CountingObserver observer;
        KorvaCameraLocator().broadcastObserverSearch(&observer, 0);
        return observer.found == 0 && left < 0;
    };
}

/// An identification, which finds no resolution.
Work identification(const Actions& reply) {
    return [=] {
        for (int query = 0; query < 3; ++query)
            World::Network::current().at("10.0.0.5", 32768).act(reply);
        PosixEthernetCommunicator camera(L"10.0.0.5", 32768, -1);
        try {
            Korva::determineCameraInfo(&camera, "00-00-00-00-00-00");
            return false;
        } catch (const DeviceException&) {
            return true;
        }
    };
}

// Stored descriptions.

using ReferenceHost::DeviceDescription;

Work reading(const std::string& description, bool isAccepted) {
    return [=] {
        try {
            return (DeviceDescription(description).root() != nullptr) == isAccepted;
        } catch (const DeviceException&) {
            return !isAccepted;
        }
    };
}

/// Calls are not kept, so that the test itself takes no memory.
struct HostilePeak : ::testing::Test {
    TestSupport::LogCapture log{"Plenar", log4cxx::Level::getOff()};

    HostilePeak() {
        World::reset();
        World::Calls::current().onCall = [](const std::string&) { World::Calls::current().clear(); };
    }
};

/// Prints what it took beyond what small things cost, in MiB, and holds it against its bound. A sanitizer's
/// own memory hides that; there the cases are run for what it reports.
void expectPeak(const char* name, double mostMebi, const Work& work) {
    [[maybe_unused]] const double bound = mostMebi + small;
    const double growth = peakOf(work);
    EXPECT_GE(growth, 0) << "the child failed: " << name;
#ifndef KORVA_SANITIZED
    std::printf("figure: peak memory, %s: %.1f MB, at most %.1f MB\n", name, growth, bound);
    EXPECT_LE(growth, bound) << name;
#endif
}

#ifndef KORVA_SANITIZED
TEST_F(HostilePeak, SeesWhatIsHeldForAMoment) {
    // Some of what is freed before may serve again.
    const double growth = peakOf([] {
        const std::vector<char> held(32 << 20, 'x');
        return held.back() == 'x';
    });
    EXPECT_NEAR(growth, 32, 2);
}
#endif

TEST_F(HostilePeak, OfMessages) {
    expectPeak("image announced as 256 MiB, then silence", 0, captureOfAnnouncement(limit));
    expectPeak("image announced as 256 MiB and 1 byte", 0, captureOfAnnouncement(limit + 1));
    expectPeak("image announced as 4 GiB", 0, captureOfAnnouncement(0xFFFFFFFF));
    expectPeak("image announced as 256 MiB, silent after 64 MiB", 64,
               captureOfAnnouncement(limit, zeros(64)));
    expectPeak("three images of 256 MiB in one message", limitMebi, threeImages());
    const std::vector<World::Arg> args(255, {8, {1, 2, 3, 4}});
    expectPeak("255 arguments", 0, capture({sending(World::message(args))}));
}

TEST_F(HostilePeak, OfPngFiles) {
    expectPeak("PNG of 2147483647 x 2147483647", 0, pngAnnouncing(0x7FFFFFFF, 0x7FFFFFFF));
    expectPeak("PNG of 16384 x 8193, one row above the limit", 0, pngAnnouncing(16384, 8193));
    expectPeak("PNG of 16384 x 8192, cut off", 0, pngAnnouncing(16384, 8192));
    // Rows of zeros, each behind a filter byte of zero: what is above the last row is not looked at.
    expectPeak("PNG of 256 MiB of pixels in a file of 0.3 MB", limitMebi,
               decoding(pngOf(16384, 8192, pngChunk("IDAT", packedMebibytes(257))), true));
}

TEST_F(HostilePeak, OfPngChunks) {
    const Bytes key{'k', 0, 0};
    const Bytes internationalKey{'k', 0, 1, 0, 0, 0};
    const Bytes bomb = packedMebibytes(8);
    const Bytes fitting = Support::packed(Bytes(900'000, 'x'));
    // Up to 1 MB is unpacked of what is then passed over. Else libpng keeps 32 chunks of at most 1 MB.
    expectPeak("PNG with 100 texts that unpack to 8 MiB each", 2, pngWith(100, "zTXt", key + bomb));
    expectPeak("PNG with 100 international texts that unpack to 8 MiB each", 2,
               pngWith(100, "iTXt", internationalKey + bomb));
    expectPeak("PNG with a profile that unpacks to 8 MiB", 2, pngWith(1, "iCCP", key + bomb));
    expectPeak("PNG with 100 texts that unpack to 0.9 MB each", 32, pngWith(100, "zTXt", key + fitting));
    expectPeak("PNG text of 30 MB", 0, pngWith(1, "tEXt", key + Bytes(30'000'000, 'x'), false));
    expectPeak("PNG palette of 30 MB", 0, pngWith(1, "PLTE", Bytes(30'000'000), false));
}

TEST_F(HostilePeak, OfSgiFiles) {
    expectPeak("SGI of 65535 x 65535 x 4", 0, decoding(sgiHeader(65535, 65535, 4, 2), false));
    expectPeak("SGI of 256 MiB of pixels in a file of 512 bytes", limitMebi,
               decoding(sgiHeader(6688, 6688, 3, 2), true));
}

TEST_F(HostilePeak, OfCapturesOfSmallFilesOfTheLargestPicture) {
    // Half of the 16-bit samples' size in 8-bit samples, as much again in the host's image of them and a
    // third of that in its grey one.
    constexpr double most = limitMebi * (1. / 2 + 1. / 2 + 1. / 6);
    // Light enough that the picture is not black: of the SGI file a thousand samples, of the PNG file all.
    const Bytes sgi = sgiHeader(6688, 6688, 3, 2) + Bytes(2000, 0x3F);
    expectPeak("capture, SGI of 256 MiB of pixels in a file of 3 KB", most,
               capture({sending(World::image(sgi))}, false, true));
    const Bytes png = pngOf(6688, 6688, pngChunk("IDAT", packedMebibytes(257, 1)), Support::PngColour::rgb);
    expectPeak("capture, PNG of 256 MiB of pixels in a file of 0.3 MB", most,
               capture({sending(World::image(png))}, true, true));
    // Interlaced rows do not come in order, so all samples of 16 bits are there first.
    Bytes header;
    Simulator::append32(header, 6688);
    Simulator::append32(header, 6688);
    const Bytes interlaced = Support::pngSignature() + pngChunk("IHDR", header + Bytes{16, 2, 0, 0, 1}) +
                             pngChunk("IDAT", packedMebibytes(257, 1)) + Support::pngEnd();
    expectPeak("capture, interlaced PNG of 256 MiB of pixels in a file of 0.3 MB",
               limitMebi * (1 + 1. / 2 + 1. / 6), capture({sending(World::image(interlaced))}, true, true));
}

TEST_F(HostilePeak, OfAPictureAsACameraSendsIt) {
    // The file and its samples of 8 bits; the file is gone before the host's images are made.
    const Bytes file = sgiHeader(6000, 5600, 3, 2) + Bytes(std::size_t{2} * 3 * 6000 * 5600, 0x3F);
    const double fileMebi = static_cast<double>(file.size()) / mebi;
    ASSERT_LE(1.5 * fileMebi + small, 1.55 * fileMebi);
    expectPeak("capture, SGI of 202 MB", 1.5 * fileMebi, capture({sending(World::image(file))}, false, true));
}

TEST_F(HostilePeak, OfDiscoveryAndTexts) {
    // 16384 replies are kept, each of two texts of together less than 256 bytes.
    constexpr double most = 16384 * (256 + 128) / mebi;
    expectPeak("discovery, 10,000 replies", most, searchFlooded(10'000));
    expectPeak("discovery, 100,000 replies", most, searchFlooded(100'000));
    expectPeak("text replies of 256 MiB", 0, identification(zeros(256)));
    expectPeak("text replies without end", 0, identification({World::sendingEndlessly(Bytes(1 << 20, 'x'))}));
}

TEST_F(HostilePeak, OfStoredDescriptions) {
    std::string elements = "<Device>";
    while (elements.size() < DeviceDescription::mostBytes - 400)
        elements += "<a" + std::string(80, 'x') + ">&#65;</a" + std::string(80, 'x') + ">";
    std::string attributes = "<Device";
    for (int i = 0; i < DeviceDescription::mostAttributes; ++i)
        attributes += " a" + std::to_string(i) + "='" + std::string(1000, 'v') + "'";
    // Xerces holds a document's text two bytes a unit, and while it reads it in pieces that it doubles.
    constexpr double most = 32 - small;
    expectPeak("description of 1 MiB of elements", most, reading(elements + "</Device>", true));
    expectPeak("description of 1 MiB of attributes", most, reading(attributes + "/>", true));
    expectPeak("description of 64 MiB", 0, reading(std::string(64 << 20, ' '), false));
}

} // namespace
