// A connection to the firm's server, asked asynchronously and always with a deadline of our own: a server
// that stands still must not hold a program up.
//
// Statements are unnamed and have parameters only; nothing is kept in the session, so that poolers may stand
// between. One thread.
#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

struct pg_conn;
struct pg_result;

namespace optionsmgr::firm {

using Clock = std::chrono::steady_clock;

/// A parameter or a field: none for null.
using Field = std::optional<std::string>;

/// Several values as one parameter, to be cast to an array by the statement.
std::string arrayOf(const std::vector<Field>& elements);

/// Why the server did not do what it was asked.
class DatabaseError : public std::runtime_error {
 public:
  DatabaseError(const std::string& what, std::string state) : runtime_error(what), state_(std::move(state)) {}
  /// The five characters of SQLSTATE; empty when the server was not reached or the connection broke.
  const std::string& state() const noexcept { return state_; }

 private:
  std::string state_;
};

/// Thrown out of any wait when the stop descriptor has become readable.
struct Stopped {};

class Rows {
 public:
  explicit Rows(pg_result* result);
  std::size_t size() const;
  /// The field of that row and column; none for null.
  Field at(std::size_t row, std::size_t column) const;
  /// The same of a field that is never null.
  std::string text(std::size_t row, std::size_t column) const;

 private:
  std::shared_ptr<pg_result> result_;
};

class Connection {
 public:
  /// Connects to the first host that answers, each given five seconds: those that the environment, the
  /// service file and the password file name, as libpq reads them. Over a network it insists on a verified
  /// certificate; on the machine's own loopback what the configuration says of it counts. Throws
  /// DatabaseError with what each host answered. `stop` is a descriptor to give up for, or -1; `first` the
  /// host to begin with, in their order, the others after it.
  explicit Connection(int stop = -1, std::size_t first = 0);
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  ~Connection();

  /// Which of how many hosts it reached.
  std::size_t host() const { return host_; }
  std::size_t hosts() const { return hosts_; }

  /// Throws DatabaseError; after one without a state the connection is of no more use.
  Rows ask(const char* sql, const std::vector<Field>& parameters = {},
           std::chrono::milliseconds limit = std::chrono::seconds(10));

  /// As `ask`, for a text of several statements that is our own. Migrations are such.
  void run(const std::string& statements, std::chrono::milliseconds limit);

  /// Waits until then for a notification; true when one came. Takes all that are there.
  bool heardBefore(Clock::time_point until);

  /// The server's process, as it was told when the connection was made; a pooler tells a number of its own.
  int process() const;

  /// Warnings since the last call.
  std::vector<std::string> takeWarnings();

 private:
  struct Finish {
    void operator()(pg_conn* connection) const;
  };
  std::string connectTo(const std::vector<const char*>& keywords, const std::vector<const char*>& values);
  void await(short events, Clock::time_point deadline);
  Rows answer(Clock::time_point deadline);
  bool takeNotifications();
  [[noreturn]] void broken();

  std::unique_ptr<pg_conn, Finish> connection_;
  std::vector<std::string> warnings_;
  int stop_;
  std::size_t host_ = 0;
  std::size_t hosts_ = 1;
};

}  // namespace optionsmgr::firm
