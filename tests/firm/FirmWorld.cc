#include "tests/firm/FirmWorld.h"

#include <unistd.h>

#include "firm/Migrations.h"

namespace testing_support {

using optionsmgr::firm::arrayOf;
using optionsmgr::firm::DatabaseError;

namespace {

constexpr const char* kWrite =
    "SELECT w.number, w.changed FROM optionsmgr.write(gen_random_uuid(), NULL, ARRAY[$1::bigint], "
    "ARRAY['T1'], ARRAY[0], "
    "ARRAY[$2], ARRAY[$4::text IS NULL OR $3::text IS NOT NULL], ARRAY[CASE WHEN $3::text IS NOT NULL THEN "
    "'text' END], ARRAY[$3::text], "
    "ARRAY[$4::boolean], ARRAY[$5::uuid]) AS w";

}  // namespace

void FirmWorld::SetUp() {
  if (!FirmServer::available()) GTEST_SKIP() << "postgresql-15 is not installed";
  static int count = 0;
  database_ = "firm" + std::to_string(++count);
  const auto superuser = sharedServer().connect("postgres", "postgres");
  superuser->run("CREATE DATABASE " + database_, std::chrono::seconds(60));
  owner_ = as("postgres");
  optionsmgr::firm::initialize(*owner_, false);
  addPlace(*owner_, "Firm", "firm");
  addPlace(*owner_, "Firm/Laval", "office");
  addPlace(*owner_, "Firm/Alma", "office");
  addPlace(*owner_, "Firm/Laval/Desk", "desk");
  addPlace(*owner_, "Firm/Alma/Desk", "desk");
  const std::map<std::string, std::pair<const char*, bool>> grants = {{"boss", {"Firm/Laval", true}},
                                                                      {"one", {"Firm/Laval/Desk", false}},
                                                                      {"two", {"Firm/Alma/Desk", false}}};
  for (const auto& [login, grant] : grants) {
    owner_->run("CREATE ROLE " + role(login) + " LOGIN", std::chrono::seconds(10));
    owner_->ask("SELECT optionsmgr.grant_place(gen_random_uuid(), NULL, $1, $2::bigint, $3::boolean)",
                {role(login), place(grant.first), grant.second ? "true" : "false"});
  }
  owner_->run("CREATE ROLE " + role("stranger") + " LOGIN IN ROLE optionsmgr_desk", std::chrono::seconds(10));
}

std::unique_ptr<FirmWorld::Connection> FirmWorld::as(const std::string& login) const {
  return sharedServer().connect(role(login), database_);
}

void FirmWorld::addPlace(Connection& connection, const std::string& path, const std::string& kind) {
  const std::size_t slash = path.rfind('/');
  const Field above = slash == path.npos ? Field() : Field(place(path.substr(0, slash)));
  places_[path] = connection
                      .ask("SELECT optionsmgr.add_place(gen_random_uuid(), NULL, $1::bigint, $2, $3)",
                           {above, slash == path.npos ? path : path.substr(slash + 1), kind})
                      .text(0, 0);
}

FirmWorld::Written FirmWorld::write(Connection& connection, const std::string& place, const std::string& key,
                                    const Field& value, const Field& lock, const Field& expected) {
  const Rows rows = connection.ask(kWrite, {place, key, value, lock, expected});
  return {rows.at(0, 0), std::stoi(rows.text(0, 1))};
}

std::string FirmWorld::writeRefusal(Connection& connection, const std::string& place, const std::string& key,
                                    const Field& value, const Field& expected) {
  return refusal(connection, kWrite, {place, key, value, Field(), expected});
}

}  // namespace testing_support
