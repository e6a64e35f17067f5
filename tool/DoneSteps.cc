#include "tool/DoneSteps.h"

#include <algorithm>

#include "qorvane/foundation/Exception.h"
#include "qorvane/propertylist/PropertyList.h"
#include "tool/Chosen.h"
#include "tool/PreferenceFile.h"
#include "tool/WholeFile.h"

namespace optionsmgr {

using qorvane::Array;
using qorvane::Dictionary;
using qorvane::FileUserDefaults;
using qorvane::Number;
using qorvane::Text;
using qorvane::Value;
using State = FileUserDefaults::Inspection::State;

namespace {

constexpr std::size_t kMostSteps = 50;

std::string stepsFile(Session& session) { return session.files().folder() + "/.steps.plist"; }

std::optional<std::uint64_t> numberIn(const Dictionary& part, const char* name) {
  const Value* said = part.find(name);
  const auto* number = said ? said->asNumber() : nullptr;
  if (!number || number->int64Value() < 0) return std::nullopt;
  return static_cast<std::uint64_t>(number->int64Value());
}

// The file that the step's save wrote, wherever it is by now; none when it is not kept.
std::optional<Dictionary> stateAfter(Session& session, const Domain& domain, const DoneStep::Part& part) {
  if (!part.after) return Dictionary();
  const FileUserDefaults& files = session.files();
  const Text key = domain.key();
  const auto isIt = [&](const FileUserDefaults::Inspection& found) {
    return found.state == State::Good && found.sealed && found.generation == *part.after &&
           found.object.asDictionary();
  };
  if (const auto standing = files.inspect(key); isIt(standing)) return *standing.object.asDictionary();
  for (const auto& generation : files.generations(key)) {
    if (generation.number <= *part.after) break;  // Kept before it was written.
    if (const auto kept = files.inspectGeneration(key, generation.number); isIt(kept))
      return *kept.object.asDictionary();
  }
  return std::nullopt;
}

bool isSame(const Value* a, const Value* b) { return a && b ? isIdentical(*a, *b) : !a && !b; }

}  // namespace

std::uint64_t newestGeneration(Session& session, const Domain& domain) noexcept try {
  const auto all = session.files().generations(domain.key());
  return all.empty() ? 0 : all.front().number;
} catch (const std::exception&) {
  return 0;
}

std::optional<DoneStep::Part> donePart(Session& session, const Domain& domain, std::uint64_t last) noexcept
    try {
  DoneStep::Part part;
  const std::uint64_t newest = newestGeneration(session, domain);
  if (newest > last) part.before = newest;
  const auto standing = session.files().inspect(domain.key());
  if (standing.state == State::Good) part.after = standing.generation;
  // A save keeps what it replaces, so one without a file before it wrote the first one.
  if (!part.before && (!part.after || *part.after <= last)) return std::nullopt;
  return part;
} catch (const std::exception&) {
  return std::nullopt;
}

void recordStep(Session& session, const DoneStep& step) {
  std::vector<DoneStep> steps = doneSteps(session);
  steps.insert(steps.begin(), step);
  if (steps.size() > kMostSteps) steps.resize(kMostSteps);
  std::vector<Value> noted;
  for (auto one = steps.rbegin(); one != steps.rend(); ++one) {
    Dictionary parts;
    for (const auto& [domain, part] : one->parts) {
      Dictionary numbers;
      const auto note = [&](const char* name, std::optional<std::uint64_t> number) {
        if (number) numbers.set(Text(name), Number(*number));
      };
      note("before", part.before);
      note("after", part.after);
      parts.set(domain.key(), numbers);
    }
    noted.emplace_back(parts);
  }
  writeWholeFile(stepsFile(session),
                 writePropertyList(Value(Array(noted)), qorvane::PropertyListFormat::Binary),
                 Existing::Replaced);
}

std::vector<DoneStep> doneSteps(Session& session) try {
  std::vector<DoneStep> steps;
  const Value noted = qorvane::readPropertyList(bytesOfFile(stepsFile(session)));
  if (!noted.asArray()) return {};
  for (const Value& one : *noted.asArray()) {
    DoneStep step;
    if (const Dictionary* parts = one.asDictionary())
      for (const auto& [key, numbers] : *parts) {
        const auto domain = Domain::fromKey(key.view());
        if (domain && numbers.asDictionary())
          step.parts[*domain] = {numberIn(*numbers.asDictionary(), "before"),
                                 numberIn(*numbers.asDictionary(), "after")};
      }
    steps.insert(steps.begin(), std::move(step));
  }
  return steps;
} catch (const qorvane::Exception&) {
  return {};
} catch (const Failure&) {
  return {};
}

std::optional<UndonePart> undonePart(Session& session, const Domain& domain, const DoneStep::Part& part) {
  const auto after = stateAfter(session, domain, part);
  if (!after) return std::nullopt;
  std::optional<qorvane::Settings> before;
  if (part.before) {
    const auto kept = session.files().inspectGeneration(domain.key(), *part.before);
    if (kept.state != State::Good || !kept.object.asDictionary()) return std::nullopt;
    before = {kept.object, kept.chosen};
  }
  const auto stored = storedEntries(session, domain);
  const Dictionary now = stored.value_or(Dictionary());
  UndonePart undone;
  if (isIdentical(now, *after) && stored.has_value() == part.after.has_value()) {
    undone.settings = before;
    return undone;
  }
  const qorvane::Settings past = before.value_or(qorvane::Settings());
  const Dictionary then = entriesOf(past.object);
  std::vector<Text> back;
  for (const Dictionary* side : {&then, &*after})
    for (const auto& [key, value] : *side) {
      if (isSame(then.find(key.view()), after->find(key.view())) ||
          std::ranges::find(back, key) != back.end() ||
          std::ranges::find(undone.changedSince, key) != undone.changedSince.end())
        continue;
      (isSame(now.find(key.view()), after->find(key.view())) ? back : undone.changedSince).push_back(key);
    }
  undone.settings = {Value(now), session.files().inspect(domain.key()).chosen};
  takeOver(*undone.settings, past, back);
  return undone;
}

}  // namespace optionsmgr
