#pragma once
// Writes pictures to disk, whole or not at all.

#include "CommandFailure.h"

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace Console {

/// A file could not be written. The trouble names it, and the system's reason.
class PictureFileError : public CommandFailure {
public:
    explicit PictureFileError(Diagnosis::Trouble trouble, ExitStatus status = ExitStatus::failed);

    const Diagnosis::Trouble& trouble() const noexcept { return trouble_; }

private:
    Diagnosis::Trouble trouble_;
};

/// What a file says of its picture: keywords of 1 to 79 ASCII letters, digits and single blanks within, and
/// texts in UTF-8 without zeros.
using PictureTexts = std::vector<std::pair<std::string, std::string>>;

/// An 8-bit grey PNG file of `width` x `height` pixels, both at least 1, with a text chunk for each of the
/// texts. `pixels` has width x height bytes, rows from the top. It is packed fast rather than small. Throws
/// PictureFileError if libpng refuses the size or memory is short.
std::vector<unsigned char> encodeGreyPng(std::uint32_t width, std::uint32_t height,
                                         std::span<const unsigned char> pixels,
                                         const PictureTexts& texts = {});

/// Writes `bytes` to the file `utf8Path` as Platform::writeWholeFile does: where an ordinary file is
/// replaced, with its permissions kept. Throws PictureFileError if any step fails, and then leaves nothing
/// behind and an older file untouched. A symbolic link to a file is followed.
void writeWholeFile(const std::string& utf8Path, std::span<const unsigned char> bytes);

/// What becomes of a file that is there already.
enum class OlderFile { replace, keep };

/// Throws PictureFileError if writeWholeFile could not even begin, or if there is a file that is to be kept.
/// Leaves nothing behind and touches no file that exists.
void checkWritable(const std::string& utf8Path, OlderFile older = OlderFile::replace);

/// Makes the folders that hold a file where they are missing. Throws PictureFileError.
void makeFolderOf(const std::string& utf8Path);

/// Makes a folder, and those that hold it, where they are missing. Throws PictureFileError.
void makeFolder(const std::string& utf8Path);

} // namespace Console
