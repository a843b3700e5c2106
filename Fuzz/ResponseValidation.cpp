// The judgement of any response must be that of its rule: the command echoed, and the first argument the
// wanted one.

#include "FuzzInput.h"
#include "FuzzLogging.h"

#include "NativeCameraKorva/KorvaBinaryCommunication.h"

#include <algorithm>
#include <cstring>
#include <vector>

using namespace Korva::Binary;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Fuzz::Input input(data, size);
    Fuzz::setLogging(false); // slow; Capture has these lines built
    const bool expectImage = (input.byte() & 1) != 0;
    Header header;
    const Fuzz::View headerWire = input.view(headerBytes);
    std::copy(headerWire.begin(), headerWire.end(), reinterpret_cast<std::uint8_t*>(&header));
    std::vector<FullArg> args;
    while (!input.isEmpty() && args.size() < maximumArgCount) {
        FullArg& arg = args.emplace_back();
        arg.header.type = input.byte();
        const Fuzz::View value = input.view(inlineValueBytes);
        std::copy(value.begin(), value.end(), arg.value.begin());
    }
    const std::size_t argCount = args.size();

    constexpr auto done = static_cast<std::uint8_t>(ArgCode::Done);
    constexpr auto image = static_cast<std::uint8_t>(ArgCode::GetImage);
    const bool wanted = header.command == static_cast<std::uint8_t>(Command::Camera) && !args.empty() &&
                        args.front().header.type == (expectImage ? image : done);
    Fuzz::require(validateCommandResponse(header, args, expectImage) == wanted);
    Fuzz::require(args.size() == argCount);
    return 0;
}
