// Several programs that each loaded the settings once, change them and save: nothing that was acknowledged is
// lost, though they are killed in the middle of saves.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <memory>
#include <random>
#include <vector>

#include "qorvane/preferences/FileUserDefaults.h"
#include "qorvane/store/OptionTable.h"
#include "qorvane/store/Options.h"
#include "tests/TestHome.h"

namespace testing_support {
namespace {

using namespace qorvane;

constexpr Product kProduct{.taxYear = 2020};

// Whether a disk would keep it is not the question here.
class CallsWithoutSync : public FaultInjectingSystemCalls {
  int fsync(int) override { return 0; }
  // Who waits for the lock lets the others work.
  void sleepMilliseconds(int) override { usleep(1000); }
};

TEST(ManyProgramsTest, TwoProcessesKeepTheCityAndThePhone) {
  const TestHome home;
  FileUserDefaults files;
  Options store(files, kProduct);
  store.loadOptions();
  store.saveOptions();
  const pid_t other = fork();
  if (other == 0) {
    FileUserDefaults own;
    Options another(own, kProduct);
    another.loadOptions();
    another.setPreparerPhone("555");
    another.saveOptions();
    _exit(another.saveFailure() ? 1 : 0);
  }
  int status = -1;
  waitpid(other, &status, 0);
  ASSERT_EQ(status, 0);
  store.setPreparerCity("Gaspé");
  store.saveOptions();
  EXPECT_FALSE(store.saveFailure());
  EXPECT_EQ(store.preparerPhone(), Text("555")) << "and the program has the other's change now";
  FileUserDefaults fresh;
  Options found(fresh, kProduct);
  found.loadOptions();
  EXPECT_EQ(found.preparerCity(), Text("Gaspé"));
  EXPECT_EQ(found.preparerPhone(), Text("555"));
}

// The options that keep any text as it is given, and entries of the application's own, 150 in all.
struct Place {
  const OptionRow* option;  // Null: an entry of the application's.
  Text key;
};
std::vector<Place> places() {
  std::vector<Place> found;
  std::vector<Text> taken;
  for (const OptionRow& row : optionTable()) {
    const Text key = row.key(kProduct);
    if (row.type != OptionType::Text || !row.write || row.form != "TextForm" || key.isNil() ||
        std::ranges::find(taken, key) != taken.end())
      continue;
    taken.push_back(key);
    found.push_back({&row, key});
  }
  for (int i = 0; found.size() < 150; ++i) found.push_back({nullptr, Text("App." + std::to_string(i))});
  return found;
}

long now() { return std::chrono::steady_clock::now().time_since_epoch().count(); }

// What a program notes of one change, where its end does not reach.
struct Change {
  std::size_t place = 0;
  long begun = 0;
  long acknowledged = 0;  // 0: never.
};
struct Program {
  std::atomic<int> next = 0;
  std::atomic<int> failures = 0;
};

class Desk {
 public:
  Desk(int programs, int rounds)
      : programs_(programs),
        rounds_(rounds),
        changes_(shared<Change>(programs * rounds)),
        states_(shared<Program>(programs)) {}

  void play() {
    std::vector<pid_t> running(static_cast<std::size_t>(programs_));
    for (int program = 0; program < programs_; ++program) running[std::size_t(program)] = start(program);
    for (int left = programs_; left > 0;) {
      int status = -1;
      const pid_t ended = wait(&status);
      const auto program = std::ranges::find(running, ended) - running.begin();
      if (WIFSIGNALED(status)) {
        ++kills_;
        running[std::size_t(program)] = start(static_cast<int>(program));
      } else {
        EXPECT_EQ(status, 0);
        --left;
      }
    }
  }

  void judge() const {
    FileUserDefaults files;
    Options found(files, kProduct);
    found.loadOptions();
    int acknowledged = 0;
    for (std::size_t place = 0; place < places_.size(); ++place) {
      const Value* stands = found.options()->find(places_[place].key.view());
      const int writer = stands ? writerOf(stands->textValue()) : -1;
      for (int change = 0; change < programs_ * rounds_; ++change) {
        if (changes_[change].place != place || changes_[change].acknowledged == 0) continue;
        ++acknowledged;
        ASSERT_GE(writer, 0) << places_[place].key << " lost " << change;
        // What stands was saved after it, or at the same time.
        EXPECT_TRUE(changes_[writer].acknowledged == 0 ||
                    changes_[writer].acknowledged >= changes_[change].begun)
            << places_[place].key << ": " << writer << " stands, " << change << " was acknowledged later";
      }
    }
    for (int program = 0; program < programs_; ++program) EXPECT_EQ(states_[program].failures, 0);
    EXPECT_GE(acknowledged, programs_ * rounds_ - kills_);
    EXPECT_GT(kills_, 0);
    testing::Test::RecordProperty("acknowledged", acknowledged);
    testing::Test::RecordProperty("kills", kills_);
  }

 private:
  template <class T>
  static T* shared(int count) {
    void* const memory = mmap(nullptr, sizeof(T) * std::size_t(count), PROT_READ | PROT_WRITE,
                              MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return std::uninitialized_value_construct_n(static_cast<T*>(memory), count), static_cast<T*>(memory);
  }

  // "change NUMBER": the number of the change, among all.
  static int writerOf(const Text& value) {
    return value.view().starts_with("change ") ? std::stoi(value.string().substr(7)) : -1;
  }

  pid_t start(int program) {
    const pid_t started = fork();
    if (started != 0) return started;
    run(program);
    _exit(0);
  }

  // From where it was killed to its end; every 20th round or so it dies at some call of its save.
  void run(int program) {
    CallsWithoutSync calls;
    FileUserDefaults files(FileUserDefaults::defaultFolder(), calls);
    files.setLockWait(600'000);
    Options store(files, kProduct);
    store.loadOptions();
    for (int round; (round = states_[program].next++) < rounds_;) {
      std::mt19937 random(static_cast<unsigned>(program * rounds_ + round));
      const int number = program * rounds_ + round;
      Change& change = changes_[number];
      change.place = random() % places_.size();
      const bool dies = random() % 20 == 0;
      const auto last = static_cast<int>(1 + random() % 20);
      calls.forgetCalls();
      calls.setFault([dies, last](const std::string& name, int call) {
        // Waiting for the lock takes any number of calls.
        if (dies && call >= last && name != "tryLock") kill(getpid(), SIGKILL);
        return 0;
      });
      const Place& place = places_[change.place];
      const Text value("change " + std::to_string(number));
      if (place.option)
        place.option->write(store, value);
      else
        store.options()->set(place.key, value);
      change.begun = now();
      store.saveOptions();
      if (store.saveFailure())
        ++states_[program].failures;
      else
        change.acknowledged = now();
    }
  }

  int programs_;
  int rounds_;
  std::vector<Place> places_ = places();
  Change* changes_;
  Program* states_;
  int kills_ = 0;
};

void play(int programs, int rounds) {
  const TestHome home;
  Desk desk(programs, rounds);
  desk.play();
  desk.judge();
}

TEST(ManyProgramsTest, KeepEveryAcknowledgedChange) { play(4, 30); }

TEST(ManyProgramsSlowTest, KeepEveryAcknowledgedChange) { play(16, 200); }

}  // namespace
}  // namespace testing_support
