#pragma once
// What a camera says, drawn, and what must come of it, read from its bytes by the rules of Docs/Protocol.md.

#include "HostileCamera.h"

#include "Draws.h"
#include "FaultMatrixIdentity.h"

#include <cstddef>
#include <optional>
#include <string>

namespace Attack {

/// No more pixels than this come of a file, in bytes: the host is told so too.
inline constexpr std::size_t mostPictureBytes = std::size_t{4} << 20;

struct CaptureForm {
    bool png = false;
    unsigned samplesPerPixel = 3;
};

struct Outcome {
    bool isSure = true;                         ///< false where it depends on when bytes arrive
    std::optional<Bytes> pixels = std::nullopt; ///< grey; nothing where there is no picture
    FaultMatrix::Size size = {0, 0};
};
Outcome captureOf(const Script& script, const CaptureForm& form);

/// Whether a connection check holds.
bool isAliveBy(const Script& script);

struct IdentityOutcome {
    bool isSure = true;
    std::optional<FaultMatrix::Identity> identity = std::nullopt;
};
IdentityOutcome identityOf(const Script& script, const std::string& address);

/// Whether a search that hears its datagrams contacts the camera.
bool isFound(const Script& script, const std::string& address);

/// Every answer right: captures of `form` give noise of `size`, an identification a camera of an unknown
/// model, whose sample picture that is where `form` is PNG of one sample. With `lies` some answers are
/// damaged: messages, files, texts, and how they come.
Script drawScript(Random& random, bool lies, const CaptureForm& form, const FaultMatrix::Size& size,
                  const std::string& address);

} // namespace Attack
