// Connection probes of one device, which a camera answers with raw bytes or with messages whose lengths and
// checksums are right. Each failure is reported once, and a sound answer is believed after whatever came
// before.

#include "FuzzInput.h"
#include "FuzzLogging.h"
#include "FuzzMessages.h"
#include "FuzzedDevice.h"

#include <algorithm>
#include <vector>

namespace {

using Fuzz::Answer;
using Fuzz::require;

constexpr unsigned int loggedRuns = 0x0E; // bits of the settings, all set in one run of eight
constexpr unsigned int mostProbes = 4;
constexpr std::size_t mostArguments = 6;

/// What a camera may answer, from the first byte on.
enum class Kind : unsigned int { bytes, bytesThenClosed, message, messageInPieces, count };

void probe(Fuzz::FuzzedDevice& device, const Answer& answer, const bool* expected) {
    const bool alive = device.answering({answer}).isAlive();
    require(expected == nullptr || alive == *expected);
    require(device.reports() ==
            (alive ? std::vector<int>{} : std::vector{NetworkHealth::connectionCheckFailed}));
    require(!device.isConnected());
}

void probeWithMessage(Fuzz::FuzzedDevice& device, Fuzz::Input& input, std::size_t pieceBytes) {
    const std::uint8_t command = input.byte();
    const std::vector<Fuzz::ArgView> args = Fuzz::argumentsFrom(input, input.byte() % (mostArguments + 1));
    const Fuzz::Bytes message = Fuzz::messageOf(args, command);
    // What the message says is not judged.
    const bool isReadable = std::all_of(args.begin(), args.end(), Fuzz::isReadable);
    probe(device, {message, pieceBytes, true}, &isReadable);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static auto& device = *new Fuzz::FuzzedDevice;
    Fuzz::Input input(data, size);
    Fuzz::setLogging((input.byte() & loggedRuns) == loggedRuns);
    for (unsigned int i = 0; i < mostProbes && !input.isEmpty(); ++i) {
        const unsigned int choice = input.byte();
        const auto kind = static_cast<Kind>(choice % static_cast<unsigned int>(Kind::count));
        const std::size_t pieceBytes = choice / static_cast<unsigned int>(Kind::count) + 1;
        if (kind == Kind::message || kind == Kind::messageInPieces) {
            probeWithMessage(device, input, kind == Kind::message ? size : pieceBytes);
        } else {
            const Fuzz::View bytes = input.view(input.byte());
            probe(device, {bytes, 64, false, kind == Kind::bytesThenClosed}, nullptr);
        }
    }
    static const Fuzz::Bytes sound = World::done();
    const bool alive = true;
    probe(device, {sound}, &alive);
    return 0;
}
