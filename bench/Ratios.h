// Measurements beside their floors and peers. All of a table are taken in one run, round by round in an order
// shuffled anew, so that whatever else the machine does meets them alike; within a round each is divided by
// what it is compared with, and the median of those ratios is what counts. Times are never printed.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace ratios {

/// Makes the compiler believe that the value is used.
template <class T>
void keep(const T& value) {
  asm volatile("" : : "g"(&value) : "memory");
}

/// What is counted: the processor time of this process or of the children that it waited for, or the time on
/// the wall, where waiting for a disk is the matter.
enum class Clock { Processor, Children, Wall };

class Table {
 public:
  /// The title stands above the table. A round lasts about `batchSeconds` for each measurement.
  Table(std::string title, Clock clock = Clock::Processor, double batchSeconds = 0.002, int rounds = 101);

  /// Takes the time of `repeat(n)`, which does the thing n times; the thing may hold so many units.
  void time(std::string name, std::function<void(std::size_t)> repeat, double units = 1);
  /// Takes a quantity that is no time, such as bytes of memory.
  void amount(std::string name, std::function<double()> measure);

  /// Adds a row: how many times the reference the measured one may be. Zero is no aim. A reference that was
  /// not measured is a peer that is not installed.
  void compare(std::string measured, std::string reference, double atMost = 0);

  /// Measures everything and prints the table as Markdown.
  void run();

 private:
  struct Measurement {
    std::string name;
    std::function<double()> take;
    std::vector<double> taken;
  };
  struct Row {
    std::string measured;
    std::string reference;
    double atMost;
  };

  double now() const;
  const Measurement* find(const std::string& name) const;
  void print(const Row& row) const;

  std::string title_;
  Clock clock_;
  double batchSeconds_;
  int rounds_;
  std::vector<Measurement> measurements_;
  std::vector<Row> rows_;
};

}  // namespace ratios
