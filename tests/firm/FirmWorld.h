// A small firm in a database of its own: Firm over Laval and Alma, a desk in each. Its logins are the owner
// (the cluster's superuser), `boss` who administers Laval, `one` at Laval's desk, `two` at Alma's, `stranger`
// with nothing; each has the database's name in front, since a cluster's databases share its roles.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>

#include "firm/Database.h"
#include "tests/firm/FirmServer.h"

namespace testing_support {

class FirmWorld : public testing::Test {
 protected:
  using Connection = optionsmgr::firm::Connection;
  using Field = optionsmgr::firm::Field;
  using Rows = optionsmgr::firm::Rows;

  void SetUp() override;

  std::unique_ptr<Connection> as(const std::string& login) const;
  std::string role(const std::string& login) const {
    return login == "postgres" ? login : database_ + "_" + login;
  }
  const std::string& database() const { return database_; }
  std::string place(const std::string& path) const { return places_.at(path); }

  /// Makes a place and remembers its number under its path.
  void addPlace(Connection& connection, const std::string& path, const std::string& kind);

  /// Writes one setting there: a text in JSON's form, null to take it away.
  struct Written {
    Field number;
    int changed = 0;
  };
  static Written write(Connection& connection, const std::string& place, const std::string& key,
                       const Field& value, const Field& lock = std::nullopt,
                       const Field& expected = std::nullopt);
  static std::string writeRefusal(Connection& connection, const std::string& place, const std::string& key,
                                  const Field& value, const Field& expected = std::nullopt);

  std::unique_ptr<Connection> owner_;

 private:
  std::string database_;
  std::map<std::string, std::string> places_;
};

}  // namespace testing_support
