#pragma once
// What the plug-in can do with the cameras that were looked at.

#include "CameraOptions.h"

#include "Diagnosis/Facts.h"

#include <chrono>

namespace Console {

class ProgressBar;
class ToolLog;

struct CheckWith {
    ToolLog& log;
    ProgressBar& status; ///< shows how many pictures there are
    std::chrono::steady_clock::time_point deadline;
};

/// Whether it answers as a camera does. To ask any other one again would take its time.
bool answersAsCamera(const Diagnosis::Camera& camera);

/// Of a search that nobody answers: whoever has answered is among the neighbours, though his answer was
/// dropped. Adds those that answer as cameras do; a network may have any number of others.
void lookAtNeighbours(Diagnosis::Facts& facts);

/// Has the plug-in identify each of `facts.cameras` that answers as a camera, probe it and take a picture
/// with it, all of them side by side, and notes how each attempt went. Identifications and probes are to be
/// over at the deadline, but for the sample picture of a model that is not known; what cannot be is cut short
/// (Attempt::allowed), and a camera whose probe was cut is asked for its picture nevertheless.
/// Throws CommandFailure if there is no plug-in, or Ctrl-C came.
void checkCameras(Diagnosis::Facts& facts, const CameraOptions& options, const CheckWith& with);

} // namespace Console
