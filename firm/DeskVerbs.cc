// The desk: its files, its agent, and how both stand.
#include <pthread.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "firm/Agent.h"
#include "firm/Configuration.h"
#include "firm/VerbList.h"
#include "qorvane/foundation/Dictionary.h"
#include "qorvane/preferences/LayeredUserDefaults.h"
#include "tool/Domains.h"
#include "tool/speech/Columns.h"
#include "tool/speech/Language.h"

namespace optionsmgr::firm {

using Json = nlohmann::ordered_json;

Exit sync(const Said&) {
  Agent agent(readConfiguration(), -1);
  std::cout << say(Word::stateTaken, agent.syncOnce()) << '\n';
  return Exit::Done;
}

Exit stay(const Said& said) {
  sigset_t ends;
  sigemptyset(&ends);
  for (const int end : {SIGTERM, SIGINT}) sigaddset(&ends, end);
  pthread_sigmask(SIG_BLOCK, &ends, nullptr);
  const int stop = signalfd(-1, &ends, SFD_CLOEXEC);
  Agent agent(readConfiguration(), stop);
  agent.run(std::chrono::milliseconds(static_cast<long>(said.interval * 1000)));
  close(stop);
  return Exit::Done;
}

// How this desk stands, from its folder alone: it answers with the server dead.
Exit status(const Said& said) {
  const std::string folder = stateFolder(readConfiguration().folder);
  const States::Left word = States::leftIn(folder);
  const auto followed = States::followedIn(folder);
  const Json left = Json::parse(word.json, nullptr, false);
  const auto text = [&](const char* key) {
    return left.is_object() && left.contains(key) && left[key].is_string()
               ? Field(left[key].get<std::string>())
               : Field();
  };
  const std::string number = followed ? std::to_string(followed->number) : "-";
  if (said.json) {
    const auto orNull = [](const Field& field) { return field ? Json(*field) : Json(nullptr); };
    std::cout << Json{{"folder", folder},
                      {"number", followed ? Json(followed->number) : Json(nullptr)},
                      {"running", word.running},
                      {"state", word.running ? orNull(text("state")) : Json(nullptr)},
                      {"since", word.running ? orNull(text("since")) : Json(nullptr)}}
                     .dump(2, ' ', false, Json::error_handler_t::replace)
              << '\n';
  } else {
    std::cout << say(Word::statusFolder, folder) << '\n' << say(Word::statusNumber, number) << '\n';
    std::cout << (word.running ? say(Word::statusAgent, oneLine(text("told").value_or("-")),
                                     text("since").value_or("-"))
                               : say(Word::statusNoAgent))
              << '\n';
  }
  return word.running && text("state") != Field("connected") && text("state") != Field("polling")
             ? Exit::NotFound
             : Exit::Done;
}

// How the server and all desks below what one administers stand, as the store has seen them.
Exit statusOfAll(Connection& server, const Said& said) {
  const Rows room = server.ask(
      "SELECT f.number, c.used, c.allowed, c.allowed - c.used, c.synchronous FROM optionsmgr.firm f, "
      "optionsmgr.capacity() AS c");
  const Rows rows = server.ask(
      "SELECT t.path, s.name, s.host, s.number, to_char(s.at AT TIME ZONE 'UTC', "
      "'YYYY-MM-DD\"T\"HH24:MI:SS\"Z\"') FROM optionsmgr.seen s JOIN optionsmgr.tree t ON t.id = s.place "
      "ORDER BY "
      "t.path, s.name");
  const auto number = [&](std::size_t column) {
    return room.at(0, column) ? Json(std::stoll(room.text(0, column))) : Json(nullptr);
  };
  if (said.json) {
    Json desks = Json::array();
    for (std::size_t i = 0; i < rows.size(); ++i)
      desks.push_back({{"place", rows.text(i, 0)},
                       {"login", rows.text(i, 1)},
                       {"host", rows.text(i, 2)},
                       {"number", std::stoll(rows.text(i, 3))},
                       {"seen", rows.text(i, 4)}});
    const Json all{{"number", number(0)},
                   {"connections", {{"used", number(1)}, {"allowed", number(2)}, {"left", number(3)}}},
                   {"synchronousStandbys", number(4)},
                   {"desks", desks}};
    std::cout << all.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
    return Exit::Done;
  }
  std::cout << say(Word::statusNumber, room.text(0, 0)) << '\n'
            << say(Word::statusConnections, room.text(0, 3), room.text(0, 2)) << '\n';
  if (const Field standbys = room.at(0, 4); !standbys || *standbys == "0")
    std::cerr << "optionsmgr-firm: " << say(standbys ? Word::noStandby : Word::standbyUnknown) << '\n';
  std::vector<std::vector<Field>> shown;
  shown.reserve(rows.size());
  for (std::size_t i = 0; i < rows.size(); ++i)
    shown.push_back({rows.at(i, 0), rows.at(i, 1), rows.at(i, 2), rows.at(i, 3), rows.at(i, 4)});
  print(said, {"place", "login", "host", "number", "seen"}, shown);
  return Exit::Done;
}

namespace {

// Takes those of the user's own entries away without which everything reads the same, the firm having them.
class Adoption : public qorvane::UserDefaults::Merge {
 public:
  qorvane::Value merged(const qorvane::Value& standing) override { return standing; }
  qorvane::Settings mergedLayers(const std::shared_ptr<const qorvane::LayeredSettings>& standing) override {
    adopted_ = 0;
    const qorvane::Dictionary read = standing->effective();
    qorvane::Settings own = standing->own();
    for (const auto& [key, value] : standing->ownEntries()) {
      qorvane::Dictionary fewer = *own.object.asDictionary();
      fewer.remove(key.view());
      const qorvane::Settings without{fewer, qorvane::chosenAmong(own.chosen, fewer)};
      const auto tried = standing->with(without);
      const auto* layer = tried->standing(key.view()).layer;
      const bool firms = layer && layer->kind() == qorvane::LayerFolder::Kind::Firm;
      if (!firms || !readSame(read, tried->effective())) continue;
      own = without;
      ++adopted_;
    }
    return own;
  }
  void written() override {}
  int adopted() const { return adopted_; }

 private:
  static bool readSame(const qorvane::Dictionary& one, const qorvane::Dictionary& other) {
    return one.size() == other.size() && std::ranges::all_of(one, [&](const auto& entry) {
             const qorvane::Value* value = other.find(entry.key.view());
             return value && isIdentical(entry.value, *value);
           });
  }

  int adopted_ = 0;
};

}  // namespace

Exit adopt(const Said& said) {
  qorvane::LayeredUserDefaults files;
  int adopted = 0;
  for (const optionsmgr::Domain& domain : domainsIn(files.folder())) {
    const auto layers = files.load(domain.key()).layers;
    if (!layers) continue;
    const auto adoption = std::make_shared<Adoption>();
    files.update(layers->own().object, domain.key(), adoption);
    if (!files.synchronize())
      throw FirmFailure(Exit::InputOutput, Word::notAdopted, domain.name(), told(*files.lastFailure()));
    adopted += adoption->adopted();
  }
  if (said.json)
    std::cout << Json{{"adopted", adopted}}.dump() << '\n';
  else
    std::cout << say(Word::adopted, std::to_string(adopted)) << '\n';
  return Exit::Done;
}

Exit leave(const Said&) {
  const Configuration configuration = readConfiguration();
  States(stateFolder(configuration.folder)).remove();
  std::cout << say(Word::left) << '\n';
  try {
    Connection().ask("SELECT optionsmgr.leave()");
  } catch (const DatabaseError& error) {
    throw FirmFailure(Exit::Unavailable, Word::leftUntold, error.what());
  }
  return Exit::Done;
}

}  // namespace optionsmgr::firm
