// The real tool in a home of its own: options that take their values from a list, fonts and secrets.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <stdexcept>
#include <string>

#include "tests/TestHome.h"

namespace {

struct Answer {
  int code;
  std::string out;  // what it printed, errors included
};

// arguments: as they are typed in a shell.
Answer optionsmgr(const std::string& arguments) {
  FILE* pipe = popen((BUILD_DIR "/optionsmgr --year 2020 " + arguments + " 2>&1").c_str(), "r");
  if (!pipe) throw std::runtime_error("cannot run the tool");
  Answer answer{0, ""};
  std::array<char, 4096> buffer;
  for (std::size_t got; (got = fread(buffer.data(), 1, buffer.size(), pipe)) > 0;)
    answer.out.append(buffer.data(), got);
  const int status = pclose(pipe);
  answer.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  return answer;
}

struct SetRow {
  const char* option;
  const char* words;
  const char* readBack;
};

void expectSetAndRead(const SetRow& row) {
  SCOPED_TRACE(std::string(row.option) + " = " + row.words);
  const Answer set = optionsmgr("set " + std::string(row.option) + " \"" + row.words + "\"");
  EXPECT_EQ(set.code, 0) << set.out;
  EXPECT_EQ(optionsmgr("get " + std::string(row.option)).out, std::string(row.readBack) + "\n");
}

TEST(ChoicesAndFontsTest, AChoiceIsSaidByItsValueOrByItsLabelInEitherLanguage) {
  const testing_support::TestHome home;
  for (const SetRow& row : {
           SetRow{"t1013LevelOfAuth", "2", "2"},
           {"t1013LevelOfAuth", "Level-1 Disclose", "1"},
           {"t1013LevelOfAuth", "Niveau-2 Rvler/Demande changements", "2"},
           {"rc59AllowUpdateAccess", "2-Allow Update & View", "02"},
           {"rc59AllowUpdateAccess", "", ""},
           {"alberta_OrganizationType", "PARTNERSHIP", "PARTNERSHIP"},
           {"preparerModeOfDelivery", "Tlphone", "Phone"},
           {"preparerModeOfDelivery", "efile plus", "Efile Plus"},
           {"preparerModeOfDelivery", "téléphone", "Phone"},
           {"preparerNoticeOfAssAndTaxRefundOption", "adc seulement - adresse du preparateur", "2"},
           {"rc59AllowUpdateAccess", "3 Délégation de pouvoirs, mise à jour et consultation", "03"},
           {"alberta_OrganizationType", "société de personnes", "PARTNERSHIP"},
           {"preparerProvince", "colombie britannique", "British Columbia"},
           {"preparerProvince", "QUÉBEC", "Quebec"},
           {"mr69_AuthType", "2", "2-Power of attorney"},
           {"mr69_Authorization", "3-L'année courante et les années suivantes",
            "3-Current year and following years"},
       })
    expectSetAndRead(row);
  expectSetAndRead({"language", "French", "French"});
  for (const SetRow& row : {
           SetRow{"mr69_Authorization", "2-Current year and preceding years",
                  "2-L'année courante et les années précédentes"},
           {"preparerModeOfDelivery", "Efile Plus", "TED Plus"},
       })
    expectSetAndRead(row);
}

TEST(ChoicesAndFontsTest, AnythingElseIsRefusedWithTheChoices) {
  const testing_support::TestHome home;
  const Answer level = optionsmgr("set t1013LevelOfAuth level-1");
  EXPECT_EQ(level.code, 65);
  EXPECT_EQ(level.out,
            "optionsmgr: \"level-1\" does not fit t1013LevelOfAuth: it takes \"1\" (Level-1 Disclose), "
            "\"2\" (Level-2 Disclose and request changes)\n");
  EXPECT_NE(optionsmgr("--lang fr set rc59AllowUpdateAccess 4").out.find("(1-Consultation seulement)"),
            std::string::npos);
  // Letters that only look like a label's, and a country, mean none.
  EXPECT_EQ(optionsmgr("set preparerModeOfDelivery paperr").code, 65);
  EXPECT_EQ(optionsmgr("set preparerProvince Canada").code, 65);
  EXPECT_EQ(optionsmgr("set t1013LevelOfAuth ''").code, 65);
  EXPECT_EQ(optionsmgr("set mr69_AuthType ''").code, 65);
  EXPECT_EQ(optionsmgr("get t1013LevelOfAuth").out, "1\n");
}

TEST(ChoicesAndFontsTest, ADescriptionShowsTheChoicesInBothLanguages) {
  const testing_support::TestHome home;
  EXPECT_EQ(optionsmgr("describe mr69_AuthType").out,
            "label        MR-69: kind of authorization\n"
            "description  Whether form MR-69 gives an authorization or a power of attorney.\n"
            "group        Quebec\n"
            "option       mr69_AuthType\n"
            "type         choice\n"
            "value        1-Authorization\n"
            "default      1-Authorization\n"
            "key          MR69AuthorizationOrPowerOfAttorney\n"
            "stored       a text, the neutral value of a choice\n"
            "read         a missing entry stays missing and reads as the default\n"
            "setting      a change is not announced\n"
            "facade       mr69_AuthType\n"
            "choices\n"
            "  neutral  English              French          offered  by default\n"
            "  1        1-Authorization      1-Autorisation  yes      yes\n"
            "  2        2-Power of attorney  2-Procuration   yes      no\n");
  const std::string json = optionsmgr("--json describe t1013LevelOfAuth").out;
  EXPECT_NE(json.find("\"neutral\": \"2\",\n      \"english\": \"Level-2 Disclose/Request Changes\",\n"
                      "      \"french\": \"Niveau-2 Rvler/Demande changements\""),
            std::string::npos)
      << json;
}

TEST(ChoicesAndFontsTest, AFontIsItsNameAndItsSize) {
  const testing_support::TestHome home;
  EXPECT_EQ(optionsmgr("get printFontForHeader").code, 1);
  expectSetAndRead({"printFontForHeader", "Helvetica-Bold, 12", "Helvetica-Bold, 12"});
  expectSetAndRead({"printFontForFooter", "Courier,10.1", "Courier, 10.1"});
  EXPECT_EQ(optionsmgr("get printFontForHeader").out, "Helvetica-Bold, 10.1\n");
  const Answer refused = optionsmgr("set printFontForHeader Helvetica");
  EXPECT_EQ(refused.code, 65);
  EXPECT_NE(refused.out.find("\"Helvetica, 12\""), std::string::npos) << refused.out;
  EXPECT_EQ(optionsmgr("reset printFontForHeader").code, 0);
  EXPECT_EQ(optionsmgr("get printFontForHeader").code, 1);
  EXPECT_EQ(optionsmgr("get printFontForFooter").out, "Courier, 10.1\n");
}

TEST(ChoicesAndFontsTest, ThePasswordIsMaskedUnlessAskedFor) {
  const testing_support::TestHome home;
  EXPECT_EQ(optionsmgr("set preparerPassword hush").code, 0);
  EXPECT_EQ(optionsmgr("get preparerPassword").code, 2);
  EXPECT_EQ(optionsmgr("get --show-secrets preparerPassword").out, "hush\n");
  EXPECT_EQ(optionsmgr("--quiet list preparerPassword").out, "preparerPassword  text  ********\n");
  EXPECT_EQ(optionsmgr("--quiet list preparerPassword --show-secrets").out, "preparerPassword  text  hush\n");
  EXPECT_EQ(optionsmgr("describe preparerPassword").out.find("hush"), std::string::npos);
  EXPECT_NE(optionsmgr("describe preparerPassword --show-secrets").out.find("hush"), std::string::npos);
}

TEST(ChoicesAndFontsTest, ADateIsTheNumberThatIsStored) {
  const testing_support::TestHome home;
  EXPECT_EQ(optionsmgr("get rc59_AuthExpiryDate").out, "0\n");
  expectSetAndRead({"rc59_AuthExpiryDate", "20211231", "20211231"});
  expectSetAndRead({"rc59_AuthExpiryDate", "", ""});
}

}  // namespace
