#include "datasrc/Settings.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <string>

namespace settings_test {
namespace {

// Restores the setting after each test.
class AsynchronousReadingSetting : public testing::Test {
 protected:
  ~AsynchronousReadingSetting() override { setasynchreading_(&m_before); }

 private:
  int m_before = getasynchreading_();
};

TEST_F(AsynchronousReadingSetting, IsOnByDefault) { EXPECT_EQ(getasynchreading_(), 1); }

TEST_F(AsynchronousReadingSetting, KeepsTheValueSet) {
  for (int value : {0, 1, 7, -1}) {
    setasynchreading_(&value);
    EXPECT_EQ(getasynchreading_(), value);
  }
}

// Restores the setting and the environment variable after each test.
class CompressionSetting : public testing::Test {
 protected:
  CompressionSetting() {
    if (const char* value = std::getenv("CACHE_SYNTAX_OVERRIDE")) m_variable = value;
    unsetenv("CACHE_SYNTAX_OVERRIDE");
    setOption(0);
  }
  ~CompressionSetting() override {
    setOption(m_before ? 1 : 0);
    SetOverride(m_variable.empty() ? nullptr : m_variable.c_str());
  }

  static void SetOverride(const char* value) {
    if (value == nullptr)
      unsetenv("CACHE_SYNTAX_OVERRIDE");
    else
      setenv("CACHE_SYNTAX_OVERRIDE", value, 1);
  }

  // Sets the value and returns the status.
  static int Set(int value) {
    int status = -1;
    setzcompression_(&value, &status);
    return status;
  }

 private:
  bool m_before = getzcompression_();
  std::string m_variable;
};

TEST_F(CompressionSetting, IsOnOnlyForOptions1And3) {
  for (const int value : {-1, 0, 1, 2, 3, 4}) {
    setOption(value);
    EXPECT_EQ(getzcompression_(), value == 1 || value == 3) << value;
  }
}

TEST_F(CompressionSetting, IsSwitchedOffByOption2) {
  setOption(1);
  setOption(2);
  EXPECT_FALSE(getzcompression_());
}

TEST_F(CompressionSetting, ChangesWhenTheVariableIsNotSet) {
  EXPECT_TRUE(getzcompressionoa_());
  EXPECT_EQ(Set(3), 0);
  EXPECT_TRUE(getzcompression_());
  EXPECT_EQ(Set(2), 0);
  EXPECT_FALSE(getzcompression_());
}

TEST_F(CompressionSetting, ChangesWhenTheVariableAllowsIt) {
  for (const char* value : {"1", "1 and more"}) {
    SetOverride(value);
    setOption(0);
    EXPECT_TRUE(getzcompressionoa_());
    EXPECT_EQ(Set(1), 0);
    EXPECT_TRUE(getzcompression_());
  }
}

TEST_F(CompressionSetting, StaysUnchangedWithStatus20WhenTheVariableForbidsTheChange) {
  for (const char* value : {"0", "01"}) {
    SetOverride(value);
    EXPECT_FALSE(getzcompressionoa_());
    EXPECT_EQ(Set(1), 20);
    EXPECT_FALSE(getzcompression_());
    setOption(1);
    EXPECT_EQ(Set(0), 20);
    EXPECT_TRUE(getzcompression_());
    setOption(0);
  }
}

TEST_F(CompressionSetting, StaysUnchangedWithStatus0WhenTheVariableHasAnotherText) {
  for (const char* value : {"", "2", "yes", " 1"}) {
    SetOverride(value);
    EXPECT_FALSE(getzcompressionoa_());
    EXPECT_EQ(Set(1), 0);
    EXPECT_FALSE(getzcompression_());
  }
}

// ---- Settings that nothing reads: each test restores them ----

TEST(CacheSettings, HaveTheirDefaults) {
  EXPECT_EQ(gethcache_(), 0);
  EXPECT_EQ(gethcachebuffersize_(), 0x800000);
  EXPECT_EQ(gethcachecompressionmethod_(), 2);
  EXPECT_EQ(gethcachemultithread_(), 0);
}

TEST(CacheSettings, KeepTheValuesSet) {
  for (long value : {7L, -1L, 0L}) {
    sethcache_(&value);
    sethcachemultithread_(&value);
    EXPECT_EQ(gethcache_(), value);
    EXPECT_EQ(gethcachemultithread_(), value);
  }
}

TEST(CacheSettings, BufferSizeIsSetInKilobytes) {
  long value = 3;
  sethcachebuffersize_(&value);
  EXPECT_EQ(gethcachebuffersize_(), 3072);
  value = 1;
  sethcachebuffersize_(&value);
  EXPECT_EQ(gethcachebuffersize_(), 1024);
  value = 0x800000 / 1024;
  sethcachebuffersize_(&value);
}

TEST(CacheSettings, IgnoreABufferSizeOutOfRange) {
  for (long value : {0L, -1L, std::numeric_limits<long>::min(), std::numeric_limits<long>::max()}) {
    sethcachebuffersize_(&value);
    EXPECT_EQ(gethcachebuffersize_(), 0x800000) << value;
  }
}

TEST(CacheSettings, AcceptOnlyCompressionMethods0To2) {
  for (long value : {0L, 1L, 2L}) {
    sethcachecompressionmethod_(&value);
    EXPECT_EQ(gethcachecompressionmethod_(), value);
  }
  for (long value : {-1L, 3L}) {
    sethcachecompressionmethod_(&value);
    EXPECT_EQ(gethcachecompressionmethod_(), 2) << value;
  }
}

}  // namespace
}  // namespace settings_test
