#include "Platform/serial/VStream.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <limits>
#include <string>
#include <vector>

#include "Platform/stream/QUAV_FileStream.h"

namespace VStream_test {
namespace {

struct Thing {
  int number = 0;
  bool flag = false;
  std::uint64_t bits = 0;

  void Serialize(VStream& stream) {
    stream.Int(number);
    stream.Bool(flag);
    stream.Value(bits);
  }
  bool operator==(const Thing&) const = default;
};

const std::vector<Thing> kThings = {
    {},
    {1, true, 0x0102030405060708},
    {-1, false, ~std::uint64_t{0}},
    {std::numeric_limits<int>::min(), true, 1},
};

std::string Stored(Thing thing) {
  VMemoryStream stream;
  thing.Serialize(stream);
  EXPECT_TRUE(stream.Good());
  return stream.Bytes();
}

TEST(VMemoryStream, LoadsWhatWasStored) {
  for (const Thing& thing : kThings) {
    VMemoryStream stream(Stored(thing));
    Thing loaded;
    loaded.Serialize(stream);
    EXPECT_TRUE(stream.Good());
    EXPECT_EQ(thing, loaded);
  }
}

TEST(VMemoryStream, KnowsItsDirection) {
  EXPECT_FALSE(VMemoryStream().IsLoading());
  EXPECT_TRUE(VMemoryStream("").IsLoading());
}

TEST(VMemoryStream, StoresIntBoolAndValueInFourOneAndEightBytes) {
  EXPECT_EQ(std::string("\x02\0\0\0\x01\x03\0\0\0\0\0\0\0", 13), Stored({2, true, 3}));
}

TEST(VMemoryStream, LoadsAnyNonzeroByteAsTrue) {
  VMemoryStream stream(std::string("\x80", 1));
  bool flag = false;
  stream.Bool(flag);
  EXPECT_TRUE(flag);
}

TEST(VMemoryStream, GivesZeroForTruncatedFields) {
  const std::string bytes = Stored({7, true, 9});
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    VMemoryStream stream(bytes.substr(0, size));
    Thing loaded{5, true, 5};
    loaded.Serialize(stream);
    EXPECT_FALSE(stream.Good()) << size;
    EXPECT_EQ(size >= 4 ? 7 : 0, loaded.number) << size;
    EXPECT_EQ(size >= 5, loaded.flag) << size;
    EXPECT_EQ(0u, loaded.bits) << size;
  }
}

TEST(VMemoryStream, StaysBadAfterAFailure) {
  VMemoryStream stream("12");
  int number = 1;
  bool flag = true;
  stream.Int(number);
  stream.Bool(flag);
  EXPECT_EQ(0, number);
  EXPECT_FALSE(flag) << "a byte is left, but it is not this one's";
}

TEST(VFileStream, LoadsWhatWasStored) {
  const std::string name = testing::TempDir() + "datasrc_vstream";
  QUAV_FileStream file;
  ASSERT_TRUE(file.Open(name.c_str(), "w+b"));
  Thing stored = kThings[1];
  VFileStream out(file, VStream::kStoring);
  stored.Serialize(out);
  EXPECT_TRUE(out.Good());
  file.Seek(0, kSeekFromStart);
  VFileStream in(file, VStream::kLoading);
  Thing loaded;
  loaded.Serialize(in);
  EXPECT_TRUE(in.Good());
  EXPECT_EQ(stored, loaded);
  loaded.Serialize(in);
  EXPECT_FALSE(in.Good());
  EXPECT_EQ(Thing(), loaded);
  std::remove(name.c_str());
}

TEST(VFileStream, IsBadWhenTheFileIsNotOpen) {
  QUAV_FileStream file;
  VFileStream out(file, VStream::kStoring);
  int number = 3;
  out.Int(number);
  EXPECT_FALSE(out.Good());
  EXPECT_EQ(3, number);
}

}  // namespace
}  // namespace VStream_test
