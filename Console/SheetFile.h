#pragma once
// The contact sheet of a run of `korva capture`: what comes onto it, and its file.

#include "CameraJob.h"
#include "CaptureReport.h"
#include "ExitStatus.h"
#include "PictureFile.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace Console {

/// Keeps at most so many, the first in the order of the addresses, in it. False if one has had to go.
bool keepFirst(std::vector<FinishedPicture>& kept, FinishedPicture another, std::size_t most);

/// One thread.
class SheetFile {
public:
    /// `name` is empty where no sheet was asked for: then none of these does anything.
    explicit SheetFile(std::string name) : name_(std::move(name)) {}

    /// Before any camera is asked anything. Throws PictureFileError if it can not be written.
    void check(OlderFile older) const;

    /// Takes the place of the picture, or of its failure; of the file nothing is kept.
    void add(FinishedPicture picture);

    /// How many are not on it, since it is full.
    std::size_t left() const { return left_; }

    /// Writes it, unless it is empty. Throws PictureFileError with the status, also where one of the results
    /// has its file under the sheet's name.
    void write(const std::vector<CaptureResult>& results, ExitStatus statusOfFailure);

private:
    void keepPictures(const std::vector<CaptureResult>& results) const;

    std::string name_;
    std::vector<FinishedPicture> pictures_; ///< in order
    std::size_t left_ = 0;
};

} // namespace Console
