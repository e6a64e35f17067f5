// The desk: its files, its agent, and how both stand.
#include <pthread.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <iostream>
#include <nlohmann/json.hpp>

#include "firm/Agent.h"
#include "firm/Configuration.h"
#include "firm/VerbList.h"
#include "tool/speech/Columns.h"

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

// How all desks below what one administers stand, as the store has seen them.
Exit statusOfAll(Connection& server, const Said& said) {
  const Rows rows = server.ask(
      "SELECT t.path, s.name, s.host, s.number, to_char(s.at AT TIME ZONE 'UTC', "
      "'YYYY-MM-DD\"T\"HH24:MI:SS\"Z\"') FROM "
      "optionsmgr.seen s JOIN optionsmgr.tree t ON t.id = s.place ORDER BY t.path, s.name");
  std::vector<std::vector<Field>> shown;
  for (std::size_t i = 0; i < rows.size(); ++i)
    shown.push_back({rows.at(i, 0), rows.at(i, 1), rows.at(i, 2), rows.at(i, 3), rows.at(i, 4)});
  print(said, {"place", "login", "host", "number", "seen"}, shown);
  return Exit::Done;
}

}  // namespace optionsmgr::firm
