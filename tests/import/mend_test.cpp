#include <gtest/gtest.h>
#include <string>

#include "host/mend/address_mend.h"
#include "host/mend/row_mend.h"

namespace zrtest {
namespace {

TEST(Mend, LinkBecomesWhatItCanOnlyMean) {
  const struct {
    const char* type;
    const char* name;
    const char* mended;  // "TYPE NAME"; the same as before when it is no sure thing
  } cases[] = {
      {"1", " John@Example.ORG\t", "1 john@example.org"},
      {"1", "\xC3\x84rger", "1 \xC3\x84rger"},
      {"2", "Sales and  Marketing", "2 sales and  marketing"},
      {"6", "POP3_Mail_Sender ", "6 POP3_Mail_Sender"},
      {"6", "Pop3_mail_sender", "6 pop3_mail_sender"},
      {"1", "  ", "1   "},
      {"3", " Relay.Example.org. ", "3 Relay.Example.org"},
      {"3", "relay..", "3 relay.."},
      {"3", ".", "3 ."},
      {"1", "john.", "1 john."},
      {"4", " 10.0.0.1 ", "4 10.0.0.1"},
      {"4", "::ffff:10.0.0.1", "4 10.0.0.1"},
      {"4", "::FFFF:a00:1", "4 10.0.0.1"},
      {"5", "::ffff:10.0.0.1-::ffff:10.0.0.9", "5 10.0.0.1 ~ 10.0.0.9"},
      {"4", "2001:db8::1", "4 2001:db8::1"},
      {"4", "010.0.0.1", "4 010.0.0.1"},
      {"4", "10.1", "4 10.1"},
      {"5", "10.0.0.0/24", "5 10.0.0.0 ~ 10.0.0.255"},
      {"4", "10.0.0.0 / 31", "5 10.0.0.0 ~ 10.0.0.1"},
      {"5", "10.0.0.7/32", "4 10.0.0.7"},
      {"5", "0.0.0.0/1", "5 0.0.0.0 ~ 127.255.255.255"},
      {"5", "::ffff:10.0.0.0/120", "5 10.0.0.0 ~ 10.0.0.255"},
      {"5", "10.0.0.0/33", "5 10.0.0.0/33"},
      {"5", "10.0.0.0/255.255.255.0", "5 10.0.0.0/255.255.255.0"},
      {"5", "10.4.3.2/9", "5 10.4.3.2/9"},
      {"5", "0.0.0.0/0", "5 0.0.0.0/0"},
      {"5", "10.0.0.5-10.0.0.9", "5 10.0.0.5 ~ 10.0.0.9"},
      {"5", "10.0.0.5 -10.0.0.9", "5 10.0.0.5 ~ 10.0.0.9"},
      {"4", "10.0.0.5~10.0.0.9", "5 10.0.0.5 ~ 10.0.0.9"},
      {"5", "10.0.0.9~10.0.0.5", "5 10.0.0.9~10.0.0.5"},
      {"5", "10.0.0.5~010.0.0.9", "5 10.0.0.5~010.0.0.9"},
      {"5", "10.0.0.5 ~ 10.0.0.5", "4 10.0.0.5"},
      {"5", "10.0.0.5", "4 10.0.0.5"},
      {"5", " ~ 10.0.0.5", "4 10.0.0.5"},
      // Loading takes these for the first address.
      {"4", "10.0.0.5 ~ 10.0.0.9", "4 10.0.0.5 ~ 10.0.0.9"},
      {"4", "10.0.0.5 - 10.0.0.9", "4 10.0.0.5 - 10.0.0.9"},
      {"4", "10.0.0.5 ~ 10.0.0.5", "4 10.0.0.5"},
      {"7", " A ", "7  A "},
  };
  for (const auto& [type, name, mended] : cases) {
    zrhost::LinkRow row{"1", type, name, "1", "1"};
    const bool isMended = !zrhost::mend(row).empty();
    EXPECT_EQ(*row.entityType + ' ' + *row.entityName, mended) << name;
    EXPECT_EQ(isMended, std::string(type) + ' ' + name != mended) << name;
    EXPECT_TRUE(zrhost::mend(row).empty()) << "what was mended is not mended again: " << name;
  }
}

TEST(Mend, ReasonIsToldWhereItIsKnown) {
  const auto fault = [](const char* text) { return zrhost::meaningOfAddress(ZrEntityType::IP_RANGE, text).fault; };
  EXPECT_EQ(fault("10.4.3.2/9"), "does not begin with the first address of its network, which is 10.0.0.0/9");
  EXPECT_EQ(fault("10.0.0.9-10.0.0.1"), "has its first address above the last, so that no address lies in it");
  EXPECT_EQ(fault("255.255.255.0/24"),
            "goes up to 255.255.255.255, which stands for no address; a range may end at 255.255.255.254");
}

TEST(Mend, EveryMendedValueIsNamed) {
  zrhost::MemberRow row{"Sales ", "John"};
  const auto mended = zrhost::mend(row);
  ASSERT_EQ(mended.size(), 2U);
  EXPECT_EQ(mended[0].text(), "group_name 'Sales ' becomes 'sales'");
  EXPECT_EQ(mended[1].text(), "user_name 'John' becomes 'john'");
}

}  // namespace
}  // namespace zrtest
