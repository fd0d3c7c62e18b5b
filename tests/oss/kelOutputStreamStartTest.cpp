// A program of its own: the first call of write(buffer, offset, length) in a process decides what
// all later calls write.
#include <infra/oss/kelByteArrayOutputStream.h>

#include <string>
#include <thread>

#include <gtest/gtest.h>

namespace nx::oss {
namespace {

const char FIRST[] = "first";
const char SECOND[] = "second";

std::string written(const char* buffer, unsigned long offset, unsigned long length) {
    std::string array(8, '.');
    ByteArrayOutputStream stream(array.data(), array.size());
    stream.write(buffer, offset, length);
    return array.substr(0, stream.getCount());
}

TEST(OutputStreamWriteBlock, WritesFromWhereTheFirstCallOfTheProcessStarted) {
    EXPECT_EQ(written(FIRST, 1, 0), "");  // a call that writes nothing sets the start, too
    EXPECT_EQ(written(FIRST, 1, 2), "ir");
    EXPECT_EQ(written(SECOND, 0, 2), "ir");
    EXPECT_EQ(written(SECOND, 3, 4), "irst");
    EXPECT_EQ(written(nullptr, 0, 3), "irs");
    std::string other;
    std::thread([&] { other = written(SECOND, 2, 3); }).join();
    EXPECT_EQ(other, "irs");
}

}  // namespace
}  // namespace nx::oss
