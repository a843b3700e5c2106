// `korva capture --all` whose search does not come to its end.

#include "Lab/LabRun.h"

using namespace LabTests;
using testing::_;
using testing::AllOf;
using testing::HasSubstr;

namespace {

class CutSearch : public testing::Test {
protected:
    void SetUp() override {
        constexpr int notAllowed = 77;
        if (runLab({"--cameras", "0", "true"}).status == notAllowed)
            GTEST_SKIP() << "This system lets its users make no namespaces.";
    }

    /// A capture of all of these cameras.
    ProcessResult capture(const std::string& cameras, const std::string& options) const {
        return runAmong(cameras, "korva capture --all --output " + pictures.path().string() + options);
    }

    const TemporaryFolder pictures;
};

} // namespace

TEST_F(CutSearch, LeavesACaptureThePicturesOfThoseWhoAnswered) {
    const std::string small = " --hardware X900 --size 120x80\n";
    EXPECT_THAT(
        capture("1" + small + talker + "2" + small + "2 --binary refused\n1" + small, " --max-time 6"),
        ended(4, HasSubstr("\n3 of 4 pictures; failed: 10.77.2.14 (Room 4)\n"),
              has({"datagrams kept coming", "refuses TCP 32769"})));
    EXPECT_EQ(pictures.names(),
              (Names{"korva-10.77.1.11.png", "korva-10.77.1.15.png", "korva-10.77.2.13.png"}));
    for (const std::string& name : pictures.names())
        EXPECT_EQ(readGreyPng(pictures.file(name)).width, 120u);
}

TEST_F(CutSearch, CountsWhoAnsweredAndWasNotAskedAsFailed) {
    const std::string slow = "1 --fault version:delay=900\n";
    EXPECT_THAT(capture(slow + slow, " --max-time 1.3"),
                ended(1, HasSubstr("0 of 2 pictures; failed: 10.77.1.11 (Room 1), "),
                      HasSubstr("answered, and the search was cut before its turn")));
}

TEST_F(CutSearch, ByCtrlCEndsTheCapture) {
    EXPECT_EQ(interrupt(talker, "korva capture --all --log info", "as a Korva response: again", "said"),
              "status 130 after 1\nkorva: interrupted\n");
}
