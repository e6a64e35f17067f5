// The administrators' pages, in both languages: what they tell of the firm is done as it stands there, on
// real servers.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <sstream>
#include <string>

#include "tests/TestHome.h"
#include "tests/firm/FirmServer.h"
#include "tests/tool/ToolRun.h"

namespace {

namespace fs = std::filesystem;
using testing_support::FirmServer;
using testing_support::readFile;
using testing_support::writeFile;

// The commands of the section with that heading.
std::string commandsIn(const fs::path& page, const std::string& heading) {
  std::istringstream lines(readFile(page));
  std::string commands;
  bool inside = false;
  bool block = false;
  for (std::string line; std::getline(lines, line);) {
    if (block && line == "```")
      block = false;
    else if (block)
      commands += line + '\n';
    else if (line.starts_with("## "))
      inside = line == heading;
    else if (line == "```sh")
      block = inside;
  }
  return commands;
}

void replaceAll(std::string& text, const std::string& what, const std::string& by) {
  for (std::size_t at = 0; (at = text.find(what, at)) != text.npos; at += by.size())
    text.replace(at, what.size(), by);
}

struct Page {
  const char* file;
  const char* heading;
  const char* firm;  // What its first place is called.
};

class AdministratorsSlowTest : public testing::TestWithParam<Page> {
 protected:
  void SetUp() override {
    if (!FirmServer::available()) GTEST_SKIP() << "postgresql-15 is not installed";
  }
};

// What is the machine's stands in the temporary home; what starts a service starts the agent.
constexpr const char* kPrelude = R"sh(
set -eu
export PATH="$BIN:/usr/lib/postgresql/15/bin:$PATH" PGUSER=postgres PGDATABASE=postgres
export XDG_CONFIG_DIRS=/nonexistent PGSYSCONFDIR=$HOME/postgresql PGPASSFILE=/nonexistent
mkdir -p "$HOME/postgresql" "$HOME/backups" "$HOME/xdg/Qorvane" && cd "$HOME"
# The desk is a machine of its own, with its own configuration.
at_desk="env -u PGHOST -u PGDATABASE XDG_CONFIG_DIRS=$HOME/xdg"
systemctl() {
  case $* in
    "enable --now optionsmgr-firm") $at_desk $(cat "$HOME/default") optionsmgr-firm agent --interval 0.5 2>"$HOME/agent.log" & agent=$! ;;
    "disable --now optionsmgr-firm") kill "$agent" && wait "$agent" ;;
    *) echo "nobody knows: systemctl $*" >&2; return 1 ;;
  esac
}
await() { for _ in $(seq 600); do if "$@"; then return; fi; sleep 0.1; done; echo "in vain: $*" >&2; return 1; }
holds() { grep -aqs "$1" state/firm/current/QorvaneT1Settings.plist; }
cat >"$HOME/xdg/Qorvane/QorvaneT1Settings2024.plist" <<'EOF'
<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict>
  <key>QorvaneT1Settings2024</key><dict><key>PCity</key><string>Laval</string></dict>
  <key>Locked</key><array><string>PCity</string></array>
</dict></plist>
EOF
trap 'kill $(jobs -p) 2>/dev/null || true' EXIT
set -x
)sh";

// What must have come of it, where $FIRM is the page's word.
constexpr const char* kCheck = R"sh(
[ "$(optionsmgr-firm get --place "$FIRM" preparerFirmName)" = "Tremblay CPA" ]
[ "$(optionsmgr-firm get --place Laval --year 2025 preparerCity)" = Laval ]
[ "$(optionsmgr-firm --json place list | grep -c '"place"')" -ge 11 ]
optionsmgr-firm --json list --place "$FIRM" | grep -q '"lock": "locked"'
# The backup is whole; the one that is warned of is not, and says nothing of it.
pg_restore --data-only --file=- backups/firm.dump | grep -q "Tremblay CPA"
psql -qc "CREATE ROLE reader LOGIN IN ROLE pg_read_all_data, optionsmgr_desk" -c "GRANT CONNECT ON DATABASE firm TO reader"
if pg_dump --username=reader --file=refused.sql firm 2>/dev/null; then exit 3; fi
pg_dump --username=reader --enable-row-security --file=wrong.sql firm
if grep -q "Tremblay CPA" wrong.sql; then exit 4; fi
# A desk of the restored firm sees its own, as before.
PGUSER=desk2 optionsmgr-firm get --place Laval --year 2025 preparerCity
if PGUSER=desk2 optionsmgr-firm set --place Laval preparerCity Alma 2>/dev/null; then exit 5; fi
)sh";

TEST_P(AdministratorsSlowTest, WhatThePageTellsOfTheFirmIsDone) {
  const Page& page = GetParam();
  const testing_support::TestHome home;
  const FirmServer first;
  const FirmServer second;
  std::string commands = commandsIn(fs::path(TEST_DATA_DIR) / ".." / "docs" / page.file, page.heading);
  ASSERT_NE(commands, "");
  const std::string at = home.path().string();
  replaceAll(commands, "/etc/xdg", at + "/xdg");
  replaceAll(commands, "/etc/postgresql-common", at + "/postgresql");
  replaceAll(commands, "/var/lib/optionsmgr-firm", at + "/state");
  replaceAll(commands, "/etc/default/optionsmgr-firm", at + "/default");
  replaceAll(commands, "/var/backups", at + "/backups");
  replaceAll(commands, "PGHOST=new-db.example", "PGHOST=" + second.folder().string());
  replaceAll(commands, "host=db.example", "host=" + first.folder().string());
  replaceAll(commands, "<string>optionsmgr-firm</string>",
             "<string>" + std::to_string(geteuid()) + "</string>");
  // What the desk reads, before anything moves elsewhere.
  replaceAll(commands, "createuser sylvie\n", "await holds \"Tremblay CPA\"\ncreateuser sylvie\n");
  first.choose("postgres", "postgres");
  setenv("BIN", (fs::path(TOOL_PATH).parent_path().string() + ":" + BUILD_DIR).c_str(), 1);
  setenv("FIRM", page.firm, 1);
  writeFile(home.path() / "commands", kPrelude + commands + kCheck);
  const auto result = testing_support::run({"bash", (home.path() / "commands").string()});
  EXPECT_EQ(result.exit, 0) << result.out << result.err;
}

INSTANTIATE_TEST_SUITE_P(BothLanguages, AdministratorsSlowTest,
                         testing::Values(Page{"administrators.md", "## The firm", "Firm"},
                                         Page{"administrateurs.md", "## Le cabinet", "Cabinet"}));

}  // namespace
