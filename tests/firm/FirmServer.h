// A real server for the tests of the firm: Debian's postgresql-15 on a cluster of its own in a temporary
// folder, by Unix socket alone where a test says nothing else, run by an ordinary user. It dies with the
// process that made it, however that ends.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "firm/Database.h"

namespace testing_support {

class FirmServer {
 public:
  /// Makes the cluster and starts it.
  FirmServer();
  /// A standby, from a copy of the primary as it is now; the primary knows it by that name.
  FirmServer(const FirmServer& primary, const std::string& name);
  ~FirmServer();
  FirmServer(const FirmServer&) = delete;
  FirmServer& operator=(const FirmServer&) = delete;

  /// Lines for its configuration, and in place of who may log in how; from the next start or `reload`.
  void configure(const std::string& lines);
  void allow(const std::string& lines);
  void reload();

  /// Whether the packages are there; where not, tests say so and are skipped.
  static bool available();

  void start();
  void stop();
  /// Ends as with the machine's power.
  void crash();
  /// A standby becomes a primary.
  void promote() const;
  /// From its next start it is reached by TCP too, on the machine's loopback and, unless it is configured,
  /// without TLS.
  void listen();
  int port() const { return port_; }
  /// Sends the signal to the server's processes, all of them.
  void signal(int number);

  const std::filesystem::path& folder() const { return folder_; }
  /// What it wrote into its log so far.
  std::string log() const;

  /// Points libpq's environment at this server.
  void choose(const std::string& login, const std::string& database) const;
  std::unique_ptr<optionsmgr::firm::Connection> connect(const std::string& login,
                                                        const std::string& database) const;

 private:
  void makeFolder();

  std::filesystem::path folder_;
  int port_ = 5432;
  pid_t process_ = -1;
};

/// Starts the program as the servers' user, with no environment but a path, in that folder, where its output
/// goes to "log"; it dies with this process.
pid_t startAsOrdinaryUser(const std::vector<std::string>& command, const std::filesystem::path& folder);
/// Ends it and waits for its end.
void endProgram(pid_t process, int signal);
/// Makes the file one of the servers' user's own, closed to others.
void giveToOrdinaryUser(const std::filesystem::path& path);

/// The one server that the suite's tests share, each in a database and with logins of its own.
FirmServer& sharedServer();

/// What the statement was refused with: its SQLSTATE; empty when it was done.
std::string refusal(optionsmgr::firm::Connection& connection, const char* sql,
                    const std::vector<optionsmgr::firm::Field>& parameters = {});

}  // namespace testing_support
