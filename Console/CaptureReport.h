#pragma once
// What `korva capture` says about its pictures.

#include "CaptureOptions.h"

#include "Diagnosis/PictureFacts.h"
#include "Diagnosis/Verdict.h"

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace Console {

/// A picture, or why there is none.
struct CaptureResult {
    std::string address; ///< the camera's, any text
    std::string room;    ///< any text; empty if it is not known
    std::string model;   ///< any text, as the next; both empty if the camera was not identified
    std::string serialNumber;
    std::string file; ///< UTF-8; empty if there is none
    int exposureUnits = 0;
    int triedExposures = 0; ///< to choose that one; 0 if the user did
    std::chrono::system_clock::time_point takenAt;
    double milliseconds = 0.0; ///< from the command to its end, without the writing; 0: none was given
    std::optional<Diagnosis::PictureFacts> picture;
    std::optional<Diagnosis::Verdict> verdict; ///< on the picture; unset: it is fit for use
    std::optional<Diagnosis::Verdict> error;   ///< why there is none
};

struct CaptureReport {
    std::vector<CaptureResult> results;
    std::vector<std::string> warnings;               ///< printable
    std::vector<Diagnosis::Verdict> lostDumps;       ///< why dumped files are missing or not whole
    std::optional<Diagnosis::Verdict> searchTrouble; ///< why cameras may be missing
    std::optional<Diagnosis::Verdict> error;         ///< of the whole; unset: all that was asked for was done

    std::size_t pictures() const;

    /// By address, those of numbers before names; of one address as they came.
    void sort();
};

/// Whether one result stands before another in reports and on sheets.
bool isBefore(const CaptureResult& one, const CaptureResult& other);

/// "korva-10.0.0.7.png: 2748 x 1836 pixels, mean 87.3, 1912 ms", then the exposure if it is not the only one,
/// and what is wrong with the picture; printable, without a line end.
std::string pictureLine(const CaptureOptions& options, const CaptureResult& result);

/// The lines below a picture on the contact sheet.
std::vector<std::string> captionOf(const CaptureResult& result);

/// "13 of 16 pictures; failed: 10.77.1.12 (Lab 2), 10.77.1.14"; printable, without a line end.
std::string lastLine(const CaptureReport& report, std::size_t wanted);

/// One JSON object on one line of ASCII, without a line end: "results" (an object for each picture and each
/// failure), "files" (of the pictures alone), "warnings" (an array of texts), "exposureSeconds" where there
/// is one for all, and "error" where something failed. Text that is not well-formed UTF-8 comes with
/// replacement characters.
std::string jsonReport(const CaptureOptions& options, const CaptureReport& report);

/// "2026-11-22T23:14:55.123Z".
std::string timeText(std::chrono::system_clock::time_point time);

/// "20261122-231455", also in UTC, for names of files.
std::string timeInNames(std::chrono::system_clock::time_point time);

} // namespace Console
