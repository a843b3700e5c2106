#pragma once
// What a camera says, drawn, and what must come of it, read from its bytes by the rules of Docs/Protocol.md.

#include "HostileCamera.h"

#include "Draws.h"
#include "Oracle.h"

#include <cstddef>
#include <string>

namespace Attack {

using Faults::Asking;
using Faults::Size;

/// No more pixels than this come of a file, in bytes: the host is told so too.
inline constexpr std::size_t mostPictureBytes = std::size_t{4} << 20;

/// How a host asks that has this bound, of a camera with pictures of `size`.
Asking askingFor(const Size& size, bool isPng = false, unsigned samplesPerPixel = 3);

/// Who plays the script, at that address; each connection goes on with the attempts of the one before.
Faults::Camera cameraOf(const Script& script, const std::string& address);

/// Of a search that hears its datagrams.
Faults::Outcome searchOf(const Script& script, const std::string& address);

/// Every answer right: captures of `asking` give noise of its size, an identification a camera of an unknown
/// model, whose sample picture that is where `asking` is PNG of one sample. With `lies` some answers are
/// damaged: messages, files, texts, and how they come.
Script drawScript(Random& random, bool lies, const Asking& asking, const std::string& address);

} // namespace Attack
