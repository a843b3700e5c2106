#pragma once
// What `korva capture` says about its pictures.

#include "CaptureOptions.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Console {

struct TakenPicture {
    std::string file;    ///< UTF-8
    std::string address; ///< the camera's, UTF-8
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    double mean = 0.0;         ///< grey value, 0 to 255
    double milliseconds = 0.0; ///< from the command to its end, without the writing
};

struct CaptureReport {
    std::vector<TakenPicture> pictures;
    std::vector<std::string>
        remarks; ///< what the plug-in warned of though the pictures were taken; printable
    std::vector<std::string> failures; ///< why pictures are missing, printable; empty if none is
};

/// "korva-10.0.0.7.png: 2748 x 1836 pixels, mean 87.3, 1912 ms", without a line end.
std::string pictureLine(const TakenPicture& picture);

/// One JSON object on one line, without a line end: "exposureSeconds", "files" (an array of objects with
/// "file", "address", "width", "height", "mean", "milliseconds"), "warnings" (an array of texts) and, where
/// pictures are missing, "error". Text that is not well-formed UTF-8 comes with replacement characters.
std::string jsonReport(const CaptureOptions& options, const CaptureReport& report);

} // namespace Console
