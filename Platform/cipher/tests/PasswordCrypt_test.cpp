#include "Platform/cipher/PasswordCrypt.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "Platform/stream/ExtNameStr.h"

namespace PasswordCrypt_test {
namespace {

std::string Mangled(const std::string& plain) {
  ExtNameStr password;
  password.SetU8(plain);
  PasswordCrypt().encrypt(password);
  return password.GetU8();
}

// Returns the password of a mangled form; "none" when it is no mangled form.
std::string Plain(const std::string& mangled) {
  ExtNameStr password;
  password.SetU8(mangled);
  const bool isMangled = PasswordCrypt().decrypt(password);
  EXPECT_EQ(isMangled, !password.Empty());
  return isMangled ? password.GetU8() : "none";
}

TEST(PasswordCrypt, RoundTripsThroughTheMangledForm) {
  for (const std::string& plain : {std::string("x"), std::string("swordfish"), std::string("p\u00e4ssw\u00f6rd \u20ac"),
                                   std::string(3000, 'z'), std::string("mangled1:"), std::string(" \t\x7f\xff")})
    EXPECT_EQ(plain, Plain(Mangled(plain)));
}

TEST(PasswordCrypt, ManglesToAKnownText) { EXPECT_EQ("mangled1:c78255e134671fcc44af48", Mangled("swordfish")); }

TEST(PasswordCrypt, MangledFormIsSafeInScripts) {
  const std::string mangled = Mangled("p\u00e4ss\n'\"word");
  EXPECT_TRUE(std::ranges::all_of(mangled,
                                  [](char c) { return c == ':' || (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z'); }));
  EXPECT_THAT(mangled, testing::Not(testing::HasSubstr("word")));
}

TEST(PasswordCrypt, RefusesTextThatIsNotMangled) {
  for (const std::string text : {"", "swordfish", "mangled1:", "mangled1:00", "mangled1:0000", "mangled1:zzzzzz",
                                 "mangled2:c78255e134671fcc44af48", "mangled1:C78255E134671FCC44AF48"})
    EXPECT_EQ("none", Plain(text)) << text;
}

TEST(PasswordCrypt, RefusesAChangedOrTruncatedMangledForm) {
  const std::string mangled = Mangled("swordfish");
  for (std::size_t place = 9; place < mangled.size(); ++place) {
    std::string changed = mangled;
    changed[place] = changed[place] == '0' ? '1' : '0';
    EXPECT_EQ("none", Plain(changed)) << place;
    changed[place] = 'g';
    EXPECT_EQ("none", Plain(changed)) << place << ", which is no digit";
    EXPECT_EQ("none", Plain(mangled.substr(0, place))) << place;
  }
}

TEST(PasswordCrypt, SetsBothFormsOfTheText) {
  ExtNameStr password("swordfish");
  PasswordCrypt().encrypt(password);
  EXPECT_EQ(password.GetU8(), password.GetGeneric());
  PasswordCrypt().decrypt(password);
  EXPECT_EQ("swordfish", password.GetGeneric());
}

}  // namespace
}  // namespace PasswordCrypt_test
