#include "NativeCameraKorva/KorvaMemoryStream.h"

#include <gtest/gtest.h>

#include <array>
#include <istream>
#include <string>
#include <type_traits>

namespace {

class MemoryStream : public testing::Test {
protected:
    std::array<unsigned char, 5> bytes{0x00, 0xFF, 0x1A, 'd', 'e'};
    Korva::mybuf buffer{bytes.data(), bytes.size()};
    std::istream stream{&buffer};
};

TEST_F(MemoryStream, ReadsItsBytesInOrderAndThenEnds) {
    for (const unsigned char byte : bytes)
        EXPECT_EQ(stream.get(), byte);
    EXPECT_EQ(stream.get(), std::char_traits<char>::eof());
    EXPECT_TRUE(stream.eof());
}

TEST_F(MemoryStream, DeliversWhatThereIsOfALongerRead) {
    std::array<char, 9> read{};
    stream.read(read.data(), read.size());
    EXPECT_EQ(stream.gcount(), 5);
    EXPECT_TRUE(stream.eof());
    EXPECT_EQ(read[4], 'e');
}

TEST_F(MemoryStream, CannotSeekNorTellItsPosition) {
    EXPECT_EQ(stream.tellg(), std::istream::pos_type(-1));
    stream.clear();
    EXPECT_FALSE(stream.seekg(1));
    stream.clear();
    EXPECT_FALSE(stream.seekg(0, std::ios::end));
    stream.clear();
    EXPECT_EQ(stream.get(), 0x00);
}

TEST_F(MemoryStream, CannotBeWritten) {
    EXPECT_EQ(buffer.sputc('x'), std::char_traits<char>::eof());
    EXPECT_EQ(stream.get(), 0x00);
    EXPECT_EQ(buffer.sputbackc('x'), std::char_traits<char>::eof());
    EXPECT_EQ(bytes[0], 0x00);
}

TEST_F(MemoryStream, ShowsTheBytesThatAreUnreadWhereTheyLie) {
    EXPECT_EQ(buffer.unread().data(), bytes.data());
    EXPECT_EQ(buffer.unread().size(), 5u);
    stream.get();
    EXPECT_EQ(buffer.unread().data(), bytes.data() + 1);
    EXPECT_EQ(buffer.unread().size(), 4u);
}

TEST_F(MemoryStream, GoesOnBehindTheBytesThatAreSkipped) {
    buffer.skip(3);
    EXPECT_EQ(stream.get(), 'd');
    buffer.skip(1);
    EXPECT_TRUE(buffer.unread().empty());
    EXPECT_EQ(stream.get(), std::char_traits<char>::eof());
}

TEST(EmptyMemoryStream, HasNothingToRead) {
    Korva::mybuf buffer(nullptr, 0);
    std::istream stream(&buffer);
    EXPECT_TRUE(buffer.unread().empty());
    EXPECT_EQ(stream.get(), std::char_traits<char>::eof());
}

} // namespace
