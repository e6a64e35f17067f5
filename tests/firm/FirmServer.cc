#include "tests/firm/FirmServer.h"

#include <fcntl.h>
#include <grp.h>
#include <netinet/in.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "tests/TestHome.h"

namespace testing_support {

namespace fs = std::filesystem;

namespace {

constexpr const char* kPrograms = "/usr/lib/postgresql/15/bin/";
constexpr uid_t kNobody = 65534;

int ended(pid_t process) {
  int status = 0;
  while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

}  // namespace

pid_t startAsOrdinaryUser(const std::vector<std::string>& command, const fs::path& folder) {
  const pid_t parent = getpid();
  const pid_t child = fork();
  if (child != 0) return child;
  setpgid(0, 0);
  const int log = open((folder / "log").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
  dup2(open("/dev/null", O_RDONLY), 0);
  dup2(log, 1);
  dup2(log, 2);
  if (geteuid() == 0 && (setgroups(0, nullptr) != 0 || setgid(kNobody) != 0 || setuid(kNobody) != 0))
    _exit(126);
  // For the server this signal means: stop at once, and every process of yours.
  prctl(PR_SET_PDEATHSIG, SIGQUIT);
  if (getppid() != parent || chdir(folder.c_str()) != 0) _exit(126);
  clearenv();
  setenv("PATH", "/usr/bin:/bin", 1);
  setenv("LC_ALL", "C.UTF-8", 1);
  std::vector<char*> words;
  for (const std::string& word : command) words.push_back(const_cast<char*>(word.c_str()));
  words.push_back(nullptr);
  execv(words[0], words.data());
  _exit(127);
}

void endProgram(pid_t process, int signal) {
  kill(process, signal);
  ended(process);
}

void giveToOrdinaryUser(const fs::path& path) {
  if (chmod(path.c_str(), 0600) != 0 || (geteuid() == 0 && chown(path.c_str(), kNobody, kNobody) != 0))
    throw std::runtime_error("cannot give " + path.string());
}

bool FirmServer::available() {
  return access((std::string(kPrograms) + "initdb").c_str(), X_OK) == 0 &&
         access((std::string(kPrograms) + "postgres").c_str(), X_OK) == 0;
}

void FirmServer::makeFolder() {
  std::string pattern = (fs::temp_directory_path() / "optionsmgr-firm-XXXXXX").string();
  if (!mkdtemp(pattern.data())) throw std::runtime_error("cannot make " + pattern);
  folder_ = pattern;
  if (geteuid() == 0 && chown(pattern.c_str(), kNobody, kNobody) != 0)
    throw std::runtime_error("cannot give " + pattern);
}

FirmServer::FirmServer() {
  makeFolder();
  const pid_t making =
      startAsOrdinaryUser({std::string(kPrograms) + "initdb", "-D", (folder_ / "data").string(), "-U",
                           "postgres", "-A", "trust", "-E", "UTF8", "--locale=C.UTF-8", "-N"},
                          folder_);
  if (ended(making) != 0) throw std::runtime_error("initdb failed: " + log());
  start();
}

FirmServer::FirmServer(const FirmServer& primary, const std::string& name) {
  makeFolder();
  const pid_t copying =
      startAsOrdinaryUser({std::string(kPrograms) + "pg_basebackup", "-D", (folder_ / "data").string(),
                           "--no-sync", "-X", "stream", "-c", "fast", "-R", "-d",
                           "user=postgres host=" + primary.folder().string() +
                               " port=" + std::to_string(primary.port()) + " application_name=" + name},
                          folder_);
  if (ended(copying) != 0) throw std::runtime_error("pg_basebackup failed: " + log());
  start();
}

FirmServer::~FirmServer() {
  stop();
  std::error_code ignored;
  fs::remove_all(folder_, ignored);
}

void FirmServer::start() {
  process_ = startAsOrdinaryUser(
      {std::string(kPrograms) + "postgres", "-D", (folder_ / "data").string(), "-c",
       port_ == 5432 ? "listen_addresses=" : "listen_addresses=127.0.0.1", "-c",
       "port=" + std::to_string(port_), "-c", "unix_socket_directories=" + folder_.string(), "-c",
       "fsync=off", "-c", "max_connections=200", "-c", "shared_buffers=16MB", "-c",
       "log_min_messages=warning"},
      folder_);
  for (;;) try {
      connect("postgres", "postgres");
      return;
    } catch (const optionsmgr::firm::DatabaseError&) {
      if (waitpid(process_, nullptr, WNOHANG) == process_) {
        process_ = -1;
        throw std::runtime_error("the server ended: " + log());
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

void FirmServer::stop() {
  if (process_ < 0) return;
  signal(SIGCONT);
  kill(process_, SIGINT);
  ended(process_);
  process_ = -1;
}

void FirmServer::crash() {
  if (process_ < 0) return;
  signal(SIGKILL);
  ended(process_);
  process_ = -1;
}

void FirmServer::promote() const {
  connect("postgres", "postgres")->ask("SELECT pg_promote(true, 60)", {}, std::chrono::seconds(60));
}

void FirmServer::configure(const std::string& lines) {
  std::ofstream(folder_ / "data/postgresql.conf", std::ios::app) << lines << '\n';
}
void FirmServer::allow(const std::string& lines) { writeFile(folder_ / "data/pg_hba.conf", lines + "\n"); }
void FirmServer::reload() { connect("postgres", "postgres")->ask("SELECT pg_reload_conf()"); }

void FirmServer::listen() {
  // Any port that is free now.
  const int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  if (bind(probe, reinterpret_cast<sockaddr*>(&address), size) != 0 ||
      getsockname(probe, reinterpret_cast<sockaddr*>(&address), &size) != 0)
    throw std::runtime_error("no port is free");
  close(probe);
  port_ = ntohs(address.sin_port);
}

void FirmServer::signal(int number) {
  kill(process_, number);
  // Each of them makes a group of its own.
  const std::string own = std::to_string(process_);
  std::istringstream children(readFile("/proc/" + own + "/task/" + own + "/children"));
  for (pid_t child = 0; children >> child;) kill(child, number);
}

std::string FirmServer::log() const { return readFile(folder_ / "log"); }

void FirmServer::choose(const std::string& login, const std::string& database) const {
  for (const char* variable : {"PGSERVICE", "PGHOSTADDR", "PGPASSWORD", "PGOPTIONS", "PGSSLMODE",
                               "PGSSLROOTCERT", "PGCHANNELBINDING"})
    unsetenv(variable);
  setenv("PGHOST", folder_.c_str(), 1);
  setenv("PGPORT", std::to_string(port_).c_str(), 1);
  setenv("PGUSER", login.c_str(), 1);
  setenv("PGDATABASE", database.c_str(), 1);
  setenv("PGPASSFILE", "/nonexistent", 1);
}

std::unique_ptr<optionsmgr::firm::Connection> FirmServer::connect(const std::string& login,
                                                                  const std::string& database) const {
  choose(login, database);
  return std::make_unique<optionsmgr::firm::Connection>();
}

FirmServer& sharedServer() {
  static FirmServer server;
  return server;
}

std::string refusal(optionsmgr::firm::Connection& connection, const char* sql,
                    const std::vector<optionsmgr::firm::Field>& parameters) try {
  connection.ask(sql, parameters);
  return {};
} catch (const optionsmgr::firm::DatabaseError& error) {
  return error.state().empty() ? error.what() : error.state();
}

}  // namespace testing_support
