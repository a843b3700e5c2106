#pragma once
// Whether who answers is a camera, and the one of a stored description.

#include "CameraHost.h"

#include "Diagnosis/Verdict.h"

#include <optional>
#include <string>

namespace Console {

/// Asks who answers at the address of the camera of a stored description, and tells of another one. Nothing
/// of one that is it, or does not say who it is: its pictures may come nevertheless. One at another port
/// than cameras have is not asked. Any thread; throws CommandFailure if Ctrl-C came meanwhile.
std::optional<Diagnosis::Verdict> anotherThanDescribed(const CameraHost& host, const NativeCamera& described);

/// That what was identified at an address does not answer as a camera does: it tells neither model nor serial
/// number. Nothing of one that does.
std::optional<Diagnosis::Verdict> saysNothing(const std::string& address, const CameraInfo& info);

/// What is odd about who was identified at an address: that, or a model which nobody knows.
std::optional<Diagnosis::Verdict> oddityOf(const std::string& address, const CameraInfo& info);

/// Whether it says that what a camera tells of itself is not to be trusted, or not all of it.
bool isAboutIdentity(const Diagnosis::Verdict& verdict);

} // namespace Console
