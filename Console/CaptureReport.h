#pragma once
// What `korva capture` says about its pictures.

#include "CaptureOptions.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Console {

struct TakenPicture {
    std::string file; ///< UTF-8
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    double mean = 0.0;         ///< grey value, 0 to 255
    double milliseconds = 0.0; ///< from the connect to the grey picture, without the writing
};

struct CaptureReport {
    std::vector<TakenPicture> pictures;
    std::vector<std::string>
        remarks;         ///< what the plug-in warned of though the pictures were taken; printable
    std::string failure; ///< why the run ended early; empty where it did not
};

/// "korva-10.0.0.7.png: 2748 x 1836 pixels, mean 87.3, 1912 ms", without a line end.
std::string pictureLine(const TakenPicture& picture);

/// One JSON object on one line, without a line end: "address", "port", "exposureSeconds", "files" (an array
/// of objects with "file", "width", "height", "mean", "milliseconds"), "warnings" (an array of texts) and,
/// where the run failed, "error". Text that is not well-formed UTF-8 comes with replacement characters.
std::string jsonReport(const CaptureOptions& options, const CaptureReport& report);

} // namespace Console
