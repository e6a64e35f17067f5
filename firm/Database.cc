#include "firm/Database.h"

#include <libpq-fe.h>
#include <poll.h>

#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

#include "firm/Words.h"

namespace optionsmgr::firm {

namespace {

constexpr std::chrono::seconds kConnecting{5};

// A message of libpq or the server on one line.
std::string trimmed(const char* message) {
  std::string text;
  for (const char c : std::string_view(message ? message : "")) {
    const bool blank = c == ' ' || c == '\n' || c == '\t';
    if (!blank)
      text += c;
    else if (!text.empty() && text.back() != ' ')
      text += ' ';
  }
  if (text.ends_with(' ')) text.pop_back();
  return text;
}

std::vector<std::string> listed(std::string_view commas) {
  std::vector<std::string> parts(1);
  for (const char c : commas) {
    if (c == ',')
      parts.emplace_back();
    else
      parts.back() += c;
  }
  return parts;
}

// The element for that host, where one alone stands for all.
const std::string& elementFor(const std::vector<std::string>& parts, std::size_t host) {
  static const std::string none;
  return parts.size() == 1 ? parts[0] : host < parts.size() ? parts[host] : none;
}

bool isSocket(const std::string& host) { return host.empty() || host[0] == '/' || host[0] == '@'; }

bool isLoopback(const std::string& host) {
  return host == "localhost" || host == "::1" || host.starts_with("127.");
}

// What a wait that did not last long enough is told as.
[[noreturn]] void late() { throw DatabaseError(say(Word::serverLate), ""); }

}  // namespace

std::string arrayOf(const std::vector<Field>& elements) {
  std::string text = "{";
  for (const Field& element : elements) {
    if (text.size() > 1) text += ',';
    if (!element) {
      text += "NULL";
      continue;
    }
    text += '"';
    for (const char c : *element) {
      if (c == '"' || c == '\\') text += '\\';
      text += c;
    }
    text += '"';
  }
  return text + '}';
}

Rows::Rows(pg_result* result) : result_(result, PQclear) {}
std::size_t Rows::size() const { return static_cast<std::size_t>(PQntuples(result_.get())); }
Field Rows::at(std::size_t row, std::size_t column) const {
  const int r = static_cast<int>(row);
  const int c = static_cast<int>(column);
  if (PQgetisnull(result_.get(), r, c)) return std::nullopt;
  return std::string(PQgetvalue(result_.get(), r, c),
                     static_cast<std::size_t>(PQgetlength(result_.get(), r, c)));
}
std::string Rows::text(std::size_t row, std::size_t column) const { return at(row, column).value_or(""); }

void Connection::Finish::operator()(pg_conn* connection) const { PQfinish(connection); }

Connection::~Connection() = default;

Connection::Connection(int stop, std::size_t first) : stop_(stop) {
  const std::unique_ptr<PQconninfoOption, void (*)(PQconninfoOption*)> known(PQconndefaults(),
                                                                             PQconninfoFree);
  if (!known) throw DatabaseError(say(Word::serviceUnknown), "");
  std::vector<const char*> keywords;
  std::vector<const char*> values;
  std::vector<std::string> hosts = {""};
  std::vector<std::string> addresses = {""};
  std::vector<std::string> ports = {""};
  std::string ssl;
  std::string binding;
  for (const PQconninfoOption* option = known.get(); option->keyword; ++option) {
    const std::string_view keyword = option->keyword;
    if (!option->val) continue;
    if (keyword == "host") {
      hosts = listed(option->val);
    } else if (keyword == "hostaddr") {
      addresses = listed(option->val);
    } else if (keyword == "port") {
      ports = listed(option->val);
    } else if (keyword == "sslmode") {
      ssl = option->val;
    } else if (keyword == "channel_binding") {
      binding = option->val;
    } else if (keyword != "application_name" && keyword != "client_encoding" &&
               keyword != "connect_timeout" && keyword != "fallback_application_name") {
      keywords.push_back(option->keyword);
      values.push_back(option->val);
    }
  }
  std::string told;
  hosts_ = std::max(hosts.size(), addresses.size());
  for (std::size_t tries = 0; tries < hosts_; ++tries) {
    const std::size_t i = host_ = (first + tries) % hosts_;
    const std::string& host = elementFor(hosts, i);
    const std::string& address = elementFor(addresses, i);
    const std::string& reached = address.empty() ? host : address;
    // "prefer" is libpq's own word where nothing was said.
    const bool trusted = isSocket(reached) || (isLoopback(reached) && ssl != "prefer");
    std::vector<const char*> words = keywords;
    std::vector<const char*> said = values;
    const auto add = [&](const char* keyword, const char* value) {
      words.push_back(keyword);
      said.push_back(value);
    };
    if (!host.empty()) add("host", host.c_str());
    if (!address.empty()) add("hostaddr", address.c_str());
    if (!elementFor(ports, i).empty()) add("port", elementFor(ports, i).c_str());
    add("sslmode", trusted ? ssl.c_str() : "verify-full");
    // So that a server in another's place is not even shown the password.
    add("channel_binding", trusted || binding != "prefer" ? binding.c_str() : "require");
    add("application_name", "optionsmgr-firm");
    add("client_encoding", "UTF8");
    add(nullptr, nullptr);
    const std::string failure = connectTo(words, said);
    if (failure.empty()) return;
    told += (told.empty() ? "" : "; ") + failure;
  }
  throw DatabaseError(told, "");
}

// Empty when it is connected, else why not.
std::string Connection::connectTo(const std::vector<const char*>& keywords,
                                  const std::vector<const char*>& values) {
  connection_.reset(PQconnectStartParams(keywords.data(), values.data(), 0));
  if (!connection_) throw std::bad_alloc();
  const Clock::time_point deadline = Clock::now() + kConnecting;
  try {
    for (PostgresPollingStatusType state = PGRES_POLLING_WRITING; state != PGRES_POLLING_OK;
         state = PQconnectPoll(connection_.get())) {
      if (state == PGRES_POLLING_FAILED || PQstatus(connection_.get()) == CONNECTION_BAD) {
        std::string why = trimmed(PQerrorMessage(connection_.get()));
        connection_.reset();
        return why;
      }
      await(state == PGRES_POLLING_READING ? POLLIN : POLLOUT, deadline);
    }
  } catch (const DatabaseError& error) {
    const char* host = PQhost(connection_.get());
    std::string why = std::string(host ? host : "") + ": " + error.what();
    connection_.reset();
    return why;
  }
  PQsetnonblocking(connection_.get(), 1);
  PQsetNoticeReceiver(
      connection_.get(),
      [](void* self, const PGresult* notice) {
        if (const char* severity = PQresultErrorField(notice, PG_DIAG_SEVERITY_NONLOCALIZED);
            severity && std::string_view(severity) == "WARNING")
          static_cast<Connection*>(self)->warnings_.push_back(
              trimmed(PQresultErrorField(notice, PG_DIAG_MESSAGE_PRIMARY)));
      },
      this);
  return {};
}

void Connection::await(short events, Clock::time_point deadline) {
  std::array<pollfd, 2> ends = {{{PQsocket(connection_.get()), events, 0}, {stop_, POLLIN, 0}}};
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (left <= 0) late();
    const int ready = poll(ends.data(), ends.size(), static_cast<int>(std::min<long long>(left, 1 << 30)));
    if (ready < 0 && errno != EINTR) throw std::system_error(errno, std::generic_category(), "poll");
    if (ready > 0 && ends[1].revents != 0) throw Stopped();
    if (ready > 0) return;
  }
}

void Connection::broken() {
  std::string why = trimmed(PQerrorMessage(connection_.get()));
  throw DatabaseError(why.empty() ? say(Word::connectionLost) : why, "");
}

Rows Connection::answer(Clock::time_point deadline) {
  PGconn* const server = connection_.get();
  for (int left; (left = PQflush(server)) != 0;) {
    if (left < 0) broken();
    await(POLLIN | POLLOUT, deadline);
    if (!PQconsumeInput(server)) broken();
  }
  Rows last(nullptr);
  std::optional<DatabaseError> failure;
  for (;;) {
    while (PQisBusy(server)) {
      await(POLLIN, deadline);
      if (!PQconsumeInput(server)) broken();
    }
    PGresult* const result = PQgetResult(server);
    if (!result) break;
    last = Rows(result);
    const ExecStatusType status = PQresultStatus(result);
    if (status == PGRES_TUPLES_OK || status == PGRES_COMMAND_OK || failure) continue;
    const char* state = PQresultErrorField(result, PG_DIAG_SQLSTATE);
    failure.emplace(
        trimmed(state ? PQresultErrorField(result, PG_DIAG_MESSAGE_PRIMARY) : PQresultErrorMessage(result)),
        state ? state : "");
  }
  // The server's own last word before it hung up is told, but it is no answer.
  const bool lost = PQstatus(server) != CONNECTION_OK;
  if (failure) throw lost ? DatabaseError(failure->what(), "") : DatabaseError(*failure);
  if (lost) broken();
  return last;
}

Rows Connection::ask(const char* sql, const std::vector<Field>& parameters, std::chrono::milliseconds limit) {
  std::vector<const char*> values;
  values.reserve(parameters.size());
  for (const Field& parameter : parameters) values.push_back(parameter ? parameter->c_str() : nullptr);
  if (!PQsendQueryParams(connection_.get(), sql, static_cast<int>(values.size()), nullptr, values.data(),
                         nullptr, nullptr, 0))
    broken();
  return answer(Clock::now() + limit);
}

void Connection::run(const std::string& statements, std::chrono::milliseconds limit) {
  if (!PQsendQuery(connection_.get(), statements.c_str())) broken();
  static_cast<void>(answer(Clock::now() + limit));
}

bool Connection::takeNotifications() {
  bool any = false;
  while (PGnotify* const notification = PQnotifies(connection_.get())) {
    PQfreemem(notification);
    any = true;
  }
  return any;
}

bool Connection::heardBefore(Clock::time_point until) {
  for (;;) {
    if (takeNotifications()) return true;
    if (Clock::now() >= until) return false;
    try {
      await(POLLIN, until);
    } catch (const DatabaseError&) {
      return false;  // The time is over.
    }
    if (!PQconsumeInput(connection_.get())) broken();
  }
}

int Connection::process() const { return PQbackendPID(connection_.get()); }

std::vector<std::string> Connection::takeWarnings() { return std::exchange(warnings_, {}); }

}  // namespace optionsmgr::firm
