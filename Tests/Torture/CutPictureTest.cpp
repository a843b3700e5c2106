// A picture file that ends too early costs rows of the decoder's own, and each of them may be denied.

#include "Allocations.h"

#include "NativeCameraKorva/KorvaMemoryStream.h"
#include "NativeCameraKorva/KorvaPictureDecoding.h"
#include "Support/DecodedPicture.h"
#include "Support/PictureFiles.h"

#include <istream>

namespace {

using Support::DecodedPicture;

DecodedPicture decodeSgi(const Support::Bytes& file, int failing) {
    Korva::mybuf memory(file.data(), file.size());
    std::istream stream(&memory);
    image_t picture;
    const bool wasReached = Torture::failAllocation(failing, [&] { picture = Korva::decodeSgi(stream); });
    EXPECT_EQ(picture.pixels == nullptr, failing != 0 && wasReached) << failing;
    return Support::pictureOf(picture);
}

TEST(CutPictureAllocations, GiveAnEmptyImageWhereTheyFail) {
    Support::Bytes file = TestSupport::sgiFile(TestSupport::uniformSamples(4, 3, 3, 64));
    file.resize(file.size() - 12); // half a row of the last plane, and the row behind it
    const DecodedPicture whole = decodeSgi(file, 0);
    int failing = 1;
    for (; decodeSgi(file, failing) == Support::noPicture; ++failing) {
        ASSERT_LT(failing, 20);
        EXPECT_EQ(decodeSgi(file, 0), whole);
    }
    EXPECT_EQ(decodeSgi(file, failing), whole);
    EXPECT_GE(failing - 1, 3); // the picture, the cut row and the missing one
}

} // namespace
