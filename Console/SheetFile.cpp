#include "SheetFile.h"

#include "ContactSheet.h"
#include "FileNames.h"

#include "Diagnosis/Print.h"

#include <algorithm>
#include <utility>

namespace Console {

namespace {

PictureFileError ofTheSheet(const PictureFileError& error, ExitStatus status = ExitStatus::failed) {
    Diagnosis::Trouble trouble = error.trouble();
    trouble.option = "--contact-sheet";
    return PictureFileError(std::move(trouble), status);
}

} // namespace

bool keepFirst(std::vector<FinishedPicture>& kept, FinishedPicture another, std::size_t most) {
    const auto behind = std::upper_bound(kept.begin(), kept.end(), another,
                                         [](const FinishedPicture& one, const FinishedPicture& other) {
                                             return isBefore(one.result, other.result);
                                         });
    kept.insert(behind, std::move(another));
    if (kept.size() <= most)
        return true;
    kept.pop_back();
    return false;
}

void SheetFile::check(OlderFile older) const {
    if (name_.empty())
        return;
    try {
        checkWritable(name_, older);
    } catch (const PictureFileError& error) {
        throw ofTheSheet(error);
    }
}

void SheetFile::add(FinishedPicture picture) {
    if (name_.empty())
        return;
    picture.png = {};
    if (!keepFirst(pictures_, std::move(picture), ContactSheet::mostPictures))
        ++left_;
}

/// A file system may take names for one that nobody else does.
void SheetFile::keepPictures(const std::vector<CaptureResult>& results) const {
    for (const CaptureResult& result : results)
        if (!result.file.empty() && isSameFile(name_, result.file))
            throw PictureFileError({.what = Diagnosis::Obstacle::fileIsTaken, .place = name_});
}

void SheetFile::write(const std::vector<CaptureResult>& results, ExitStatus statusOfFailure) {
    if (pictures_.empty())
        return;
    ContactSheet sheet;
    for (FinishedPicture& each : pictures_) {
        const auto& error = each.result.error;
        if (error)
            sheet.addMissing(Diagnosis::wordsOf(*error), captionOf(each.result));
        else
            sheet.addSmall(std::move(each.small), captionOf(each.result));
    }
    const GreySheet laidOut = sheet.layOut();
    try {
        keepPictures(results);
        writeWholeFile(name_, encodeGreyPng(laidOut.width, laidOut.height, laidOut.pixels));
    } catch (const PictureFileError& error) {
        throw ofTheSheet(error, statusOfFailure);
    }
}

} // namespace Console
