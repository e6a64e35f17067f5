// What a desk may not do, by trying it.
#include <chrono>
#include <string>

#include "tests/firm/FirmWorld.h"

namespace {

using optionsmgr::firm::Connection;
using optionsmgr::firm::DatabaseError;
using optionsmgr::firm::Field;
using testing_support::FirmWorld;
using testing_support::refusal;
using testing_support::sharedServer;

constexpr const char* kDenied = "42501";      // Not permitted by the database.
constexpr const char* kNotAllowed = "OM077";  // Not permitted by the store.

class FirmSecurityTest : public FirmWorld {
 protected:
  void SetUp() override {
    FirmWorld::SetUp();
    if (IsSkipped()) return;
    write(*owner_, place("Firm"), "Everywhere", "\"all\"");
    write(*owner_, place("Firm/Laval"), "City", "\"Laval\"");
    write(*owner_, place("Firm/Alma"), "City", "\"Alma\"");
    write(*owner_, place("Firm/Alma/Desk"), "Printer", "\"upstairs\"");
  }

  static std::string count(Connection& connection, const std::string& what) {
    return connection.ask(("SELECT count(*) FROM optionsmgr." + what).c_str()).text(0, 0);
  }
};

TEST_F(FirmSecurityTest, ADeskSeesItsChainAndNothingBesideIt) {
  const auto one = as("one");
  EXPECT_EQ(count(*one, "settings"), "2");
  EXPECT_EQ(count(*one, "settings WHERE place = " + place("Firm/Alma")), "0");
  EXPECT_EQ(count(*one, "places"), "3");
  EXPECT_EQ(count(*one, "tree"), "3");
  EXPECT_EQ(count(*one, "sight"), "3");
  EXPECT_EQ(count(*one, "grants"), "1");
  EXPECT_EQ(count(*one, "changes WHERE place = " + place("Firm/Alma/Desk")), "0");
  // Nor by asking for another's state.
  EXPECT_EQ(one->ask("SELECT refused FROM optionsmgr.state($1::bigint, '{}')", {place("Firm/Alma/Desk")})
                .text(0, 0),
            "place");
}

TEST_F(FirmSecurityTest, AnAdministratorSeesAboveAndBelowButNotBeside) {
  const auto boss = as("boss");
  EXPECT_EQ(count(*boss, "places"), "3");
  EXPECT_EQ(count(*boss, "settings"), "2");
  EXPECT_EQ(write(*boss, place("Firm/Laval/Desk"), "City", "\"Chomedey\"").changed, 1);
  EXPECT_EQ(writeRefusal(*boss, place("Firm"), "City", "\"mine\""), kNotAllowed);
  EXPECT_EQ(writeRefusal(*boss, place("Firm/Alma"), "City", "\"mine\""), kNotAllowed);
}

TEST_F(FirmSecurityTest, ALoginWithoutAGrantIsRefusedAndNotAnsweredWithNothing) {
  const auto stranger = as("stranger");
  const auto rows = stranger->ask("SELECT refused FROM optionsmgr.state(NULL, '{}')");
  ASSERT_EQ(rows.size(), 1U);
  EXPECT_EQ(rows.text(0, 0), "grant");
  EXPECT_EQ(count(*stranger, "settings"), "0");
}

TEST_F(FirmSecurityTest, ADeskWritesNothing) {
  const auto one = as("one");
  EXPECT_EQ(writeRefusal(*one, place("Firm/Laval/Desk"), "City", "\"mine\""), kNotAllowed);
  EXPECT_EQ(writeRefusal(*one, place("Firm"), "City", "\"mine\""), kNotAllowed);
  EXPECT_EQ(refusal(*one, "UPDATE optionsmgr.settings SET value = '\"mine\"'"), kDenied);
  EXPECT_EQ(refusal(*one, "DELETE FROM optionsmgr.settings"), kDenied);
  EXPECT_EQ(refusal(*one, "TRUNCATE optionsmgr.settings"), kDenied);
  EXPECT_EQ(refusal(*one, "INSERT INTO optionsmgr.sight SELECT role, $1::bigint, true FROM optionsmgr.sight",
                    {place("Firm/Alma")}),
            kDenied);
  EXPECT_EQ(refusal(*one, "UPDATE optionsmgr.firm SET number = 0"), kDenied);
  EXPECT_EQ(
      refusal(*one, "SELECT optionsmgr.grant_place(gen_random_uuid(), NULL, session_user, $1::bigint, true)",
              {place("Firm")}),
      kNotAllowed);
  EXPECT_EQ(refusal(*one, "SELECT optionsmgr.move_place(gen_random_uuid(), NULL, $1::bigint, $2::bigint)",
                    {place("Firm/Laval/Desk"), place("Firm/Alma")}),
            kNotAllowed);
  EXPECT_EQ(refusal(*one, "SELECT optionsmgr.add_place(gen_random_uuid(), NULL, NULL, 'Mine', '')"),
            kNotAllowed);
}

TEST_F(FirmSecurityTest, NobodyForgesHistory) {
  for (const char* const login : {"one", "boss"}) {
    const auto connection = as(login);
    EXPECT_EQ(refusal(*connection, "UPDATE optionsmgr.changes SET who = 'two'"), kDenied);
    EXPECT_EQ(refusal(*connection, "DELETE FROM optionsmgr.changes"), kDenied);
    EXPECT_EQ(refusal(*connection, "INSERT INTO optionsmgr.changes (number) VALUES (1)"), kDenied);
    EXPECT_EQ(
        refusal(*connection,
                "SELECT optionsmgr.note(gen_random_uuid(), NULL, 'setting', $1::bigint, 'City', NULL, NULL)",
                {place("Firm/Laval")}),
        kDenied);
  }
  // The functions' own role changes none either, not even another's name in it.
  owner_->run("SET ROLE optionsmgr_owner", std::chrono::seconds(10));
  EXPECT_EQ(owner_->ask("UPDATE optionsmgr.changes SET who = 'two' RETURNING 1").size(), 0U);
  EXPECT_EQ(
      refusal(
          *owner_,
          "INSERT INTO optionsmgr.changes (number, token, at, who, subject, place, product, year, key, "
          "locked_before, locked_after) VALUES (1, gen_random_uuid(), now(), 'two', 'setting', $1::bigint, "
          "'T1', 0, 'City', false, false)",
          {place("Firm")}),
      kDenied);
}

TEST_F(FirmSecurityTest, ARoleTakenOnSinceLoginOpensNothing) {
  // Somebody made the desk a member of an administrator's role, as one inherits rights elsewhere.
  owner_->run("GRANT " + role("boss") + " TO " + role("one"), std::chrono::seconds(10));
  const auto one = as("one");
  EXPECT_EQ(writeRefusal(*one, place("Firm/Laval"), "City", "\"mine\""), kNotAllowed);
  one->run("SET ROLE " + role("boss"), std::chrono::seconds(10));
  EXPECT_EQ(count(*one, "sight WHERE admin"), "0");
  EXPECT_EQ(writeRefusal(*one, place("Firm/Laval"), "City", "\"mine\""), kNotAllowed);
}

TEST_F(FirmSecurityTest, ARoleThatIsMadeAgainInheritsNothingOfItsName) {
  owner_->run("DROP ROLE " + role("one"), std::chrono::seconds(10));
  owner_->run("CREATE ROLE " + role("one") + " LOGIN IN ROLE optionsmgr_desk", std::chrono::seconds(10));
  const auto one = as("one");
  EXPECT_EQ(count(*one, "settings"), "0");
  EXPECT_EQ(one->ask("SELECT refused FROM optionsmgr.state(NULL, '{}')").text(0, 0), "grant");
}

TEST_F(FirmSecurityTest, ARoleThatIsCalledOtherwiseKeepsItsPlace) {
  owner_->run("ALTER ROLE " + role("one") + " RENAME TO " + role("first"), std::chrono::seconds(10));
  EXPECT_EQ(count(*as("first"), "settings"), "2");
}

TEST_F(FirmSecurityTest, NoTemporaryTableStandsInForOneOfOurs) {
  const auto one = as("one");
  EXPECT_EQ(refusal(*one, "CREATE TEMPORARY TABLE sight (role oid, place bigint, admin boolean)"), kDenied);
  EXPECT_EQ(refusal(*one, "CREATE TABLE public.sight (role oid, place bigint, admin boolean)"), kDenied);
  EXPECT_EQ(refusal(*one, "CREATE VIEW optionsmgr.mine AS SELECT 1"), kDenied);
  EXPECT_EQ(refusal(*one, "CREATE FUNCTION public.now() RETURNS integer LANGUAGE sql AS 'SELECT 1'"),
            kDenied);
  // Had somebody given the right back, the functions would still find our tables, not those.
  owner_->run("GRANT TEMPORARY ON DATABASE " + database() + " TO PUBLIC", std::chrono::seconds(10));
  const auto again = as("one");
  again->run(
      "CREATE TEMPORARY TABLE sight AS SELECT optionsmgr.me() AS role, id AS place, true AS admin FROM "
      "generate_series(1, 9) AS id; CREATE FUNCTION pg_temp.me() RETURNS oid LANGUAGE sql AS 'SELECT "
      "10::oid'; "
      "SET search_path = pg_temp, pg_catalog",
      std::chrono::seconds(10));
  EXPECT_EQ(writeRefusal(*again, place("Firm"), "City", "\"mine\""), kNotAllowed);
  EXPECT_EQ(count(*again, "settings"), "2");
}

TEST_F(FirmSecurityTest, LargeObjectsAreClosed) {
  const auto one = as("one");
  for (const char* const call :
       {"SELECT lo_create(0)", "SELECT lo_creat(-1)", "SELECT lo_from_bytea(0, 'x')", "SELECT lo_get(1)",
        "SELECT lo_put(1, 0, 'x')", "SELECT lo_open(1, 131072)", "SELECT lo_unlink(1)",
        "SELECT lo_import('/etc/passwd')", "SELECT lo_export(1, '/tmp/x')", "SELECT loread(1, 1)",
        "SELECT lowrite(1, 'x')"})
    EXPECT_EQ(refusal(*one, call), kDenied) << call;
}

TEST_F(FirmSecurityTest, AnOddFunctionInAPredicateSeesNoHiddenRow) {
  // The planner may not hand hidden rows to a function that would tell of them, by its complaint for
  // instance.
  const auto one = as("one");
  EXPECT_EQ(refusal(*one,
                    "SELECT FROM optionsmgr.settings WHERE key = 'Printer' AND 1 / (length(value) - "
                    "length(value)) > 0"),
            "");
  EXPECT_EQ(refusal(*one, "SELECT FROM optionsmgr.settings WHERE value::integer = 1 AND place = $1::bigint",
                    {place("Firm/Alma/Desk")}),
            "");
}

TEST_F(FirmSecurityTest, SecretsAreRefusedAndNeitherMessageNorLogTellsThem) {
  EXPECT_EQ(writeRefusal(*owner_, place("Firm"), "PreparerPassword", "\"hush-hush\""), "23514");
  // The same for what the store does not take by its form or its size.
  EXPECT_EQ(writeRefusal(*owner_, place("Firm"), "City", "hush-hush"), "23514");
  EXPECT_EQ(writeRefusal(*owner_, place("Firm"), std::string(1001, 'k'), "\"hush-hush\""), "23514");
  const auto boss = as("boss");
  EXPECT_EQ(writeRefusal(*boss, place("Firm"), "City", "\"hush-hush\""), kNotAllowed);
  EXPECT_EQ(sharedServer().log().find("hush-hush"), std::string::npos);
  EXPECT_NE(sharedServer().log().find("settings_secret"), std::string::npos) << "nothing was logged at all";
  EXPECT_EQ(count(*owner_, "settings WHERE key = 'PreparerPassword'"), "0");
}

// What holds for every object, so that one that is added later cannot be forgotten.
TEST_F(FirmSecurityTest, EveryFunctionIsClosedAndEveryTableIsUnderRowSecurity) {
  const auto told = [&](const char* sql) {
    std::string all;
    const auto rows = owner_->ask(sql);
    for (std::size_t i = 0; i < rows.size(); ++i) all += rows.text(i, 0) + " ";
    return all;
  };
  EXPECT_EQ(told("SELECT oid::regprocedure FROM pg_proc WHERE pronamespace = 'optionsmgr'::regnamespace AND "
                 "has_function_privilege('public', oid, 'EXECUTE')"),
            "");
  EXPECT_EQ(
      told("SELECT oid::regprocedure FROM pg_proc WHERE pronamespace = 'optionsmgr'::regnamespace AND NOT "
           "coalesce(proconfig @> ARRAY['search_path=pg_catalog, pg_temp'], false)"),
      "");
  EXPECT_EQ(told("SELECT relname FROM pg_class WHERE relnamespace = 'optionsmgr'::regnamespace AND relkind "
                 "IN ('r', 'p') "
                 "AND NOT (relrowsecurity AND relforcerowsecurity)"),
            "");
  EXPECT_EQ(told("SELECT relname FROM pg_class WHERE relnamespace = 'optionsmgr'::regnamespace AND relkind "
                 "IN ('v', 'm') "
                 "AND NOT coalesce(reloptions @> ARRAY['security_invoker=true'], false)"),
            "");
  EXPECT_EQ(told("SELECT rolname FROM pg_roles WHERE rolname IN ('optionsmgr_owner', 'optionsmgr_desk') AND "
                 "(rolsuper OR rolbypassrls OR rolcreaterole OR rolcreatedb OR rolcanlogin)"),
            "");
  EXPECT_EQ(told("SELECT relname FROM pg_class WHERE relnamespace = 'optionsmgr'::regnamespace AND relkind "
                 "IN ('r', 'v') "
                 "AND has_table_privilege('optionsmgr_desk', oid, 'INSERT, UPDATE, DELETE, TRUNCATE, "
                 "REFERENCES, TRIGGER')"),
            "");
  EXPECT_EQ(
      told("SELECT relname FROM pg_class WHERE relnamespace = 'optionsmgr'::regnamespace AND relowner <> "
           "'optionsmgr_owner'::regrole"),
      "");
}

TEST_F(FirmSecurityTest, ACopyThatStandsInAnotherClusterShowsNothingBeforeItIsTakenOver) {
  owner_->run("UPDATE optionsmgr.firm SET system = system + 1", std::chrono::seconds(10));
  EXPECT_EQ(count(*as("one"), "settings"), "0");
  EXPECT_EQ(writeRefusal(*as("boss"), place("Firm/Laval"), "City", "\"mine\""), kNotAllowed);
}

}  // namespace
