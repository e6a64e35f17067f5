// A firm of one place on a server of its own, whose desk is the superuser's; and its files in a temporary
// home.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <memory>
#include <string>

#include "firm/Agent.h"
#include "firm/Migrations.h"
#include "firm/Store.h"
#include "qorvane/foundation/Dictionary.h"
#include "qorvane/propertylist/PropertyList.h"
#include "tests/TestHome.h"
#include "tests/firm/FirmServer.h"

namespace testing_support {

class FirmOfOne : public testing::Test {
 protected:
  void SetUp() override {
    if (!FirmServer::available()) GTEST_SKIP() << "postgresql-15 is not installed";
    setenv("XDG_CONFIG_DIRS", home_.path().c_str(), 1);
    setenv("LC_ALL", "C.UTF-8", 1);
    server_ = std::make_unique<FirmServer>();
    const auto owner = server_->connect("postgres", "postgres");
    optionsmgr::firm::initialize(*owner, false);
    owner->ask("SELECT optionsmgr.add_place(gen_random_uuid(), NULL, NULL, 'Firm', '')");
    place_ = optionsmgr::firm::placeCalled(*owner, "Firm");
    write(*server_, "one");
  }
  void TearDown() override { unsetenv("XDG_CONFIG_DIRS"); }

  optionsmgr::firm::Entry city(const std::string& value) const {
    optionsmgr::firm::Entry entry{.place = place_, .domain = {}, .key = "PCity"};
    entry.sets = true;
    entry.value = '"' + value + '"';
    return entry;
  }
  optionsmgr::firm::Stored write(const FirmServer& server, const std::string& value) const {
    const auto owner = server.connect("postgres", "postgres");
    return optionsmgr::firm::store(*owner, optionsmgr::firm::batchOf({city(value)}, std::nullopt));
  }
  // What one fetch answers: its number, or what it is told.
  static std::string synced() try {
    return optionsmgr::firm::Agent({}, -1).syncOnce();
  } catch (const optionsmgr::firm::FirmFailure& failure) {
    return failure.what();
  }
  std::filesystem::path states() const { return home_.path() / ".local/state/Qorvane/firm"; }
  std::string atDesk() const try {
    const qorvane::Value top =
        qorvane::readPropertyList(readFile(states() / "current/QorvaneT1Settings.plist"));
    return top.asDictionary()->find("QorvaneT1Settings")->asDictionary()->find("PCity")->textValue().string();
  } catch (const std::runtime_error&) {
    return "";
  }
  std::string status() const { return readFile(states() / "status.json"); }
  bool isState(const std::string& word) const {
    return std::filesystem::exists(states() / "status.json") &&
           status().find("\"state\": \"" + word + "\"") != std::string::npos;
  }

  TestHome home_;
  std::unique_ptr<FirmServer> server_;
  std::string place_;
};

}  // namespace testing_support
