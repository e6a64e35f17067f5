// Batches, numbers and tokens; the tree; several administrators at once.
#include <algorithm>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "firm/Migrations.h"
#include "firm/Words.h"
#include "tests/firm/FirmWorld.h"

namespace {

using namespace std::chrono_literals;
using optionsmgr::firm::arrayOf;
using optionsmgr::firm::Connection;
using optionsmgr::firm::DatabaseError;
using optionsmgr::firm::Field;
using testing_support::FirmWorld;
using testing_support::refusal;
using testing_support::sharedServer;

class FirmWritingTest : public FirmWorld {
 protected:
  std::string token(const std::string& path) {
    return owner_->ask("SELECT p.token FROM optionsmgr.places p WHERE p.id = $1::bigint", {place(path)})
        .text(0, 0);
  }
  std::string number() { return owner_->ask("SELECT f.number FROM optionsmgr.firm f").text(0, 0); }
  std::string settingToken(const std::string& path, const std::string& key) {
    return owner_
        ->ask("SELECT s.token FROM optionsmgr.settings s WHERE s.place = $1::bigint AND s.key = $2",
              {place(path), key})
        .text(0, 0);
  }
  std::string moveRefusal(Connection& connection, const std::string& from, const std::string& to) {
    return refusal(connection,
                   "SELECT optionsmgr.move_place(gen_random_uuid(), NULL, $1::bigint, $2::bigint)",
                   {place(from), place(to)});
  }
};

TEST_F(FirmWritingTest, AChangeRenewsItsPlacesTokenAloneAndHasItsHistory) {
  const std::string laval = token("Firm/Laval");
  const std::string alma = token("Firm/Alma");
  const std::string before = number();
  const Written done = write(*as("boss"), place("Firm/Laval"), "City", "\"Laval\"");
  EXPECT_EQ(done.changed, 1);
  EXPECT_EQ(done.number, std::to_string(std::stoi(before) + 1));
  EXPECT_NE(token("Firm/Laval"), laval);
  EXPECT_EQ(token("Firm/Alma"), alma);
  const auto row =
      owner_->ask("SELECT c.who, c.before, c.after, c.number FROM optionsmgr.changes c WHERE c.key = 'City'");
  ASSERT_EQ(row.size(), 1U);
  EXPECT_EQ(row.text(0, 0), role("boss"));
  EXPECT_EQ(row.at(0, 1), std::nullopt);
  EXPECT_EQ(row.text(0, 2), "\"Laval\"");
  EXPECT_EQ(row.at(0, 3), done.number);
}

TEST_F(FirmWritingTest, AWriteThatChangesNothingTakesNoNumber) {
  write(*owner_, place("Firm"), "City", "\"Alma\"");
  const std::string before = number();
  const std::string old = token("Firm");
  const Written again = write(*owner_, place("Firm"), "City", "\"Alma\"");
  EXPECT_EQ(again.changed, 0);
  EXPECT_EQ(again.number, std::nullopt);
  EXPECT_EQ(write(*owner_, place("Firm"), "Absent", std::nullopt).changed, 0);
  EXPECT_EQ(number(), before);
  EXPECT_EQ(token("Firm"), old);
}

TEST_F(FirmWritingTest, ValuesAreKeptAsTheExactText) {
  for (const char* const value : {"\"1.10\"", "\"\\u00e9\"", "\"  two  \"", "\"\"",
                                  "\"Qu\xc3\xa9"
                                  "bec\""}) {
    write(*owner_, place("Firm"), "City", value);
    EXPECT_EQ(owner_->ask("SELECT s.value FROM optionsmgr.settings s WHERE s.key = 'City'").text(0, 0),
              value);
  }
}

TEST_F(FirmWritingTest, ALockOutlivesItsValueAndGoesByItself) {
  write(*owner_, place("Firm"), "City", "\"Alma\"", "true");
  EXPECT_EQ(write(*owner_, place("Firm"), "City", std::nullopt).changed, 1);
  const auto row = owner_->ask("SELECT s.value, s.locked FROM optionsmgr.settings s WHERE s.key = 'City'");
  ASSERT_EQ(row.size(), 1U);
  EXPECT_EQ(row.at(0, 0), std::nullopt);
  EXPECT_EQ(row.text(0, 1), "t");
  write(*owner_, place("Firm"), "City", std::nullopt, "false");
  EXPECT_EQ(owner_->ask("SELECT FROM optionsmgr.settings").size(), 0U);
}

TEST_F(FirmWritingTest, AnEntryThatChangedSinceIsNotOverwrittenWhereOneAsksForIt) {
  const std::string none = "00000000-0000-0000-0000-000000000000";
  EXPECT_EQ(writeRefusal(*owner_, place("Firm"), "City", "\"one\"", none), "");
  const std::string seen = settingToken("Firm", "City");
  EXPECT_EQ(writeRefusal(*owner_, place("Firm"), "City", "\"two\"", none), "OM075");
  write(*owner_, place("Firm"), "City", "\"three\"");
  EXPECT_EQ(writeRefusal(*owner_, place("Firm"), "City", "\"four\"", seen), "OM075");
  EXPECT_EQ(writeRefusal(*owner_, place("Firm"), "City", "\"four\"", settingToken("Firm", "City")), "");
}

TEST_F(FirmWritingTest, ABatchIsOneNumberOrNothing) {
  const std::string before = number();
  constexpr const char* batch =
      "SELECT w.number, w.changed FROM optionsmgr.write($1::uuid, 'import', $2::bigint[], $3::text[], "
      "$4::integer[], "
      "$5::text[], $6::boolean[], $7::text[], $8::text[], $9::boolean[], $10::uuid[]) AS w";
  const auto with = [&](const std::string& value) {
    const std::size_t count = 300;
    std::vector<Field> keys;
    std::vector<Field> values;
    for (std::size_t i = 0; i < count; ++i) {
      keys.emplace_back("Key" + std::to_string(i * 7919 % count));
      values.emplace_back(i == 150 ? value : "\"v\"");
    }
    const auto same = [&](const Field& field) { return arrayOf(std::vector<Field>(count, field)); };
    return std::vector<Field>{"11111111-2222-3333-4444-555555555555",
                              same(place("Firm")),
                              same("T2"),
                              same("2024"),
                              arrayOf(keys),
                              same("true"),
                              same("text"),
                              arrayOf(values),
                              same(std::nullopt),
                              same(std::nullopt)};
  };
  EXPECT_EQ(refusal(*owner_, batch, with("not JSON")), "23514");
  EXPECT_EQ(number(), before);
  EXPECT_EQ(owner_->ask("SELECT FROM optionsmgr.settings").size(), 0U);
  EXPECT_EQ(owner_->ask("SELECT optionsmgr.committed('11111111-2222-3333-4444-555555555555')").at(0, 0),
            std::nullopt);

  const auto done = owner_->ask(batch, with("\"v\""));
  EXPECT_EQ(done.text(0, 1), "300");
  EXPECT_EQ(number(), std::to_string(std::stoi(before) + 1));
  EXPECT_EQ(
      owner_->ask("SELECT DISTINCT c.number, c.at FROM optionsmgr.changes c WHERE c.subject = 'setting'")
          .size(),
      1U);
  EXPECT_EQ(owner_->ask("SELECT optionsmgr.committed('11111111-2222-3333-4444-555555555555')").at(0, 0),
            done.at(0, 0));

  auto twice = with("\"v\"");
  twice[4] = arrayOf(std::vector<Field>(300, "Key"));
  twice[0] = "11111111-2222-3333-4444-555555555556";
  EXPECT_EQ(refusal(*owner_, batch, twice), "OM065");
}

TEST_F(FirmWritingTest, AdministratorsAtOnceAllStand) {
  constexpr int kWriters = 6;
  constexpr int kEach = 25;
  std::vector<std::unique_ptr<Connection>> connections;
  for (int i = 0; i < kWriters; ++i) connections.push_back(as("postgres"));
  const int before = std::stoi(number());
  std::vector<std::string> failures(kWriters);
  std::vector<std::thread> threads;
  for (int writer = 0; writer < kWriters; ++writer)
    threads.emplace_back([&, writer] {
      // In opposite orders over two places, which would lock each other out if the locks had no order.
      const std::string places = writer % 2 ? place("Firm/Laval") + "," + place("Firm/Alma")
                                            : place("Firm/Alma") + "," + place("Firm/Laval");
      const std::string own = "Own" + std::to_string(writer);
      for (int round = 0; round < kEach; ++round) {
        const std::string value = "\"" + std::to_string(writer * 1000 + round) + "\"";
        const std::string why =
            refusal(*connections[static_cast<std::size_t>(writer)],
                    "SELECT optionsmgr.write(gen_random_uuid(), NULL, $1::bigint[], '{T1,T1}', '{0,0}', "
                    "$2::text[], '{t,t}', "
                    "'{text,text}', $3::text[], '{NULL,NULL}', '{NULL,NULL}')",
                    {"{" + places + "}", arrayOf({own, std::string("Shared")}), arrayOf({value, value})});
        if (!why.empty()) failures[static_cast<std::size_t>(writer)] = why;
      }
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, std::vector<std::string>(kWriters));
  EXPECT_EQ(std::stoi(number()), before + kWriters * kEach);
  for (int writer = 0; writer < kWriters; ++writer)
    EXPECT_EQ(owner_
                  ->ask("SELECT DISTINCT s.value FROM optionsmgr.settings s WHERE s.key = $1",
                        {"Own" + std::to_string(writer)})
                  .text(0, 0),
              "\"" + std::to_string(writer * 1000 + kEach - 1) + "\"");
  // Every number once, and what stands in the shared entries is what the last of them wrote.
  EXPECT_EQ(
      owner_->ask("SELECT FROM optionsmgr.changes c GROUP BY c.number HAVING count(DISTINCT c.token) > 1")
          .size(),
      0U);
  EXPECT_EQ(owner_
                ->ask("SELECT FROM optionsmgr.settings s JOIN LATERAL (SELECT c.after FROM "
                      "optionsmgr.changes c WHERE "
                      "c.place = s.place AND c.key = s.key ORDER BY c.number DESC LIMIT 1) AS c ON c.after "
                      "<> s.value")
                .size(),
            0U);
}

TEST_F(FirmWritingTest, APlaceThatMovesTakesItsDeskAlongAndRenewsEveryTokenBelow) {
  write(*owner_, place("Firm/Laval"), "City", "\"Laval\"");
  write(*owner_, place("Firm/Alma"), "City", "\"Alma\"");
  const std::string desk = token("Firm/Laval/Desk");
  const auto one = as("one");
  const auto seen = [&] {
    return one->ask("SELECT s.value FROM optionsmgr.settings s WHERE s.key = 'City'").text(0, 0);
  };
  EXPECT_EQ(seen(), "\"Laval\"");
  owner_->ask("SELECT optionsmgr.add_place(gen_random_uuid(), NULL, $1::bigint, 'Team', 'team')",
              {place("Firm/Alma")});
  EXPECT_EQ(moveRefusal(*owner_, "Firm/Laval", "Firm/Alma"), "");
  EXPECT_NE(token("Firm/Laval/Desk"), desk);
  EXPECT_EQ(one->ask("SELECT FROM optionsmgr.places").size(), 4U);
  EXPECT_EQ(as("two")->ask("SELECT FROM optionsmgr.places").size(), 3U);
  // Its administrator sees one more above, and still changes nothing there.
  EXPECT_EQ(writeRefusal(*as("boss"), place("Firm/Alma"), "City", "\"mine\""), "OM077");
  EXPECT_EQ(write(*as("boss"), place("Firm/Laval/Desk"), "City", "\"mine\"").changed, 1);
}

TEST_F(FirmWritingTest, TheClosureIsWhatTreeAndGrantsSayAfterManyMoves) {
  std::vector<std::string> paths = {"Firm", "Firm/Laval", "Firm/Alma", "Firm/Laval/Desk", "Firm/Alma/Desk"};
  for (int i = 0; i < 12; ++i) {
    const std::string path = paths[static_cast<std::size_t>(i) % paths.size()] + "/P" + std::to_string(i);
    addPlace(*owner_, path, "");
    paths.push_back(path);
  }
  unsigned chance = 12345;
  const auto any = [&] { return paths[(chance = chance * 1103515245 + 12345) / 65536 % paths.size()]; };
  int moved = 0;
  for (int i = 0; i < 60; ++i) moved += moveRefusal(*owner_, any(), any()).empty();
  EXPECT_GT(moved, 10);
  EXPECT_EQ(owner_
                ->ask("WITH RECURSIVE up AS (SELECT g.role, g.place FROM optionsmgr.grants g UNION SELECT "
                      "u.role, p.parent "
                      "FROM up u JOIN optionsmgr.places p ON p.id = u.place WHERE p.parent IS NOT NULL), "
                      "down AS (SELECT "
                      "g.role, g.place FROM optionsmgr.grants g WHERE g.admin UNION SELECT d.role, p.id FROM "
                      "down d JOIN "
                      "optionsmgr.places p ON p.parent = d.place), wanted AS (SELECT role, place, "
                      "bool_or(admin) AS admin "
                      "FROM (SELECT role, place, false AS admin FROM up UNION ALL SELECT role, place, true "
                      "FROM down) AS a "
                      "GROUP BY role, place) (SELECT * FROM wanted EXCEPT SELECT * FROM optionsmgr.sight) "
                      "UNION ALL (SELECT * "
                      "FROM optionsmgr.sight EXCEPT SELECT * FROM wanted)")
                .size(),
            0U);
}

TEST_F(FirmWritingTest, NoCircleAndNothingDeeperThanEight) {
  EXPECT_EQ(moveRefusal(*owner_, "Firm/Laval", "Firm/Laval/Desk"), "OM066");
  EXPECT_EQ(moveRefusal(*owner_, "Firm/Laval", "Firm/Laval"), "OM066");
  EXPECT_EQ(moveRefusal(*owner_, "Firm", "Firm/Laval"), "OM077");
  std::string path = "Firm/Laval/Desk";
  for (int level = 4; level <= 8; ++level) {
    path += "/L";
    addPlace(*owner_, path, "");
  }
  EXPECT_EQ(refusal(*owner_, "SELECT optionsmgr.add_place(gen_random_uuid(), NULL, $1::bigint, 'L', '')",
                    {place(path)}),
            "OM066");
  EXPECT_EQ(moveRefusal(*owner_, "Firm/Laval", "Firm/Alma"), "OM066");
  EXPECT_EQ(moveRefusal(*owner_, "Firm/Alma", "Firm/Laval"), "");
}

TEST_F(FirmWritingTest, TwoMovesAtOnceMakeNoCircle) {
  for (int round = 0; round < 10; ++round) {
    const auto first = as("postgres");
    const auto second = as("postgres");
    std::string a;
    std::string b;
    std::thread one([&] { a = moveRefusal(*first, "Firm/Laval", "Firm/Alma"); });
    std::thread two([&] { b = moveRefusal(*second, "Firm/Alma", "Firm/Laval"); });
    one.join();
    two.join();
    EXPECT_TRUE((a.empty() && b == "OM066") || (b.empty() && a == "OM066")) << a << " " << b;
    EXPECT_EQ(moveRefusal(*owner_, "Firm/Laval", "Firm"), "");
    EXPECT_EQ(moveRefusal(*owner_, "Firm/Alma", "Firm"), "");
  }
}

TEST_F(FirmWritingTest, ARemovedPlaceLeavesItsHistoryAndItsName) {
  write(*owner_, place("Firm/Laval/Desk"), "City", "\"Laval\"");
  constexpr const char* remove = "SELECT optionsmgr.remove_place(gen_random_uuid(), NULL, $1::bigint)";
  EXPECT_EQ(refusal(*owner_, remove, {place("Firm/Laval")}), "OM078");
  EXPECT_EQ(refusal(*owner_, remove, {place("Firm/Laval/Desk")}), "");
  EXPECT_EQ(as("one")->ask("SELECT refused FROM optionsmgr.state(NULL, '{}')").text(0, 0), "grant");
  EXPECT_EQ(as("boss")->ask("SELECT FROM optionsmgr.changes c WHERE c.key = 'City'").size(), 2U);
  EXPECT_EQ(writeRefusal(*owner_, place("Firm/Laval/Desk"), "City", "\"Laval\""), "OM001");
  addPlace(*owner_, "Firm/Laval/Desk", "desk");
  EXPECT_EQ(owner_->ask("SELECT FROM optionsmgr.tree t WHERE t.path = 'Firm/Laval/Desk'").size(), 1U);
}

TEST_F(FirmWritingTest, ARevokedGrantCountsAtOnce) {
  const auto boss = as("boss");
  owner_->ask("SELECT optionsmgr.revoke_place(gen_random_uuid(), NULL, $1, $2::bigint)",
              {role("boss"), place("Firm/Laval")});
  EXPECT_EQ(writeRefusal(*boss, place("Firm/Laval"), "City", "\"mine\""), "OM077");
  EXPECT_EQ(boss->ask("SELECT FROM optionsmgr.settings").size(), 0U);
  EXPECT_EQ(refusal(*owner_, "SELECT optionsmgr.revoke_place(gen_random_uuid(), NULL, $1, $2::bigint)",
                    {role("boss"), place("Firm/Laval")}),
            "OM001");
}

TEST_F(FirmWritingTest, AGrantGoesByTheNameThatItsRoleHas) {
  constexpr const char* revoke = "SELECT optionsmgr.revoke_place(gen_random_uuid(), NULL, $1, $2::bigint)";
  owner_->run("ALTER ROLE " + role("one") + " RENAME TO " + role("first"), 10s);
  optionsmgr::firm::initialize(*owner_, false);
  EXPECT_EQ(owner_->ask("SELECT FROM optionsmgr.grants g WHERE g.name = $1", {role("first")}).size(), 1U);
  EXPECT_EQ(refusal(*owner_, revoke, {role("one"), place("Firm/Laval/Desk")}), "OM001");
  EXPECT_EQ(refusal(*owner_, revoke, {role("first"), place("Firm/Laval/Desk")}), "");
  // One that was dropped is known by the name it had.
  owner_->run("DROP ROLE " + role("two"), 10s);
  EXPECT_EQ(refusal(*owner_, revoke, {role("two"), place("Firm/Alma/Desk")}), "");
}

TEST_F(FirmWritingTest, ASuccessorOfTheSameNameStartsWithNothingInARestoredCopyToo) {
  owner_->run("DROP ROLE " + role("one"), 10s);
  owner_->run("CREATE ROLE " + role("one") + " LOGIN", 10s);
  owner_->ask("SELECT optionsmgr.grant_place(gen_random_uuid(), NULL, $1, $2::bigint, false)",
              {role("one"), place("Firm/Alma/Desk")});
  optionsmgr::firm::initialize(*owner_, true);
  EXPECT_EQ(as("one")->ask("SELECT FROM optionsmgr.places p WHERE p.name = 'Laval'").size(), 0U);
  EXPECT_EQ(as("one")->ask("SELECT FROM optionsmgr.places p WHERE p.name = 'Alma'").size(), 1U);
}

TEST_F(FirmWritingTest, ALoginIsTheDeskOfOnePlaceOnly) {
  EXPECT_EQ(refusal(*owner_, "SELECT optionsmgr.grant_place(gen_random_uuid(), NULL, $1, $2::bigint, false)",
                    {role("one"), place("Firm/Alma/Desk")}),
            "OM079");
}

TEST_F(FirmWritingTest, AnIdleAdministratorHoldsUpOnlyThoseWhoWait) {
  const auto idle = as("boss");
  idle->run("BEGIN", 10s);
  write(*idle, place("Firm/Laval"), "City", "\"Laval\"");
  const auto other = as("postgres");
  other->run("BEGIN; SET LOCAL lock_timeout = '200ms'", 10s);
  EXPECT_EQ(writeRefusal(*other, place("Firm/Laval"), "City", "\"mine\""), "55P03");
  idle->run("ROLLBACK", 10s);
  EXPECT_EQ(write(*owner_, place("Firm/Laval"), "City", "\"mine\"").changed, 1);
}

TEST_F(FirmWritingTest, StateIsSentOnlyWhereATokenIsNotKnown) {
  write(*owner_, place("Firm"), "Everywhere", "\"all\"");
  write(*owner_, place("Firm/Laval"), "City", "\"Laval\"", "true");
  const auto one = as("one");
  const auto keys = [&](const std::vector<Field>& known) {
    const auto rows = one->ask(
        "SELECT s.key FROM optionsmgr.state(NULL, $1::uuid[]) AS s WHERE s.key IS NOT NULL ORDER BY 1",
        {arrayOf(known)});
    std::string all;
    for (std::size_t i = 0; i < rows.size(); ++i) all += rows.text(i, 0) + " ";
    return all;
  };
  EXPECT_EQ(keys({}), "City Everywhere ");
  EXPECT_EQ(keys({token("Firm")}), "City ");
  EXPECT_EQ(keys({token("Firm"), token("Firm/Laval"), token("Firm/Laval/Desk")}), "");
  write(*owner_, place("Firm"), "Everywhere", "\"more\"");
  EXPECT_EQ(keys({token("Firm/Laval"), token("Firm/Laval/Desk")}), "Everywhere ");
}

TEST_F(FirmWritingTest, PruningKeepsWhatTellsOfValuesThatStand) {
  write(*owner_, place("Firm"), "City", "\"one\"");
  write(*owner_, place("Firm"), "City", "\"two\"");
  write(*owner_, place("Firm"), "Gone", "\"x\"");
  write(*owner_, place("Firm"), "Gone", std::nullopt);
  owner_->ask("SELECT optionsmgr.prune_history(now() + interval '1 day')");
  const auto left = owner_->ask("SELECT c.after FROM optionsmgr.changes c");
  ASSERT_EQ(left.size(), 1U);
  EXPECT_EQ(left.text(0, 0), "\"two\"");
}

TEST_F(FirmWritingTest, InitMayRunAgainAndSeveralAtOnceAndWhileADeskReads) {
  const auto one = as("one");
  std::vector<std::unique_ptr<Connection>> connections;
  for (int i = 0; i < 3; ++i) connections.push_back(as("postgres"));
  std::vector<std::string> failures(connections.size());
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < connections.size(); ++i)
    threads.emplace_back([&, i] {
      try {
        optionsmgr::firm::initialize(*connections[i], false);
      } catch (const std::exception& error) {
        failures[i] = error.what();
      }
    });
  for (int i = 0; i < 20; ++i) EXPECT_EQ(refusal(*one, "SELECT FROM optionsmgr.state(NULL, '{}')"), "");
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, std::vector<std::string>(connections.size()));
  EXPECT_EQ(owner_->ask("SELECT FROM optionsmgr.migrations").size(),
            optionsmgr::firm::migrations().size() - 1);
}

TEST_F(FirmWritingTest, SeveralMayMakeOneStoreAtOnce) {
  const std::string fresh = database() + "_fresh";
  owner_->run("CREATE DATABASE " + fresh, 60s);
  std::vector<std::unique_ptr<Connection>> connections;
  for (int i = 0; i < 3; ++i) connections.push_back(sharedServer().connect("postgres", fresh));
  std::vector<std::string> failures(connections.size());
  std::vector<std::thread> threads;
  for (std::size_t i = 0; i < connections.size(); ++i)
    threads.emplace_back([&, i] {
      try {
        optionsmgr::firm::initialize(*connections[i], false);
      } catch (const std::exception& error) {
        failures[i] = error.what();
      }
    });
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, std::vector<std::string>(connections.size()));
}

TEST_F(FirmWritingTest, ARoleThatIsNoSuperuserMakesItToo) {
  // As at a hosting company: one may make roles and owns the database, and no more.
  const std::string fresh = database() + "_rented";
  owner_->run("CREATE ROLE " + role("renter") + " LOGIN CREATEROLE", 10s);
  owner_->run("CREATE DATABASE " + fresh + " OWNER " + role("renter"), 60s);
  const auto renter = sharedServer().connect(role("renter"), fresh);
  // The cluster's roles are there already, of another's making; who may make roles may join them.
  optionsmgr::firm::initialize(*renter, false);
  EXPECT_EQ(refusal(*renter, "SELECT optionsmgr.add_place(gen_random_uuid(), NULL, NULL, 'Firm', '')"), "");
  EXPECT_EQ(renter->ask("SELECT FROM optionsmgr.tree t WHERE t.admin").size(), 1U);
  const auto one = sharedServer().connect(role("one"), fresh);
  EXPECT_EQ(refusal(*one, "SELECT optionsmgr.add_place(gen_random_uuid(), NULL, NULL, 'Mine', '')"), "OM077");
  EXPECT_EQ(one->ask("SELECT FROM optionsmgr.places").size(), 0U);
}

TEST_F(FirmWritingTest, ARestoredStoreLooksItsRolesUpAnew) {
  write(*owner_, place("Firm/Laval"), "City", "\"Laval\"");
  // As in another cluster: the numbers of two roles are exchanged, and the cluster is not the one it was.
  const std::string old = token("Firm");
  owner_->run("UPDATE optionsmgr.grants SET name = '" + role("two") + "x' WHERE name = '" + role("two") +
                  "'; UPDATE "
                  "optionsmgr.grants SET name = '" +
                  role("two") + "' WHERE name = '" + role("one") +
                  "'; UPDATE "
                  "optionsmgr.firm SET system = 1",
              10s);
  try {
    optionsmgr::firm::initialize(*owner_, false);
    FAIL() << "it was taken for this cluster's";
  } catch (const optionsmgr::firm::FirmFailure& failure) {
    EXPECT_EQ(failure.word(), optionsmgr::firm::Word::storeFromElsewhere);
  }
  optionsmgr::firm::initialize(*owner_, true);
  EXPECT_EQ(as("one")->ask("SELECT FROM optionsmgr.settings").size(), 0U);
  EXPECT_EQ(as("two")->ask("SELECT FROM optionsmgr.settings").size(), 1U);
  EXPECT_NE(token("Firm"), old);
  EXPECT_NE(owner_->ask("SELECT f.restored FROM optionsmgr.firm f").text(0, 0), "0");
}

}  // namespace
