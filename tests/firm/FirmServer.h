// A real server for the tests of the firm: Debian's postgresql-15 on a cluster of its own in a temporary
// folder, by Unix socket alone, run by an ordinary user. It dies with the process that made it, however that
// ends.
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
  ~FirmServer();
  FirmServer(const FirmServer&) = delete;
  FirmServer& operator=(const FirmServer&) = delete;

  /// Whether the packages are there; where not, tests say so and are skipped.
  static bool available();

  void start();
  void stop();
  /// From its next start it is reached by TCP too, on the machine's loopback and without TLS.
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
  std::filesystem::path folder_;
  int port_ = 5432;
  pid_t process_ = -1;
};

/// The one server that the suite's tests share, each in a database and with logins of its own.
FirmServer& sharedServer();

/// What the statement was refused with: its SQLSTATE; empty when it was done.
std::string refusal(optionsmgr::firm::Connection& connection, const char* sql,
                    const std::vector<optionsmgr::firm::Field>& parameters = {});

}  // namespace testing_support
