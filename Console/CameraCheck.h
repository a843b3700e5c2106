#pragma once
// What the plug-in can do with the cameras that were looked at.

#include "CameraOptions.h"

#include "Diagnosis/Facts.h"

#include <chrono>

namespace Console {

class ToolLog;

/// Whether it answers as a camera does. To ask any other one again would take its time.
bool answersAsCamera(const Diagnosis::Camera& camera);

/// Has the plug-in identify each of `facts.cameras` that answers as a camera, probe it and take a picture
/// with it, all of them side by side, and notes how each attempt went. Identifications and probes are to be
/// over at `deadline`, but for the sample picture of a model that is not known; what cannot be is cut short.
/// Throws CommandFailure if there is no plug-in, or Ctrl-C came.
void checkCameras(Diagnosis::Facts& facts, const CameraOptions& options, ToolLog& log,
                  std::chrono::steady_clock::time_point deadline);

} // namespace Console
