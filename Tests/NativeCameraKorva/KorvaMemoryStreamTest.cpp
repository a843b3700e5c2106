#include "NativeCameraKorva/KorvaMemoryStream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <istream>

namespace {

constexpr int end = std::char_traits<char>::eof();

struct MemoryStream : testing::Test {
    std::array<unsigned char, 5> bytes{0x00, 0xFF, 0x1A, 'd', 'e'};
    Korva::mybuf buffer{bytes.data(), bytes.size()};
    std::istream stream{&buffer};
};

TEST_F(MemoryStream, ReadsItsBytesInOrderAndThenEnds) {
    EXPECT_EQ(stream.get(), bytes[0]);
    std::array<char, 9> read{};
    stream.read(read.data(), read.size()); // delivers what there is
    EXPECT_EQ(stream.gcount(), 4);
    EXPECT_TRUE(stream.eof());
    EXPECT_TRUE(std::equal(bytes.begin() + 1, bytes.end(), reinterpret_cast<unsigned char*>(read.data())));
    Korva::mybuf empty(nullptr, 0);
    EXPECT_TRUE(empty.unread().empty());
    EXPECT_EQ(std::istream(&empty).get(), end);
}

TEST_F(MemoryStream, CannotSeekNorTellItsPositionNorBeWritten) {
    EXPECT_EQ(stream.tellg(), std::istream::pos_type(-1));
    stream.clear();
    EXPECT_FALSE(stream.seekg(1));
    stream.clear();
    EXPECT_FALSE(stream.seekg(0, std::ios::end));
    stream.clear();
    EXPECT_EQ(buffer.sputc('x'), end);
    EXPECT_EQ(stream.get(), 0x00);
    EXPECT_EQ(buffer.sputbackc('x'), end);
    EXPECT_EQ(bytes[0], 0x00);
}

TEST_F(MemoryStream, ShowsTheBytesThatAreUnreadWhereTheyLieAndGoesOnBehindThoseThatAreSkipped) {
    EXPECT_EQ(buffer.unread().data(), bytes.data());
    EXPECT_EQ(buffer.unread().size(), 5u);
    stream.get();
    EXPECT_EQ(buffer.unread().data(), bytes.data() + 1);
    EXPECT_EQ(buffer.unread().size(), 4u);
    buffer.skip(2);
    EXPECT_EQ(stream.get(), 'd');
    buffer.skip(1);
    EXPECT_TRUE(buffer.unread().empty());
    EXPECT_EQ(stream.get(), end);
}

} // namespace
