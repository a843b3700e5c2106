#include "CameraFiles.h"
#include "NativeCameraKorva/KorvaBinaryCommunication.h"
#include "Rows.h"
#include "Support/ScriptedCommunicator.h"
#include "World/Answers.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <span>
#include <vector>

namespace {

using namespace Benchmarks;

constexpr std::size_t pieceBytes = std::size_t{64} << 10;

const Bytes& message() {
    static const Bytes bytes = World::image(sgiFile());
    return bytes;
}

/// The message as a transport delivers it.
void deliverMessage(TestSupport::ScriptedCommunicator& communicator) {
    const std::span<const std::uint8_t> all(message());
    for (std::size_t at = 0; at < all.size(); at += pieceBytes)
        communicator.deliverView(all.subspan(at, std::min(pieceBytes, all.size() - at)));
}

Work receive() {
    auto communicator = std::make_shared<std::optional<TestSupport::ScriptedCommunicator>>();
    return {[communicator] {
                Korva::Binary::Header header;
                std::vector<Korva::Binary::FullArg> args;
                if (!Korva::Binary::parseIncomingMessage(&**communicator, header, args))
                    std::abort();
                benchmark::DoNotOptimize(args.front().data.get());
            },
            [communicator] { deliverMessage(communicator->emplace()); }};
}

// Into a new buffer, as the message goes, so that both pay for the first touch of its pages.
Work copyPieces() {
    return {[] {
                const std::unique_ptr<unsigned char[]> buffer(new unsigned char[message().size()]);
                for (std::size_t at = 0; at < message().size(); at += pieceBytes)
                    std::memcpy(buffer.get() + at, message().data() + at,
                                std::min(pieceBytes, message().size() - at));
                benchmark::DoNotOptimize(buffer.get());
                benchmark::ClobberMemory();
            },
            [] { message(); }};
}

const Row row("receive loop, scripted transport", 1.6, "memcpy of its 64 KiB pieces to new memory", receive,
              copyPieces);

} // namespace
